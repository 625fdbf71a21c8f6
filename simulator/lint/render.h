// The findings of lint, for people and for programs.
#pragma once

#include <string>
#include <vector>

#include "simulator/findings/report.h"
#include "simulator/lint/findings.h"
#include "simulator/policy/source.h"
#include "simulator/reasoning/render.h"
#include "simulator/text/json.h"
#include "simulator/text/tone.h"

namespace simulator::lint {

using reasoning::json_of_input;
using reasoning::text_of_input;

// A line, the line of the file with a mark, a line for each reason, and an example if there is one. 'source' is the text
// of the file.
std::string text_of_finding(const PolicyFile &file, const Source &source, const Finding &finding, Colours colours);
Json json_of_finding(const Finding &finding);
// In the form that the reports for other programs share.
findings::Finding report_of_finding(const PolicyFile &file, const Finding &finding);
findings::Finding report_of_ignored(const PolicyFile &file, const IgnoredFinding &ignored);
// The same members, and the reason and place of the comment that ignores it.
Json json_of_ignored(const IgnoredFinding &ignored);

// Parts of findings, for others that show the like.
Json json_of_reasons(const std::vector<Reason> &reasons);

}  // namespace simulator::lint
