#!/bin/sh
# The check of the binary interface refuses a library in which something was removed or changed, and allows additions.
#   abi_gate.sh CHECK_ABI LIBRARY DESCRIPTION
set -eu
check=$1 library=$2 description=$3
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

# Without a description of the interface the check reports this and is skipped, like this test.
status=0
"$check" "$library" "$scratch/none.abi" 2> "$scratch/report" || status=$?
test "$status" -eq 77 && grep -q "^check-abi: skipped: there is no $scratch/none.abi" "$scratch/report" || {
  echo "without a description the check ends with $status and says '$(cat "$scratch/report")'" >&2
  exit 1
}
test -e "$description" || exit 77

# The library is compared with the description of another release, produced by an edit that must have applied.
described_as() {
  sed "$1" "$description" > "$scratch/other.abi"
  if cmp -s "$description" "$scratch/other.abi"; then
    echo "the edit '$1' does not apply" >&2
    exit 1
  fi
}
refuses() {
  described_as "$1"
  if "$check" "$library" "$scratch/other.abi" > "$scratch/report"; then
    echo "passed although $2" >&2
    exit 1
  fi
}

refuses "s/name='zar_handle_alloc'/name='zar_handle_obtain'/" "an operation of the other release is gone"
refuses "s/name='zar_clients_info'/name='zar_clients_table'/" "data of the other release is gone"

# Types are known only if there is debug information.
if readelf -S "$library" | grep -q '\.debug_info'; then
  refuses "s/\(class-decl name='zar_pmap' size-in-bits='\)[0-9]*/\18/" "a record has another size"
fi

described_as "/elf-symbol name='zar_handle_alloc'/d; /function-decl name='zar_handle_alloc'/,/<\/function-decl>/d"
"$check" "$library" "$scratch/other.abi"
