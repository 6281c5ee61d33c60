#!/bin/sh
# Installs the library into a temporary folder and builds the examples against it, once found by CMake and once
# by pkg-config; both programs must run and say the same.
#   consumers.sh BUILD_DIR EXAMPLES_DIR CMAKE GENERATOR COMPILER FLAGS
set -eu
build=$1 examples=$2 cmake=$3 generator=$4 compiler=$5 flags=$6
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

"$cmake" --install "$build" --component Library --prefix "$work/first" >"$work/install.log"
mv "$work/first" "$work/prefix"  # an installed tree must not know where it was installed
pc=$(find "$work/prefix" -name Sorvik.pc)

# Public headers include each other and the standard library, nothing else.
if grep -rhE '^ *# *include' "$work/prefix/include" | grep -vE '"Sorvik/[A-Za-z]+\.h"|<[a-z_]+>'; then
  echo "a public header includes what users may not have" >&2
  exit 1
fi

"$cmake" -S "$examples" -B "$work/byCMake" -G "$generator" \
  -DCMAKE_PREFIX_PATH="$work/prefix" -DCMAKE_CXX_COMPILER="$compiler" \
  -DCMAKE_CXX_FLAGS="$flags -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror" >"$work/configure.log"
"$cmake" --build "$work/byCMake" >"$work/build.log" || { cat "$work/build.log"; exit 1; }
printf '1 2 3 4\n5 6 7 8\n' >"$work/scan.xyzi"
[ "$("$work/byCMake/text_scans" "$work/scan.xyzi" "$work/cloud")" = "2 points" ]
"$work/byCMake/shapes" | tee "$work/byCMake.txt"

export PKG_CONFIG_PATH="${pc%/*}"
# Word splitting is wanted: these are lists of flags.
# shellcheck disable=SC2046,SC2086
"$compiler" -std=c++20 $flags "$examples/shapes.cpp" $(pkg-config --cflags --libs Sorvik) -o "$work/byPkgConfig"
LD_LIBRARY_PATH=$(pkg-config --variable=libdir Sorvik) "$work/byPkgConfig" >"$work/byPkgConfig.txt"
cmp "$work/byCMake.txt" "$work/byPkgConfig.txt"
grep -qx "Sorvik $(pkg-config --modversion Sorvik)" "$work/byCMake.txt"
grep -qx "(0, 2, 0) box: inside, pipe: outside" "$work/byCMake.txt"
