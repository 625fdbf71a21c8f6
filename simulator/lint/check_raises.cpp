// Events that raise themselves without end, and denials of raised events that have no effect.
//
// What an event does depends on attributes that its actions change, which no formula here follows. So the prover only
// proposes attributes with which the rules on the way match, and the events are played on a repository: what the engine
// then does is the proof.
#include <set>

#include "simulator/explanation/explanation.h"
#include "simulator/lint/checks.h"
#include "simulator/lint/raises.h"
#include "simulator/text/text.h"

namespace simulator::lint {

namespace {

std::string name_of(const RuleOf &rule) {
  return rule_name(*rule.policy, *rule.event, *rule.rule);
}

std::string name_with_class(const RuleOf &rule) {
  return concat("rule ", name_of(rule), ", class-map ", rule.rule->class_map.value);
}

// ---- Loops ----------------------------------------------------------------------------------------------------------------

class Loops {
 public:
  explicit Loops(Work &work) : work_(&work), raises_(work.file()) {}

  void check() {
    for (size_t raise = 0; raise < raises_.all().size(); ++raise) {
      if (known_.contains(raise)) continue;
      work_->begin_question();
      const auto loop = raises_.shortest_loop(raise, [this] { return work_->may_go_on(); });
      if (!loop) {
        const Raise &first = raises_.all()[raise];
        work_->add_undecided(first.action->position,
                             concat("event ", first.from(), " or a later one can raise itself"));
        break;
      }
      if (!loop->empty()) check_loop(*loop);
    }
    if (!raises_.is_complete()) {
      work_->add_undecided(raises_.all().back().action->position,
                           concat("the raises after the first ", Raises::kMost, " lead to loops"));
    }
  }

 private:
  const Raise &first_of(const std::vector<size_t> &loop) const { return raises_.all()[loop[0]]; }
  void check_loop(const std::vector<size_t> &loop);
  Can play(const std::vector<size_t> &loop, const std::vector<Formula> &claims);
  bool goes_round(const std::vector<size_t> &loop, const EventExplanation &played) const;
  Finding finding_for(const std::vector<size_t> &loop) const;

  Work *work_;
  Raises raises_;
  std::set<size_t> known_;  // raises of loops that are reported
  Input input_;             // of the last play that went round
};

// First with attributes that let every rule of the loop match; but if the rules change them on the way, it may be enough
// that the first one does.
void Loops::check_loop(const std::vector<size_t> &loop) {
  std::vector<Formula> claims;
  for (const size_t raise : loop) {
    for (const Formula claim : claims_of(work_->prover(), work_->file(), raises_.all()[raise]))
      claims.push_back(claim);
  }
  std::sort(claims.begin(), claims.end());
  claims.erase(std::unique(claims.begin(), claims.end()), claims.end());
  Can can = play(loop, claims);
  if (can == Can::impossible && loop.size() > 1)
    can = play(loop, claims_of(work_->prover(), work_->file(), first_of(loop)));
  if (can == Can::unknown)
    work_->add_undecided(first_of(loop).action->position, concat("event ", first_of(loop).from(), " can raise itself"));
  if (can != Can::possible) return;
  known_.insert(loop.begin(), loop.end());
  work_->add(finding_for(loop));
}

// A loop that is longer than events can be nested is refused before it is back.
bool Loops::goes_round(const std::vector<size_t> &loop, const EventExplanation &played) const {
  const size_t rounds = loop.size() < engine::kMaxDepth ? 2 : 1;
  return was_too_deep(played) && times_run(played, name_of(first_of(loop).rule)) >= rounds;
}

// Possible: the engine refused to go on.
Can Loops::play(const std::vector<size_t> &loop, const std::vector<Formula> &claims) {
  InputAnswer answer = work_->prover().find_input(claims);
  if (answer.can != Can::possible) return answer.can;
  Policies others;
  for (const size_t raise : loop)
    others.push_back(raises_.all()[raise].rule.policy->name.value);
  const std::string event(first_of(loop).from());
  Stage &stage = work_->stage();
  for (const Policies &cast : stage.casts_with(first_of(loop).rule.policy->name.value, others)) {
    const std::optional<EventExplanation> played = stage.play(cast, event, answer.input);
    if (!played || !goes_round(loop, *played)) continue;
    input_ = std::move(answer.input);
    return Can::possible;
  }
  return Can::impossible;
}

Finding Loops::finding_for(const std::vector<size_t> &loop) const {
  constexpr size_t kMostShown = 16;
  std::string way;
  std::vector<Reason> because;
  for (const size_t raise : loop) {
    if (because.size() == kMostShown) {
      way += concat(", and so on through ", loop.size() - kMostShown, " more events");
      break;
    }
    const Raise &step = raises_.all()[raise];
    way += concat(because.empty() ? "" : ", which", " raises ", step.from() == step.to() ? "itself" : step.to());
    std::string where = name_with_class(step.rule);
    for (const AppliedStatement &applied : step.through)
      where += concat(", statement ", applied.statement->index, " of parameter-map ", applied.map->name.value);
    because.push_back({step.action->position, concat(where, ": ", simulator::to_string(*step.action))});
  }
  return {Kind::raise_loop, first_of(loop).action->position,
          concat("event ", first_of(loop).from(), way, ", until the engine refuses to nest events deeper"),
          std::move(because), input_};
}

// ---- Denials --------------------------------------------------------------------------------------------------------------

// A rule that raises an event which can be denied, and what runs all the same: another action of the rule, or a permit
// of a later rule.
class Denials {
 public:
  explicit Denials(Work &work) : work_(&work) {}

