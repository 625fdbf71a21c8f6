// Positions in a policy file.
#pragma once

#include <compare>
#include <cstdint>
#include <utility>

namespace simulator {

// A position in a policy file: line and column (in characters) from 1. Line 0 is the file as a whole.
struct Position {
  uint32_t line = 0;
  uint32_t column = 0;
  uint32_t source = 0;  // the number of the source, when several make up one file

  auto operator<=>(const Position &) const = default;
};

// A value that was read, with its position.
template <class T>
struct Located {
  T value{};
  Position position;
};

}  // namespace simulator
