// The effects of an event, as text: the rules that matched, the changes by their actions, and the verdict.
#pragma once

#include <string>

#include "simulator/explanation/explanation.h"
#include "simulator/text/tone.h"

namespace simulator {

// The event's number, event and target, and what the step gives; lines that end with a newline.
std::string heading(size_t number, const Step &step);

// Rules that did not match are left out; a policy-map without a matching rule is still shown. Every line is indented by
// at least two. Empty for an event that could not be raised.
// If a limit stopped the event, the last line is an error, and only a part of what it led to is shown.
std::string outline(const EventExplanation &explanation, const PolicyFile &file, Colours colours = Colours::off);

}  // namespace simulator
