// What may be written at a place of a text, also where the text is not complete.
//
// Only the lines that lead to the place are read, by the parser of policy files: a word stands for what is missing there,
// and brackets that are open are closed. So the answer does not depend on the rest of the file, nor on its size.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "simulator/editing/grammar.h"
#include "simulator/editing/text.h"

namespace simulator::editing {

struct Place {
  const Shape *shape = nullptr;  // of the value, or of the mapping whose key stands here
  bool is_key = false;
  bool in_brackets = false;
  Span word{};                         // what was written of it already
  std::vector<std::string> present{};  // other keys of the mapping
};

// Nothing where no word of a policy file can stand, as in a comment.
std::optional<Place> place_at(std::string_view text, size_t offset);

// If the place is in a comment: the comment up to there.
std::optional<std::string_view> comment_before(std::string_view text, size_t offset);

}  // namespace simulator::editing
