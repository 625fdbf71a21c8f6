// Searches for attributes of a target with which a formula holds.
//
// The formula goes to a solver for propositional logic as clauses over its nodes. That solver does not know what the tests
// on one attribute have to do with each other, so clauses about each pair of tests come with them: a text passes or fails
// every other test, prefixes begin each other or differ, ranges contain each other or do not overlap. What these pairs do
// not say is found out when it matters: for each answer of the solver a value is looked for that each attribute can have,
// and where there is none, the tests that contradict each other become one more clause.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "simulator/lint/inputs.h"
#include "simulator/prove/patience.h"
#include "simulator/prove/tests_of_values.h"

namespace simulator::prove {

struct FoundInput {
  lint::Can can = lint::Can::unknown;
  lint::Input input{};             // of 'possible': a value for each attribute that the formula depends on
  bool rests_on_open = false;      // of 'possible': it depends on answers that are not known
  std::vector<std::string> why{};  // of 'unknown' and of those: what stood in the way
};

class Solver {
 public:
  // Everything must outlive the solver. 'hints' are values to prefer, the first ones most.
  Solver(const Formulas &formulas, const ValueTests &tests, lint::Hints hints, lint::Effort &effort, Patience patience);
  ~Solver();
  Solver(const Solver &) = delete;
  Solver &operator=(const Solver &) = delete;

  // The input that comes first: with as many absent attributes as possible, in the order of their names, then with the
  // values of the hints. So it does not depend on the ways of the solver.
  FoundInput find(Formula formula);

 private:
  class Search;
  std::unique_ptr<Search> search_;
};

}  // namespace simulator::prove
