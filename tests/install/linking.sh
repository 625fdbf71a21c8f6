#!/bin/sh
# Where a host may have its imports, and what the guide says that this takes: each row of it, with the real linker and
# loader.
#   linking.sh LIBRARY VERSION ROOT COMPILER LINKER [FLAG ...]
set -eu
export LC_ALL=C
library=$1 version=$2 root=$3 compiler=$4 linker=$5
shift 5
folder=$(dirname "$library")
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cd "$scratch"

fail() {
  echo "$*" >&2
  exit 1
}
compile() {
  "$compiler" -std=c11 -fPIC -I "$root/include" "$@"
}
compile "$@" -c "$root/examples/embed/runtime.c" -o runtime.o
compile "$@" -c "$root/tests/install/platform_check/broken_engine.c" -o engine.o
ar rc libimports.a runtime.o engine.o
"$linker" "$@" -shared runtime.o engine.o -o libimports.so

# A program that is linked with the library, and one that loads it:  loading LIBRARY FLAGS [LIBRARY FLAGS]
cat > linked.c <<'END'
#include "zar/zar.h"
int main(void) { return zar_init() == 0; }
END
cat > loading.c <<'END'
#define _GNU_SOURCE
#include <dlfcn.h>
#include <limits.h>
#include <link.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static void *load(const char *name, const char *flags) {
  void *loaded = dlopen(name, (strstr(flags, "lazy") ? RTLD_LAZY : RTLD_NOW) |
                                  (strstr(flags, "global") ? RTLD_GLOBAL : RTLD_LOCAL));
  if (!loaded) fprintf(stderr, "%s\n", dlerror()), exit(1);
  return loaded;
}

int main(int n_arguments, char **arguments) {
  void *library = NULL;
  struct link_map *map;
  char path[PATH_MAX];
  for (int i = 1; i + 1 < n_arguments; i += 2)
    library = load(arguments[i], arguments[i + 1]);
  uint16_t (*init)(void);
  *(void **)(&init) = dlvsym(library, "zar_init", "ZAR_1.0");
  if (!init || dlvsym(library, "zar_init", "ZAR_1.99")) return 2;
  if (dlinfo(library, RTLD_DI_LINKMAP, &map) != 0 || !realpath(map->l_name, path)) return 3;
  return puts(strrchr(path, '/') + 1) < 0 || init() == 0;
}
END
compile "$@" -c linked.c
compile "$@" -c loading.c

# links NAME WORD...     Words of the link line, which makes the program NAME.
links() {
  name=$1
  shift
  "$linker" "$@" -o "$name" > errors 2>&1 || fail "$name does not link: $(cat errors)"
}
does_not_link() {
  reason=$1
  shift
  if "$linker" "$@" -o unwanted > errors 2>&1; then fail "this links: $*"; fi
  grep -q "$reason" errors || fail "this fails for another reason than '$reason': $* $(cat errors)"
}
runs() {
  LD_LIBRARY_PATH=$folder:$scratch "./$1" || fail "$1 does not run"
}
loads() {
  LD_LIBRARY_PATH=$folder:$scratch "$@" > release 2> errors || fail "this does not load the library: $* $(cat errors)"
  test "$(cat release)" = "libzar.so.$version" || fail "the file loaded is '$(cat release)'"
}
does_not_load() {
  if LD_LIBRARY_PATH=$folder:$scratch "$@" > release 2> errors; then fail "this loads the library: $*"; fi
  grep -q 'undefined symbol' errors || fail "this fails otherwise: $* $(cat errors)"
}

# ---- Programs that are linked ----

zar="-L$folder -lzar -Wl,-rpath-link,$folder"
whole="-Wl,--whole-archive libimports.a -Wl,--no-whole-archive"
# shellcheck disable=SC2086 # these are words
{
  links object_files "$@" linked.o runtime.o engine.o $zar
  runs object_files
  links archive "$@" linked.o $zar libimports.a
  runs archive
  does_not_link 'undefined reference' "$@" linked.o libimports.a $zar
  links whole_archive "$@" linked.o $whole $zar
  runs whole_archive
  links shared_library "$@" linked.o $zar -Wl,--no-as-needed -L. -limports
  runs shared_library
}

# ---- Programs that load the library ----

# shellcheck disable=SC2086
{
  links loading_object_files "$@" loading.o runtime.o engine.o -rdynamic -ldl
  loads ./loading_object_files libzar.so.1 now
  loads ./loading_object_files libzar.so.1 lazy
  links loading_secretive "$@" loading.o runtime.o engine.o -ldl
  does_not_load ./loading_secretive libzar.so.1 now
  does_not_load ./loading_secretive libzar.so.1 lazy
  links loading_archive "$@" loading.o $whole -rdynamic -ldl
  loads ./loading_archive libzar.so.1 now
  links loading_lacking "$@" loading.o libimports.a -rdynamic -ldl
  does_not_load ./loading_lacking libzar.so.1 now
  links loading_shared_library "$@" loading.o -Wl,--no-as-needed -L. -limports -ldl
  loads ./loading_shared_library libzar.so.1 now
  links loading_both "$@" loading.o -ldl
  loads ./loading_both libimports.so global libzar.so.1 now
  does_not_load ./loading_both libimports.so local libzar.so.1 now
}

# ---- Hosts whose names are hidden ----

compile "$@" -fvisibility=hidden -c "$root/examples/embed/runtime.c" -o hidden_runtime.o
compile "$@" -fvisibility=hidden -c "$root/tests/install/platform_check/broken_engine.c" -o hidden_engine.o
# shellcheck disable=SC2086
{
  links hidden "$@" linked.o hidden_runtime.o hidden_engine.o $zar
  runs hidden
  links loading_hidden "$@" loading.o hidden_runtime.o hidden_engine.o -rdynamic -ldl
  loads ./loading_hidden libzar.so.1 now
}
