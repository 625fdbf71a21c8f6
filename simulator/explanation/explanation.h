// The explanation of an event: everything that was tried, what held, what ran, and what it changed.
//
// A Recorder makes it; texts, JSON and counts are made from it. It points into the policy file and is valid as long as
// the lists of the file are; the repository may be gone.
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
  bool asked = false;                  // false: the outcome was certain without it
  bool holds = false;                  // with no-match applied; if it was not asked: what it would have answered
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
  bool refused = false;   // its event or parameter-map: a limit of the engine was reached
  bool too_deep = false;  // if it was refused: the limit on depth, else that on their number
  engine::Verdict decided = engine::Verdict::none;
  std::vector<Change> changes{};
  std::unique_ptr<EventExplanation> raised{};          // by a raise that was not refused
  std::unique_ptr<ParameterMapExplanation> applied{};  // by an apply

  // Whether it led to another event or to a parameter-map.
  bool led_on() const { return raised || (applied && !refused); }
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
  std::vector<FilterExplanation> filters{};  // of the class-map, in the order of evaluation
  std::vector<ActionExplanation> actions{};
  bool cut_short = false;  // the exec criteria skipped the remaining actions
};

struct PolicyExplanation {
  const PolicyMap *policy = nullptr;
  const EventRules *event = nullptr;     // NULL: the policy-map does not handle the event
  std::vector<RuleExplanation> rules{};  // the rules that were tried

  bool any_matched() const;
};

struct EventExplanation {
  std::string event{};
  std::vector<PolicyExplanation> policies{};  // all that are active on the target
  engine::Outcome outcome{};

  // Whether a rule of any policy-map matched.
  bool any_matched() const;
};

// A rule that ran, with its event and policy-map.
struct RuleRun {
  const PolicyMap *policy;
  const EventRules *event;
  const RuleExplanation *rule;
};

// The rules that ran, in the order in which they began, including those of raised events.
std::vector<RuleRun> rules_run(const EventExplanation &explanation);
// The texts that were logged, in order.
std::vector<std::string> logs(const EventExplanation &explanation);
// The net changes of the event, in the order of the first changes; values that end as they began are left out.
std::vector<Change> net_changes(const EventExplanation &explanation);

// The last permit or deny that ran for this event itself.
struct Decision {
  RuleRun rule;
  const ActionExplanation *action;
};
std::optional<Decision> decision(const EventExplanation &explanation);

// The actions that the limits of the engine refused. If there are any, the event was stopped: it did not end by itself.
struct Refusals {
  size_t count = 0;
  const ActionExplanation *first = nullptr;  // NULL if there are none
  size_t led_on = 0;                         // the actions that led to another event or to a parameter-map
};
Refusals refusals(const EventExplanation &explanation);

// An event that a limit stopped can have led to a thousand others. Texts show this many of them, or of what they did.
inline constexpr size_t kShownOfStopped = 10;

// Calls 'visit' with every action that ran, in the order in which they ended, so nested ones first.
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
