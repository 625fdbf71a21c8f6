// Inputs, for people and for programs.
#pragma once

#include <string>

#include "simulator/reasoning/inputs.h"
#include "simulator/text/json.h"

namespace simulator::reasoning {

// "region is absent, service is gold", or that the attributes do not matter.
std::string text_of_input(const Input &input);
Json json_of_input(const Input &input);

}  // namespace simulator::reasoning
