#!/bin/sh
# The guides and manual pages name only existing operations and imports, and the guide for porters names all imports.
#   names.sh ROOT
set -eu
export LC_ALL=C
cd "$1"
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

fail() {
  cat "$scratch/found"
  echo "$*" >&2
  exit 1
}
# A probe has the name of its operation.
names_in() {
  cat "$@" | grep -oE '\b(zar|kel|id|chunk|i_avl|queue|sdb|bcalloc|bstrdup|bfree|btrace)_[a-z_0-9]*[a-z0-9]\b' |
    sed -E 's/__(begin|end)$//' | sort -u
}

names_in include/zar/*.h platform/*.h examples/*/*.[ch] cmake/*.in host/platform-check/main.c > "$scratch/known"
for file in docs/embedding.md docs/platform.md docs/abi.md docs/man/zar.3.scd docs/api/pages/*.dox; do
  names_in "$file" | grep -vx -e zar_new_operation -e zar_gdb | comm -13 "$scratch/known" - > "$scratch/found"
  test ! -s "$scratch/found" || fail "$file names what does not exist"
done

grep -v '^#' tests/build/imports.txt | sort > "$scratch/imports"
test -s "$scratch/imports" || fail "the list of imports is empty"
while read -r import; do
  grep -qw "$import" docs/platform.md || echo "$import"
done < "$scratch/imports" | grep -v 'get_string_short$' > "$scratch/found" || true
test ! -s "$scratch/found" || fail "docs/platform.md does not describe these imports"
