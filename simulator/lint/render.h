// The findings of lint, for people and for programs.
#pragma once

#include <string>

#include "simulator/lint/findings.h"
#include "simulator/text/json.h"

namespace simulator::lint {

// A line, a line for each reason, and an example if there is one.
std::string text_of_finding(const PolicyFile &file, const Finding &finding);
Json json_of_finding(const Finding &finding);

}  // namespace simulator::lint
