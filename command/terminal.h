// All that knows what a terminal is and the codes that it acts on.
//
// Colour goes to a terminal only, and never where the environment holds NO_COLOR or the terminal is a dumb one.
#pragma once

#include <cstdint>
#include <string_view>

#include "simulator/text/tone.h"

namespace command::terminal {

enum class Stream : uint8_t { out, err };  // standard output, standard error

bool is_terminal(Stream stream);

// Whether 'stream' shows colours.
simulator::Colours colours(Stream stream);

// What brings the cursor back to the start of its line and clears the line.
std::string_view line_eraser();

}  // namespace command::terminal
