// A report as SARIF 2.1.0, the format of static analysis results that code hosts and editors read.
#pragma once

#include "simulator/findings/report.h"
#include "simulator/text/json.h"

namespace simulator::findings {

// A log with one run. 'is_successful': the run came to its end; false if something else than a finding stopped it.
Json sarif_of(const Report &report, bool is_successful);

}  // namespace simulator::findings
