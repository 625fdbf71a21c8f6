// The explanation of an event: everything that was tried, what held, what ran, and what it changed.
//
// A Recorder makes it; texts, JSON and counts are made of it. It points into the policy file and is good as long as the lists
// of the file are; the repository may be gone.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "engine/engine.h"
#include "simulator/policy/model.h"

namespace simulator {

struct EventExplanation;
struct ParameterMapExplanation;

struct FilterExplanation {
  const Filter *filter = nullptr;
  bool asked = false;  // false: the outcome was certain without it
  bool holds = false;  // no-match taken into account; of one that was not asked: what it would have said
  std::optional<std::string> value{};  // of the attribute; nothing: it was absent
};

struct Change {
  std::string attribute{};
  std::optional<std::string> before{};
  std::optional<std::string> after{};
};

struct ActionExplanation {
  const Action *action = nullptr;
  bool failed = false;
  bool refused = false;  // an event or a parameter-map that was nested too deep or too often
  engine::Verdict decided = engine::Verdict::none;
  std::vector<Change> changes{};
  std::unique_ptr<EventExplanation> raised{};          // of a raise that was not refused
  std::unique_ptr<ParameterMapExplanation> applied{};  // of an apply
};

struct StatementExplanation {
  const Statement *statement = nullptr;
  bool matched = false;
  std::vector<FilterExplanation> filters{};
};

struct ParameterMapExplanation {
  const ParameterMap *map = nullptr;
  std::vector<StatementExplanation> statements{};  // up to the one that matched
  std::vector<ActionExplanation> actions{};        // of the statement that matched

  bool matched() const { return !statements.empty() && statements.back().matched; }
};

struct RuleExplanation {
  const Rule *rule = nullptr;
  const ClassMap *class_map = nullptr;
  bool matched = false;
  std::vector<FilterExplanation> filters{};  // of the class-map, in the order of asking
  std::vector<ActionExplanation> actions{};
  bool cut_short = false;  // the exec criteria left the rest of the actions out
};

struct PolicyExplanation {
  const PolicyMap *policy = nullptr;
  const EventRules *event = nullptr;     // NULL: the policy-map does not handle the event
  std::vector<RuleExplanation> rules{};  // the ones that were tried

  bool any_matched() const;
};

struct EventExplanation {
  std::string event{};
  std::vector<PolicyExplanation> policies{};  // all that are active on the target
  engine::Outcome outcome{};

  // Where a rule of any policy-map matched.
  bool any_matched() const;
};

// A rule that ran, with where it belongs.
struct RuleRun {
  const PolicyMap *policy;
  const EventRules *event;
  const RuleExplanation *rule;
};

// The rules that ran, in the order in which they began, those of raised events included.
std::vector<RuleRun> rules_run(const EventExplanation &explanation);
// The texts that were logged, in order.
std::vector<std::string> logs(const EventExplanation &explanation);
// What the event changed in the end, in the order of the first changes; what is as it was before is left out.
std::vector<Change> net_changes(const EventExplanation &explanation);

// The last permit or deny that ran for this very event.
struct Decision {
  RuleRun rule;
  const ActionExplanation *action;
};
std::optional<Decision> decision(const EventExplanation &explanation);

// Calls 'visit' with every action that ran, in the order in which they ended; of nested ones first.
template <class Visit>
void for_each_action(const EventExplanation &explanation, Visit visit);

template <class Visit>
void for_each_action(const std::vector<ActionExplanation> &actions, Visit visit) {
  for (const ActionExplanation &action : actions) {
    if (action.raised) for_each_action(*action.raised, visit);
    if (action.applied) for_each_action(action.applied->actions, visit);
    visit(action);
  }
}

template <class Visit>
void for_each_action(const EventExplanation &explanation, Visit visit) {
  for (const PolicyExplanation &policy : explanation.policies) {
    for (const RuleExplanation &rule : policy.rules)
      for_each_action(rule.actions, visit);
  }
}

}  // namespace simulator
