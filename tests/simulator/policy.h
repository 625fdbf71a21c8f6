// Policy files for tests, and lines that are compared as one text.
#pragma once

#include <string>
#include <vector>

#include "simulator/policy/load.h"

namespace test {

// Loads a policy file from a text, which must be good.
simulator::PolicyFile load_good(const std::string &text);

// Each line with its end.
std::string joined(const std::vector<std::string> &lines);

}  // namespace test
