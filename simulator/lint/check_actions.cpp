// Actions that never run, and decisions that never count.
#include <span>
#include <unordered_set>

#include "simulator/lint/checks.h"
#include "simulator/text/text.h"

namespace simulator::lint {

namespace {

bool is_decision(const Action &action) {
  return action.kind == ActionKind::permit || action.kind == ActionKind::deny;
}

// Whether the action succeeds whatever the attributes are.
bool always_succeeds(const Action &action) {
  switch (action.kind) {
    case ActionKind::set:
    case ActionKind::log:
    case ActionKind::count:
    case ActionKind::permit:
    case ActionKind::deny:
      return true;
    case ActionKind::clear:
    case ActionKind::raise:
    case ActionKind::apply:
      return false;
  }
  return false;
}

class ActionsOfRule {
 public:
  ActionsOfRule(Work &work, const std::string &rule_name, const Rule &rule)
      : work_(&work), name_(&rule_name), rule_(&rule), actions_(in_order(rule.actions)) {}

  void check() {
    // Nothing of a rule that never matches runs, which is reported as such.
    if (work_->is_impossible(class_map())) return;
    const size_t runs = actions_that_run();
    check_decisions(std::span(actions_).first(runs));
  }
  // The last decision, if it is made whenever the rule runs; else NULL.
  const Action *certain_decision() const {
    for (const Action *action : actions_) {
      if (is_decision(*action)) return action;
      if (!goes_on_after(*action)) return nullptr;
    }
    return nullptr;
  }

 private:
  const ClassMap &class_map() const { return *work_->file().find_class_map(rule_->class_map.value); }
  size_t actions_that_run();
  std::string why_it_ends(size_t at) const;
  std::string why_it_fails(size_t at) const;
  void check_decisions(std::span<const Action *const> actions);
  // Whether the next action runs whatever the outcome of this one is.
  bool goes_on_after(const Action &action) const {
    if (rule_->execute == Execute::run_all) return true;
    return rule_->execute == Execute::stop_on_failure && always_succeeds(action);
  }

  Work *work_;
  const std::string *name_;
  const Rule *rule_;
  std::vector<const Action *> actions_;
};

// How many of the actions can run. Reports those behind one that always ends the rule.
size_t ActionsOfRule::actions_that_run() {
  for (size_t at = 0; at + 1 < actions_.size(); ++at) {
    const std::string why = why_it_ends(at);
    if (why.empty()) continue;
    const InputAnswer &example = work_->answer_for(class_map());
    const Action &next = *actions_[at + 1];
    const bool is_last = at + 2 == actions_.size();
    work_->add(
        {Kind::unreachable_action,
         next.position,
         concat("action ", next.number, " ", simulator::to_string(next), " of rule ", *name_,
                is_last ? " never runs" : " never runs, nor does what follows it",
                ": an earlier action always ends the rule"),
         {{actions_[at]->position, concat("action ", actions_[at]->number, " ", simulator::to_string(*actions_[at]),
                                          " ", why, ", and the rule is ", simulator::to_string(rule_->execute))}},
         example.can == Can::possible ? std::optional(example.input) : std::nullopt});
    return at + 1;
  }
  return actions_.size();
}

std::string ActionsOfRule::why_it_ends(size_t at) const {
  if (rule_->execute == Execute::stop_on_success) return always_succeeds(*actions_[at]) ? "always succeeds" : "";
  return rule_->execute == Execute::stop_on_failure ? why_it_fails(at) : "";
}

// Why the action always fails; empty if it may succeed.
std::string ActionsOfRule::why_it_fails(size_t at) const {
  const Action &action = *actions_[at];
  if (action.kind == ActionKind::apply) {
    const ParameterMap &map = *work_->file().find_parameter_map(action.subject.value);
    Prover &prover = work_->prover();
    const bool never_matches = std::all_of(
        map.statements.begin(), map.statements.end(),
        [&](const Statement &statement) { return prover.can_hold({prover.claim(statement)}) == Can::impossible; });
    return never_matches ? "always fails: no statement can match" : "";
  }
  if (action.kind != ActionKind::clear) return {};
  // The attribute stays absent until something gives it a value, which other events and parameter-maps might do.
  for (size_t earlier = at; earlier-- > 0;) {
    const Action &before = *actions_[earlier];
    if (before.kind == ActionKind::raise || before.kind == ActionKind::apply) return {};
    if (before.subject.value != action.subject.value) continue;
    if (before.kind == ActionKind::clear) return concat("always fails: action ", before.number, " has cleared it");
    if (before.kind == ActionKind::set || before.kind == ActionKind::count) return {};
  }
  return {};
}

// The last permit or deny of an event is its verdict, so one that another always follows has no effect.
void ActionsOfRule::check_decisions(std::span<const Action *const> actions) {
  const Action *decision = nullptr;
  for (const Action *action : actions) {
    if (is_decision(*action)) {
      const Action *before = std::exchange(decision, action);
      if (!before) continue;
      const InputAnswer &example = work_->answer_for(class_map());
      work_->add({Kind::overruled_decision,
                  before->position,
                  concat("action ", before->number, " ", simulator::to_string(*before), " of rule ", *name_,
                         " never counts: the last permit or deny of an event decides, and another always follows"),
                  {{action->position, concat("action ", action->number, " ", simulator::to_string(*action))}},
                  example.can == Can::possible ? std::optional(example.input) : std::nullopt});
    } else if (!goes_on_after(*action)) {
      decision = nullptr;
    }
  }
}

// ---- Decisions of other rules of the event --------------------------------------------------------------------------------

// Whether the rule can change attributes in ways that are not seen from its own actions.
bool reaches_further(const Rule &rule) {
  return std::any_of(rule.actions.begin(), rule.actions.end(), [](const Action &action) {
    return action.kind == ActionKind::raise || action.kind == ActionKind::apply;
  });
}

void note_changes(const Rule &rule, std::unordered_set<std::string_view> &changed) {
  for (const Action &action : rule.actions) {
    const bool changes =
        action.kind == ActionKind::set || action.kind == ActionKind::clear || action.kind == ActionKind::count;
    if (changes) changed.insert(action.subject.value);
  }
}

// In a match-all event, the decision of a rule never counts if a later rule always runs with it and always decides.
// Only attributes that no rule from the first to the later one changes are the same for both.
class DecisionsOfEvent {
 public:
  DecisionsOfEvent(Work &work, const PolicyMap &policy, const EventRules &event)
      : work_(&work), policy_(&policy), event_(&event), rules_(in_order(event.rules)) {}

