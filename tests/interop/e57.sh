#!/usr/bin/env bash
# Reads E57 files with an independent reader, pye57 from PyPI, and compares all points.
#   e57.sh MAKE_E57_POINTS WORK_FOLDER
set -euo pipefail
source "$(dirname "$0")/tools.sh"
make_points=$1
work=$2

install_python "$work"
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
samples=()
if [[ -d ${SORVIK_SAMPLE_DATA:-} ]]; then
  for file in "$SORVIK_SAMPLE_DATA"/e57/*.e57; do
    case $file in
      *corrupt_crc.e57 | *-empty.e57 | *-ZeroPoints.e57) ;;  # no points, or none that may be read
      *) samples+=("$file") ;;
    esac
  done
elif [[ ${CI:-} == true ]]; then
  echo "CI=true, and the sample data are missing" >&2
  exit 1
fi
"$make_points" "$scratch" "${samples[@]}"
"$work/python/bin/python" "$here/compare_e57.py" "$scratch" "$scratch"/made-*.e57 "${samples[@]}"
