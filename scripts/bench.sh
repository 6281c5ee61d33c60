#!/usr/bin/env bash
# Runs the benchmark programs of a build, or those named.
#   scripts/bench.sh BUILD_FOLDER [NAME...]
set -euo pipefail
build=$1
shift
names=("$@")
if [[ ${#names[@]} -eq 0 ]]; then
  for program in "$build"/bin/*_bench; do names+=("$(basename "$program")"); done
fi
for name in "${names[@]}"; do
  echo "== $name"
  "$build/bin/$name"
done
