// Policy files for tests.
#pragma once

#include <string>

#include "simulator/policy/load.h"

namespace test {

// Loads a policy file from a text, which must be good.
simulator::PolicyFile load_good(const std::string &text);

}  // namespace test
