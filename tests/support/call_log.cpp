#include "support/call_log.h"

#include <cstdarg>
#include <cstdio>
#include <utility>

namespace rig {

#if defined(__clang__)
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wformat-nonliteral"
#endif
std::string detail::format_text(const char *format, ...) {
  va_list values;
  va_start(values, format);
  va_list measured;
  va_copy(measured, values);
  const int length = std::vsnprintf(nullptr, 0, format, measured);
  va_end(measured);
  std::string out(length < 0 ? 0 : static_cast<size_t>(length), '\0');
  std::vsnprintf(out.data(), out.size() + 1, format, values);
  va_end(values);
  return out;
}
#if defined(__clang__)
#pragma clang diagnostic pop
#endif

std::vector<std::string> &calls() {
  static std::vector<std::string> log;
  return log;
}

std::vector<std::string> take_calls() {
  return std::exchange(calls(), {});
}

void log_call(std::string call) {
  calls().push_back(std::move(call));
}

}  // namespace rig
