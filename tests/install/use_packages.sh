#!/bin/sh
# Installs the Debian packages on a system without them, uses their contents as users do, and purges them. It installs
# and removes packages of the system: run it only on a system made for this.
#   use_packages.sh FOLDER         FOLDER holds the .deb files, and the .ddeb files with the debug information
set -eu
export LC_ALL=C DEBIAN_FRONTEND=noninteractive PYTHONDONTWRITEBYTECODE=1
packages=$(cd "$1" && pwd)
sources=$(cd "$(dirname "$0")/../.." && pwd)
version=$(head -n 1 "$sources/VERSION")
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

fail() {
  echo "$*" >&2
  exit 1
}
install() { apt-get install -y -qq --no-install-recommends "$@" >"$scratch/apt" 2>&1 || { cat "$scratch/apt"; fail "cannot install $*"; }; }
# Every file except those that the package system and its hooks write for themselves.
files() {
  find / -xdev \( -path /tmp -o -path /proc -o -path /sys -o -path /dev -o -path /root -o -path /home -o -path /var/cache \
    -o -path /var/log -o -path /var/lib/apt -o -path /var/lib/dpkg \) -prune -o -print | sort
}

# Their dependencies, and the tools of their users, are installed first, so that only the packages come and go.
apt-get update -qq
install man-db bash-completion zsh pkg-config cmake make g++ gdb python3-pytest
dependencies=$(apt-get install --simulate --no-install-recommends "$packages"/*.deb "$packages"/*.ddeb |
  awk '/^Inst/ && !/^Inst (libzar|zar-|python3-zar)/ { print $2 }')
# shellcheck disable=SC2086 # the list is words
install $dependencies
files >"$scratch/before"

cd "$packages"
install ./*.deb
cd "$scratch"

# ---- The command, its pages, its completions and its examples ----

test "$(zar --version)" = "zar $version" || fail "zar --version says '$(zar --version)'"
for page in zar zar-platform-check zar-policy '3 zar'; do
  # shellcheck disable=SC2086 # a section and a name
  man $page >"$scratch/page" || fail "there is no page $page"
  grep -q zar "$scratch/page" || fail "the page $page says nothing"
done
# The loader answers with the status that makes bash try again.
bash -c '. /usr/share/bash-completion/bash_completion; _completion_loader zar; complete -p zar' >"$scratch/output" ||
  fail "bash does not complete zar"
#   completes TYPED SHOWN       in an interactive zsh, TYPED and the key TAB show SHOWN
cat >"$scratch/completes.zsh" <<'ZSH'
zmodload zsh/zpty
TERM=dumb zpty shell zsh -f -i
zpty -w shell 'PS1="%% "; autoload -Uz compinit && compinit -D -u && print rea""dy'
zpty -r -m shell seen '*ready*% *'
zpty -w -n shell "$1"$'\t'
zpty -r -m shell seen "*$2*"
ZSH
completes() {
  timeout 30 zsh -f "$scratch/completes.zsh" "$1" "$2" || fail "zsh does not complete '$1' to '$2'"
}
completes 'zar che' 'zar check '
completes 'zar ru' 'zar run '
completes 'zar explain --level=d' 'zar explain --level=decision '
completes 'zar run /usr/share/doc/zar/examples/broadband.yaml --event session-sto' '--event session-stop@'
for example in /usr/share/doc/zar/examples/*.yaml; do
  zar check "$example" && zar run "$example" >"$scratch/output" && zar test "$example" >"$scratch/output" ||
    fail "$example does not work"
done
zar-platform-check >"$scratch/report" || fail "the stand-in runtime fails its check: $(cat "$scratch/report")"

# ---- The library: the daemon of the examples with pkg-config, a host in C++ with find_package ----

examples=/usr/share/doc/zar/examples/embed
# shellcheck disable=SC2046 # the flags are words
cc -std=c11 "$examples/daemon.c" "$examples/runtime.c" $(pkg-config --cflags --libs zar) -o daemon
./daemon >output || fail "the daemon of the examples fails"
diff -u "$sources/examples/embed/expected.txt" output
# shellcheck disable=SC2046
cc -std=c11 "$examples/quick.c" $(pkg-config --cflags --libs zar-engine) -o quick
./quick >output || fail "the shortest host fails"
diff -u "$sources/examples/embed/quick.txt" output
"$sources/tests/install/consumer_cpp.sh" /usr "lib/$(dpkg-architecture -qDEB_HOST_MULTIARCH 2>/dev/null || cc -print-multiarch)" \
  cmake

# ---- The library with checks, and a core file with the debug information of the library ----

libraries=/usr/lib/$(cc -print-multiarch)
#   host NAME SOURCE
host() {
  # shellcheck disable=SC2046
  cc -std=c11 "$2" $(pkg-config --cflags --libs zar-engine) -o "$1"
}
host mistaken "$sources/tests/install/mistaken.c"
"$sources/tests/install/debug_library.sh" "$libraries/zar/debug" "$scratch/mistaken" || fail "the library with checks does not check"

#   shows_policies [NAME=VALUE]         the commands for gdb show a policy-map in a core file of the host
shows_policies() {
  rm -f core
  env "$@" gdb -nx -batch -ex run -ex "generate-core-file core" ./everything >output 2>&1 || true
  test -e core || { cat output; fail "there is no core file"; }
  env "$@" gdb -nx -batch -ex "zar policy guest-access" ./everything core >output 2>&1 || true
}
expect_policies() {
  shows_policies "$@"
  grep -q '^policy-map guest-access, domain guest control, handle 0x' output ||
    { cat output; fail "gdb does not show the policy-map in a core file: $*"; }
}
host everything "$sources/tests/install/debugged/everything.c"
shows_policies NOTHING=
grep -qF 'install libzar1-dbgsym' output || { cat output; fail "gdb does not say what it needs"; }
install "$packages"/*.ddeb
expect_policies NOTHING=
expect_policies LD_LIBRARY_PATH="$libraries/zar/debug"

# ---- Python: a policy is asked, and pytest runs the tests of a policy file ----

/usr/bin/python3 - /usr/share/doc/zar/examples/broadband.yaml <<'PYTHON' || fail "the package zar does not work"
import sys, zar
with zar.load(sys.argv[1]) as simulator:
    assert simulator.explain("session-start", "line-0101").permitted
PYTHON
/usr/bin/python3 -m pytest -q -p no:cacheprovider /usr/share/doc/zar/examples/broadband.yaml >"$scratch/output" ||
  { cat "$scratch/output"; fail "pytest does not run the tests of an example"; }

# ---- Nothing stays ----

ours=$(dpkg-query -W -f '${Package}\n' | grep -E '^(libzar|zar-|python3-zar)')
# shellcheck disable=SC2086 # the list is words
apt-get purge -y -qq $ours >"$scratch/apt" 2>&1 || { cat "$scratch/apt"; fail "cannot purge the packages"; }
files >"$scratch/after"
diff -u "$scratch/before" "$scratch/after" || fail "a purge leaves files, or takes some with it"
if dpkg-query -W -f '${Package}\n' | grep -E '^(libzar|zar-|python3-zar)'; then fail "packages are left"; fi
echo "the packages were installed, used and purged"
