// The errors of a policy file as findings.
#pragma once

#include "simulator/findings/report.h"
#include "simulator/policy/diagnostics.h"
#include "simulator/policy/source.h"

namespace simulator::findings {

// Adds as many of them as anybody reads, in the order of their positions.
void add_diagnostics(Report &report, const Diagnostics &diagnostics, const Source &source);

}  // namespace simulator::findings
