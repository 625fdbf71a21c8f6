#!/bin/sh
# Checks that the Debian packages contain what they should, depend on what they should, and share no file.
#   packages.sh CPACK CONFIG VERSION LIBDIR all|library [debug]
# With 'library' there are the two packages of the library and none with the tools; with 'debug' there is also that of the
# library with checks.
set -eu
export LC_ALL=C
cpack=$1 config=$2 version=$3 libdir=$4 built=$5
packages="libzar1 libzar-dev zar-tools python3-zar"
test "$built" = all || packages="libzar1 libzar-dev"
debug=${6:-}
test -z "$debug" || packages="$packages libzar1-debug"
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
architecture=$(dpkg --print-architecture)

fail() {
  echo "$*" >&2
  exit 1
}

"$cpack" --config "$config" -G DEB -B "$scratch" > "$scratch/log" 2>&1 || { cat "$scratch/log"; exit 1; }
test "$(find "$scratch" -maxdepth 1 -name '*.deb' | wc -l)" -eq "$(echo "$packages" | wc -w)" ||
  fail "not $packages: $(ls "$scratch")"

file_of() {
  case $1 in python3-*) echo "$scratch/$1_${version}_all.deb" ;; *) echo "$scratch/$1_${version}_$architecture.deb" ;; esac
}
list() {
  dpkg-deb --fsys-tarfile "$(file_of "$1")" | tar -t | sed 's|^\./||' | grep -v -e '/$' -e '^$' | sort
}
field() {
  dpkg-deb -f "$(file_of "$1")" "$2"
}
# The package contains each of these, given as patterns of whole paths.
holds() {
  package=$1
  shift
  for pattern; do
    grep -qx "$pattern" "$scratch/$package" || { cat "$scratch/$package"; fail "$package holds no $pattern"; }
  done
}
depends() {
  field "$1" Depends | tr ',' '\n' | sed 's/^ *//' | grep -q "^$2" || fail "$1 depends on '$(field "$1" Depends)', not $2"
}

for package in $packages; do
  list "$package" > "$scratch/$package"
  test "$(field "$package" Version)" = "$version" || fail "$package has the version $(field "$package" Version)"
  holds "$package" "usr/share/doc/$package/copyright" "usr/share/doc/$package/changelog.gz"
  field "$package" Description | head -n 1 | grep -q '^policy rule repository (' ||
    fail "$package is summed up as '$(field "$package" Description | head -n 1)'"
done

# The library alone, ready for a daemon: nothing else but the documents that every package has.
test "$(grep -v '^usr/share/doc/libzar1/' "$scratch/libzar1")" = "usr/$libdir/libzar.so.1
usr/$libdir/libzar.so.$version" || { cat "$scratch/libzar1"; fail "libzar1 holds more or less than the library"; }
depends libzar1 libc6
dpkg-deb --ctrl-tarfile "$(file_of libzar1)" | tar -xO ./shlibs | grep -q '^libzar 1 libzar1' ||
  fail "libzar1 does not say which package contains libzar.so.1"
dpkg-deb --ctrl-tarfile "$(file_of libzar1)" | tar -xO ./triggers | grep -qx 'activate-noawait ldconfig' ||
  fail "libzar1 does not have the loader's cache renewed"
dpkg-deb --fsys-tarfile "$(file_of libzar1)" | tar -xO "./usr/$libdir/libzar.so.$version" > "$scratch/library"
if readelf -S "$scratch/library" | grep -q '\.debug_info'; then fail "the packaged library is not stripped"; fi

# The library with checks is found only by those who name its folder: it is nobody's dependency.
if test -n "$debug"; then
  test "$(grep -v '^usr/share/doc/libzar1-debug/' "$scratch/libzar1-debug")" = "usr/$libdir/zar/debug/libzar.so.1
usr/$libdir/zar/debug/libzar.so.$version" ||
    { cat "$scratch/libzar1-debug"; fail "libzar1-debug holds more or less than the library with checks"; }
  depends libzar1-debug libc6
  dpkg-deb --ctrl-tarfile "$(file_of libzar1-debug)" | tar -t > "$scratch/control"
  if grep -E 'shlibs|triggers|post' "$scratch/control"; then fail "libzar1-debug acts as a library of the system"; fi
  holds libzar-dev 'usr/share/gdb/auto-load/.*/zar/debug/libzar\.so\.[0-9.]*-gdb\.py'
fi

