// Writes policy files.
#pragma once

#include <string>

#include "simulator/policy/model.h"

namespace simulator {

// The text of a file from which the loader makes the same objects, in the same order: what the repository is built of,
// without the scenario and the tests. Equal objects give equal texts.
//
// What a file may leave out is left out: empty lists, numbers of actions that follow from the one before, a precedence of
// 0, and 'stop-on-failure'. Domain and match criteria are always there, as a reader should not have to know the default.
std::string write_objects(const PolicyFile &file);

}  // namespace simulator
