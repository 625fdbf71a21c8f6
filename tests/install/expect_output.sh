#!/bin/sh
# Checks that a program exits with 0 and prints exactly the contents of a file.
#   expect_output.sh EXPECTED PROGRAM [ARGUMENT ...]
set -eu
expected=$1
shift
output=$(mktemp)
trap 'rm -f "$output"' EXIT
"$@" > "$output"
diff -u "$expected" "$output"
