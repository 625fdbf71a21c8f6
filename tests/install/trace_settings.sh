#!/bin/sh
# The settings in the environment show the trace of a host that has nothing but the installed runtime, and wrong ones are
# refused with what is expected.
#   trace_settings.sh HOST
set -eu
export LC_ALL=C
host=$1
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cd "$scratch"

fail() {
  echo "$*" >&2
  cat messages >&2
  exit 1
}
# What the host writes to stderr. The signal that it sends to itself is for a debugger.
runs() {
  (
    trap '' USR1
    env "$@" "$host" > output 2> messages
  ) || fail "the host does not run with $*"
}
lines() {
  grep -c "$1" "$2" || true
}

runs ZAR_TRACE=
test ! -s messages || fail "there is a trace without a setting"

runs ZAR_TRACE=error
test ! -s messages || fail "the host causes errors"
runs ZAR_TRACE=info
test "$(lines '^(info): store_policy: successful' messages)" -eq 2 || fail "two policies are stored"
test "$(lines ' avl comp' messages)" -gt 0 || fail "no comparisons"

runs ZAR_TRACE=info ZAR_TRACE_WITHOUT='* avl comp*'
test "$(lines ' avl comp' messages)" -eq 0 || fail "comparisons are not left out"
test "$(lines '^(info): store_policy: successful' messages)" -eq 2 || fail "too much is left out"
runs ZAR_TRACE=info ZAR_TRACE_ONLY=store_policy,add_event
test "$(grep -cv -e "^(info): store_policy" -e "^(info): add_event" messages || true)" -eq 0 || fail "other operations are traced"
test "$(lines '^(info): add_event' messages)" -gt 0 || fail "nothing of the second operation"
runs ZAR_TRACE=info ZAR_TRACE_ONLY=ERR
test ! -s messages || fail "information is traced as errors"

runs ZAR_TRACE=info ZAR_TRACE_TO=trace
test ! -s messages || fail "the trace is not in the file alone"
test "$(lines 'store_policy: successful' trace)" -eq 2 || fail "the trace is not in the file"
runs ZAR_TRACE=info ZAR_TRACE_KEEP=100
test ! -s messages || fail "lines that are kept are printed too"
runs ZAR_TRACE=info ZAR_TRACE_KEEP=100 ZAR_TRACE_TO=stderr
test -s messages || fail "kept lines cannot be printed too"

refuses() {
  runs "$1"
  test "$(cat messages)" = "zar: the setting $1 is ignored: $2" || fail "$1 is not refused with '$2'"
}
refuses ZAR_TRACE=loud "it is error, or info for both levels"
for number in 0 -1 x 1x 1000001 99999999999999999999; do
  refuses "ZAR_TRACE_KEEP=$number" "it is a number of lines from 1 to 1000000"
done
refuses ZAR_TRACE_TO=/nowhere/trace "the file cannot be opened; it is stderr or a file"
