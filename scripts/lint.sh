#!/usr/bin/env bash
# Checks what a program can check of the tree's rules. Formatting, include arrows and bans cover the whole tree;
# clang-tidy the sources that the last 50 commits touched or that include a touched header, with --all every one.
set -euo pipefail
git ls-files -- '*.h' '*.cpp' | xargs clang-format-14 --dry-run -Werror
python3 scripts/check_tree.py
names=$(python3 scripts/changed_sources.py "$@")
mapfile -t sources <<<"$names"
echo "clang-tidy on ${#sources[@]} sources"
log=$(mktemp)
trap 'rm -f "$log"' EXIT
if ! printf '%s\n' "${sources[@]}" | xargs -r -P "$(nproc)" -n 4 clang-tidy-14 -p build/asan --quiet >"$log" 2>&1; then
  grep -vE '^[0-9]+ warnings? (generated|treated)|^$|Suppressed' "$log"
  exit 1
fi
