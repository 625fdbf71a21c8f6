// What is wrong with a text that is not YAML, in sentences that say what to do about it. The parser's own differ from one
// release of it to the next.
#pragma once

#include <yaml-cpp/exceptions.h>

#include "simulator/policy/diagnostics.h"
#include "simulator/policy/source.h"

namespace simulator::yaml {

Diagnostic describe(const YAML::Exception &error, const Source &source);

// The position of a mark of the parser.
Position position_of(const Source &source, const YAML::Mark &mark);

}  // namespace simulator::yaml
