// Random small policy files whose attributes have few values, so that what is proved can be compared with what the engine
// does on every target.
#pragma once

#include <array>
#include <random>
#include <string>
#include <vector>

#include "simulator/policy/model.h"
#include "simulator/prove/answer.h"

namespace test {

// How answers compared with the engine.
struct ProofCounts {
  size_t policies = 0;
  size_t proved = 0;
  size_t refuted = 0;
  size_t undecided = 0;
  size_t wrong = 0;
  size_t inputs = 0;  // events that the engine ran
};

// A random policy file, and a changed version of it.
struct RandomPolicies {
  std::string text;
  std::string changed;
};
RandomPolicies random_policies(unsigned long seed);

// Proves every claim of the file and that it decides as 'changed' does, runs the engine on every target, and compares.
// A wrong answer is described in 'problems'.
void check_proofs(const RandomPolicies &policies, ProofCounts &counts, std::vector<std::string> &problems);

}  // namespace test
