// Work in a process of its own, and what it prints.
#pragma once

#include <functional>
#include <string>

namespace test {

struct Result {
  int code = -1;  // -1: did not end by itself
  std::string out;
  std::string err;
};

// Runs 'work' in a copy of this process, which ends with what it answers.
Result run_in_child_process(const std::function<int()> &work, const std::string &input = "");

}  // namespace test
