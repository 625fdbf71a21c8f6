// What an event does on every target at once: the engine's order of evaluation, with conditions instead of values.
//
// The policy-maps, the rules and the actions are walked as the engine walks them. Where the engine would ask whether a
// class-map matches, the walk goes both ways: a rule runs in a branch of its own, in which its class-map matches, and what
// the branch did is then merged under that condition. So the formulas inside a branch do not repeat how it was reached,
// and what a rule sets is known to the events that the rule raises.
//
// The limit on depth is followed exactly. The limit on how many events and parameter-maps an event may lead to is never
// reached as long as the walk meets no more of them than that, on all branches together; when it does, the walk gives up.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "simulator/policy/model.h"
#include "simulator/prove/symbolic_value.h"
#include "simulator/reasoning/effort.h"

namespace simulator::prove {

// The values of attributes; one that is not in it is as before the event.
using SymbolicValues = std::map<std::string, std::shared_ptr<const SymbolicValue>>;

struct LoggedText {
  Formula condition;
  std::string text;
};

// What an event did up to some point, and in a branch, since the branch began.
struct SymbolicOutcome {
  SymbolicValues values{};
  Formula permits = Formula::never();  // the verdict of the event itself; neither: there is none
  Formula denies = Formula::never();
  Formula fails = Formula::never();        // whether an action failed, also in the events that it raised
  std::vector<LoggedText> log{};           // in order
  std::map<const Rule *, Formula> runs{};  // the rules that may run, also of raised events
  bool is_complete = true;
  std::string why_incomplete{};
};

class SymbolicRun {
 public:
  // Everything must outlive the run.
  SymbolicRun(const PolicyFile &file, Formulas &formulas, ValueTests &tests, const reasoning::MayGoOn &may_go_on)
      : file_(&file), formulas_(&formulas), tests_(&tests), may_go_on_(&may_go_on) {}

  // The event on a target that has these policy-maps.
  SymbolicOutcome raise(const std::vector<std::string> &policies, const std::string &event);

 private:
  // An event under way.
  struct Under {
    unsigned depth = 0;
    unsigned maps_under_way = 0;
  };
  struct Branch {
    Formula condition;
    SymbolicOutcome outcome;
  };
  enum class Place : uint8_t { rule, statement };

  void walk_policies(const std::string &event, Under &under, SymbolicOutcome &outcome);
  void walk_first(const EventRules &event, Under &under, SymbolicOutcome &outcome);
  void walk_all(const EventRules &event, Under &under, SymbolicOutcome &outcome);
  template <class Part>
  Formula when_matches(const Part &part, const SymbolicValues &values);
  void run_rule(const Rule &rule, Under &under, SymbolicOutcome &outcome);
  void run_actions(const std::vector<const Action *> &actions, size_t first, Execute execute, Under &under,
                   SymbolicOutcome &outcome);
  Formula run_action(const Action &action, Under &under, SymbolicOutcome &outcome);
  Formula raise(const Action &action, const Under &under, SymbolicOutcome &outcome);
  Formula apply(const Action &action, Under &under, SymbolicOutcome &outcome);
  Formula run_statement(const Statement &statement, Under &under, SymbolicOutcome &outcome);
  Formula clear(const std::string &attribute, SymbolicOutcome &outcome);

  static SymbolicOutcome branch_of(const SymbolicOutcome &outcome);
  void merge(SymbolicOutcome &outcome, std::vector<Branch> branches);
  void merge_values(SymbolicOutcome &outcome, const std::vector<Branch> &branches);
  void merge_value(SymbolicOutcome &outcome, const std::string &attribute, const std::vector<Branch> &branches);
  void add_to(std::map<const Rule *, Formula> &runs, const Rule *rule, Formula condition);

  const SymbolicValue &value(const SymbolicValues &values, const std::string &attribute) const;
  ValueOf value_of(const std::string &attribute) { return {attribute, *formulas_, *tests_}; }
  bool take_nested(const Action &action);
  bool may_go_on();
  void give_up(const std::string &why);

  const PolicyFile *file_;
  Formulas *formulas_;
  ValueTests *tests_;
  const reasoning::MayGoOn *may_go_on_;
  std::vector<const PolicyMap *> policies_{};
  unsigned nested_ = 0;
  std::string why_given_up_{};
};

}  // namespace simulator::prove
