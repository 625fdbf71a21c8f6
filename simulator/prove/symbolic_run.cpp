#include "simulator/prove/symbolic_run.h"

#include <algorithm>
#include <set>
#include <utility>

#include "engine/engine.h"
#include "simulator/reasoning/matching.h"
#include "simulator/text/interruption.h"
#include "simulator/text/text.h"

namespace simulator::prove {

SymbolicOutcome SymbolicRun::raise(const std::vector<std::string> &policies, const std::string &event) {
  policies_.clear();
  for (const std::string &policy : policies)
    policies_.push_back(file_->find_policy_map(policy));
  nested_ = 0;
  why_given_up_.clear();

  SymbolicOutcome outcome;
  Under under;
  walk_policies(event, under, outcome);
  outcome.is_complete = why_given_up_.empty();
  outcome.why_incomplete = why_given_up_;
  return outcome;
}

void SymbolicRun::give_up(const std::string &why) {
  if (why_given_up_.empty()) why_given_up_ = why;
}

bool SymbolicRun::may_go_on() {
  interruption::check();
  if (!(*may_go_on_)()) give_up("the time is over");
  if (formulas_->too_many()) give_up("the formulas take too much memory");
  return why_given_up_.empty();
}

// ---- Rules ----------------------------------------------------------------------------------------------------------------

void SymbolicRun::walk_policies(const std::string &event, Under &under, SymbolicOutcome &outcome) {
  for (const PolicyMap *policy : policies_) {
    const auto handles_it = [&](const EventRules &rules) { return rules.event.value == event; };
    const auto rules = std::find_if(policy->events.begin(), policy->events.end(), handles_it);
    if (rules == policy->events.end()) continue;
    if (rules->match == EventMatch::first) {
      walk_first(*rules, under, outcome);
    } else {
      walk_all(*rules, under, outcome);
    }
  }
}

// The class-maps up to the first that matches see what was there before the event, so all rules branch off there.
void SymbolicRun::walk_first(const EventRules &event, Under &under, SymbolicOutcome &outcome) {
  std::vector<Branch> branches;
  Formula none_before = Formula::always();
  for (const Rule *rule : in_order(event.rules)) {
    if (!may_go_on() || none_before == Formula::never()) break;
    const Formula matches = when_matches(*file_->find_class_map(rule->class_map.value), outcome.values);
    const Formula runs = formulas_->both(none_before, matches);
    none_before = formulas_->both(none_before, ~matches);
    if (runs == Formula::never()) continue;
    Branch &branch = branches.emplace_back(Branch{runs, branch_of(outcome)});
    run_rule(*rule, under, branch.outcome);
  }
  merge(outcome, std::move(branches));
}

void SymbolicRun::walk_all(const EventRules &event, Under &under, SymbolicOutcome &outcome) {
  for (const Rule *rule : in_order(event.rules)) {
    if (!may_go_on()) return;
    const Formula matches = when_matches(*file_->find_class_map(rule->class_map.value), outcome.values);
    if (matches == Formula::never()) continue;
    std::vector<Branch> branches;
    Branch &branch = branches.emplace_back(Branch{matches, branch_of(outcome)});
    run_rule(*rule, under, branch.outcome);
    merge(outcome, std::move(branches));
  }
}

const SymbolicValue &SymbolicRun::value(const SymbolicValues &values, const std::string &attribute) const {
  static const SymbolicValue kInitial = {{Term{}, Formula::always()}};
  const auto found = values.find(attribute);
  return found == values.end() ? kInitial : *found->second;
}

template <class Part>
Formula SymbolicRun::when_matches(const Part &part, const SymbolicValues &values) {
  return reasoning::formula_of(part, *formulas_, [&](const Filter &filter) {
    const std::string &attribute = filter.attribute.value;
    return value_of(attribute).holds(value(values, attribute), filter);
  });
}

void SymbolicRun::run_rule(const Rule &rule, Under &under, SymbolicOutcome &outcome) {
  add_to(outcome.runs, &rule, Formula::always());
  run_actions(in_order(rule.actions), 0, rule.execute, under, outcome);
}

// ---- Actions --------------------------------------------------------------------------------------------------------------

// When it depends on the target whether the rule stops after an action, the rest of its actions are a branch.
void SymbolicRun::run_actions(const std::vector<const Action *> &actions, size_t first, Execute execute, Under &under,
                              SymbolicOutcome &outcome) {
  for (size_t at = first; at < actions.size() && may_go_on(); ++at) {
    const Formula succeeds = run_action(*actions[at], under, outcome);
    outcome.fails = formulas_->either(outcome.fails, ~succeeds);
    if (execute == Execute::run_all) continue;
    const Formula goes_on = execute == Execute::stop_on_failure ? succeeds : ~succeeds;
    if (goes_on == Formula::always()) continue;
    if (goes_on == Formula::never()) return;

    std::vector<Branch> branches;
    Branch &rest = branches.emplace_back(Branch{goes_on, branch_of(outcome)});
    run_actions(actions, at + 1, execute, under, rest.outcome);
    return merge(outcome, std::move(branches));
  }
}

// Whether it succeeds.
Formula SymbolicRun::run_action(const Action &action, Under &under, SymbolicOutcome &outcome) {
  const std::string &subject = action.subject.value;
  switch (action.kind) {
    case ActionKind::set:
      outcome.values[subject] = std::make_shared<const SymbolicValue>(
          SymbolicValue{{Term{Term::Kind::text, 0, action.text}, Formula::always()}});
      return Formula::always();
    case ActionKind::clear:
      return clear(subject, outcome);
    case ActionKind::count:
      outcome.values[subject] =
          std::make_shared<const SymbolicValue>(value_of(subject).after_count(value(outcome.values, subject)));
      return Formula::always();
    case ActionKind::log:
      outcome.log.push_back({Formula::always(), action.text});
      return Formula::always();
    case ActionKind::permit:
      outcome.permits = Formula::always();
      outcome.denies = Formula::never();
      return Formula::always();
    case ActionKind::deny:
      outcome.permits = Formula::never();
      outcome.denies = Formula::always();
      return Formula::always();
    case ActionKind::raise:
      return raise(action, under, outcome);
    case ActionKind::apply:
      return apply(action, under, outcome);
  }
  return Formula::always();
}

Formula SymbolicRun::clear(const std::string &attribute, SymbolicOutcome &outcome) {
  const Formula was_present = value_of(attribute).is_present(value(outcome.values, attribute));
  outcome.values[attribute] =
      std::make_shared<const SymbolicValue>(SymbolicValue{{Term{Term::Kind::absent, 0, {}}, Formula::always()}});
  return was_present;
}

bool SymbolicRun::take_nested(const Action &action) {
  if (++nested_ <= engine::kMaxNested) return true;
  give_up(concat("'", to_string(action), "' in line ", action.position.line, ": the ways through it lead to more than ",
                 engine::kMaxNested, " events and parameter-maps"));
  return false;
}

Formula SymbolicRun::raise(const Action &action, const Under &under, SymbolicOutcome &outcome) {
  if (under.depth + 1 >= engine::kMaxDepth || !take_nested(action)) return Formula::never();

  SymbolicOutcome raised = branch_of(outcome);
  raised.permits = raised.denies = Formula::never();
  Under inner{.depth = under.depth + 1};
  walk_policies(action.subject.value, inner, raised);
  const Formula denied = raised.denies;
  // The verdict decides only the event that was raised.
  raised.permits = outcome.permits;
  raised.denies = outcome.denies;
  std::vector<Branch> branches;
  branches.emplace_back(Branch{Formula::always(), std::move(raised)});
  merge(outcome, std::move(branches));
  return ~denied;
}

Formula SymbolicRun::apply(const Action &action, Under &under, SymbolicOutcome &outcome) {
  if (under.maps_under_way >= engine::kMaxDepth || !take_nested(action)) return Formula::never();

  ++under.maps_under_way;
  std::vector<Branch> branches;
  std::vector<Formula> successes;
  Formula none_before = Formula::always();
  for (const Statement &statement : file_->find_parameter_map(action.subject.value)->statements) {
    if (!may_go_on()) break;
    const Formula matches = when_matches(statement, outcome.values);
    const Formula runs = formulas_->both(none_before, matches);
    none_before = formulas_->both(none_before, ~matches);
    if (runs == Formula::never()) continue;
    Branch &branch = branches.emplace_back(Branch{runs, branch_of(outcome)});
    successes.push_back(formulas_->both(runs, run_statement(statement, under, branch.outcome)));
  }
  --under.maps_under_way;
  merge(outcome, std::move(branches));
  return formulas_->any_of(std::move(successes));
}

// All actions run, whatever they return.
Formula SymbolicRun::run_statement(const Statement &statement, Under &under, SymbolicOutcome &outcome) {
  Formula succeeds = Formula::always();
  for (const Action *action : in_order(statement.actions)) {
    if (!may_go_on()) break;
    const Formula succeeded = run_action(*action, under, outcome);
    outcome.fails = formulas_->either(outcome.fails, ~succeeded);
    succeeds = formulas_->both(succeeds, succeeded);
  }
  return succeeds;
}

// ---- Branches -------------------------------------------------------------------------------------------------------------

SymbolicOutcome SymbolicRun::branch_of(const SymbolicOutcome &outcome) {
  return {.values = outcome.values, .permits = outcome.permits, .denies = outcome.denies};
}

void SymbolicRun::add_to(std::map<const Rule *, Formula> &runs, const Rule *rule, Formula condition) {
  const auto [known, is_new] = runs.try_emplace(rule, condition);
  if (!is_new) known->second = formulas_->either(known->second, condition);
}

// At most one of the branches was taken; where none was, the outcome stays what it is.
void SymbolicRun::merge(SymbolicOutcome &outcome, std::vector<Branch> branches) {
  merge_values(outcome, branches);
  Formula none = Formula::always();
  std::vector<Formula> permits;
  std::vector<Formula> denies;
  std::vector<Formula> fails = {outcome.fails};
  for (Branch &branch : branches) {
    const Formula taken = branch.condition;
    none = formulas_->both(none, ~taken);
    permits.push_back(formulas_->both(taken, branch.outcome.permits));
    denies.push_back(formulas_->both(taken, branch.outcome.denies));
    fails.push_back(formulas_->both(taken, branch.outcome.fails));
    for (LoggedText &logged : branch.outcome.log)
      outcome.log.push_back({formulas_->both(taken, logged.condition), std::move(logged.text)});
    for (const auto &[rule, condition] : branch.outcome.runs)
      add_to(outcome.runs, rule, formulas_->both(taken, condition));
  }
  permits.push_back(formulas_->both(none, outcome.permits));
  denies.push_back(formulas_->both(none, outcome.denies));
  outcome.permits = formulas_->any_of(std::move(permits));
  outcome.denies = formulas_->any_of(std::move(denies));
  outcome.fails = formulas_->any_of(std::move(fails));
}

void SymbolicRun::merge_values(SymbolicOutcome &outcome, const std::vector<Branch> &branches) {
  std::set<std::string> changed;
  for (const Branch &branch : branches) {
    for (const auto &[attribute, after] : branch.outcome.values) {
      const auto before = outcome.values.find(attribute);
      if (before == outcome.values.end() || before->second != after) changed.insert(attribute);
    }
  }
  for (const std::string &attribute : changed)
    merge_value(outcome, attribute, branches);
}

void SymbolicRun::merge_value(SymbolicOutcome &outcome, const std::string &attribute,
                              const std::vector<Branch> &branches) {
  const SymbolicValue &before = value(outcome.values, attribute);
  std::map<Term, std::vector<Formula>> ways;
  Formula unchanged = Formula::always();
  for (const Branch &branch : branches) {
    const SymbolicValue &after = value(branch.outcome.values, attribute);
    if (&after == &before) continue;
    unchanged = formulas_->both(unchanged, ~branch.condition);
    for (const auto &[term, condition] : after)
      ways[term].push_back(formulas_->both(branch.condition, condition));
  }
  for (const auto &[term, condition] : before)
    ways[term].push_back(formulas_->both(unchanged, condition));

  SymbolicValue merged;
  for (auto &[term, conditions] : ways) {
    const Formula condition = formulas_->any_of(std::move(conditions));
    if (condition != Formula::never()) merged.emplace(term, condition);
  }
  outcome.values[attribute] = std::make_shared<const SymbolicValue>(std::move(merged));
}

}  // namespace simulator::prove
