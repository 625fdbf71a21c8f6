// What lint finds, as a person and a program read it.
#pragma once

#include <string>

#include "simulator/lint/findings.h"
#include "simulator/text/json.h"

namespace simulator::lint {

// A line, a line for each reason, and an example where there is one.
std::string text_of_finding(const PolicyFile &file, const Finding &finding);
Json json_of_finding(const Finding &finding);

}  // namespace simulator::lint
