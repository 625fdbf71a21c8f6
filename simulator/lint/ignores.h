// Comments of a policy file that ignore findings:
//
//   - {number: 20, class: gold, actions: [deny]}   # zar: ignore shadowed-rule: kept for the audit
//
// Such a comment applies to findings of this kind that are placed on its own line; one on a line of its own applies to
// the next line that is neither empty nor only a comment.
#pragma once

#include <string>
#include <vector>

#include "simulator/lint/findings.h"
#include "simulator/policy/source.h"

namespace simulator::lint {

struct Ignore {
  Position position{};  // of the comment
  uint32_t line = 0;    // of the findings
  std::string kind{};
  std::string reason{};
};

// Reads the comments of a file that is valid YAML. A comment with an unknown kind or without a reason is an error.
std::vector<Ignore> read_ignores(const Source &source, Diagnostics &diagnostics);

// Moves the findings that are ignored to 'ignored', and adds a finding for each comment that ignores nothing.
void apply(const std::vector<Ignore> &ignores, Findings &findings);

}  // namespace simulator::lint
