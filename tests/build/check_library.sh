#!/bin/sh
# Checks the promises of libzar.so to its users, by reading the file itself.
#   check_library.sh exports|imports|dependencies|hardening LIBRARY [LIST]
# LIST names what this build may take from the C runtime beside c_imports.txt. NM and READELF name programs that read the
# library, which may be for another machine.
set -eu
export LC_ALL=C
nm=${NM:-nm} readelf=${READELF:-readelf}
what=$1
library=$2
here=$(dirname "$0")
more_of_c=${3:-c_imports.txt}
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

fail() {
  echo "$library: $*" >&2
  exit 1
}

# The names of a list, without its comments, sorted.
names() {
  grep -v '^#' "$1" | sort
}

undefined() {
  "$nm" -D --undefined-only "$library" | awk '{ print $NF }' | sed 's/@.*//' | sort -u
}

# The two lists are equal, or the difference is shown: '<' is missing, '>' is too much.
same() {
  diff "$1" "$2" || fail "$3"
}

# The names in the version script, each with its version.
promised() {
  awk '/^[A-Z].*\{/ { version = $1 } /^ *[a-z_0-9]*;/ { sub(";", ""); print $1 "@@" version }' "$here/../../cmake/zar.map" | sort
}

exports() {
  # Besides the names there is the version itself, as an absolute symbol.
  "$nm" -D --defined-only --with-symbol-versions "$library" | awk '$2 != "A" { print $3 }' | sort > "$scratch/found"
  promised > "$scratch/wanted"
  test -s "$scratch/wanted" || fail "cmake/zar.map lists no names"
  same "$scratch/wanted" "$scratch/found" "exports other names than cmake/zar.map lists"
}

imports() {
  undefined > "$scratch/undefined"
  names "$here/c_imports.txt" > "$scratch/of_c_always"
  names "$here/$more_of_c" | sort -u - "$scratch/of_c_always" > "$scratch/of_c"
  names "$here/imports.txt" > "$scratch/wanted"
  test -s "$scratch/wanted" || fail "the list of imports is empty"
  comm -23 "$scratch/undefined" "$scratch/of_c" > "$scratch/found"
  same "$scratch/wanted" "$scratch/found" "imports other names than imports.txt and c_imports.txt"
}

dependencies() {
  "$readelf" -dW "$library" > "$scratch/dynamic"
  grep -q 'SONAME.*\[libzar\.so\.1\]' "$scratch/dynamic" || fail "the soname is not libzar.so.1"
  if grep -E 'RPATH|RUNPATH' "$scratch/dynamic"; then fail "carries a search path"; fi
  sed -n 's/.*NEEDED.*\[\(.*\)\]/\1/p' "$scratch/dynamic" | sort > "$scratch/found"
  names "$here/needed.txt" > "$scratch/allowed"
  comm -23 "$scratch/found" "$scratch/allowed" > "$scratch/excess"
  if test -s "$scratch/excess"; then
    cat "$scratch/excess"
    fail "depends on more than the C and C++ runtime"
  fi
}

hardening() {
  "$readelf" -lW "$library" > "$scratch/segments"
  "$readelf" -dW "$library" > "$scratch/dynamic"
  undefined > "$scratch/undefined"
  grep -q GNU_RELRO "$scratch/segments" || fail "no RELRO"
  grep -Eq 'BIND_NOW|FLAGS_1.*NOW' "$scratch/dynamic" || fail "symbols are bound lazily"
  if grep -q TEXTREL "$scratch/dynamic"; then fail "has text relocations"; fi
  grep 'GNU_STACK' "$scratch/segments" | grep -q ' RW ' || fail "the stack is executable"
  if grep LOAD "$scratch/segments" | grep -q 'RWE'; then fail "a segment is writable and executable"; fi
  grep -qx __stack_chk_fail "$scratch/undefined" || fail "no stack protector"
  grep -q '_chk$' "$scratch/undefined" || fail "no fortified function"
}

case $what in
  exports | imports | dependencies | hardening) "$what" ;;
  *) fail "unknown check $what" ;;
esac
