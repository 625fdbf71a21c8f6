// Whether a target can have attributes with which some class-maps match and others do not.
//
// Class-maps and statements are formulas over the tests of their filters, and one solver answers all questions about a
// file, so what it learns for one is known for the next.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "simulator/policy/model.h"
#include "simulator/reasoning/formula.h"
#include "simulator/reasoning/inputs.h"
#include "simulator/reasoning/solver.h"
#include "simulator/reasoning/tests_of_values.h"

namespace simulator::lint {

using reasoning::Can;
using reasoning::Effort;
using reasoning::Formula;
using reasoning::Input;

struct InputAnswer {
  Can can = Can::unknown;
  Input input{};  // of 'possible': what the claims depend on; everything else can have any value
};

class Prover {
 public:
  // Both must outlive the prover, and the maps of the file must not move.
  Prover(const PolicyFile &file, Effort &effort);

  // The claim that a filter holds, that a class-map or a statement matches; ~ makes it the opposite.
  Formula claim(const Filter &filter) { return tests_.holds(filter); }
  Formula claim(const ClassMap &map) { return claim_of(map); }
  Formula claim(const Statement &statement) { return claim_of(statement); }

  // The first input that makes all claims true.
  InputAnswer find_input(const std::vector<Formula> &claims);
  // Some input, faster.
  InputAnswer find_some_input(const std::vector<Formula> &claims);
  Can can_hold(const std::vector<Formula> &claims) { return find_some_input(claims).can; }
  // As few of the claims, which cannot hold together, as cannot either; rather the first than the last.
  std::vector<Formula> smallest(const std::vector<Formula> &claims);

  // Whether a search was given up for another reason than the effort or a regular expression; empty if none was.
  const std::string &why_given_up() const { return why_given_up_; }

 private:
  reasoning::FoundInput noted(reasoning::FoundInput found);
  template <class Part>
  Formula claim_of(const Part &part);
  size_t shortest_conflict(const std::vector<Formula> &needed, const std::vector<Formula> &claims, size_t enough);

  reasoning::Formulas formulas_{};
  reasoning::ValueTests tests_{formulas_};
  reasoning::Solver solver_;
  std::string why_given_up_{};
  std::map<const void *, Formula> maps_{};  // of class-maps and statements
};

}  // namespace simulator::lint
