// Positions in a policy file as JSON.
#pragma once

#include "simulator/policy/position.h"
#include "simulator/text/json.h"

namespace simulator {

// Adds "line" and "column" of a place, and the number of its "source" where that is not the first.
void add_place(Json &object, Place place);
// The same, as null where the place is none in a file.
void add_place_or_null(Json &object, Place place);

}  // namespace simulator
