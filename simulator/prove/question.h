// One question about an event: what it does symbolically, and the search for a target that makes a formula true.
#pragma once

#include <string>
#include <vector>

#include "simulator/prove/answer.h"
#include "simulator/prove/solver.h"
#include "simulator/prove/symbolic_run.h"

namespace simulator::prove {

class Question {
 public:
  // 'hints' are values to prefer in a witness.
  Question(lint::Hints hints, Patience patience);

  Formulas &formulas() { return formulas_; }
  SymbolicOutcome raise(const PolicyFile &file, const lint::Policies &policies, const std::string &event);
  // Whether the filters hold before the event.
  Formula holds_before(const std::vector<Filter> &filters);
  // Whether the outcomes leave an attribute with different values.
  Formula values_differ(const SymbolicOutcome &one, const SymbolicOutcome &other);
  Formula value_differs(const SymbolicOutcome &outcome, const ExpectedValue &expected);
  Formula logs_differ(const SymbolicOutcome &one, const SymbolicOutcome &other);

  FoundInput find(Formula formula);

 private:
  Formula value_differs(const SymbolicValues &one, const SymbolicValues &other, const std::string &attribute);

  lint::Hints hints_;
  Patience patience_;
  lint::Effort effort_;
  Formulas formulas_{};
  ValueTests tests_{formulas_};
  Solver solver_{formulas_, tests_, hints_, effort_, patience_};
};

// Plays a witness. Nothing if the library refuses it.
std::optional<Play> play(const PolicyFile &file, const std::shared_ptr<lint::Stage> &stage,
                         const lint::Policies &policies, const std::string &event, const lint::Input &input);

// The attributes that are present, as a step gives them.
Step step_with(const std::string &event, const lint::Input &input);

}  // namespace simulator::prove
