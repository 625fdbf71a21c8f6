// The meaning of a part of a text, for output that can show it in colour.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace simulator {

enum class Tone : uint8_t { good, bad, changed, strong, faint };

// Whether the output shows colours. The caller knows; nothing here queries a terminal or the environment.
enum class Colours : bool { off, on };

// 'text' with the colour codes of a terminal around it, or unchanged.
std::string painted(Colours colours, Tone tone, std::string_view text);

}  // namespace simulator
