// Sets of characters, as ranges of their codes.
#pragma once

#include <algorithm>
#include <cstddef>
#include <iterator>

namespace simulator {

struct CharacterRange {
  char32_t first;
  char32_t last;
};

// 'ranges' are sorted and do not overlap.
template <size_t kSize>
bool is_in(const CharacterRange (&ranges)[kSize], char32_t character) {
  const CharacterRange *after =
      std::upper_bound(std::begin(ranges), std::end(ranges), character,
                       [](char32_t code, const CharacterRange &range) { return code < range.first; });
  return after != std::begin(ranges) && character <= (after - 1)->last;
}

}  // namespace simulator
