#!/usr/bin/env bash
# Converts a scan and loads the octree with the loader of a stock viewer, the npm package potree-core, under Node.
#   potree_core.sh SORVIK MAKE_VIEWER_SCAN WORK_FOLDER
# Ends with 77 (skipped) where Node is missing or the package registry cannot be reached.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
sorvik=$1
make_scan=$2
work=$3

skip() {
  echo "SKIPPED, nothing was tested: $1" >&2
  exit 77
}

# Installs the packages of package.json into $work/tools, once for each content of that file.
install_tools() {
  local tools=$work/tools
  if cmp -s "$here/package.json" "$tools/installed.json"; then return; fi
  rm -rf "$tools"
  mkdir -p "$tools"
  cp "$here/package.json" "$tools/"
  local log=$work/npm.log
  if ! npm install --prefix "$tools" --no-audit --no-fund --ignore-scripts --fetch-retries 1 --fetch-timeout 30000 \
      >"$log" 2>&1; then
    cat "$log" >&2
    if grep -qE 'ENOTFOUND|EAI_AGAIN|ECONNREFUSED|ECONNRESET|ETIMEDOUT|ENETUNREACH|EHOSTUNREACH|network' "$log"; then
      skip "the package registry cannot be reached"
    fi
    exit 1
  fi
  cp "$here/package.json" "$tools/installed.json"
}

if ! command -v node >/dev/null || ! command -v npm >/dev/null; then
  if [[ ${CI:-} == true ]]; then
    echo "CI=true, and node or npm is missing" >&2
    exit 1
  fi
  skip "node or npm is missing; ./dev test installs them"
fi
mkdir -p "$work"
install_tools
cp "$here"/*.mjs "$work/tools/"
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
"$make_scan" "$scratch/scan.las" "$scratch/truth.f64"
status=0
for encoding in uncompressed brotli; do
  "$sorvik" convert "$scratch/scan.las" -o "$scratch/$encoding" --encoding "$encoding" --json
  timeout 120 node "$work/tools/checkCloud.mjs" "$scratch/$encoding" "$scratch/truth.f64" || status=1
done
exit "$status"
