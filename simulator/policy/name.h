// The names that objects can have.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace simulator {

enum class NameKind : uint8_t {
  map,     // letters, digits and _-./+
  domain,  // the same, but shorter
  target,  // also ':' and '@'
};

bool is_name(std::string_view text, NameKind kind);
// What such a name consists of, for messages.
std::string describe_name(NameKind kind);
// A text from outside in a message: in quotes, and cut if it is long.
std::string shown(std::string_view text);

}  // namespace simulator
