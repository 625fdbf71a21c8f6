#include "simulator/lint/reach.h"

#include "simulator/lint/checks.h"
#include "simulator/lint/raises.h"
#include "simulator/lint/render.h"
#include "simulator/policy/position_json.h"
#include "simulator/text/text.h"

namespace simulator::lint {

std::optional<RuleOf> parse_rule(std::string_view name, const PolicyFile &file, Complaints &complaints) {
  std::vector<std::string> names;
  for (const PolicyMap &policy : file.policy_maps) {
    for (const EventRules &event : policy.events) {
      for (const Rule &rule : event.rules) {
        names.push_back(rule_name(policy, event, rule));
        if (names.back() == name) return RuleOf{&policy, &event, &rule};
      }
    }
  }
  complaints.push_back(no_such("rule", name, {names.begin(), names.end()}));
  return std::nullopt;
}

namespace {

class Question {
 public:
  Question(const PolicyFile &file, const RuleOf &rule, const MayGoOn &may_go_on)
      : rule_(&rule), work_(file, may_go_on), map_(&class_of(*rule.rule)) {
    for (const Rule *other : in_order(rule.event->rules)) {
      if (other->number < rule.rule->number) earlier_.push_back(other);
    }
  }

  Reach answer() {
    Reach found = rule_->event->match == EventMatch::first ? answer_of_first() : answer_of_all();
    found.problems = work_.take_findings().problems;
    return found;
  }

 private:
  const ClassMap &class_of(const Rule &rule) { return *work_.file().find_class_map(rule.class_map.value); }

  Reach answer_of_first();
  Reach answer_of_all();
  Reach never_matches();
  std::optional<Reach> played(const Input &input);
  Reach undecided(Can can) const;

  const RuleOf *rule_;
  Work work_;
  const ClassMap *map_;
  std::vector<const Rule *> earlier_;
};

// One rule runs, so the attributes are the same for every class-map that is tried before it.
Reach Question::answer_of_first() {
  if (work_.is_impossible(*map_)) return never_matches();
  std::vector<const ClassMap *> maps;
  for (const Rule *rule : earlier_)
    maps.push_back(&class_of(*rule));
  const InputAnswer found = work_.prover().find_input(claims_of(work_.prover(), work_.file(), *rule_));
  if (found.can == Can::possible) return played(found.input).value_or(undecided(found.can));
  if (found.can == Can::unknown) return undecided(found.can);

  const Takers<ClassMap> taken = takers_of(work_.prover(), *map_, work_.answer_for(*map_), maps);
  Reach never{.answer = Answer::never};
  never.why = concat(taken.takers.size() == 1 ? "an earlier rule takes" : "earlier rules take", " all that it matches");
  for (const Rule *rule : earlier_) {
    const ClassMap &map = class_of(*rule);
    if (std::find(taken.takers.begin(), taken.takers.end(), &map) != taken.takers.end())
      never.because.push_back(reason_for(*rule, map));
  }
  return never;
}

// Every rule is tried, but earlier ones may change attributes. So attributes with which none of them runs are best.
Reach Question::answer_of_all() {
  const InputAnswer &alone = work_.answer_for(*map_);
  if (alone.can == Can::impossible) return never_matches();
  if (alone.can == Can::unknown) return undecided(alone.can);
  Prover &prover = work_.prover();
  std::vector<Formula> claims = {prover.claim(*map_)};
  for (const Rule *rule : earlier_)
    claims.push_back(~prover.claim(class_of(*rule)));
  const InputAnswer without_earlier = prover.find_input(claims);
  if (without_earlier.can == Can::possible) {
    if (std::optional<Reach> found = played(without_earlier.input)) return std::move(*found);
  }
  return played(alone.input).value_or(undecided(alone.can));
}

Reach Question::never_matches() {
  Reach never{.answer = Answer::never};
  never.why = concat("class-map ", map_->name.value, " ", simulator::to_string(map_->match), " can never match",
                     map_->filters.empty() ? ": it has no filters" : "");
  never.because = contradiction_in(work_.prover(), *map_);
  return never;
}

// Nothing when the rule does not run with these attributes on any of the lists of policy-maps.
std::optional<Reach> Question::played(const Input &input) {
  Stage &stage = work_.stage();
  for (const Policies &cast : stage.casts_with(rule_->policy->name.value, {})) {
    const std::optional<EventExplanation> explanation = stage.play(cast, rule_->event->event.value, input);
    if (!explanation || times_run(*explanation, rule_name(*rule_->policy, *rule_->event, *rule_->rule)) == 0) continue;
    return Reach{.answer = Answer::reached, .input = input, .policies = cast};
  }
  return std::nullopt;
}

// 'can' says whether the prover found attributes.
Reach Question::undecided(Can can) const {
  Reach open{.answer = Answer::undecided};
  open.why = can == Can::unknown
                 ? work_.why_undecided()
                 : "its class-map can match, but earlier rules or policy-maps change the attributes that it tests";
  return open;
}

std::string sentence(const RuleOf &rule, const Reach &reach) {
  const std::string name = concat("rule ", rule_name(*rule.policy, *rule.event, *rule.rule), ", class-map ",
                                  rule.rule->class_map.value, ",");
  switch (reach.answer) {
    case Answer::reached:
      return name + " is reached";
    case Answer::never:
      return concat(name, " is never reached: ", reach.why);
    case Answer::undecided:
      break;
  }
  return concat("whether ", name, " is ever reached was not decided: ", reach.why);
}

const char *word_for(Answer answer) {
  switch (answer) {
    case Answer::reached:
      return "reached";
    case Answer::never:
      return "never";
    case Answer::undecided:
      break;
  }
  return "undecided";
}

}  // namespace

Reach reach(const PolicyFile &file, const RuleOf &rule, const MayGoOn &may_go_on) {
  return Question(file, rule, may_go_on).answer();
}

std::string text_of_reach(const PolicyFile &file, const RuleOf &rule, const Reach &reach) {
  const auto at = [&](Position position) {
    return concat(file.shown_path(), ":", position.line, ":", position.column, ": ");
  };
  std::string text = concat(at(rule.rule->position), sentence(rule, reach), "\n");
  for (const Reason &reason : reach.because)
    text += concat("  ", at(reason.position), reason.what, "\n");
  if (reach.answer != Answer::reached) return text;
  text += concat("  for example: ", text_of_input(reach.input), "\n");
  return text + concat("  played with: policy-map", reach.policies.size() == 1 ? " " : "s ",
                       comma_separated({reach.policies.begin(), reach.policies.end()}), "\n");
}

Json json_of_reach(const PolicyFile &file, const RuleOf &rule, const Reach &reach) {
  Json object;
  object["file"] = file.path;
  object["rule"] = rule_name(*rule.policy, *rule.event, *rule.rule);
  object["class_map"] = rule.rule->class_map.value;
  add_position(object, rule.rule->position);
  object["answer"] = word_for(reach.answer);
  object["message"] = sentence(rule, reach);
  object["because"] = json_of_reasons(reach.because);
  object["input"] = reach.answer == Answer::reached ? json_of_input(reach.input) : Json(nullptr);
  object["policies"] = Json(reach.policies);
  return object;
}

}  // namespace simulator::lint
