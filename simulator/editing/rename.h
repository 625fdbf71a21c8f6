// A new name for something, everywhere in its file.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "simulator/editing/analysis.h"

namespace simulator::editing {

struct Renaming {
  std::vector<Edit> edits{};
  std::string refusal{};  // why there are none; empty if there are
};

// Why what stands at the offset cannot be renamed; empty if it can.
std::string why_not_renamed(const Analysis &analysis, std::string_view text, size_t offset);

// All edits, or none: the new text is analysed, and has to mean the same under the new name.
Renaming rename(const Analysis &analysis, const std::string &text, size_t offset, const std::string &name);

}  // namespace simulator::editing
