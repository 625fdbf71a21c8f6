#!/bin/sh
# The guide to the example shows the example's output, and the example is as short as the guide says.
#   embed_guide.sh ROOT
set -eu
cd "$1"
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

sed -n '/^## What it prints/,/^## What to mind/s/^    //p' docs/embedding.md | diff - examples/embed/expected.txt

lines=$(cat examples/embed/daemon.c examples/embed/runtime.c | wc -l)
test "$lines" -lt 300 || { echo "the example has $lines lines" >&2; exit 1; }

lines=$(wc -l < examples/embed/quick.c)
test "$lines" -lt 60 || { echo "the shortest host has $lines lines" >&2; exit 1; }
sed -n '/^## A runtime and an engine/,/^## Building/s/^    //p' docs/embedding.md | diff - examples/embed/quick.txt

# The guide quotes the sources correctly.
sed -n '/^## The engine/,/^## From start-up/s/^    //p' docs/embedding.md > "$scratch/quoted"
test -s "$scratch/quoted"
while read -r line; do
  grep -qF -- "$line" examples/embed/*.c || { echo "not in the example: $line" >&2; exit 1; }
done < "$scratch/quoted"

# It shows the text of an inspection, and quotes how it is asked for.
sed -n '/^## Seeing what the repository/,/^## Seeing what a dead/s/^    //p' docs/embedding.md > "$scratch/quoted"
grep -v '^{' examples/embed/inspectable.txt > "$scratch/text"
sed -n '/^handles/,$p' "$scratch/quoted" | diff - "$scratch/text"
sed -n '/^static/,/^handles/p' "$scratch/quoted" | grep -v '^handles' > "$scratch/code"
test -s "$scratch/code"
while read -r line; do
  grep -qF -- "$line" examples/embed/inspectable.c || { echo "not in the example: $line" >&2; exit 1; }
done < "$scratch/code"

# What it shows of a debugger is what a test expects.
sed -n '/^## Seeing what a dead/,/^## Notifications/s/^    //p' docs/embedding.md | sed -n '/^policy-map/,/active on/p' |
  sed 's/data 0x[0-9a-f]*/data ADDRESS/' > "$scratch/shown"
sed -n '/^# zar policy guest-access/,/active on/p' tests/install/debugged/expected.txt | sed 1d | diff - "$scratch/shown"
