# Sourced by the tests of this folder: the npm packages of package.json, installed under the build folder.

skip() {
  echo "SKIPPED, nothing was tested: $1" >&2
  exit 77
}

# install_tools WORK_FOLDER: the packages into WORK_FOLDER/tools, once for each content of package.json, and the
# scripts beside them. Ends with 77 (skipped) where Node is missing or the package registry cannot be reached.
install_tools() {
  local work=$1 tools=$1/tools
  local here
  here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
  if ! command -v node >/dev/null || ! command -v npm >/dev/null; then
    if [[ ${CI:-} == true ]]; then
      echo "CI=true, and node or npm is missing" >&2
      exit 1
    fi
    skip "node or npm is missing; ./dev test installs them"
  fi
  if ! cmp -s "$here/package.json" "$tools/installed.json"; then
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
  fi
  cp "$here"/*.mjs "$tools/"
}
