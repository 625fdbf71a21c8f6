// The solver for propositional logic, for clauses over the nodes of formulas; the only user of Z3.
//
// Z3 counts its own work, so how far it goes does not depend on the machine: it works in slices, and between them the
// effort is asked whether it may go on.
#pragma once

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <vector>

#include "simulator/reasoning/effort.h"
#include "simulator/reasoning/formula.h"
#include "simulator/reasoning/text_tests.h"

namespace simulator::reasoning {

class ClauseSolver {
 public:
  // It cannot go on, for example because there is no memory left.
  struct GaveUp : std::runtime_error {
    using std::runtime_error::runtime_error;
  };

  explicit ClauseSolver(Effort &effort);
  ~ClauseSolver();
  ClauseSolver(const ClauseSolver &) = delete;
  ClauseSolver &operator=(const ClauseSolver &) = delete;

  // A variable that stands for no node of formulas.
  Formula new_variable();
  // One of the literals has to be true.
  void add_clause(const std::vector<Formula> &literals);

  // Whether all clauses and assumptions can be true together. 'unknown': the effort is over.
  Can check(const std::vector<Formula> &assumptions);
  // After 'possible': how it can be.
  bool is_true(uint32_t node) const;
  // After 'impossible': assumptions that cannot be true together.
  std::vector<Formula> conflict() const;

 private:
  class Engine;
  std::unique_ptr<Engine> engine_;
};

}  // namespace simulator::reasoning
