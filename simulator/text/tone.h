// What a part of a text means, for whoever can show it in colour.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace simulator {

enum class Tone : uint8_t { good, bad, changed, strong, faint };

// Whether a text goes where colours are shown. The caller knows; nothing here asks a terminal or the environment.
enum class Colours : bool { off, on };

// 'text' with the codes that a terminal acts on, or as it is.
std::string painted(Colours colours, Tone tone, std::string_view text);

}  // namespace simulator
