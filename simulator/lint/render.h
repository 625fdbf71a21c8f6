// The findings of lint, for people and for programs.
#pragma once

#include <string>
#include <vector>

#include "simulator/lint/findings.h"
#include "simulator/text/json.h"

namespace simulator::lint {

// A line, a line for each reason, and an example if there is one.
std::string text_of_finding(const PolicyFile &file, const Finding &finding);
Json json_of_finding(const Finding &finding);
// The same members, and the reason and place of the comment that ignores it.
Json json_of_ignored(const IgnoredFinding &ignored);

// Parts of findings, for others that show the like.
std::string text_of_input(const Input &input);
Json json_of_input(const Input &input);
Json json_of_reasons(const std::vector<Reason> &reasons);

}  // namespace simulator::lint
