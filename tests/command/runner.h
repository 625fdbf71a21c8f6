// Runs the command and compares what it prints.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/simulator/child_process.h"
#include "tests/simulator/policy.h"

namespace test {

// Runs zar in the root of the project, so that paths in its output are the same on every machine.
Result run_zar(const std::vector<std::string> &arguments, const std::string &input = "");

// The same in an address space of this many bytes.
Result run_zar_within(size_t memory, const std::vector<std::string> &arguments, const std::string &input = "");

// The text with every number that begins with 0x replaced by 0x#.
std::string without_addresses(const std::string &text);

// Compares with the file of that name in golden/. If ZAR_UPDATE_GOLDEN is set in the environment, it writes the file
// instead and fails, since nothing was compared.
void expect_golden(const std::string &name, const std::string &text);

}  // namespace test
