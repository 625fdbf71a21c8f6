#!/bin/sh
# Each public header compiles alone, twice, and with all others in any order, as C11 and as C++20.
#   check_headers.sh c|c++ ROOT COMPILER
set -eu
language=$1
root=$2
compiler=$3
# Options may follow the compiler.
command -v "${compiler%% *}" >/dev/null || {
  echo "${compiler%% *} is not installed, and the headers have to compile with it" >&2
  exit 1
}
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

case $language in
  c) standard=c11 source=$scratch/check.c ;;
  c++) standard=c++20 source=$scratch/check.cpp ;;
  *) echo "unknown language $language" >&2; exit 1 ;;
esac

# Compiles a source that includes the given headers in their order.
compiles() {
  for header; do
    echo "#include \"$header\""
  done > "$source"
  # A source without a declaration is not C.
  echo 'typedef int check_declaration;' >> "$source"
  # shellcheck disable=SC2086
  if ! $compiler -x "$language" -std=$standard -fsyntax-only -Wall -Wextra -Wpedantic -Werror \
      -I "$root/include" -I "$root" "$source"; then
    echo "does not compile as $standard: $*" >&2
    exit 1
  fi
}

cd "$root"
headers=$(cd include && find zar -name '*.h' | sort)
headers="$headers $(find platform -name '*.h' | sort)"
# shellcheck disable=SC2086
set -- $headers
test $# -gt 8 || { echo "only $# headers found in $root" >&2; exit 1; }

for header in "$@"; do
  compiles "$header"
  compiles "$header" "$header"
done

# Every rotation, forwards and backwards: each header comes first, last, and right after each neighbour.
turns=$#
while test "$turns" -gt 0; do
  compiles "$@"
  backwards=
  for header in "$@"; do
    backwards="$header $backwards"
  done
  # shellcheck disable=SC2086
  compiles $backwards
  first=$1
  shift
  set -- "$@" "$first"
  turns=$((turns - 1))
done
