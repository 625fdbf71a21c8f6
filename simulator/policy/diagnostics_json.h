// What is wrong with a policy file, as JSON.
#pragma once

#include "simulator/policy/diagnostics.h"
#include "simulator/text/json.h"

namespace simulator {

// A list, in the order of the positions, of as many as anybody reads.
Json errors_json(const Diagnostics &diagnostics);

}  // namespace simulator
