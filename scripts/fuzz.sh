#!/usr/bin/env bash
# Runs the fuzz targets of a build for some seconds each. Corpora grow under BUILD_FOLDER/corpus, from the seeds
# of fuzz/seeds and the real files beside the checkout, if they are there.
#   scripts/fuzz.sh BUILD_FOLDER SECONDS [TARGET...]
set -euo pipefail
build=$1
seconds=$2
shift 2
targets=("$@")
if [[ ${#targets[@]} -eq 0 ]]; then
  for program in "$build"/bin/fuzz_*; do targets+=("$(basename "$program")"); done
fi
for target in "${targets[@]}"; do
  corpus=$build/corpus/$target
  mkdir -p "$corpus"
  seeds=("fuzz/seeds/${target#fuzz_}")
  [[ -d ${seeds[0]} ]] || seeds=()
  echo "== $target: $seconds s"
  "$build/bin/$target" "$corpus" "${seeds[@]}" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 \
    -print_final_stats=0 -verbosity=0 -artifact_prefix="$build/corpus/$target-"
done
echo "${#targets[@]} passed, 0 failed"
