#!/bin/sh
# A host that shows its repository is built with pkg-config from an installation, and so is the inspection of a host that
# loads the library: it is in a shared library of that host, which brings the library.
#   inspectable.sh PREFIX LIBDIR ROOT COMPILER LINKER [FLAG ...]
set -eu
prefix=$1 libdir=$2 root=$3 compiler=$4 linker=$5
shift 5
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
export PKG_CONFIG_PATH="$prefix/$libdir/pkgconfig"

# shellcheck disable=SC2046 # the answers of pkg-config are words
"$compiler" -std=c11 -D_DEFAULT_SOURCE "$@" $(pkg-config --cflags zar-inspect) \
  -c "$prefix/share/doc/zar/examples/embed/inspectable.c" -o "$scratch/inspectable.o"
# shellcheck disable=SC2046
"$linker" "$@" "$scratch/inspectable.o" $(pkg-config --libs zar-inspect zar-engine) -Wl,-rpath,"$prefix/$libdir" \
  -o "$scratch/inspectable"
env -u LD_LIBRARY_PATH "$scratch/inspectable" > "$scratch/output"
diff -u "$root/examples/embed/inspectable.txt" "$scratch/output"

cd "$scratch"
cat > show.c <<'END'
#include <stdio.h>

#include "zar/inspect.h"

static int write_piece(void *file, const char *text, size_t size) { return fwrite(text, 1, size, file) != size; }
__attribute__((visibility("default"))) int show(void) { return zar_inspect(ZAR_INSPECT_TEXT, write_piece, stdout); }
END
cat > loading.c <<'END'
#include <dlfcn.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>

static void *load(const char *name) {
  void *loaded = dlopen(name, RTLD_NOW | RTLD_LOCAL);
  if (!loaded) fprintf(stderr, "%s\n", dlerror()), exit(1);
  return loaded;
}

int main(int n_arguments, char **arguments) {
  uint16_t (*init)(void);
  int (*show)(void);
  if (n_arguments != 3) return 2;
  *(void **)(&init) = dlsym(load(arguments[1]), "zar_init");
  *(void **)(&show) = dlsym(load(arguments[2]), "show");
  return !init || !show || show() != 37 || init() == 0 || show() != 0;
}
END
# shellcheck disable=SC2046
"$compiler" -std=c11 -fPIC "$@" $(pkg-config --cflags zar-inspect) -c show.c
# shellcheck disable=SC2046
"$linker" "$@" -shared show.o $(pkg-config --libs zar-inspect) -Wl,-rpath,"$prefix/$libdir" -o show.so
for source in "$root/examples/embed/runtime.c" "$root/tests/install/platform_check/broken_engine.c" loading.c; do
  # shellcheck disable=SC2046
  "$compiler" -std=c11 "$@" $(pkg-config --cflags zar) -c "$source"
done
"$linker" "$@" runtime.o broken_engine.o loading.o -rdynamic -ldl -o loading
env -u LD_LIBRARY_PATH ./loading "$prefix/$libdir/libzar.so.1" ./show.so > shown
echo "handles 0 of 65536 in databases" | diff -u - shown
