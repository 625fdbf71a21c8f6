// The one place that knows what a terminal is and the codes that it acts on.
//
// Colour goes to a terminal only, and never where the environment holds NO_COLOR or the terminal is a dumb one.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace tool::terminal {

enum class Stream : uint8_t { out, err };  // standard output, standard error

bool is_terminal(Stream stream);

enum class Tone : uint8_t { good, bad, changed, strong, faint };

// 'text' in colour where 'stream' shows colours, else as it is.
std::string painted(Stream stream, Tone tone, std::string_view text);

// What brings the cursor back to the start of its line and clears the line.
std::string_view line_eraser();

}  // namespace tool::terminal
