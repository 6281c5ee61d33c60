#!/usr/bin/env bash
# Makes a cloud, describes it and walks it, all of it and a part, as a first look at the program.
#   scripts/demo.sh FOLDER_OF_PROGRAMS
set -euo pipefail
bin=$1
cloud=build/demo/survey

run() {
  echo
  echo "\$ ${*/#$bin\//}"
  "$@"
}

rm -rf "$cloud"
run "$bin/make_demo_cloud" "$cloud" --points 1000000
run "$bin/sorvik" info "$cloud"
run "$bin/sorvik" points "$cloud" --count
centre=$("$bin/sorvik" info "$cloud" --json | python3 -c '
import json, sys
box = json.load(sys.stdin)["boundingBox"]
print(",".join(f"{(low + high) / 2:.2f}" for low, high in zip(box["min"], box["max"])))' 2>/dev/null || true)
