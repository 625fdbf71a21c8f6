// Which events raise which, and what has to match for it.
#pragma once

#include <functional>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "simulator/lint/prover.h"
#include "simulator/lint/reach.h"
#include "simulator/policy/model.h"

namespace simulator::lint {

// A statement of a parameter-map that a rule, or another such statement, applies.
struct AppliedStatement {
  const ParameterMap *map = nullptr;
  const Statement *statement = nullptr;
};

// An action that raises an event: of a rule, or of a statement that the rule leads to.
struct Raise {
  RuleOf rule{};
  std::vector<AppliedStatement> through{};
  const Action *action = nullptr;

  std::string_view from() const { return rule.event->event.value; }
  std::string_view to() const { return action->subject.value; }
};

class Raises {
 public:
  // More are not collected; is_complete() is then false.
  static constexpr size_t kMost = 20'000;

  explicit Raises(const PolicyFile &file);

  const std::vector<Raise> &all() const { return all_; }
  bool is_complete() const { return complete_; }

  // The raises on the shortest way that begins with this one and leads back to its event; empty if there is none.
  // Nothing when 'step', which is asked on the way, answers no.
  std::optional<std::vector<size_t>> shortest_loop(size_t raise, const std::function<bool()> &step) const;

 private:
  void collect(const RuleOf &rule);
  void collect(const RuleOf &rule, const std::vector<Action> &actions, std::vector<AppliedStatement> &through,
               size_t depth);
  const std::vector<size_t> &from(std::string_view event) const;
  void leave_out_ways_without_return();

  const PolicyFile *file_;
  std::vector<Raise> all_;
  std::unordered_map<std::string_view, std::vector<size_t>> from_;  // those that may be on a way back
  bool complete_ = true;
};

// What must be true for a rule to run when the event comes to it: it matches, and in a match-first event none before it
// does. For a raise, the same of its statements.
std::vector<Formula> claims_of(Prover &prover, const PolicyFile &file, const RuleOf &rule);
std::vector<Formula> claims_of(Prover &prover, const PolicyFile &file, const Raise &raise);

}  // namespace simulator::lint