  void check() {
    for (size_t at = 0; at < rules_.size(); ++at) {
      if (const Action *decision = decision_of(*rules_[at])) check_after(at, *decision);
    }
  }

 private:
  const ClassMap &class_of(const Rule &rule) const { return *work_->file().find_class_map(rule.class_map.value); }
  const Action *decision_of(const Rule &rule) const {
    const std::string name = rule_name(*policy_, *event_, rule);
    return ActionsOfRule(*work_, name, rule).certain_decision();
  }
  bool tests_any_of(const ClassMap &map, const std::unordered_set<std::string_view> &attributes) const {
    return std::any_of(map.filters.begin(), map.filters.end(),
                       [&](const Filter &filter) { return attributes.contains(filter.attribute.value); });
  }
  void check_after(size_t first, const Action &decision);
  bool always_matches_with(const ClassMap &later, const ClassMap &first) const {
    Prover &prover = work_->prover();
    return prover.can_hold({prover.claim(first), ~prover.claim(later)}) == Can::impossible;
  }

  Work *work_;
  const PolicyMap *policy_;
  const EventRules *event_;
  std::vector<const Rule *> rules_;
};

void DecisionsOfEvent::check_after(size_t first, const Action &decision) {
  const ClassMap &map = class_of(*rules_[first]);
  const InputAnswer &example = work_->answer_for(map);
  if (example.can != Can::possible) return;
  std::unordered_set<std::string_view> changed;
  for (size_t at = first; at + 1 < rules_.size() && !reaches_further(*rules_[at]); ++at) {
    note_changes(*rules_[at], changed);
    const Rule &later = *rules_[at + 1];
    const ClassMap &later_map = class_of(later);
    const Action *overrules = decision_of(later);
    if (!overrules || tests_any_of(later_map, changed) || !matches(later_map, example.input)) continue;
    if (!always_matches_with(later_map, map)) continue;
    work_->add({Kind::overruled_decision,
                decision.position,
                concat("action ", decision.number, " ", simulator::to_string(decision), " of rule ",
                       rule_name(*policy_, *event_, *rules_[first]),
                       " never counts: the last permit or deny of an event decides, and a later rule always decides"),
                {reason_for(later, later_map),
                 {overrules->position, concat("action ", overrules->number, " ", simulator::to_string(*overrules))}},
                example.input});
    return;
  }
}

}  // namespace

void check_actions(Work &work) {
  for (const PolicyMap &policy : work.file().policy_maps) {
    for (const EventRules &event : policy.events) {
      for (const Rule &rule : event.rules)
        ActionsOfRule(work, rule_name(policy, event, rule), rule).check();
      if (event.match == EventMatch::all) DecisionsOfEvent(work, policy, event).check();
    }
  }
}

}  // namespace simulator::lint
