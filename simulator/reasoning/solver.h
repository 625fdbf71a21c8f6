// Searches for attributes of a target with which some claims hold, each a formula.
//
// Claims that only say that tests are passed or not need no search: each attribute has such a value or has none. For others
// it is first tried whether they hold when every attribute that these parts leave open is absent.
//
// The rest goes to a solver for propositional logic as clauses over the nodes of the formulas, and stays there for later
// questions. That solver does not know what the tests on one attribute have to do with each other, so clauses about pairs of
// tests come with them: a text passes or fails every other test, prefixes begin each other or differ, ranges contain each
// other or do not overlap. What these pairs do not say is found out when it matters: each answer of the solver makes the
// claims hold by way of some of its tests. A value that passes and fails these is looked for, for each attribute, and where
// there is none, the tests that contradict each other become one more clause.
//
// No answer depends on the ways of the propositional solver, except which of several conflicts is found and which input
// find_any() returns. Work is counted, not timed; see effort.h.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "simulator/reasoning/effort.h"
#include "simulator/reasoning/inputs.h"
#include "simulator/reasoning/tests_of_values.h"

namespace simulator::reasoning {

struct FoundInput {
  Can can = Can::unknown;
  Input input{};                    // of 'possible': a value for each attribute that the claims depend on
  Input needed{};                   // of 'possible': the part of it with which they hold, whatever the rest is
  bool rests_on_open = false;       // of 'possible': it depends on answers that are not known
  std::vector<std::string> why{};   // of 'unknown' and of those: what stood in the way
  std::vector<Formula> conflict{};  // of 'impossible': claims that cannot hold together
  std::string why_given_up{};       // of 'unknown': why, if more effort would not help either
};

class Solver {
 public:
  // Everything must outlive the solver. 'hints' are values to prefer, the first ones most.
  Solver(const Formulas &formulas, const ValueTests &tests, Hints hints, Effort &effort);
  ~Solver();
  Solver(const Solver &) = delete;
  Solver &operator=(const Solver &) = delete;

  // Some input.
  FoundInput find_any(const std::vector<Formula> &claims);
  // The input that comes first: with as many absent attributes as possible, in the order of their names, then with the
  // value that the claims' own tests suggest, then with those of the hints.
  FoundInput find_first(const std::vector<Formula> &claims);

 private:
  class Search;
  std::unique_ptr<Search> search_;
};

}  // namespace simulator::reasoning
