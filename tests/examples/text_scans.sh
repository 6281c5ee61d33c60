#!/bin/sh
# The example of a reader plug-in converts a text of 100,000 points, and says which line is none.
#   text_scans.sh EXAMPLE
set -eu
example=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

mkdir "$work/scans"
awk 'BEGIN { for (i = 0; i < 100000; ++i) print i % 317 * 0.25, -i % 211, i / 1000, i % 65536 }' >"$work/scans/a.xyzi"
echo "1.5 2.5 3.5 7" >"$work/scans/b.XYZI"
[ "$("$example" "$work/scans" "$work/cloud")" = "100001 points" ]
[ -f "$work/cloud/metadata.json" ]

printf '1 2 3 4\n1 2 three 4\n' >"$work/scans/b.XYZI"
if "$example" "$work/scans" "$work/second" 2>"$work/messages"; then exit 1; fi
grep -q "b.XYZI: line 2: expected x y z intensity, found '1 2 three 4'" "$work/messages"
[ ! -e "$work/second" ]
