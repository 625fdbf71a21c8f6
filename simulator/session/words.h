// A line of a session, as words.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace simulator::session {

struct Line {
  std::vector<std::string> words{};
  std::vector<size_t> ends{};  // of each word, where it ends in the text
  std::string text{};
  bool unclosed = false;  // a quote is open at the end

  // What follows the first 'count' words, as it was written.
  std::string_view rest_after(size_t count) const;
};

// Words stand apart by blanks; what stands in single or double quotes belongs together. A line whose first word begins
// with # has no words.
Line split(std::string text);

}  // namespace simulator::session
