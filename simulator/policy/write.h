// Writes policy files.
#pragma once

#include <string>

#include "simulator/policy/model.h"

namespace simulator {

// Returns the text of a file from which the loader makes the same objects, in the same order. It contains what the
// repository is built from, without the scenario and the tests. Equal objects give equal texts.
//
// The text omits what a file may omit: empty lists, action numbers that follow from the previous one, a precedence of
// 0, and 'stop-on-failure'. It always contains domains and match criteria, so that a reader need not know the default.
std::string write_objects(const PolicyFile &file);

}  // namespace simulator
