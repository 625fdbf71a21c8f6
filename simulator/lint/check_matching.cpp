// Class-maps, rules and statements that never match, or are never reached.
#include "simulator/lint/checks.h"
#include "simulator/text/text.h"

namespace simulator::lint {

// ---- Class-maps -----------------------------------------------------------------------------------------------------------

std::vector<Reason> contradiction_in(Prover &prover, const ClassMap &map) {
  std::vector<Formula> needed;
  if (map.match != ClassMatch::any) {
    std::vector<Formula> claims;
    for (const Filter &filter : map.filters)
      claims.push_back(map.match == ClassMatch::all ? prover.claim(filter) : ~prover.claim(filter));
    needed = prover.smallest(claims);
  }
  const char *verb = map.match == ClassMatch::none ? "must not hold: " : "must hold: ";
  std::vector<Reason> reasons;
  for (const Filter &filter : map.filters) {
    if (map.match == ClassMatch::any) {
      reasons.push_back({filter.position, concat("cannot hold: ", filter_text(filter))});
      continue;
    }
    const Formula claim = map.match == ClassMatch::all ? prover.claim(filter) : ~prover.claim(filter);
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

// ---- What earlier parts leave ---------------------------------------------------------------------------------------------

namespace {

// How a finding says that earlier parts leave a later one nothing.
struct Words {
  Kind kind;
  const char *never;
  const char *ever;
  const char *one_takes;
  const char *several_take;
};

constexpr Words kOfRules = {Kind::shadowed_rule, "never runs", "ever runs", "an earlier rule takes",
                            "earlier rules take"};
constexpr Words kOfStatements = {Kind::unreachable_statement, "is never reached", "is ever reached",
                                 "an earlier one takes", "earlier ones take"};

// A class-map of a rule, or a statement, behind others.
template <class Part>
struct Later {
  const Part &part;
  const InputAnswer &example;  // of the part alone
  const std::vector<const Part *> &earlier;
  Position position{};
  std::string name{};
};

// Whether none of the earlier parts matches the example; then the later one is reached, without a proof.
template <class Part>
bool is_free(Work &work, const Later<Part> &later) {
  const auto misses = [&](const Part *part) { return work.may_go_on() && !matches(*part, later.example.input); };
  return later.example.can == Can::possible && std::all_of(later.earlier.begin(), later.earlier.end(), misses);
}

// 'reason' describes an earlier part that takes what the later one matches.
template <class Part, class ReasonFor>
void check_later(Work &work, const Later<Part> &later, const Words &words, ReasonFor reason) {
  work.begin_question();
  if (is_free(work, later)) return;
  const Takers<Part> taken = takers_of(work.prover(), later.part, later.example, later.earlier);
  if (taken.can == Can::unknown) work.add_undecided(later.position, concat(later.name, " ", words.ever));
  if (taken.can != Can::impossible) return;

  const char *who_takes = taken.takers.size() == 1 ? words.one_takes : words.several_take;
  Finding finding{words.kind,
                  later.position,
                  concat(later.name, " ", words.never, ": ", who_takes, " all that it matches"),
                  {},
                  later.example.can == Can::possible ? std::optional(later.example.input) : std::nullopt};
  for (const Part *taker : taken.takers)
    finding.because.push_back(reason(*taker));
  work.add(std::move(finding));
}

}  // namespace

// ---- Rules ----------------------------------------------------------------------------------------------------------------

namespace {

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
    const std::string name = concat("rule ", rule_name(*policy_, *event_, rule), ", class-map ", map.name.value, ",");
    const Later<ClassMap> later{map, work_->answer_for(map), earlier_, rule.position, name};
    check_later(*work_, later, kOfRules,
                [&](const ClassMap &taker) { return reason_for(*rule_of_.at(&taker), taker); });
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
bool check_statement(Work &work, const Statement &statement, const std::string &name,
                     const std::vector<const Statement *> &earlier) {
  const InputAnswer example = work.prover().find_input({work.prover().claim(statement)});
  if (example.can == Can::impossible) {
    work.add({Kind::unreachable_statement, statement.position, name + " can never match", {}, {}});
    return false;
  }
  const Later<Statement> later{statement, example, earlier, statement.position, name};
  const auto reason = [](const Statement &taker) { return Reason{taker.position, concat("statement ", taker.index)}; };
  check_later(work, later, kOfStatements, reason);
  return true;
}

}  // namespace

void check_statements(Work &work) {
  for (const ParameterMap &map : work.file().parameter_maps) {
    std::vector<const Statement *> earlier;
    for (const Statement &statement : map.statements) {
      const std::string name = concat("statement ", statement.index, " of parameter-map ", map.name.value);
      if (check_statement(work, statement, name, earlier)) earlier.push_back(&statement);
    }
  }
}

}  // namespace simulator::lint
