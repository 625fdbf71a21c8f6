// What an event did, in text: which rules matched, what their actions changed, and the verdict.
#pragma once

#include <string>

#include "simulator/explanation/explanation.h"

namespace simulator {

// What did not match is left out, but for policy-maps of which no rule matched. Every line is indented by two at least.
// Nothing for an event that could not be raised.
std::string outline(const EventExplanation &explanation);

}  // namespace simulator
