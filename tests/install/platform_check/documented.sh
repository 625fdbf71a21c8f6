#!/bin/sh
# The guide for porters has the same promises as the program: the same numbers, each at the same import, in the same
# words. It has the same tags as the header.
#   documented.sh PROGRAM ROOT
set -eu
export LC_ALL=C
program=$1
cd "$2"
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

# A heading names the import; each item under it is a promise, on one line or several.
awk '
  function finish() { if (item != "") print item; item = "" }
  /^\*\*`/ { finish(); import = $0; sub(/^\*\*`/, "", import); sub(/[(`].*/, "", import); sub(/.*[ *]/, "", import) }
  /^- `[a-z]+\.[0-9]+` / { finish(); number = $2; gsub(/`/, "", number); item = $0; sub(/^- `[^`]*` /, number " " import " ", item); next }
  /^  [^ ]/ && item != "" { line = $0; sub(/^ +/, " ", line); item = item line; next }
  { finish() }
  END { finish() }' docs/platform.md | sort > "$scratch/documented"
test -s "$scratch/documented"
"$program" --list | sort > "$scratch/checked"
diff -u "$scratch/documented" "$scratch/checked"

# shellcheck disable=SC2016 # the pages quote names in this way
sed -n 's/^| \(0x[0-9a-f]*\) | `\([A-Z_]*\)` | .*/ZAR_TAG_\2 = \1/p' docs/platform.md | sort > "$scratch/documented"
sed -n 's/^ *\(ZAR_TAG_[A-Z_]* = 0x[0-9a-f]*\),.*/\1/p' platform/tags.h | sort > "$scratch/declared"
test -s "$scratch/declared"
diff -u "$scratch/documented" "$scratch/declared"
