// A report as workflow commands of GitHub Actions, which shows them as annotations of the lines.
#pragma once

#include <string>

#include "simulator/findings/report.h"

namespace simulator::findings {

// "::error file=NAME,line=L,col=C,title=RULE::MESSAGE", a line for each finding, and a notice for each remark.
// A finding that a comment ignores has no line.
std::string github_of(const Report &report);

}  // namespace simulator::findings
