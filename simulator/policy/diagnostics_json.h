// What is wrong with a policy file, as JSON.
#pragma once

#include "simulator/policy/diagnostics.h"
#include "simulator/text/json.h"

namespace simulator {

// A list in the order of the positions, cut at the number that anybody reads.
Json errors_json(const Diagnostics &diagnostics);

}  // namespace simulator
