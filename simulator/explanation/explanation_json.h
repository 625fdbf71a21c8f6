// The explanation of an event as JSON.
#pragma once

#include "simulator/explanation/explanation_text.h"
#include "simulator/text/json.h"

namespace simulator {

// Everything that the text of the same level tells, and the numbers behind it.
Json explanation_json(const EventExplanation &explanation, const PolicyFile &file, const Step &step, Level level);

// {"attribute", "before", "after"}; null is an absent value.
Json change_json(const Change &change);

}  // namespace simulator
