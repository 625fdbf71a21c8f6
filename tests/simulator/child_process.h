// Runs work in a process of its own and collects its output.
#pragma once

#include <functional>
#include <string>

namespace test {

struct Result {
  int code = -1;  // -1: it did not exit by itself
  std::string out;
  std::string err;
};

// Runs 'work' in a copy of this process, which exits with the code that 'work' returns.
Result run_in_child_process(const std::function<int()> &work, const std::string &input = "");

}  // namespace test
