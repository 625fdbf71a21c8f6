#!/bin/sh
# The commands and pretty-printers for gdb show the contents of a repository, in a live process and in a core file, and
# say what is missing. gdb loads them by itself with the library.
#   gdb.sh GDB LIBRARY HOST EXPECTED
# HOST is the program of debugged/, EXPECTED what the commands print. In a build without debug information, only the
# messages about that are checked.
set -eu
export LC_ALL=C HOME=/nonexistent PYTHONDONTWRITEBYTECODE=1
gdb=$1 library=$(readlink -f "$2") host=$3 expected=$4
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

fail() {
  echo "$*" >&2
  test ! -e "$scratch/errors" || cat "$scratch/output" "$scratch/errors" >&2
  exit 1
}
# Runs gdb with commands, up to the first that fails; the answers are in 'output', and the errors in 'errors'.
#   debug [OPTION ...] -- COMMAND ...
debug() {
  options=
  while test "$1" != --; do
    options="$options $1"
    shift
  done
  shift
  for command; do echo "$command"; done > "$scratch/commands"
  # shellcheck disable=SC2086 # the options are words
  "$gdb" -nx -batch -iex "add-auto-load-safe-path $(dirname "$library")" -iex "set debuginfod enabled off" \
    -iex "set width 0" -iex "set pagination off" -x "$scratch/commands" $options > "$scratch/output" 2> "$scratch/errors" || true
}
fails_with() {
  grep -qF "$1" "$scratch/errors" || fail "no error '$1'"
}
prints() {
  grep -qF "$1" "$scratch/output" || fail "'$1' is not printed"
}
refuses() {
  debug "$host" "$scratch/core" -- "$1"
  fails_with "$2"
}

# ---- Without a process, and with one that has not loaded the library yet ----

debug "$host" -- "source $(dirname "$library")/$(basename "$library")-gdb.py" "zar policies"
fails_with "no program is running, and no core file is loaded"

debug "$host" -- "break main" "run" "zar policies"
fails_with "the repository was not started: zar_init has not run"
if ! readelf -SW "$library" | grep -q '\.debug_info'; then
  debug "$host" -- "run > $scratch/handles" "zar policies"
  fails_with "libzar.so.1 has no debug information here: install libzar1-dbgsym"
  exit 0
fi

# ---- A live process, and its core file ----

debug "$host" -- "run > $scratch/handles" "generate-core-file $scratch/core" "zar policies"
prints "policy-map guest-access, domain guest control"
# The addresses that the runtime reserves for records are not in it, only the records.
megabytes=$(($(stat -c %s "$scratch/core") >> 20))
test "$megabytes" -lt 200 || fail "the core file has $megabytes MB"
pmap='' cmap='' event='' rule='' action='' target='' map='' unstored=''
eval "$(cat "$scratch/handles")"

# Addresses differ from machine to machine.
show_all() {
  for command in "zar policies" "zar policy guest-access" "zar policy plain" "zar target $target" "zar handle $pmap" \
    "zar handle $cmap" "zar handle $event" "zar handle $rule" "zar handle $action" "zar handle $map" "zar handle $unstored"; do
    echo "echo \\\\n# $command\\\\n"
    echo "$command"
  done
}
show_all > "$scratch/all"
shown_in() {
  sed -n '/^# zar policies/,$p' "$scratch/output" | sed -E 's/(data|\*\)) 0x[0-9a-f]+/\1 ADDRESS/'
}
debug "$host" "$scratch/core" -- "source $scratch/all"
shown_in > "$scratch/dead"
diff -u "$expected" "$scratch/dead"
debug "$host" -- "run > $scratch/handles" "source $scratch/all"
shown_in > "$scratch/live"
diff -u "$expected" "$scratch/live"

# ---- Pretty-printers ----

debug "$host" "$scratch/core" -- "zar handle $pmap"
record=$(sed -n 's/^(zar_pmap \*) //p' "$scratch/output")
debug "$host" "$scratch/core" -- "print *(zar_pmap *) $record" "print ((zar_pmap *) $record)->name" \
  "print ((zar_pmap *) $record)->rule_list"
prints "policy-map guest-access, domain guest control, handle $pmap"
prints '= "guest-access"'
prints "= queue of 1"

# ---- The trace that the runtime keeps ----

refuses "zar trace" "the runtime keeps no trace lines; start the program with ZAR_TRACE=info and ZAR_TRACE_KEEP=1000"
refuses "zar trace x" "usage: zar trace [counts]"
debug "$host" -- "set environment ZAR_TRACE=info" "set environment ZAR_TRACE_KEEP=2" "run > $scratch/handles" \
  "zar trace" "zar trace counts"
sed -n '/^[0-9] (/p' "$scratch/output" > "$scratch/trace"
diff -u - "$scratch/trace" <<END
6 (info): Added filter to internal class
6 (info): create_action: successful, action:$unstored
END
prints "       4 info store_class"
prints "      41 info create_filter"

# ---- What cannot be shown ----

refuses "zar policy nobody" 'no database has a policy-map nobody; "zar policies" lists them'
refuses "zar policy" "usage: zar policy NAME"
refuses "zar policies x" "usage: zar policies"
refuses "zar target $pmap" "names a zar_pmap, not a target"
refuses "zar handle 0x12345678" "handle 0x12345678 names no live record of the library"
refuses "zar handle what" '"what" is no handle'

# A damaged process gets a message, and no endless walk: the list of rules ends early, the tree leads back to its root.
debug "$host" -- "run > $scratch/handles" "set var ((zar_pmap *) $record)->rule_list.count = 9" "zar policy guest-access"
fails_with "a queue ends before its last element"
debug "$host" -- "run > $scratch/handles" "set var ((zar_pmap *) $record)->node.left = (avl_node *) $record" "zar policies"
fails_with "a node is in it twice"
debug "$host" -- "run > $scratch/handles" "set var ((zar_pmap *) $record)->rule_list.head = (void *) 8" \
  "zar policy guest-access"
fails_with "the memory of the repository is damaged or not in the core file"
