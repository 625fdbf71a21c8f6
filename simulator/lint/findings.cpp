#include "simulator/lint/findings.h"

#include <algorithm>
#include <set>
#include <unordered_set>

#include "simulator/text/text.h"

namespace simulator::lint {

const char *to_string(Kind kind) {
  switch (kind) {
    case Kind::shadowed_rule:
      return "shadowed-rule";
    case Kind::impossible_class:
      return "impossible-class";
    case Kind::unused_class:
      return "unused-class";
    case Kind::unused_parameter_map:
      return "unused-parameter-map";
    case Kind::inactive_policy:
      return "inactive-policy";
    case Kind::unraised_event:
      return "unraised-event";
    case Kind::unreachable_statement:
      return "unreachable-statement";
  }
  return "";
}

namespace {

void append(std::vector<Condition> &conditions, std::vector<Condition> more) {
  for (Condition &condition : more)
    conditions.push_back(std::move(condition));
}

template <class Element>
std::vector<const Element *> pointers_to(const std::vector<Element> &elements) {
  std::vector<const Element *> pointers;
  for (const Element &element : elements)
    pointers.push_back(&element);
  return pointers;
}

class Linter {
 public:
  explicit Linter(const PolicyFile &file) : file_(&file), prover_(file) {}

  Findings run() {
    check_classes();
    check_rules();
    check_statements();
    check_use_of_classes();
    check_use_of_parameter_maps();
    check_use_of_policies();
    check_use_of_events();
    std::stable_sort(findings_.begin(), findings_.end(),
                     [](const Finding &a, const Finding &b) { return a.position < b.position; });
    return {std::move(findings_), !prover_.gave_up()};
  }

 private:
  bool is_impossible(std::vector<Condition> conditions) {
    return prover_.find_input(std::move(conditions)).can == Can::impossible;
  }
  template <class Part>
  std::vector<const Part *> takers_of(const Part &later, const std::vector<const Part *> &earlier,
                                      const Input *example);

  void check_classes();
  std::vector<Reason> contradiction_in(const ClassMap &map);
  void check_rules();
  void check_rules_of(const PolicyMap &policy, const EventRules &event);
  void check_statements();
  void check_statements_of(const ParameterMap &map);
  void check_use_of_classes();
  void check_use_of_parameter_maps();
  void check_use_of_policies();
  void check_use_of_events();

