#!/bin/sh
# With one promise broken on purpose the program reports this promise and exits with 1.
#   breaks.sh PROGRAM BREAKAGE SENTENCE [OPTION ...]
set -eu
program=$1 breakage=$2 sentence=$3
shift 3
status=0
report=$(BREAK=$breakage "$program" "$@") || status=$?
if test "$status" -ne 1 || ! printf '%s\n' "$report" | grep -qF "BROKEN  $sentence"; then
  printf '%s\n' "$report"
  echo "wanted exit status 1 and 'BROKEN  $sentence', got exit status $status" >&2
  exit 1
fi