holds libzar-dev usr/include/zar/zar.h usr/include/zar/version.h usr/include/zar/platform/runtime.h \
  usr/include/zar/platform/engine.h "usr/$libdir/libzar.so" "usr/$libdir/libzarplatformcheck.a" \
  usr/include/zar/inspect.h "usr/$libdir/libzarinspect.a" "usr/$libdir/pkgconfig/zar-inspect.pc" \
  "usr/$libdir/pkgconfig/zar.pc" "usr/$libdir/cmake/zar/zarConfig.cmake" \
  "usr/$libdir/cmake/zar/zarConfigVersion.cmake" "usr/$libdir/cmake/zar/zarTargets.cmake" \
  usr/share/doc/zar/README.md usr/share/doc/zar/embedding.md usr/share/doc/zar/platform.md usr/share/doc/zar/abi.md
depends libzar-dev "libzar1 (= $version)"

holds libzar-dev 'usr/share/gdb/auto-load/.*/libzar\.so\.[0-9.]*-gdb\.py' usr/share/zar/gdb/zar_gdb.py
dpkg-deb --ctrl-tarfile "$(file_of libzar1)" | tar -t > "$scratch/control"
if grep -q post "$scratch/control"; then fail "libzar1 has scripts, though its trigger renews the loader's cache"; fi

# gdb loads the commands from where they are packaged, with either library.
if command -v gdb > /dev/null; then
  dpkg-deb -x "$(file_of libzar-dev)" "$scratch/unpacked"
  for file in $(find "$scratch/unpacked" -name 'libzar.so.*-gdb.py'); do
    HOME=/nonexistent gdb -nx -batch -ex "source $file" -ex "help zar" > "$scratch/help" 2>&1 || true
    grep -q '^zar policies -- ' "$scratch/help" || { cat "$scratch/help"; fail "gdb does not load the commands"; }
  done
fi

# The build decides whether pkg-config's files are in the folder of the architecture; as packages they are.
if command -v lintian > /dev/null; then
  lintian --allow-root --fail-on error,warning --suppress-tags pkg-config-unavailable-for-cross-compilation \
    "$scratch"/*.deb || fail "lintian complains"
fi

test "$built" = all || exit 0
holds libzar-dev 'usr/share/man/man3/zar\.3\.gz' usr/share/doc/zar/api/html/index.html \
  usr/share/doc/zar/examples/embed/daemon.c usr/share/doc/zar/examples/embed/quick.c \
  usr/share/doc/zar/examples/api/core.c "usr/$libdir/pkgconfig/zar-platform.pc" "usr/$libdir/pkgconfig/zar-engine.pc"
depends libzar-dev "zar-tools (= $version)"

holds zar-tools usr/bin/zar usr/bin/zar-platform-check "usr/$libdir/zar/libzarplatform.so" \
  "usr/$libdir/zar/libzarengine.so" 'usr/share/doc/zar/examples/[a-z-]*\.yaml' \
  'usr/share/man/man1/zar\.1\.gz' \
  'usr/share/man/man1/zar-platform-check\.1\.gz' 'usr/share/man/man5/zar-policy\.5\.gz' \
  usr/share/zar/schema/policy.json usr/share/bash-completion/completions/zar usr/share/zsh/vendor-completions/_zar
depends zar-tools "libzar1 (= $version)"

# Debian's Python finds the package and, by its metadata, pytest finds the plugin.
modules=usr/lib/python3/dist-packages
holds python3-zar "$modules/zar/__init__.py" "$modules/zar/py.typed" "$modules/zar/pytest_plugin.py" \
  "$modules/zar-$version.dist-info/METADATA" "$modules/zar-$version.dist-info/entry_points.txt" \
  usr/share/doc/zar/examples/freeradius/zar_radius.py usr/share/doc/zar/examples/freeradius/raddb/radiusd.conf
for package in libzar-dev zar-tools python3-zar; do
  if grep -E '__pycache__|mypy_cache' "$scratch/$package"; then fail "$package holds what Python has left behind"; fi
done
depends python3-zar "zar-tools (= $version)"
depends python3-zar "python3 (>= 3.11)"
for script in postinst prerm; do
  dpkg-deb --ctrl-tarfile "$(file_of python3-zar)" | tar -xO "./$script" | grep -q 'py3.* -p python3-zar' ||
    fail "python3-zar has no $script for compiled modules"
done
if /usr/bin/python3 -c 'import pytest' 2> /dev/null; then
  dpkg-deb -x "$(file_of python3-zar)" "$scratch/python"
  PYTHONDONTWRITEBYTECODE=1 PYTHONPATH=$scratch/python/$modules /usr/bin/python3 -m pytest --help > "$scratch/help"
  grep -q -e --zar-command "$scratch/help" || fail "pytest does not find the plugin"
  test "$(PYTHONPATH=$scratch/python/$modules /usr/bin/python3 -B -c 'import zar; print(zar.__version__)')" = "$version" ||
    fail "the package has another version"
fi

twice=$(for package in $packages; do cat "$scratch/$package"; done | sort | uniq -d)
test -z "$twice" || fail "in two packages: $twice"
