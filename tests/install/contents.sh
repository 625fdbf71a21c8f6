#!/bin/sh
# Checks that an installation contains what its components promise.
#   contents.sh PREFIX LIBDIR VERSION ROOT all|library
# With 'library' there are the library and what its developers need, and none of the tools.
set -eu
prefix=$1 libdir=$2 version=$3 root=$4 installed=$5

fail() {
  echo "$*" >&2
  exit 1
}
holds() {
  for file; do test -e "$prefix/$file" || fail "$file is not installed"; done
}

holds "$libdir/libzar.so" "$libdir/libzar.so.1" "$libdir/libzar.so.$version" "$libdir/libzarplatformcheck.a" \
  "$libdir/libzarinspect.a" "$libdir/pkgconfig/zar-inspect.pc" \
  "$libdir/pkgconfig/zar.pc" "$libdir/cmake/zar/zarConfig.cmake" "$libdir/cmake/zar/zarConfigVersion.cmake" \
  "$libdir/cmake/zar/zarTargets.cmake" \
  share/doc/zar/README.md share/doc/zar/embedding.md share/doc/zar/abi.md share/doc/zar/platform.md \
  share/doc/zar/CHANGELOG.md

# Every header of the sources is installed, and nothing else is among the headers.
for file in "$root"/include/zar/*.h; do holds "include/zar/$(basename "$file")"; done
for file in "$root"/platform/*.h; do holds "include/zar/platform/$(basename "$file")"; done
wanted=$(cd "$root" && ls include/zar/*.h platform/*.h | wc -l)
found=$(find "$prefix/include" -type f | wc -l)
test "$wanted" -eq "$found" || fail "$found files among the headers instead of $wanted"

# The links between the documents work.
astray=$(cd "$prefix/share/doc/zar" && grep -oE '\]\([^):#]+' ./*.md | sed 's/:](/ /' | while read -r page link; do
  test -e "$link" || echo "$page leads to $link"
done)
test -z "$astray" || fail "$astray"

# Nothing refers to the build folder.
for file in "$prefix/$libdir/pkgconfig/zar.pc" "$prefix/$libdir"/cmake/zar/*; do
  if grep -qF "$root" "$file"; then fail "$file names the sources"; fi
done

# Its files still find each other after the whole tree has moved.
moved=$(mktemp -d)
trap 'rm -rf "$moved"' EXIT
cp -a "$prefix" "$moved/elsewhere"
test "$(PKG_CONFIG_PATH=$moved/elsewhere/$libdir/pkgconfig pkg-config --modversion zar)" = "$version" ||
  fail "zar.pc has another version"

if test "$installed" = library; then
  for file in bin "$libdir/zar" share/man/man1 share/man/man5 share/zar/schema share/doc/zar/examples; do
    test ! -e "$prefix/$file" || fail "$file is installed with the library alone"
  done
  exit 0
fi

holds "$libdir/zar/libzarplatform.so" "$libdir/zar/libzarengine.so" bin/zar bin/zar-platform-check \
  share/man/man1/zar.1 share/man/man1/zar-platform-check.1 share/man/man3/zar.3 share/man/man5/zar-policy.5 \
  share/zar/schema/policy.json share/zar/schema/inspect.json share/bash-completion/completions/zar share/zsh/vendor-completions/_zar

holds lib/python3/dist-packages/zar/__init__.py "lib/python3/dist-packages/zar-$version.dist-info/entry_points.txt"

# Every example of the sources is there.
for file in "$root"/examples/*.yaml "$root"/examples/embed/*.c "$root"/examples/fleet/*[a-z] "$root"/examples/freeradius/*[a-z]; do
  holds "share/doc/zar/examples/${file#"$root/examples/"}"
done
for file in "$prefix"/share/doc/zar/examples/*.yaml; do
  schema=$(sed -n 's/^# yaml-language-server: $schema=//p' "$file")
  test -n "$schema" && test -e "$(dirname "$file")/$schema" || fail "$file does not name its schema"
done

# The programs find their libraries without help.
env -u LD_LIBRARY_PATH "$moved/elsewhere/bin/zar" --version > "$moved/version"
grep -qx "zar $version" "$moved/version" || fail "the installed command says '$(cat "$moved/version")'"
env -u LD_LIBRARY_PATH "$moved/elsewhere/bin/zar-platform-check" copying > /dev/null
