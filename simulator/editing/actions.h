// Changes that do away with a problem.
#pragma once

#include <string>
#include <vector>

#include "simulator/editing/analysis.h"

namespace simulator::editing {

struct Remedy {
  std::string title{};
  std::vector<Edit> edits{};
  bool preferred = false;
};

// Each was tried: the text is better with it than without.
std::vector<Remedy> remedies_for(const Problem &problem, const Analysis &analysis, const std::string &text);

}  // namespace simulator::editing