  const PolicyFile *file_;
  Prover prover_;
  std::map<const ClassMap *, std::optional<Input>> examples_;  // of class-maps that can match
  std::set<const ClassMap *> impossible_;
  std::vector<Finding> findings_;
};

// ---- Matching -------------------------------------------------------------------------------------------------------------

void Linter::check_classes() {
  for (const ClassMap &map : file_->class_maps) {
    InputAnswer answer = prover_.find_input(that_matches(map));
    if (answer.can == Can::possible) examples_[&map] = std::move(answer.input);
    if (answer.can != Can::impossible) continue;
    impossible_.insert(&map);
    const std::string why = map.filters.empty() ? ": it has no filters" : "";
    findings_.push_back(
        {Kind::impossible_class,
         map.name.position,
         concat("class-map ", map.name.value, " ", simulator::to_string(map.match), " can never match", why),
         contradiction_in(map),
         {}});
  }
}

// The filters that contradict each other, without those that are not needed for it.
std::vector<Reason> Linter::contradiction_in(const ClassMap &map) {
  std::vector<Filter> core = map.filters;
  if (map.match != ClassMatch::any) {
    for (size_t at = core.size(); at-- > 0;) {
      ClassMap smaller = {.match = map.match, .filters = core};
      smaller.filters.erase(smaller.filters.begin() + static_cast<std::ptrdiff_t>(at));
      if (is_impossible(that_matches(smaller))) core = std::move(smaller.filters);
    }
  }
  const char *verb = map.match == ClassMatch::none ? "must not hold: " : "must hold: ";
  std::vector<Reason> reasons;
  for (const Filter &filter : core)
    reasons.push_back(
        {filter.position, concat(map.match == ClassMatch::any ? "cannot hold: " : verb, filter_text(filter))});
  return reasons;
}

// The earlier parts that together match everything that the later one matches: a single one if possible, else as few as
// were found, or none if it cannot be proven. 'example' is something that the later one matches: a single part that
// does not match it is not examined further.
template <class Part>
std::vector<const Part *> Linter::takers_of(const Part &later, const std::vector<const Part *> &earlier,
                                            const Input *example) {
  const auto take_all = [&](const std::vector<const Part *> &takers) {
    std::vector<Condition> conditions = that_matches(later);
    for (const Part *taker : takers)
      append(conditions, that_does_not_match(*taker));
    return is_impossible(std::move(conditions));
  };
  const auto may_take = [&](const Part *part) { return !example || matches(*part, *example); };
  if (std::none_of(earlier.begin(), earlier.end(), may_take)) return {};
  for (const Part *one : earlier) {
    if (may_take(one) && take_all({one})) return {one};
  }
  if (earlier.size() < 2 || !take_all(earlier)) return {};
  std::vector<const Part *> takers = earlier;
  for (size_t at = takers.size(); at-- > 0;) {
    std::vector<const Part *> fewer = takers;
    fewer.erase(fewer.begin() + static_cast<std::ptrdiff_t>(at));
    if (take_all(fewer)) takers = std::move(fewer);
  }
  return takers;
}

void Linter::check_rules() {
  for (const PolicyMap &policy : file_->policy_maps) {
    for (const EventRules &event : policy.events) {
      // In other events every rule is tried, even after a match.
      if (event.match == EventMatch::first) check_rules_of(policy, event);
    }
  }
}

void Linter::check_rules_of(const PolicyMap &policy, const EventRules &event) {
  std::vector<const Rule *> in_order = pointers_to(event.rules);
  std::sort(in_order.begin(), in_order.end(), [](const Rule *a, const Rule *b) { return a->number < b->number; });
  // An event has one rule per class-map.
  std::map<const ClassMap *, const Rule *> rule_of;
  std::vector<const ClassMap *> earlier;
  for (const Rule *rule : in_order) {
    const ClassMap *map = file_->find_class_map(rule->class_map.value);
    // A class-map that never matches is reported as such, and takes nothing.
    if (impossible_.contains(map)) continue;
    const std::optional<Input> &example = examples_[map];
    const std::vector<const ClassMap *> takers = takers_of(*map, earlier, example ? &*example : nullptr);
    rule_of[map] = rule;
    earlier.push_back(map);
    if (takers.empty()) continue;

    Finding finding{Kind::shadowed_rule,
                    rule->position,
                    concat("rule ", rule_name(policy, event, *rule), ", class-map ", map->name.value, ", never runs: ",
                           takers.size() == 1 ? "an earlier rule takes" : "earlier rules take", " all that it matches"),
                    {},
                    example};
    for (const ClassMap *taker : takers) {
      finding.because.push_back(
          {rule_of[taker]->position, concat("rule ", rule_of[taker]->number, ", class-map ", taker->name.value, " ",
                                            simulator::to_string(taker->match))});
    }
    findings_.push_back(std::move(finding));
  }
}

void Linter::check_statements() {
  for (const ParameterMap &map : file_->parameter_maps)
    check_statements_of(map);
}

void Linter::check_statements_of(const ParameterMap &map) {
  std::vector<const Statement *> earlier;
  for (const Statement &statement : map.statements) {
    const std::string what = concat("statement ", statement.index, " of parameter-map ", map.name.value);
    const InputAnswer answer = prover_.find_input(that_matches(statement));
    const bool possible = answer.can == Can::possible;
    if (answer.can == Can::impossible) {
      findings_.push_back({Kind::unreachable_statement, statement.position, concat(what, " can never match"), {}, {}});
      continue;
    }
    const std::vector<const Statement *> takers = takers_of(statement, earlier, possible ? &answer.input : nullptr);
    earlier.push_back(&statement);
    if (takers.empty()) continue;
    Finding finding{Kind::unreachable_statement,
                    statement.position,
                    concat(what, " is never reached: ",
                           takers.size() == 1 ? "an earlier one takes" : "earlier ones take", " all that it matches"),
                    {},
                    possible ? std::optional(answer.input) : std::nullopt};
    for (const Statement *taker : takers)
      finding.because.push_back({taker->position, concat("statement ", taker->index)});
    findings_.push_back(std::move(finding));
  }
}

// ---- Use --------------------------------------------------------------------------------------------------------------------

void Linter::check_use_of_classes() {
  std::unordered_set<std::string_view> used;
  for (const PolicyMap &policy : file_->policy_maps) {
    for (const EventRules &event : policy.events) {
      for (const Rule &rule : event.rules)
        used.insert(rule.class_map.value);
    }
  }
  for (const ClassMap &map : file_->class_maps) {
    if (used.contains(map.name.value)) continue;
    findings_.push_back({Kind::unused_class,
                         map.name.position,
                         concat("class-map ", map.name.value, " is not used: no rule has it"),
                         {},
                         {}});
  }
}

// Follows actions to the parameter-maps that they apply and the events that they raise. Such a chain can be as long as
// the file, so a list, not recursion, holds what remains to be followed.
class Reached {
 public:
  explicit Reached(const PolicyFile &file) : file_(&file) {
    for (const PolicyMap &policy : file.policy_maps) {
      for (const EventRules &rules : policy.events)
        rules_of_[rules.event.value].push_back(&rules);
    }
  }

