#!/usr/bin/env bash
# A first look at the program: makes a scan of a million points, converts it to an octree, describes that, and takes
# points out of it.
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
mkdir -p "$folder"
run sorvik make-sample "$folder/survey.las" --points 1000000 --seed 1
run sorvik convert "$folder/survey.las" -o "$cloud" --progress
run sorvik info "$cloud"
run sorvik points "$cloud" --count
run sorvik points "$cloud" --sphere 452176,5411176,425,25 --json
run sorvik points "$cloud" --circle 452176,5411176,25 --min-spacing 1 -o "$folder/circle.las"
echo
echo "The octree is in $cloud, a part of it, thinned, in $folder/circle.las."
