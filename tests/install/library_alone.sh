#!/bin/sh
# Checks that the library builds, passes its tests and is installed if CMake finds no other library.
#   library_alone.sh CMAKE CTEST ROOT OPTION...     with the options CMake configures it
set -eu
cmake=$1 ctest=$2 root=$3
shift 3
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

# Shows the output of a step only if it fails.
quietly() {
  "$@" > "$scratch/log" 2>&1 || { cat "$scratch/log"; exit 1; }
}

for kind in PACKAGE LIBRARY INCLUDE; do
  set -- "$@" "-DCMAKE_FIND_ROOT_PATH_MODE_$kind=ONLY"
done
quietly "$cmake" -S "$root" -B "$scratch/build" -DZAR_HOST=OFF -DCMAKE_FIND_ROOT_PATH="$scratch/nowhere" "$@"
quietly "$cmake" --build "$scratch/build"
# The headers are the same as those of the build that runs this test.
quietly "$ctest" --test-dir "$scratch/build" --no-tests=error --output-on-failure --exclude-regex build/headers
