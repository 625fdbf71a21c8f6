// Runs the command and compares what it prints.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "simulator/policy/load.h"

namespace test {

struct Result {
  int code = -1;  // -1: did not end by itself
  std::string out;
  std::string err;
};

// Runs zar in the root of the project, so that paths in its output are the same everywhere.
Result run_zar(const std::vector<std::string> &arguments, const std::string &input = "");

// Runs 'work' in a copy of this process, which ends with what it answers.
Result run_in_child_process(const std::function<int()> &work, const std::string &input = "");

// The text with every number that begins with 0x as 0x#.
std::string without_addresses(const std::string &text);

// Compares with the file of that name in golden/. With ZAR_UPDATE_GOLDEN in the environment it writes the file instead;
// what was written is to be read before it is kept.
void expect_golden(const std::string &name, const std::string &text);

// A policy file from a text, which has to be good.
simulator::PolicyFile load_good(const std::string &text);

}  // namespace test
