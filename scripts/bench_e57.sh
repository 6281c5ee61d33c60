#!/usr/bin/env bash
# Reading E57, by the reader and, for comparison, by pye57 from PyPI.
#   scripts/bench_e57.sh BUILD_FOLDER
set -euo pipefail
build=$1
source tests/interop/tools.sh
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
"$build/bin/e57_bench" "$folder"
install_python "$build/interop"
"$build/interop/python/bin/python" scripts/time_pye57.py "$folder"/*.e57
