#!/bin/sh
# A host in C11 is built with pkg-config from an installation and runs there, linked with the library and loading it. Its
# platform runtime is that of the installed example.
#   consumer_c.sh PREFIX LIBDIR COMPILER [FLAG ...]
set -eu
prefix=$1 libdir=$2 compiler=$3
shift 3
here=$(cd "$(dirname "$0")/consumer_c" && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
export PKG_CONFIG_PATH="$prefix/$libdir/pkgconfig"
runtime=$prefix/share/doc/zar/examples/embed/runtime.c

fail() {
  echo "$*" >&2
  exit 1
}
runs() {
  output=$("$@") || fail "$1 failed: $output"
  test "$output" = "all as it should be" || fail "$1 says '$output'"
}

# shellcheck disable=SC2046  # the answers of pkg-config are words
"$compiler" -std=c11 "$@" $(pkg-config --cflags zar) "$here/consumer.c" "$runtime" $(pkg-config --libs zar) \
  -Wl,-rpath,"$prefix/$libdir" -o "$scratch/linked"
runs "$scratch/linked"

# shellcheck disable=SC2046
"$compiler" -std=c11 "$@" -DCONSUMER_LOADS $(pkg-config --cflags zar) "$here/consumer.c" "$runtime" -rdynamic -ldl \
  -o "$scratch/loading"
runs "$scratch/loading" "$prefix/$libdir/libzar.so.1"

# A program that does not export the imports cannot load the library, and learns why.
# shellcheck disable=SC2046
"$compiler" -std=c11 "$@" -DCONSUMER_LOADS $(pkg-config --cflags zar) "$here/consumer.c" "$runtime" -ldl \
  -o "$scratch/secretive"
if "$scratch/secretive" "$prefix/$libdir/libzar.so.1" 2> "$scratch/message"; then
  fail "the library was loaded without its imports"
fi
grep -q 'undefined symbol' "$scratch/message" || fail "loading failed otherwise: $(cat "$scratch/message")"
