#!/bin/sh
# The archive of the check links with runtimes in C and C++, with those that are archives, with a function that sets
# them up, and with whatever names they have; a program that exports its names exports none of the check.
#   links.sh ARCHIVE ROOT C_COMPILER CXX_COMPILER [FLAG ...]
set -eu
export LC_ALL=C
archive=$1 root=$2 cc=$3 cxx=$4
shift 4
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cd "$scratch"

fail() {
  echo "$*" >&2
  exit 1
}
#   works WHAT LINKER FLAG...
works() {
  what=$1
  shift
  "$@" -o check 2> errors || fail "$what does not link: $(cat errors)"
  ./check copying > report || fail "$what: $(cat report)"
}

"$cc" -std=c11 "$@" -I "$root/include" -c "$root/examples/embed/runtime.c" -o c_runtime.o
"$cxx" -std=c++20 "$@" -I "$root/include" -c "$root/tests/install/consumer_cpp/runtime.cpp" -o cpp_runtime.o
ar rc libcruntime.a c_runtime.o
ar rc libcppruntime.a cpp_runtime.o

# Sanitized programs need the C++ compiler's libraries in any case.
linker=$cc
case "$*" in *-fsanitize*) linker=$cxx ;; esac
works "a runtime in C" "$linker" "$@" c_runtime.o "$archive"
works "an archive in C" "$linker" "$@" "$archive" libcruntime.a
works "a runtime in C++" "$cxx" "$@" cpp_runtime.o "$archive"
works "an archive in C++" "$cxx" "$@" "$archive" libcppruntime.a

# The set-up is called once for each promise.
cat > set_up.c <<'END'
#include <unistd.h>
void zar_platform_check_set_up(void);
void zar_platform_check_set_up(void) {
  if (write(STDERR_FILENO, "set up\n", 7) != 7) _exit(1);
}
END
"$cc" "$@" -c set_up.c
"$linker" "$@" -o check c_runtime.o set_up.o "$archive"
./check copying > report 2> calls
test "$(grep -c '^set up$' calls)" -eq "$(grep -c '^  kept ' report)" || fail "set up $(wc -l < calls) times: $(cat report)"

# A runtime may have names like those of a check.
cat > names.c <<'END'
int promises, groups, ids, id_tables, pools, trees, queues, texts, allocation, copying, trace, engine, broken, lend;
END
"$cc" "$@" -c names.c
works "a runtime with short names" "$linker" "$@" c_runtime.o names.o "$archive"
# A sanitizer adds names of its own.
nm -g --defined-only "$archive" | awk 'NF == 3 && $3 !~ /^__(_asan_|odr_asan_)/ { print $3 }' > defined
test -s defined
if grep -vx -e main -e 'zar_platform_check_.*' defined; then fail "these names of the check may be in the way of others"; fi

works "a program that exports its names" "$linker" "$@" -rdynamic c_runtime.o "$archive"
nm -D --defined-only check | grep -v ' __odr_asan_' > exported
grep -q ' i_avl_insert$' exported || fail "the program does not export its runtime"
if grep zar_platform_check exported; then fail "the program exports names of the check"; fi
