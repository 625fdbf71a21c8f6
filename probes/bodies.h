// Gives the body of each operation a symbol of its own, so that the exported symbol is free for the function with the
// probes in probes.cpp. The compiler includes this before each source of the library; only how the linker names the
// operations changes, not the sources.
#pragma once

#ifndef ZAR_EXPORTS_OPERATIONS

#include "zar/zar.h"

// NAME_exported is the exported function, for code that passes its address to others.
#define ZAR_OPERATION(result, name, ...) ZAR_PROCEDURE(name, __VA_ARGS__)
#define ZAR_PROCEDURE(name, ...)                         \
  extern "C" decltype(name) name __asm__(#name ".body"); \
  [[gnu::visibility("default")]] extern decltype(name) name##_exported __asm__(#name);
#include "probes/operations.inc"
#undef ZAR_OPERATION
#undef ZAR_PROCEDURE

#define ZAR_HAS_PROBES

#endif
