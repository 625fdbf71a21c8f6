// Everything that deals with terminals and their control codes.
//
// Unless the user wants it otherwise, only terminals get colour, and not if NO_COLOR has a value in the environment or
// the terminal is a dumb one.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "simulator/text/tone.h"

namespace command::terminal {

enum class Stream : uint8_t { out, err };  // standard output, standard error

bool is_terminal(Stream stream);

// "auto", "always" or "never"; nothing else.
void set_colours(std::string_view when);

// Whether 'stream' shows colours.
simulator::Colours colours(Stream stream);

// The columns to which lines for standard output are wrapped: COLUMNS of the environment if that is a number, else the
// width of the terminal. 0, which is no limit, if the output does not go to a terminal or the width is unknown.
size_t width();

// 'text' for standard output, with its lines wrapped to this width.
std::string fitted(std::string_view text);

// The codes that move the cursor to the start of its line and clear the line.
std::string_view line_eraser();

}  // namespace command::terminal
