// Everything that deals with terminals and their control codes.
//
// Only terminals get colour, and not if NO_COLOR is set in the environment or the terminal is a dumb one.
#pragma once

#include <cstdint>
#include <string_view>

#include "simulator/text/tone.h"

namespace command::terminal {

enum class Stream : uint8_t { out, err };  // standard output, standard error

bool is_terminal(Stream stream);

// Whether 'stream' shows colours.
simulator::Colours colours(Stream stream);

// The codes that move the cursor to the start of its line and clear the line.
std::string_view line_eraser();

}  // namespace command::terminal
