#!/bin/sh
# The library keeps nothing for a thread, and as shipped it has as little memory of its own as the headers say.
#   own_memory.sh LIBRARY BUILD_TYPE
set -eu
export LC_ALL=C
library=$1 build_type=$2

if readelf -lW "$library" | grep -q '^ *TLS '; then
  echo "the library has variables of threads: calls from several threads would see different ones" >&2
  exit 1
fi
test "$build_type" = Release || exit 0
bytes=$(size -A "$library" | awk '$1 == ".bss" || $1 == ".data" { sum += $2 } END { print sum }')
test "$bytes" -lt 3000000 || { echo "the library has $bytes bytes of static memory" >&2; exit 1; }
