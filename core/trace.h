// Trace messages. The level is tested first, so that an unwanted message costs only the test: its arguments are not
// evaluated. The compiler checks them against the format.
#pragma once

#include "platform/engine.h"
#include "platform/runtime.h"

namespace zar {

constexpr uint32_t kTraceError = 3;  // messages that begin with "(ERR): "
constexpr uint32_t kTraceInfo = 6;   // messages that begin with "(info): "

// Benchmarks compile the trace out to measure its cost.
#ifdef ZAR_NO_TRACE
constexpr bool traced(uint32_t) {
  return false;
}
#else
inline bool traced(uint32_t level) {
  return btrace_module_test(kel_trace_id, level) != 0;
}
#endif

// The argument type of "%p".
inline const void *address(const void *pointer) {
  return pointer;
}

// Callers may omit their name; a single space replaces it.
inline const char *or_blank(const char *text) {
  return text ? text : " ";
}

// A text that may be missing, in a form that can be printed.
inline const char *or_null(const char *text) {
  return text ? text : "(null)";
}

}  // namespace zar

#define TRACE_AT(level, ...)               \
  do {                                     \
    if (::zar::traced(level)) [[unlikely]] \
      SEND_AT(level, __VA_ARGS__);         \
  } while (false)
// For a message whose level has just been tested.
#define SEND_AT(level, ...) btrace_wrapper(kel_trace_id, level, 0, __VA_ARGS__)
#define TRACE_ERROR(...) TRACE_AT(::zar::kTraceError, __VA_ARGS__)
#define TRACE_INFO(...) TRACE_AT(::zar::kTraceInfo, __VA_ARGS__)
#define SEND_INFO(...) SEND_AT(::zar::kTraceInfo, __VA_ARGS__)
