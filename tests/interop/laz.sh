#!/usr/bin/env bash
# Reads LAZ files that were written here with independent readers, and compares them with their uncompressed twins.
#   laz.sh READER SORVIK MAKE_LAZ_PAIRS WORK_FOLDER
# READER: laspy (PyPI, with lazrs) or node (npm: laz-perf and copc).
set -euo pipefail
source "$(dirname "$0")/tools.sh"
reader=$1
sorvik=$2
make_pairs=$3
work=$4

case $reader in
  laspy)
    install_python "$work"
    compare=("$work/python/bin/python" "$here/compare_laz.py")
    ;;
  node)
    install_node "$work"
    cp "$here/compareLaz.mjs" "$work/node/"
    compare=(node "$work/node/compareLaz.mjs")
    ;;
  *)
    echo "unknown reader: $reader" >&2
    exit 2
    ;;
esac

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
mkdir "$scratch/pairs"
"$make_pairs" "$scratch/pairs"
for points in 0 1 100001; do
  for extension in las laz; do "$sorvik" make-sample "$scratch/pairs/sample-$points.$extension" --points "$points"; done
done
"$sorvik" convert "$scratch/pairs/format8-scanned-extra.las" -o "$scratch/cloud"
for extension in las laz; do "$sorvik" points "$scratch/cloud" -o "$scratch/pairs/exported.$extension"; done
for extension in las laz; do
  "$sorvik" make-sample "$scratch/pairs/old-format3-sample.$extension" --points 60000 --las-version 1.2
done
for kind in format{0,1,2,3}-scanned{,-extra}; do
  "$sorvik" convert "$scratch/pairs/$kind.las" -o "$scratch/$kind" >/dev/null
  for extension in las laz; do
    "$sorvik" points "$scratch/$kind" -o "$scratch/pairs/old-$kind.$extension" --las-version 1.2
  done
done
"${compare[@]}" "$scratch/pairs"
