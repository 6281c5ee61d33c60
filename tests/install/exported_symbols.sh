#!/bin/sh
# Every symbol that the shared library exports belongs to namespace Sorvik, and none to the inner records there.
#   exported_symbols.sh LIBRARY
set -eu
symbols=$(nm -DC --defined-only "$1" | cut -d ' ' -f 3-)

fail() {
  echo "$1" >&2
  exit 1
}
echo "$symbols" | grep -q '^Sorvik::versionString' || fail "versionString is not exported"

info='(typeinfo|typeinfo name|vtable|VTT) for |(virtual|non-virtual) thunk to '
foreign=$(echo "$symbols" | grep -vE "^($info)?Sorvik::" || true)
[ -z "$foreign" ] || fail "not of namespace Sorvik: $foreign"

inner=$(echo "$symbols" | grep -E '::Impl|Sorvik::EngineAccess' || true)
[ -z "$inner" ] || fail "not for users: $inner"
echo "$(echo "$symbols" | wc -l) symbols, all of namespace Sorvik"
