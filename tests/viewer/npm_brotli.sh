#!/usr/bin/env bash
# Decodes brotli streams of the column encoder with a decoder that viewers use, the npm package brotli, under Node:
# columns that are hard to encode, and all nodes of a synthetic scan, of the real scans beside the checkout and of the
# octrees that other tests have made.
#   npm_brotli.sh SORVIK WRITE_STREAMS WORK_FOLDER [KEPT_CLOUDS]
# Ends with 77 (skipped) where Node is missing or the package registry cannot be reached.
set -euo pipefail
sorvik=$1
write_streams=$2
work=$3
kept=${4:-}
readonly largest_kept=200  # MB of all kept octrees together: more would not be decoded in the time that tests have

source "$(dirname "$0")/tools.sh"
install_tools "$work"
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
"$sorvik" make-sample "$scratch/sample.las" --points 300000 --seed 3 >/dev/null
scans=("$scratch/sample.las")
for scan in "${SORVIK_SAMPLE_DATA:-none}"/{las,laz,copc,e57}/*.{las,laz,e57}; do
  if [[ -f $scan ]]; then scans+=("$scan"); fi
done
clouds=()
for scan in "${scans[@]}"; do
  cloud=$scratch/$(basename "$scan")-cloud
  # Some files are there to be refused; which ones must be read is what other tests look at.
  if "$sorvik" convert "$scan" -o "$cloud" >/dev/null 2>&1; then clouds+=("$cloud"); fi
done
[[ -d $scratch/sample.las-cloud ]]
echo "${#clouds[@]} of ${#scans[@]} scans are octrees"
if [[ -n $kept ]]; then
  kept_clouds=()
  for cloud in "$kept"/*/; do
    if [[ -f $cloud/octree.bin ]]; then kept_clouds+=("${cloud%/}"); fi
  done
  if [[ ${#kept_clouds[@]} -eq 0 ]]; then
    echo "npm_brotli.sh: no octree of other tests in $kept" >&2
    exit 1
  fi
  size=$(du -sm "$kept" | cut -f1)
  if [[ $size -gt $largest_kept ]]; then
    echo "npm_brotli.sh: the octrees of other tests in $kept have $size MB, more than $largest_kept" >&2
    exit 1
  fi
  echo "${#kept_clouds[@]} octrees of other tests, $size MB"
  clouds+=("${kept_clouds[@]}")
fi
"$write_streams" "$scratch/streams.bin" "${clouds[@]}"
timeout 200 node "$work/tools/checkStreams.mjs" "$scratch/streams.bin"
