#!/bin/sh
# Every promise has a runtime or an engine that breaks it and keeps all others.
#   covered.sh PROGRAM NUMBERS...     NUMBERS are the promises that one of them breaks, as in "queue.4" "queue.4 queue.5"
set -eu
export LC_ALL=C
program=$1
shift
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
printf '%s\n' "$@" | grep -v ' ' | sort -u > "$scratch/broken"
"$program" --list | cut -d ' ' -f 1 | sort > "$scratch/listed"
diff -u "$scratch/listed" "$scratch/broken"
