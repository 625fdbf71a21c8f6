// How a debug build detects an exception that leaves a function of a client. In all other builds this is the call alone.
#pragma once

#include <type_traits>

namespace zar::debug {

#ifdef ZAR_CHECKS

// Calls 'body' with 'argument'. While checks run, an exception ends the process; the message names 'role' and 'function'.
void guard(const char *role, const void *function, void (*body)(void *argument), void *argument);

template <class Call>
auto guarded(const char *role, const void *function, Call call) {
  using Result = std::invoke_result_t<Call>;
  if constexpr (std::is_void_v<Result>) {
    const auto body = [](void *argument) { (*static_cast<Call *>(argument))(); };
    guard(role, function, body, &call);
  } else {
    Result result{};
    guarded(role, function, [&] { result = call(); });
    return result;
  }
}

#else

template <class Call>
auto guarded(const char *, const void *, Call call) {
  return call();
}

#endif

}  // namespace zar::debug
