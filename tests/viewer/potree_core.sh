#!/usr/bin/env bash
# Converts a scan and loads the octree with the loader of a stock viewer, the npm package potree-core, under Node.
#   potree_core.sh SORVIK MAKE_VIEWER_SCAN WORK_FOLDER
# Ends with 77 (skipped) where Node is missing or the package registry cannot be reached.
set -euo pipefail
sorvik=$1
make_scan=$2
work=$3

source "$(dirname "$0")/tools.sh"
install_tools "$work"
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
"$make_scan" "$scratch/scan.las" "$scratch/truth.f64"
status=0
for encoding in uncompressed brotli; do
  "$sorvik" convert "$scratch/scan.las" -o "$scratch/$encoding" --encoding "$encoding" --json
  timeout 120 node "$work/tools/checkCloud.mjs" "$scratch/$encoding" "$scratch/truth.f64" || status=1
done
exit "$status"
