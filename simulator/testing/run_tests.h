// Runs the tests of a policy file.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "simulator/explanation/explanation.h"
#include "simulator/repository/repository.h"

namespace simulator {

// An expectation that was not met.
struct Failure {
  std::string what;      // "rules", "verdict", "log", or "attribute NAME"
  std::string expected;  // for people to read
  std::string actual;
};

struct TestOutcome {
  const Test *test = nullptr;
  std::vector<Failure> failures{};
};

// Runs every test of the file on a repository built from it. Each test starts from the attributes that its target has
// in the file, and leaves the attributes that it has changed; counters stay as they were. 'each' is called after each
// test with its outcome and the explanation of its event.
void run_tests(const PolicyFile &file, const Repository &repository,
               const std::function<void(const TestOutcome &, const EventExplanation &)> &each);

}  // namespace simulator
