// Splits a line of a session into words.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace simulator::session {

struct Line {
  std::vector<std::string> words{};
  std::vector<size_t> ends{};    // for each word, where it ends in the text
  std::vector<bool> are_bars{};  // for each word, whether it is a bar without quotes
  std::string text{};
  bool unclosed = false;  // a quote is still open at the end

  // The text after the first 'count' words, unchanged.
  std::string_view rest_after(size_t count) const;
  // The first bar from this word on, or the number of words.
  size_t first_bar(size_t from = 0) const;
};

// Blanks separate words; text in single or double quotes stays together. A line whose first word begins with # has no
// words.
Line split(std::string text);

}  // namespace simulator::session
