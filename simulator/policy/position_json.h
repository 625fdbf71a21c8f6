// Positions in a policy file as JSON.
#pragma once

#include "simulator/policy/position.h"
#include "simulator/text/json.h"

namespace simulator {

// Adds the "line" and "column" of a position, and the number of its "source" unless it is the first.
void add_position(Json &object, Position position);
// The same, with null for a position outside any file.
void add_position_or_null(Json &object, Position position);

}  // namespace simulator
