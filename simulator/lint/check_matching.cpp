// Class-maps, rules and statements that never match, or are never reached.
#include "simulator/lint/checks.h"
#include "simulator/text/text.h"

namespace simulator::lint {

// ---- Class-maps -----------------------------------------------------------------------------------------------------------

std::vector<Reason> contradiction_in(Prover &prover, const ClassMap &map) {
  std::vector<Lit> needed;
  if (map.match != ClassMatch::any) {
    std::vector<Lit> claims;
    for (const Filter &filter : map.filters)
      claims.push_back(map.match == ClassMatch::all ? prover.claim(filter) : ~prover.claim(filter));
    needed = prover.smallest(std::move(claims));
  }
  const char *verb = map.match == ClassMatch::none ? "must not hold: " : "must hold: ";
  std::vector<Reason> reasons;
  for (const Filter &filter : map.filters) {
    if (map.match == ClassMatch::any) {
      reasons.push_back({filter.position, concat("cannot hold: ", filter_text(filter))});
      continue;
    }
    const Lit claim = map.match == ClassMatch::all ? prover.claim(filter) : ~prover.claim(filter);
    // Of two equal filters, the first is shown.
    const auto found = std::find(needed.begin(), needed.end(), claim);
    if (found == needed.end()) continue;
    needed.erase(found);
    reasons.push_back({filter.position, concat(verb, filter_text(filter))});
  }
  return reasons;
}

void check_classes(Work &work) {
  for (const ClassMap &map : work.file().class_maps) {
    const Can can = work.answer_for(map).can;
    const std::string what = concat("class-map ", map.name.value, " ", simulator::to_string(map.match));
    if (can == Can::unknown) work.add_undecided(map.name.position, what + " can match");
    if (can != Can::impossible) continue;
    const std::string why = map.filters.empty() ? ": it has no filters" : "";
    work.add({Kind::impossible_class,
              map.name.position,
              concat(what, " can never match", why),
              contradiction_in(work.prover(), map),
              {}});
  }
}

// ---- Rules ----------------------------------------------------------------------------------------------------------------

namespace {

// Whether none of the earlier parts matches the example; then the later one is reached, without a proof.
template <class Part>
bool is_free(Work &work, const Input &example, const std::vector<const Part *> &earlier) {
  return std::all_of(earlier.begin(), earlier.end(),
                     [&](const Part *part) { return work.may_go_on() && !matches(*part, example); });
}

class RulesOfEvent {
 public:
  RulesOfEvent(Work &work, const PolicyMap &policy, const EventRules &event)
      : work_(&work), policy_(&policy), event_(&event) {}

  void check() {
    for (const Rule *rule : in_order(event_->rules)) {
      const ClassMap &map = *work_->file().find_class_map(rule->class_map.value);
      // A class-map that never matches is reported as such, and takes nothing.
      if (work_->is_impossible(map)) continue;
      check_rule(*rule, map);
      rule_of_[&map] = rule;
      earlier_.push_back(&map);
    }
  }

 private:
  void check_rule(const Rule &rule, const ClassMap &map) {
    const InputAnswer &example = work_->answer_for(map);
    work_->begin_question();
    if (example.can == Can::possible && is_free(*work_, example.input, earlier_)) return;
    const Takers<ClassMap> taken = takers_of(work_->prover(), map, earlier_);
    const std::string what = concat("rule ", rule_name(*policy_, *event_, rule), ", class-map ", map.name.value, ",");
    if (taken.can == Can::unknown) work_->add_undecided(rule.position, what + " ever runs");
    if (taken.can != Can::impossible) return;

    Finding finding{
        Kind::shadowed_rule,
        rule.position,
        concat(what, " never runs: ", taken.takers.size() == 1 ? "an earlier rule takes" : "earlier rules take",
               " all that it matches"),
        {},
        example.can == Can::possible ? std::optional(example.input) : std::nullopt};
    for (const ClassMap *taker : taken.takers)
      finding.because.push_back(reason_for(*rule_of_[taker], *taker));
    work_->add(std::move(finding));
  }

  Work *work_;
  const PolicyMap *policy_;
  const EventRules *event_;
  std::map<const ClassMap *, const Rule *> rule_of_;  // an event has one rule for a class-map
  std::vector<const ClassMap *> earlier_;
};

}  // namespace

void check_rules(Work &work) {
  for (const PolicyMap &policy : work.file().policy_maps) {
    for (const EventRules &event : policy.events) {
      // In other events every rule is tried, even after a match.
      if (event.match == EventMatch::first) RulesOfEvent(work, policy, event).check();
    }
  }
}

// ---- Statements -----------------------------------------------------------------------------------------------------------

namespace {

// Returns whether the statement can take anything from later ones.
bool check_statement(Work &work, const Statement &statement, const std::string &what,
                     const std::vector<const Statement *> &earlier) {
  const InputAnswer example = work.prover().find_input({work.prover().claim(statement)});
  if (example.can == Can::impossible) {
    work.add({Kind::unreachable_statement, statement.position, what + " can never match", {}, {}});
    return false;
  }
  if (example.can == Can::possible && is_free(work, example.input, earlier)) return true;
  const Takers<Statement> taken = takers_of(work.prover(), statement, earlier);
  if (taken.can == Can::unknown) work.add_undecided(statement.position, what + " is ever reached");
  if (taken.can != Can::impossible) return true;

  Finding finding{
      Kind::unreachable_statement,
      statement.position,
      concat(what, " is never reached: ", taken.takers.size() == 1 ? "an earlier one takes" : "earlier ones take",
             " all that it matches"),
      {},
      example.can == Can::possible ? std::optional(example.input) : std::nullopt};
  for (const Statement *taker : taken.takers)
    finding.because.push_back({taker->position, concat("statement ", taker->index)});
  work.add(std::move(finding));
  return true;
}

}  // namespace

void check_statements(Work &work) {
  for (const ParameterMap &map : work.file().parameter_maps) {
    std::vector<const Statement *> earlier;
    for (const Statement &statement : map.statements) {
      const std::string what = concat("statement ", statement.index, " of parameter-map ", map.name.value);
      if (check_statement(work, statement, what, earlier)) earlier.push_back(&statement);
    }
  }
}

}  // namespace simulator::lint
