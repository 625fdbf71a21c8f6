#!/bin/sh
# There is one version: the file VERSION, the headers, the library's file name and soname, the changelog and the command
# agree.
#   version.sh ROOT LIBRARY COMMAND COMPILER [FLAG ...]    COMMAND is 'none' with the library alone
set -eu
root=$1 library=$2 command=$3 compiler=$4
shift 4
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
soname=$(readelf -dW "$library" | sed -n 's/.*SONAME.*\[libzar\.so\.\(.*\)\]/\1/p')
same "the soname" "$soname${version#"${version%%.*}"}"
same "the changelog" "$(sed -n 's/^## \[\([0-9][0-9.]*\)\].*/\1/p' "$root/CHANGELOG.md" | head -n 1)"
test "$command" = none || same "zar --version" "$("$command" --version | sed 's/^zar //')"
