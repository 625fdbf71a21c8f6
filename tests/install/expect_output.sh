#!/bin/sh
# A program ends with 0 and prints exactly what a file holds.
#   expect_output.sh EXPECTED PROGRAM [ARGUMENT ...]
set -eu
expected=$1
shift
output=$(mktemp)
trap 'rm -f "$output"' EXIT
"$@" > "$output"
diff -u "$expected" "$output"
