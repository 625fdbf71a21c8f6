#!/bin/sh
# A daemon that is started with the library with checks ends at its mistakes, with a line that names them; without
# ZAR_CHECKS=on, or with the shipped library, it does not.
#   debug_library.sh FOLDER HOST      FOLDER holds the library with checks, HOST is the program of mistaken.c
set -eu
export LC_ALL=C
folder=$1 host=$2
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
unset ZAR_CHECKS LD_LIBRARY_PATH

fail() {
  echo "$*" >&2
  cat "$scratch/output" >&2
  exit 1
}
#   run MISTAKE [NAME=VALUE ...]
run() {
  mistake=$1
  shift
  env "$@" sh -c 'ulimit -c 0; exec "$@"' sh "$host" "$mistake" >"$scratch/output" 2>&1
}
goes_on() {
  run "$@" || fail "stopped: $*"
  grep -qx 'nothing stopped it' "$scratch/output" || fail "not at its end: $*"
}
ends_with() {
  line=$1
  shift
  if run "$@"; then fail "not stopped: $*"; fi
  grep -qF "$line" "$scratch/output" || fail "no line '$line': $*"
}

for mistake in none early broken; do
  goes_on "$mistake" ZAR_CHECKS=on
  goes_on "$mistake" LD_LIBRARY_PATH="$folder"
done
goes_on none LD_LIBRARY_PATH="$folder" ZAR_CHECKS=on
ends_with 'zar: zar_get_pmap_name was called before zar_init: call zar_init once, before everything else' \
  early LD_LIBRARY_PATH="$folder" ZAR_CHECKS=on
ends_with "zar: zar_delete_policy broke invariant 1 of zar_db: 'pmap_tree' holds a record that was freed" \
  broken LD_LIBRARY_PATH="$folder" ZAR_CHECKS=on
