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

#   builds NAME SOURCE
builds() {
  # shellcheck disable=SC2046,SC2086 # the flags and the answers of pkg-config are words
  "$compiler" -std=c11 $flags $(pkg-config --cflags zar-engine) -c "$2" -o "$scratch/$1.o"
  # shellcheck disable=SC2046,SC2086
  "$linker" $flags "$scratch/$1.o" $(pkg-config --libs zar-engine) -Wl,-rpath,"$prefix/$libdir" -o "$scratch/$1"
}
flags=$*
builds quick "$prefix/share/doc/zar/examples/embed/quick.c"
env -u LD_LIBRARY_PATH "$scratch/quick" > "$scratch/output"
diff -u "$expected" "$scratch/output"

# A host that calls nothing of the engine is linked with it all the same: the library needs it.
builds mistaken "$(dirname "$0")/mistaken.c"
env -u LD_LIBRARY_PATH "$scratch/mistaken" none > "$scratch/output"
grep -qx 'nothing stopped it' "$scratch/output"
