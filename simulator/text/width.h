// How much room characters take on a terminal.
#pragma once

#include <cstddef>
#include <string_view>

namespace simulator {

// The columns of a character: 2 for those of East Asia and for most pictures, 0 for marks that combine with the
// character before them, else 1. The marks of some scripts are missing, so that a line of these seems too wide. The
// C library knows the widths only in the locale of the user, on which no output here depends.
size_t columns_of(char32_t character);

// What is printed as one: a character, a byte that belongs to none, or a colour code, which takes no columns.
struct Unit {
  std::string_view text;
  size_t columns;
};
// Removes the first unit of 'text', which is not empty, and returns it.
Unit take_unit(std::string_view &text);

// The columns of a text without newlines.
size_t columns_of(std::string_view text);

}  // namespace simulator
