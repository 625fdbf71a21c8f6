#include "simulator/prove/comparison.h"

#include <set>
#include <utility>

#include "simulator/prove/account.h"
#include "simulator/prove/question.h"
#include "simulator/text/interruption.h"

namespace simulator::prove {

namespace {

// The policy-maps of one target, before and after.
struct Lists {
  reasoning::Policies before;
  reasoning::Policies after;

  auto operator<=>(const Lists &) const = default;
};

reasoning::Policies policies_of(const Target &target) {
  reasoning::Policies policies;
  for (const Name &policy : target.policies)
    policies.push_back(policy.value);
  return policies;
}

std::vector<Lists> lists_of(const Comparison &comparison) {
  std::vector<Lists> lists;
  std::set<Lists> known;
  const auto add = [&](Lists both) {
    if (known.insert(both).second) lists.push_back(std::move(both));
  };
  for (const Target &target : comparison.after->targets) {
    const Target *before = comparison.before->find_target(target.name.value);
    if (before) add({policies_of(*before), policies_of(target)});
  }
  if (!comparison.after->targets.empty() || !comparison.before->targets.empty()) return lists;
  for (const PolicyMap &policy : comparison.after->policy_maps) {
    const std::string &name = policy.name.value;
    if (comparison.before->find_policy_map(name)) add({{name}, {name}});
  }
  return lists;
}

bool handles(const PolicyFile &file, const reasoning::Policies &policies, const std::string &event) {
  for (const std::string &name : policies) {
    for (const EventRules &rules : file.find_policy_map(name)->events) {
      if (rules.event.value == event) return true;
    }
  }
  return false;
}

std::vector<std::string> events_of(const Comparison &comparison) {
  std::vector<std::string> events = comparison.after->events;
  for (const std::string &event : comparison.before->events) {
    if (comparison.after->event_id(event) == 0) events.push_back(event);
  }
  return events;
}

std::string text_of(const reasoning::Policies &policies) {
  return concat(policies.size() == 1 ? "policy-map " : "policy-maps ",
                comma_separated({policies.begin(), policies.end()}));
}

std::string text_of(const std::string &event, const Lists &lists) {
  const std::string text = concat("event ", event, " with ", text_of(lists.after));
  return lists.before == lists.after ? text : concat(text, ", before with ", text_of(lists.before));
}

reasoning::Hints hints_of(const Comparison &comparison) {
  reasoning::Hints hints = reasoning::hints_of(*comparison.after);
  for (auto &[attribute, values] : reasoning::hints_of(*comparison.before))
    hints[attribute].insert(hints[attribute].end(), values.begin(), values.end());
  return hints;
}

class Comparer {
 public:
  Comparer(const Comparison &comparison, const Clock &clock)
      : comparison_(&comparison), clock_(&clock), hints_(hints_of(comparison)) {}

  Answer answer(const std::string &event, const Lists &lists);
  Complaints take_problems() { return std::move(problems_); }

 private:
  Formula difference(const SymbolicOutcome &before, const SymbolicOutcome &after, Question &question) const;
  Answer played(Answer answer, const Lists &lists, const FoundInput &found);
  bool play_both(Answer &answer, const Lists &lists, const FoundInput &found);
  std::optional<Play> play_once(const PolicyFile &file, const reasoning::Policies &policies, const std::string &event,
                                const reasoning::Input &input);
  std::vector<std::string> seen_differences(const Answer &answer) const;

  const Comparison *comparison_;
  const Clock *clock_;
  reasoning::Hints hints_;
  Complaints problems_{};
};

Formula Comparer::difference(const SymbolicOutcome &before, const SymbolicOutcome &after, Question &question) const {
  Formulas &formulas = question.formulas();
  if (comparison_->stricter) return formulas.both(before.denies, after.permits);
  const auto differ = [&](Formula a, Formula b) { return formulas.either(formulas.both(a, ~b), formulas.both(~a, b)); };
  return formulas.any_of({differ(before.permits, after.permits), differ(before.denies, after.denies),
                          question.values_differ(before, after), question.logs_differ(before, after)});
}

Answer Comparer::answer(const std::string &event, const Lists &lists) {
  interruption::check();
  Answer answer{.name = text_of(event, lists), .event = event, .policies = lists.after};
  Question question(hints_, (*clock_)());
  const SymbolicOutcome before = question.raise(*comparison_->before, lists.before, event);
  const SymbolicOutcome after = question.raise(*comparison_->after, lists.after, event);
  for (const SymbolicOutcome *outcome : {&before, &after}) {
    if (!outcome->is_complete) answer.why.push_back(outcome->why_incomplete);
  }
  if (!answer.why.empty()) return answer;

  const Formula conditions = question.holds_before(comparison_->when);
  const FoundInput found = question.find(question.formulas().both(conditions, difference(before, after, question)));
  if (found.can == reasoning::Can::possible) return played(std::move(answer), lists, found);
  if (found.can == reasoning::Can::impossible) answer.result = Result::proved;
  answer.why = found.why;
  return answer;
}

// A process has one repository at a time, so each file has a stage of its own for each witness.
std::optional<Play> Comparer::play_once(const PolicyFile &file, const reasoning::Policies &policies,
                                        const std::string &event, const reasoning::Input &input) {
  const auto stage = std::make_shared<reasoning::Stage>(file);
  std::optional<Play> seen = play(file, stage, policies, event, input);
  for (std::string &problem : stage->finish())
    problems_.push_back(std::move(problem));
  return seen;
}

bool Comparer::play_both(Answer &answer, const Lists &lists, const FoundInput &found) {
  std::optional<Play> before = play_once(*comparison_->before, lists.before, answer.event, found.input);
  std::optional<Play> after = play_once(*comparison_->after, lists.after, answer.event, found.input);
  if (!before || !after) return false;
  answer.witness = found.input;
  answer.plays.push_back(std::move(*before));
  answer.plays.push_back(std::move(*after));
  return true;
}

// Of --stricter, only the verdict counts.
std::vector<std::string> Comparer::seen_differences(const Answer &answer) const {
  const Account before = account_of(answer.plays[0].explanation, answer.witness);
  const Account after = account_of(answer.plays[1].explanation, answer.witness);
  if (!comparison_->stricter) return differences(before, after);
  const bool is_laxer = before.verdict == engine::Verdict::deny && after.verdict == engine::Verdict::permit;
  if (!is_laxer) return {};
  return differences({.verdict = before.verdict}, {.verdict = after.verdict});
}

Answer Comparer::played(Answer answer, const Lists &lists, const FoundInput &found) {
  if (!play_both(answer, lists, found)) {
    answer.why = {"the library refused the target on which a witness was to be played"};
    return answer;
  }
  answer.what = seen_differences(answer);
  if (!answer.what.empty()) {
    answer.result = Result::refuted;
    return answer;
  }
  answer.plays.clear();
  answer.witness.clear();
  answer.why = found.why;
  if (answer.why.empty()) answer.why = {"a witness did not do what was found for it: this is a fault of the prover"};
  return answer;
}

}  // namespace

Answers compare(const Comparison &comparison, const Clock &clock) {
  Comparer comparer(comparison, clock);
  Answers answers;
  for (const Lists &lists : lists_of(comparison)) {
    for (const std::string &event : events_of(comparison)) {
      const bool is_handled =
          handles(*comparison.before, lists.before, event) || handles(*comparison.after, lists.after, event);
      if (is_handled) answers.all.push_back(comparer.answer(event, lists));
    }
  }
  answers.problems = comparer.take_problems();
  return answers;
}

}  // namespace simulator::prove
