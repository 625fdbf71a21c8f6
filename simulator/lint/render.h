// The findings of lint, for people and for programs.
#pragma once

#include <string>

#include "simulator/findings/report.h"
#include "simulator/lint/findings.h"
#include "simulator/policy/source.h"
#include "simulator/text/json.h"
#include "simulator/text/tone.h"

namespace simulator::lint {

// A line, the line of the file with a mark, a line for each reason, and an example if there is one. 'source' is the text
// of the file.
std::string text_of_finding(const PolicyFile &file, const Source &source, const Finding &finding, Colours colours);
Json json_of_finding(const Finding &finding);
// In the form that the reports for other programs share.
findings::Finding report_of_finding(const PolicyFile &file, const Finding &finding);

}  // namespace simulator::lint
