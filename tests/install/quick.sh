#!/bin/sh
# The shortest host is built with pkg-config from an installation, with the runtime and the engine that are installed to
# start with. It finds their folder without help, and the library as every program does.
#   quick.sh PREFIX LIBDIR EXPECTED COMPILER LINKER [FLAG ...]
set -eu
prefix=$1 libdir=$2 expected=$3 compiler=$4 linker=$5
shift 5
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
export PKG_CONFIG_PATH="$prefix/$libdir/pkgconfig"

# shellcheck disable=SC2046 # the answers of pkg-config are words
"$compiler" -std=c11 "$@" $(pkg-config --cflags zar-engine) -c "$prefix/share/doc/zar/examples/embed/quick.c" \
  -o "$scratch/quick.o"
# shellcheck disable=SC2046
"$linker" "$@" "$scratch/quick.o" $(pkg-config --libs zar-engine) -Wl,-rpath,"$prefix/$libdir" -o "$scratch/quick"
env -u LD_LIBRARY_PATH "$scratch/quick" > "$scratch/output"
diff -u "$expected" "$scratch/output"
