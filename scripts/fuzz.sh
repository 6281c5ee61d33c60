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
readonly samples=../shared/data

# The real files that a target reads as they are.
real_files() {
  case $1 in
    fuzz_metadata) find "$samples/potree" -name metadata.json 2>/dev/null ;;
    fuzz_hierarchy) find "$samples/potree" -name hierarchy.bin 2>/dev/null ;;
    fuzz_e57_pages) find "$samples/e57" -name '*.e57' -size -12k 2>/dev/null ;;
    fuzz_las_header) find "$samples/las" -name '*.las' -size -40k 2>/dev/null ;;
    fuzz_rsp_project) find "$samples/vendor" -name '*.rsp' 2>/dev/null ;;
  esac
}

# Several targets: this script for each, as many at a time as there are processors.
if [[ ${#targets[@]} -gt 1 ]]; then
  printf '%s\n' "${targets[@]}" | xargs -P "$(nproc)" -n 1 "$0" "$build" "$seconds"
  echo "${#targets[@]} passed, 0 failed"
  exit
fi

target=${targets[0]}
corpus=$build/corpus/$target
mkdir -p "$corpus"
seeds=()
if [[ -d fuzz/seeds/${target#fuzz_} ]]; then seeds=("fuzz/seeds/${target#fuzz_}"); fi
while read -r file; do
  cp "$file" "$corpus/$(sha1sum <"$file" | cut -d ' ' -f 1)"
done < <(real_files "$target")
# What it says is shown when it is over, so that two targets do not talk at once.
status=0
log=$("$build/bin/$target" "$corpus" "${seeds[@]}" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 \
  -verbosity=0 -artifact_prefix="$build/corpus/$target-" 2>&1) || status=$?
printf '== %s: %s s\n%s' "$target" "$seconds" "${log:+$log$'\n'}"
exit "$status"
