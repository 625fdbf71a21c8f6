// Describes what is wrong with text that is not YAML, and what to do about it. The parser's own sentences differ from
// one release to the next.
#pragma once

#include <yaml-cpp/exceptions.h>

#include "simulator/policy/diagnostics.h"
#include "simulator/policy/source.h"

namespace simulator::yaml {

Diagnostic describe(const YAML::Exception &error, const Source &source);

// A text in quotes without an end; 'quote' is the byte of the source where it begins.
Diagnostic describe_open_quote(size_t quote, const Source &source);

// The position that the parser's mark points to.
Position position_of(const Source &source, const YAML::Mark &mark);

}  // namespace simulator::yaml
