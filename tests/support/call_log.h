// The calls that the library makes to the outside (engine and callbacks), in one log, in the order in which they happen.
#pragma once

#include <string>
#include <type_traits>
#include <vector>

namespace rig {

namespace detail {
std::string format_text(const char *format, ...);

// Converts arguments for a variadic function: pointers of every type print with %p, strings with %s.
template <typename Value>
auto printable(const Value &value) {
  if constexpr (std::is_same_v<Value, std::string>) {
    return value.c_str();
  } else if constexpr (std::is_pointer_v<Value> &&
                       !std::is_same_v<std::remove_cv_t<std::remove_pointer_t<Value>>, char>) {
    return static_cast<const void *>(value);
  } else if constexpr (std::is_null_pointer_v<Value>) {
    return static_cast<const void *>(nullptr);
  } else {
    return value;
  }
}
inline const char *printable(const char *value) {
  return value;
}
}  // namespace detail

// printf into a string; std::string prints with %s, a pointer of any type with %p.
template <typename... Values>
std::string text(const char *format, const Values &...values) {
  return detail::format_text(format, detail::printable(values)...);
}

// Everything logged since the start or the last take_calls().
std::vector<std::string> &calls();
std::vector<std::string> take_calls();
void log_call(std::string call);

}  // namespace rig
