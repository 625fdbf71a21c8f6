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
  std::string what;      // "rules", "verdict", "log", "limit", or "attribute NAME"
  std::string expected;  // for people to read
  std::string actual;
};

struct StepOutcome {
  const TestStep *step = nullptr;
  EventExplanation explanation{};
  std::vector<Failure> failures{};
};

// Only the last step that was run can have failed: what would come of the steps after it means nothing.
struct TestOutcome {
  const Test *test = nullptr;
  std::vector<StepOutcome> steps{};  // those that were run

  bool passed() const { return steps.back().failures.empty(); }
};

// Runs every test of the file on a repository built from it. Each test starts from the attributes that its targets have
// in the file. 'each' is called after each test.
void run_tests(const PolicyFile &file, const Repository &repository,
               const std::function<void(const TestOutcome &)> &each);

}  // namespace simulator
