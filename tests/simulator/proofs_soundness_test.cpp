// What is proved about random policies, compared with what the engine does on every target.
#include <gtest/gtest.h>

#include <cstdio>

#include "proofs_fixture.h"

namespace {

constexpr unsigned kParts = 10;
constexpr unsigned kPolicies = 1000;  // of each part

class EngineAgrees : public testing::TestWithParam<unsigned> {};

TEST_P(EngineAgrees, WithEveryAnswerAboutRandomPolicies) {
  test::ProofCounts counts;
  std::vector<std::string> problems;
  for (unsigned number = 0; number < kPolicies && problems.empty(); ++number) {
    const unsigned seed = GetParam() * kPolicies + number;
    test::check_proofs(test::random_policies(seed), counts, problems);
    ASSERT_TRUE(problems.empty()) << "seed " << seed << "\n" << problems[0];
  }
  std::printf("%zu policies: %zu proved, %zu refuted, %zu undecided; %zu events run\n", counts.policies, counts.proved,
              counts.refuted, counts.undecided, counts.inputs);
  EXPECT_GT(counts.proved, kPolicies);
  EXPECT_GT(counts.refuted, kPolicies);
  EXPECT_LT(counts.undecided * 50, counts.proved + counts.refuted);
}

INSTANTIATE_TEST_SUITE_P(Parts, EngineAgrees, testing::Range(0u, kParts));

}  // namespace
