// A line of a policy file with a mark under one of its characters.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "simulator/text/tone.h"

namespace simulator {

// Two lines: "  12 | " and the line, and a mark under the character at this column, which counts from 1.
//
// What a terminal obeys or nobody sees is shown as an escape, a tab as a blank; wide characters take two columns. A long
// line is cut on both sides of the mark; "..." stands where it was cut.
std::string marked_line(uint32_t number, std::string_view line, uint32_t column, Colours colours);

}  // namespace simulator
