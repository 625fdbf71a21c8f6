#!/bin/sh
# There is one version: the file VERSION, the headers, the library's file name and soname, the changelog and the command
# agree.
#   version.sh ROOT LIBRARY COMMAND COMPILER LINKER [FLAG ...]    COMMAND is 'none' with the library alone
set -eu
root=$1 library=$2 command=$3 compiler=$4 linker=$5
shift 5
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
version=$(head -n 1 "$root/VERSION")

same() {
  test "$2" = "$version" || {
    echo "VERSION says $version, $1 '$2'" >&2
    exit 1
  }
}

cat > "$scratch/ask.c" <<'END'
#include <stdio.h>

#include "zar/version.h"

int main(void) {
  printf("%s %d.%d.%d\n", zar_version(), ZAR_VERSION_MAJOR, ZAR_VERSION_MINOR, ZAR_VERSION_PATCH);
  return !ZAR_VERSION_AT_LEAST(ZAR_VERSION_MAJOR, ZAR_VERSION_MINOR, ZAR_VERSION_PATCH) ||
         ZAR_VERSION_AT_LEAST(ZAR_VERSION_MAJOR, ZAR_VERSION_MINOR, ZAR_VERSION_PATCH + 1) ||
         ZAR_VERSION_AT_LEAST(ZAR_VERSION_MAJOR, ZAR_VERSION_MINOR + 1, 0) ||
         ZAR_VERSION_AT_LEAST(ZAR_VERSION_MAJOR + 1, 0, 0) || !ZAR_VERSION_AT_LEAST(0, 99, 99);
}
END
"$compiler" -std=c11 "$@" -I "$root/include" "$scratch/ask.c" -o "$scratch/ask"
answer=$("$scratch/ask")
same "zar_version()" "${answer% *}"
same "the version macros" "${answer#* }"

real=$(basename "$(readlink -f "$library")")
same "the file name of the library" "${real#libzar.so.}"
readelf -nW "$library" | grep -Eq '^ *zar +0x' || {
  echo "readelf -n shows no note of the owner zar" >&2
  exit 1
}
same "the note" "$(readelf -p .note.zar "$library" | sed -n 's/^ *\[ *10\] *//p')"
soname=$(readelf -dW "$library" | sed -n 's/.*SONAME.*\[libzar\.so\.\(.*\)\]/\1/p')
same "the soname" "$soname${version#"${version%%.*}"}"
same "python/zar/_version.py" "$(sed -n 's/^VERSION = "\(.*\)"$/\1/p' "$root/python/zar/_version.py")"
same "the changelog" "$(sed -n 's/^## \[\([0-9][0-9.]*\)\].*/\1/p' "$root/CHANGELOG.md" | head -n 1)"
# A host that asks the loaded library, linked with the stand-ins.
if test "$command" != none; then
  libraries=$(dirname "$library")
  "$compiler" -std=c11 "$@" -I "$root/include" -c "$root/examples/embed/release.c" -o "$scratch/release.o"
  # With sanitizers, libraries of C++ need more than a C compiler links.
  "$linker" "$@" "$scratch/release.o" -o "$scratch/release" \
    -L "$libraries" -Wl,-rpath,"$libraries" -Wl,--no-as-needed -lzar -lzarengine -lzarplatform
  same "the loaded library" "$("$scratch/release" | sed 's/.*, running with //')"
fi
test "$command" = none || same "zar --version" "$("$command" --version | sed 's/^zar //')"
