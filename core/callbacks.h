// How the functions of clients are called. An exception must not leave them: the library is compiled without support for
// exceptions, and one that passes through it leaves records half-linked. This is a plain call, except in a debug build,
// which ends at the function that threw.
#pragma once

#include "core/debug/guard.h"

namespace zar {

// 'role' is the name of the field or argument that passed the function to the library.
template <class Function, class... Arguments>
auto call(const char *role, Function *function, Arguments... arguments) {
  return debug::guarded(role, reinterpret_cast<const void *>(function), [&] { return function(arguments...); });
}

}  // namespace zar
