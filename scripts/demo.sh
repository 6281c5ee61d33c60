#!/usr/bin/env bash
# A first look at the program: makes a cloud of a million points, describes it, walks all of it and parts of it.
#   scripts/demo.sh FOLDER_OF_PROGRAMS
set -euo pipefail
readonly bin=$1
readonly folder=build/demo
readonly cloud=$folder/survey

run() {
  echo
  echo "\$ $*"
  PATH=$bin:$PATH "$@"
}

rm -rf "$folder"
run make_demo_cloud "$cloud" --points 1000000 --encoding brotli
run sorvik info "$cloud"
run sorvik points "$cloud" --count
run sorvik points "$cloud" --cylinder 452176,5411176,0,0,0,1,25 --json
run sorvik points "$cloud" --circle 452176,5411176,25 --min-spacing 1 -o "$folder/circle.ply"
echo
echo "The cloud is in $cloud, a part of it, thinned, in $folder/circle.ply."
