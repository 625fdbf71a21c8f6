#!/bin/sh
# A host in C++20 is built with find_package from an installation and runs there, linked with the library and loading it.
# Its platform runtime passes the check that was installed with the library.
#   consumer_cpp.sh PREFIX LIBDIR CMAKE OPTION...     with the options CMake configures the host
set -eu
prefix=$1 libdir=$2 cmake=$3
shift 3
here=$(cd "$(dirname "$0")/consumer_cpp" && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

fail() {
  echo "$*" >&2
  exit 1
}
runs() {
  output=$("$@") || fail "$1 failed: $output"
  test "$output" = "all as it should be" || fail "$1 says '$output'"
}

examples=$prefix/share/doc/zar/examples/embed
"$cmake" -S "$here" -B "$scratch" -DCMAKE_PREFIX_PATH="$prefix" -DQUICK="$examples/quick.c" \
  -DINSPECTABLE="$examples/inspectable.c" "$@" > "$scratch/log" || { cat "$scratch/log"; exit 1; }
"$cmake" --build "$scratch" >> "$scratch/log" || { cat "$scratch/log"; exit 1; }

runs "$scratch/linked"
runs "$scratch/loading" "$prefix/$libdir/libzar.so.1"
if test -e "$scratch/quick"; then
  "$scratch/quick" > "$scratch/output" || fail "the shortest host fails"
  diff -u "$here/../../../examples/embed/quick.txt" "$scratch/output"
  "$scratch/inspectable" > "$scratch/output" || fail "the host that shows its repository fails"
  diff -u "$here/../../../examples/embed/inspectable.txt" "$scratch/output"
fi
"$scratch/platform-check" > "$scratch/report" 2> "$scratch/messages" || fail "$(cat "$scratch/report")"
"$scratch/platform-check-of-archive" trees > "$scratch/report" || fail "$(cat "$scratch/report")"
test ! -s "$scratch/messages" || fail "the check lets through what the runtime traces: $(cat "$scratch/messages")"
