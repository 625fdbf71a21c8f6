// What is wrong with a policy file, as JSON.
#pragma once

#include "simulator/policy/diagnostics.h"
#include "simulator/text/json.h"

namespace simulator {

// Adds "errors", a list in the order of the positions, cut at the number that anybody reads, and "more_errors", the
// number of errors that were cut off.
void add_errors(Json &object, const Diagnostics &diagnostics);
// "file" and its errors.
Json file_errors_json(const std::string &file, const Diagnostics &diagnostics);

}  // namespace simulator
