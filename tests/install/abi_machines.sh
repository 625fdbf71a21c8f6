#!/bin/sh
# The descriptions of the binary interface for the supported machines differ only in the name of the machine.
#   abi_machines.sh FOLDER
set -eu
cd "$1"
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
for machine in x86_64 aarch64; do
  sed "1s/ architecture='[^']*'//" "libzar-$machine.abi" > "$scratch/$machine"
  test -s "$scratch/$machine"
done
diff "$scratch/x86_64" "$scratch/aarch64"
