#!/bin/sh
# With a runtime or an engine that is broken in one way, the program reports the promises that this breaks, no others,
# and exits with 1.
#   breaks.sh PROGRAM WAY NUMBERS [OPTION ...]     NUMBERS is one word, as in "queue.4 queue.5"
set -eu
program=$1 way=$2 wanted=$3
shift 3
status=0
report=$(BREAK=$way "$program" "$@") || status=$?
found=$(printf '%s\n' "$report" | sed -n 's/^  BROKEN  \([a-z]*\.[0-9]*\) .*/\1/p' | paste -s -d ' ')
if test "$status" -ne 1 || test "$found" != "$wanted"; then
  printf '%s\n' "$report"
  echo "wanted exit status 1 and the broken promises $wanted, got exit status $status and '$found'" >&2
  exit 1
fi
