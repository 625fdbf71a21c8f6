// What is proved about random policies, compared with what the engine does on every target.
//   proofs_walk [--policies N] [--seed N]
// Stops at the first disagreement. Undecided answers are counted; many of them are a fault of the prover, too.
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "proofs_fixture.h"

namespace {

struct Arguments {
  unsigned long policies = 600;
  unsigned long seed = 1;
};

bool read(int argc, char **argv, Arguments &arguments) {
  for (int at = 1; at + 1 < argc; at += 2) {
    const std::string_view name = argv[at];
    if (name != "--policies" && name != "--seed") return false;
    (name == "--seed" ? arguments.seed : arguments.policies) = std::strtoul(argv[at + 1], nullptr, 10);
  }
  return argc % 2 == 1;
}

int complain(const std::vector<std::string> &problems, unsigned long seed) {
  for (const std::string &problem : problems)
    std::fprintf(stderr, "seed %lu: %s\n", seed, problem.c_str());
  return 1;
}

}  // namespace

int main(int argc, char **argv) {
  Arguments arguments;
  if (!read(argc, argv, arguments)) {
    std::fprintf(stderr, "usage: proofs_walk [--policies N] [--seed N]\n");
    return 2;
  }
  test::ProofCounts counts;
  std::vector<std::string> problems;
  for (unsigned long number = 0; number < arguments.policies; ++number) {
    const unsigned long seed = arguments.seed + number;
    test::check_proofs(test::random_policies(seed), counts, problems);
    if (!problems.empty()) return complain(problems, seed);
  }
  std::printf("%zu policies from seed %lu: %zu proved, %zu refuted, %zu undecided; the engine ran %zu events\n",
              counts.policies, arguments.seed, counts.proved, counts.refuted, counts.undecided, counts.inputs);
  const bool says_something = counts.proved > 0 && counts.refuted > 0;
  return says_something && counts.undecided * 100 <= counts.proved + counts.refuted ? 0 : 1;
}
