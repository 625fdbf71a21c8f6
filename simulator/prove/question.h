// One question about an event: what it does symbolically, and the search for a target that makes a formula true.
#pragma once

#include <string>
#include <vector>

#include "simulator/prove/answer.h"
#include "simulator/prove/symbolic_run.h"
#include "simulator/reasoning/solver.h"

namespace simulator::prove {

using reasoning::FoundInput;

class Question {
 public:
  // 'hints' are values to prefer in a witness.
  Question(reasoning::Hints hints, reasoning::MayGoOn may_go_on);

  Formulas &formulas() { return formulas_; }
  SymbolicOutcome raise(const PolicyFile &file, const reasoning::Policies &policies, const std::string &event);
  // Whether the filters hold before the event.
  Formula holds_before(const std::vector<Filter> &filters);
  // Whether the outcomes leave an attribute with different values.
  Formula values_differ(const SymbolicOutcome &one, const SymbolicOutcome &other);
  Formula value_differs(const SymbolicOutcome &outcome, const ExpectedValue &expected);
  Formula logs_differ(const SymbolicOutcome &one, const SymbolicOutcome &other);

  FoundInput find(Formula formula);

 private:
  Formula value_differs(const SymbolicValues &one, const SymbolicValues &other, const std::string &attribute);

  reasoning::Hints hints_;
  reasoning::MayGoOn may_go_on_;
  reasoning::Effort effort_{may_go_on_};
  Formulas formulas_{};
  ValueTests tests_{formulas_};
  reasoning::Solver solver_{formulas_, tests_, hints_, effort_};
};

// Plays a witness. Nothing if the library refuses it.
std::optional<Play> play(const PolicyFile &file, const std::shared_ptr<reasoning::Stage> &stage,
                         const reasoning::Policies &policies, const std::string &event, const reasoning::Input &input);

// The attributes that are present, as a step gives them.
Step step_with(const std::string &event, const reasoning::Input &input);

}  // namespace simulator::prove
