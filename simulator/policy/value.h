// The texts that a policy can hold: values of attributes, texts of filters and actions. Every way in checks them here:
// policy files, command lines and sessions. So what a session holds can always be written as a file.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace simulator {

inline constexpr size_t kMaxValue = 4096;  // bytes

struct BadValue {
  std::string what;      // "a value of 5000 bytes"
  std::string expected;  // what would be right
};

// What is wrong with the text; nothing if a policy can hold it.
std::optional<BadValue> check_value(std::string_view text);

}  // namespace simulator
