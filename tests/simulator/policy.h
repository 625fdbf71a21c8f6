// Policy files of tests.
#pragma once

#include <string>

#include "simulator/policy/load.h"

namespace test {

// A policy file from a text, which has to be good.
simulator::PolicyFile load_good(const std::string &text);

}  // namespace test
