// What can be written at a place.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "simulator/editing/outline.h"
#include "simulator/editing/place.h"

namespace simulator::editing {

enum class Candidate : uint8_t { key, word, name };

struct Completion {
  Candidate is = Candidate::name;
  Kind kind = Kind::none;  // of a name
  std::string label{};
  std::string insertion{};
  std::string about{};  // Markdown
};

struct Completions {
  Span replaced{};
  std::vector<Completion> all{};
};

// 'names' are those of the file as it was understood last: the text may be broken at the moment.
Completions complete(std::string_view text, size_t offset, const Names &names);

}  // namespace simulator::editing
