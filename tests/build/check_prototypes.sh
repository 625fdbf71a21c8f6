#!/bin/sh
# The headers declare what is exported with the promised types, in C11 and in C++20.
#   check_prototypes.sh ROOT COMPILER
set -eu
export LC_ALL=C
root=$1 compiler=$2
here=$root/tests/build
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

sed -nE 's/^(PROTOTYPE|VARIABLE)\(.*[ *]([a-z_0-9]+)(, \(.*\))?\)$/\2/p' "$here/prototypes.inc" | sort >"$scratch/typed"
sed -nE 's/^ *([a-z_0-9]+);$/\1/p' "$root/cmake/zar.map" | sort >"$scratch/exported"
test -s "$scratch/exported" || { echo "cmake/zar.map lists no names" >&2; exit 1; }
diff "$scratch/exported" "$scratch/typed" || { echo "prototypes.inc has other names than cmake/zar.map" >&2; exit 1; }

for language in c c++; do
  case $language in c) standard=c11 ;; *) standard=c++20 ;; esac
  # shellcheck disable=SC2086  # options may follow the compiler
  $compiler -x $language -std=$standard -fsyntax-only -Wall -Wextra -Wpedantic -Werror -I "$root/include" -I "$root" \
    "$here/prototypes.h"
done
echo "$(grep -c ^PROTOTYPE "$here/prototypes.inc") operations and $(grep -c ^VARIABLE "$here/prototypes.inc") variables have the promised types"