  void event(std::string_view name) {
    note_event(name);
    follow();
  }
  void rules(const EventRules &event) {
    note_rules(event);
    follow();
  }
  bool has_event(std::string_view name) const { return events_.contains(name); }
  bool has_map(std::string_view name) const { return maps_.contains(name); }

 private:
  void note_event(std::string_view name) {
    if (!events_.insert(name).second) return;
    for (const EventRules *rules : rules_of_[name])
      note_rules(*rules);
  }
  void note_rules(const EventRules &event) {
    for (const Rule &rule : event.rules)
      to_follow_.push_back(&rule.actions);
  }
  void note_map(std::string_view name) {
    if (!maps_.insert(name).second) return;
    for (const Statement &statement : file_->find_parameter_map(name)->statements)
      to_follow_.push_back(&statement.actions);
  }
  void follow() {
    while (!to_follow_.empty()) {
      const std::vector<Action> &actions = *to_follow_.back();
      to_follow_.pop_back();
      for (const Action &action : actions) {
        if (action.kind == ActionKind::raise) note_event(action.subject.value);
        if (action.kind == ActionKind::apply) note_map(action.subject.value);
      }
    }
  }

  const PolicyFile *file_;
  std::unordered_map<std::string_view, std::vector<const EventRules *>> rules_of_;
  std::unordered_set<std::string_view> events_;
  std::unordered_set<std::string_view> maps_;
  std::vector<const std::vector<Action> *> to_follow_;
};

void Linter::check_use_of_parameter_maps() {
  Reached reached(*file_);
  for (const PolicyMap &policy : file_->policy_maps) {
    for (const EventRules &event : policy.events)
      reached.rules(event);
  }
  for (const ParameterMap &map : file_->parameter_maps) {
    if (reached.has_map(map.name.value)) continue;
    findings_.push_back({Kind::unused_parameter_map,
                         map.name.position,
                         concat("parameter-map ", map.name.value, " is not used: no rule leads to it"),
                         {},
                         {}});
  }
}

// A file without targets is meant to be joined with others, so what is active where is unknown.
void Linter::check_use_of_policies() {
  if (file_->targets.empty()) return;
  std::unordered_set<std::string_view> active;
  for (const Target &target : file_->targets) {
    for (const Name &policy : target.policies)
      active.insert(policy.value);
  }
  for (const PolicyMap &policy : file_->policy_maps) {
    if (active.contains(policy.name.value)) continue;
    findings_.push_back({Kind::inactive_policy,
                         policy.name.position,
                         concat("policy-map ", policy.name.value, " is active on no target"),
                         {},
                         {}});
  }
}

void Linter::check_use_of_events() {
  if (file_->scenario.empty() && file_->tests.empty()) return;
  Reached reached(*file_);
  for (const Step &step : file_->scenario)
    reached.event(step.event.value);
  for (const Test &test : file_->tests) {
    for (const TestStep &step : test.steps)
      reached.event(step.step.event.value);
  }
  std::unordered_set<std::string_view> reported;
  for (const PolicyMap &policy : file_->policy_maps) {
    for (const EventRules &event : policy.events) {
      if (reached.has_event(event.event.value) || !reported.insert(event.event.value).second) continue;
      findings_.push_back({Kind::unraised_event,
                           event.event.position,
                           concat("event ", event.event.value,
                                  " is never raised: not by the scenario, not by a test, and by no action that they "
                                  "could lead to"),
                           {},
                           {}});
    }
  }
}

}  // namespace

Findings find_all(const PolicyFile &file) {
  return Linter(file).run();
}

}  // namespace simulator::lint
