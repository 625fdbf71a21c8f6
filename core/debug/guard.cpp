// The only file of the library that is compiled with support for exceptions.
#include "core/debug/guard.h"

#include <cxxabi.h>

#include <cstdio>
#include <cstdlib>
#include <exception>

#include "core/debug/calls.h"

namespace zar::debug {

namespace {

constexpr int kStandardError = 2;

// As it is in the source, if it is the name of a C++ function. The process ends before the text could be freed.
const char *readable(const char *name) {
  if (!name) return "a function";
  int status = 0;
  const char *text = abi::__cxa_demangle(name, nullptr, nullptr, &status);
  return text ? text : name;
}

[[noreturn]] void thrown(const char *role, const void *function, const char *what) {
  dprintf(kStandardError, "zar: %s (%s at %p) threw an exception during %s: %s\n", role,
          readable(exported_name(function)), function, name_of_operation(), what);
  std::abort();
}

}  // namespace

// The end of a thread passes through as an exception, too.
void guard(const char *role, const void *function, void (*body)(void *argument), void *argument) {
  if (!checks_run()) return body(argument);
  try {
    body(argument);
  } catch (const std::exception &exception) {
    thrown(role, function, exception.what());
  } catch (...) {
    thrown(role, function, "it is no std::exception");
  }
}

}  // namespace zar::debug