  void check() {
    for (const PolicyMap &policy : work_->file().policy_maps) {
      for (const EventRules &event : policy.events) {
        for (const Rule &rule : event.rules)
          check_rule({&policy, &event, &rule});
      }
    }
  }

 private:
  // The parts of the file that a denial involves.
  struct Scene {
    RuleOf rule{};  // that raises
    const Action *raise = nullptr;
    RuleOf denying{};  // of the raised event
    const Action *deny = nullptr;
    RuleOf permitting{};           // its rule is NULL: the raising rule itself goes on
    const Action *next = nullptr;  // the action that runs all the same
  };

  static constexpr size_t kMostDenying = 8;
  static constexpr size_t kMostPermitting = 4;

  void check_rule(const RuleOf &rule);
  bool check_raise(const RuleOf &rule, const Action &raise, const Action *next);
  std::vector<Scene> scenes(const RuleOf &rule, const Action &raise, const Action *next) const;
  bool play(const Scene &scene);
  static bool shows(const Scene &scene, const EventExplanation &explanation);
  void report(const Scene &scene, Input input);

  Work *work_;
};

const Action *find_action(const Rule &rule, ActionKind kind) {
  const std::vector<const Action *> actions = in_order(rule.actions);
  const auto found =
      std::find_if(actions.begin(), actions.end(), [&](const Action *action) { return action->kind == kind; });
  return found == actions.end() ? nullptr : *found;
}

void Denials::check_rule(const RuleOf &rule) {
  const std::vector<const Action *> actions = in_order(rule.rule->actions);
  const bool ends_on_failure = rule.rule->execute == Execute::stop_on_failure;
  for (size_t at = 0; at < actions.size(); ++at) {
    if (actions[at]->kind != ActionKind::raise) continue;
    const bool goes_on = !ends_on_failure && at + 1 < actions.size();
    const Action *next = goes_on ? actions[at + 1] : nullptr;
    if (check_raise(rule, *actions[at], next)) return;
  }
}

bool Denials::check_raise(const RuleOf &rule, const Action &raise, const Action *next) {
  const std::vector<Scene> all = scenes(rule, raise, next);
  return std::any_of(all.begin(), all.end(), [&](const Scene &scene) { return play(scene); });
}

std::vector<Denials::Scene> Denials::scenes(const RuleOf &rule, const Action &raise, const Action *next) const {
  std::vector<RuleOf> denying;
  for (const PolicyMap &policy : work_->file().policy_maps) {
    for (const EventRules &event : policy.events) {
      if (event.event.value != raise.subject.value) continue;
      for (const Rule &of_event : event.rules) {
        if (find_action(of_event, ActionKind::deny) && denying.size() < kMostDenying)
          denying.push_back({&policy, &event, &of_event});
      }
    }
  }
  std::vector<RuleOf> permitting;
  for (const Rule *later : in_order(rule.event->rules)) {
    const bool runs_later = rule.event->match == EventMatch::all && later->number > rule.rule->number;
    if (!next && runs_later && find_action(*later, ActionKind::permit) && permitting.size() < kMostPermitting)
      permitting.push_back({rule.policy, rule.event, later});
  }
  if (next) permitting.emplace_back();
  std::vector<Scene> all;
  for (const RuleOf &denies : denying) {
    for (const RuleOf &permits : permitting) {
      all.push_back({rule, &raise, denies, find_action(*denies.rule, ActionKind::deny), permits,
                     permits.rule ? find_action(*permits.rule, ActionKind::permit) : next});
    }
  }
  return all;
}

bool Denials::play(const Scene &scene) {
  std::vector<Formula> claims;
  for (const RuleOf *rule : {&scene.rule, &scene.denying, &scene.permitting}) {
    if (!rule->rule) continue;
    for (const Formula claim : claims_of(work_->prover(), work_->file(), *rule))
      claims.push_back(claim);
  }
  InputAnswer answer = work_->prover().find_input(claims);
  if (answer.can != Can::possible) return false;
  Stage &stage = work_->stage();
  const std::string &event = scene.rule.event->event.value;
  for (const Policies &cast : stage.casts_with(scene.rule.policy->name.value, {scene.denying.policy->name.value})) {
    const std::optional<EventExplanation> played = stage.play(cast, event, answer.input);
    if (!played || !shows(scene, *played)) continue;
    report(scene, std::move(answer.input));
    return true;
  }
  return false;
}

// Whether the raised event was denied, and the rule went on, or the event was permitted.
bool Denials::shows(const Scene &scene, const EventExplanation &explanation) {
  const std::string rule = name_of(scene.rule);
  for (const RuleRun &run : rules_run(explanation)) {
    if (rule_name(*run.policy, *run.event, *run.rule->rule) != rule) continue;
    const std::vector<ActionExplanation> &actions = run.rule->actions;
    for (size_t at = 0; at < actions.size(); ++at) {
      const ActionExplanation &action = actions[at];
      if (action.action->number != scene.raise->number || !action.raised) continue;
      if (action.raised->outcome.verdict != engine::Verdict::deny) continue;
      if (!scene.permitting.rule) return at + 1 < actions.size();
      const std::optional<Decision> decided = decision(explanation);
      return decided && decided->action->decided == engine::Verdict::permit &&
             decided->rule.rule->rule->number == scene.permitting.rule->number;
    }
  }
  return false;
}

void Denials::report(const Scene &scene, Input input) {
  const std::string raised = scene.raise->subject.value;
  const std::string all_the_same =
      scene.permitting.rule
          ? concat("event ", scene.rule.event->event.value, " is permitted although event ", raised, ", which rule ",
                   name_of(scene.rule), " raises, is denied")
          : concat("rule ", name_of(scene.rule), " goes on although event ", raised, ", which it raises, is denied");
  work_->add({Kind::ignored_denial,
              scene.raise->position,
              concat(all_the_same, ": a denial decides only the event in which it runs"),
              {{scene.deny->position, concat(name_with_class(scene.denying), ": deny")},
               {scene.next->position,
                concat(scene.permitting.rule ? name_with_class(scene.permitting) + ": " : "goes on with ",
                       simulator::to_string(*scene.next))}},
              std::move(input)});
}

}  // namespace

void check_raises(Work &work) {
  Loops(work).check();
  Denials(work).check();
}

}  // namespace simulator::lint
