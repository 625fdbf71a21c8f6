#!/bin/sh
# A host in C11 is built with pkg-config from an installation and runs there, linked with the library and loading it.
#   consumer_c.sh PREFIX LIBDIR RUNTIME COMPILER LINKER [FLAG ...]
# RUNTIME is the source of its platform runtime, that of the example.
set -eu
prefix=$1 libdir=$2 runtime=$3 compiler=$4 linker=$5
shift 5
here=$(cd "$(dirname "$0")/consumer_c" && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
export PKG_CONFIG_PATH="$prefix/$libdir/pkgconfig"

fail() {
  echo "$*" >&2
  exit 1
}
runs() {
  output=$("$@") || fail "$1 failed: $output"
  test "$output" = "all as it should be" || fail "$1 says '$output'"
}

# Compiles the host and its runtime into a folder.
#   compiles FOLDER [FLAG ...]
compiles() {
  folder=$scratch/$1
  shift
  mkdir "$folder"
  for source in "$here/consumer.c" "$runtime"; do
    # shellcheck disable=SC2046  # the answers of pkg-config are words
    "$compiler" -std=c11 "$@" $(pkg-config --cflags zar) -c "$source" -o "$folder/$(basename "$source").o"
  done
}

compiles linked "$@"
# shellcheck disable=SC2046
"$linker" "$@" "$scratch"/linked/*.o $(pkg-config --libs zar) -Wl,-rpath,"$prefix/$libdir" -o "$scratch/linked/host"
runs "$scratch/linked/host"

compiles loading "$@" -DCONSUMER_LOADS
"$linker" "$@" "$scratch"/loading/*.o -rdynamic -ldl -o "$scratch/loading/host"
runs "$scratch/loading/host" "$prefix/$libdir/libzar.so.1"

# A program that does not export the imports cannot load the library, and gets the reason.
"$linker" "$@" "$scratch"/loading/*.o -ldl -o "$scratch/loading/secretive"
if "$scratch/loading/secretive" "$prefix/$libdir/libzar.so.1" 2> "$scratch/message"; then
  fail "the library was loaded without its imports"
fi
grep -q 'undefined symbol' "$scratch/message" || fail "loading failed otherwise: $(cat "$scratch/message")"
