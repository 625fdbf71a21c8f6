#!/bin/sh
# Installed into the folders of the system, pkg-config names no folder that the compiler searches anyway: one that is
# written in another way, with "..", would come before the standard library's own and break it.
#   system_prefix.sh CMAKE BUILD_FOLDER LIBDIR
set -eu
cmake=$1 build=$2 libdir=$3
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
fail() {
  echo "$*" >&2
  exit 1
}
asked() {
  PKG_CONFIG_LIBDIR=$scratch$prefix/$libdir/pkgconfig pkg-config "$@"
}

for prefix in /usr /usr/local; do
  DESTDIR=$scratch "$cmake" --install "$build" --prefix "$prefix" --component development > "$scratch/log" || {
    cat "$scratch/log"
    exit 1
  }
  test "$(asked --variable=includedir zar)" = "$prefix/include" || fail "the headers are in $(asked --variable=includedir zar)"
  test "$(asked --variable=libdir zar)" = "$prefix/$libdir" || fail "the library is in $(asked --variable=libdir zar)"
  case $(asked --cflags --libs zar) in *..*) fail "it answers '$(asked --cflags --libs zar)'" ;; esac
done
prefix=/usr
test -z "$(asked --cflags zar)" || fail "for /usr it answers '$(asked --cflags zar)'"
