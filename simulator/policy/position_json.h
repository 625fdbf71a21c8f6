// Positions in a policy file as JSON.
#pragma once

#include "simulator/policy/position.h"
#include "simulator/text/json.h"

namespace simulator {

// Adds "line" and "column" of a position, and the number of its "source" where that is not the first.
void add_position(Json &object, Position position);
// The same, as null where the position is none in a file.
void add_position_or_null(Json &object, Position position);

}  // namespace simulator
