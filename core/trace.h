// Trace messages. The level is tested first, so that a message that nobody wants costs the test alone: its arguments are
// not evaluated. The compiler checks them against the format.
#pragma once

#include "platform/engine.h"
#include "platform/runtime.h"

namespace zar {

constexpr uint32_t kTraceError = 3;  // messages beginning "(ERR): "
constexpr uint32_t kTraceInfo = 6;   // messages beginning "(info): "

// Benchmarks compile the trace out to see what it costs.
#ifdef ZAR_NO_TRACE
constexpr bool traced(uint32_t) {
  return false;
}
#else
inline bool traced(uint32_t level) {
  return btrace_module_test(kel_trace_id, level) != 0;
}
#endif

// What "%p" takes.
inline const void *address(const void *pointer) {
  return pointer;
}

// Callers may leave their name out; a single blank stands for it.
inline const char *or_blank(const char *text) {
  return text ? text : " ";
}

// A text that may be missing, as a formatter can print it.
inline const char *or_null(const char *text) {
  return text ? text : "(null)";
}

}  // namespace zar

#define TRACE_AT(level, ...)               \
  do {                                     \
    if (::zar::traced(level)) [[unlikely]] \
      SEND_AT(level, __VA_ARGS__);         \
  } while (false)
// For a message whose level was tested just before.
#define SEND_AT(level, ...) btrace_wrapper(kel_trace_id, level, 0, __VA_ARGS__)
#define TRACE_ERROR(...) TRACE_AT(::zar::kTraceError, __VA_ARGS__)
#define TRACE_INFO(...) TRACE_AT(::zar::kTraceInfo, __VA_ARGS__)
#define SEND_INFO(...) SEND_AT(::zar::kTraceInfo, __VA_ARGS__)
