#!/bin/sh
# Every symbol that the shared library exports belongs to namespace Sorvik, and none to the inner records
# there.
#   exported_symbols.sh LIBRARY
set -eu
# Mangled: a demangled function template begins with its return type, which says nothing of its home.
symbols=$(nm -D --defined-only "$1" | cut -d ' ' -f 3)

fail() {
  echo "$1: $(echo "$2" | c++filt)" >&2
  exit 1
}
echo "$symbols" | grep -q '^_ZN6Sorvik13versionString' || fail "versionString is missing" "$symbols"

# Typeinfo, typeinfo names, vtables, VTTs and thunks of the namespace belong to it.
foreign=$(echo "$symbols" | grep -vE '^_Z(T[ISVT]|Th[^_]*_|Tv[^_]*_[^_]*_)?NK?6Sorvik' || true)
[ -z "$foreign" ] || fail "not of namespace Sorvik" "$foreign"

inner=$(echo "$symbols" | grep -E '4Impl|12EngineAccess' || true)
[ -z "$inner" ] || fail "not for users" "$inner"
echo "$(echo "$symbols" | wc -l) symbols, all of namespace Sorvik"
