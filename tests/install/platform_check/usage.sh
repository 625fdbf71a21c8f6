#!/bin/sh
# The program refuses what it does not understand with its usage and exit status 2, and takes a limit and groups.
#   usage.sh PROGRAM
set -eu
program=$1

fail() {
  echo "$*" >&2
  exit 1
}
refuses() {
  status=0
  output=$("$program" "$@" 2>&1) || status=$?
  test "$status" -eq 2 || fail "'$*' gives exit status $status"
  case $output in "usage: "*) ;; *) fail "'$*' prints '$output'" ;; esac
}

refuses --second
refuses --seconds
refuses --seconds 0
refuses --seconds 3601
refuses --seconds 5x
refuses --seconds -1
refuses --seconds 5 "no such group"
refuses trace --seconds 5
refuses --list trace
"$program" --help | grep -q "'id tables'" || fail "--help does not list the groups"
"$program" --seconds 3600 trace copying | grep -q '^10 of 10 promises are kept$' || fail "not the promises of two groups"
test "$("$program" --list | grep -c '^trace\.')" -eq 4 || fail "--list does not list the promises of trace"

# Without an engine, its promises are not checked, and the report says so.
"$program" copying engine | grep -qx 'engine: not linked with this program, not checked' || fail "the engine is not left out"
status=0
"$program" engine 2> /dev/null || status=$?
test "$status" -eq 2 || fail "checking nothing but the missing engine gives exit status $status"
