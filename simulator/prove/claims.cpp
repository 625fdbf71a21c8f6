#include "simulator/prove/claims.h"

#include <set>
#include <utility>

#include "simulator/prove/account.h"
#include "simulator/prove/question.h"
#include "simulator/text/interruption.h"

namespace simulator::prove {

namespace {

class ClaimProver {
 public:
  ClaimProver(const PolicyFile &file, const Clock &clock)
      : file_(&file),
        clock_(&clock),
        hints_(reasoning::hints_of(file)),
        stage_(std::make_shared<reasoning::Stage>(file)) {}

  Answer answer(const Claim &claim);
  Complaints finish() { return stage_->finish(); }

 private:
  Answer answer_for(const Claim &claim, const reasoning::Policies &policies, const reasoning::MayGoOn &may_go_on);
  Answer proved(Answer answer, Question &question, Formula conditions) const;
  Answer played(Answer answer, const Claim &claim, const FoundInput &found);
  Formula violation_of(const Claim &claim, const SymbolicOutcome &outcome, Question &question) const;
  Formula runs(const SymbolicOutcome &outcome, const std::string &name, Formulas &formulas) const;

  const PolicyFile *file_;
  const Clock *clock_;
  reasoning::Hints hints_;
  std::shared_ptr<reasoning::Stage> stage_;
};

std::vector<reasoning::Policies> lists_for(const PolicyFile &file, const Claim &claim) {
  if (claim.policies.empty()) return lists_of_targets(file);
  reasoning::Policies policies;
  for (const Name &policy : claim.policies)
    policies.push_back(policy.value);
  return {policies};
}

// The first list of policy-maps for which the claim does not hold ends the search; next, one for which it is open.
Answer ClaimProver::answer(const Claim &claim) {
  const reasoning::MayGoOn may_go_on = (*clock_)();
  Answer all{
      .result = Result::proved, .name = claim.name.value, .position = claim.name.position, .event = claim.event.value};
  bool first = true;
  for (const reasoning::Policies &policies : lists_for(*file_, claim)) {
    interruption::check();
    Answer one = answer_for(claim, policies, may_go_on);
    if (one.result == Result::refuted) return one;
    if (first || (all.result == Result::proved && one.result == Result::undecided)) all = std::move(one);
    first = false;
  }
  return all;
}

Answer ClaimProver::answer_for(const Claim &claim, const reasoning::Policies &policies,
                               const reasoning::MayGoOn &may_go_on) {
  Answer answer{
      .name = claim.name.value, .position = claim.name.position, .event = claim.event.value, .policies = policies};
  Question question(hints_, may_go_on);
  const SymbolicOutcome outcome = question.raise(*file_, policies, claim.event.value);
  if (!outcome.is_complete) {
    answer.why = {outcome.why_incomplete};
    return answer;
  }
  const Formula conditions = question.holds_before(claim.when);
  const Formula violation = violation_of(claim, outcome, question);
  const FoundInput found = question.find(question.formulas().both(conditions, violation));
  switch (found.can) {
    case reasoning::Can::impossible:
      return proved(std::move(answer), question, conditions);
    case reasoning::Can::unknown:
      answer.why = found.why;
      return answer;
    case reasoning::Can::possible:
      break;
  }
  return played(std::move(answer), claim, found);
}

Answer ClaimProver::proved(Answer answer, Question &question, Formula conditions) const {
  answer.result = Result::proved;
  if (question.find(conditions).can == reasoning::Can::impossible)
    answer.notes.push_back("but only because no target satisfies its conditions");
  return answer;
}

// What the solver found counts only when it happens.
Answer ClaimProver::played(Answer answer, const Claim &claim, const FoundInput &found) {
  std::optional<Play> seen = play(*file_, stage_, answer.policies, answer.event, found.input);
  if (!seen) {
    answer.why = {"the library refused the target on which a witness was to be played"};
    return answer;
  }
  if (!contradicts(claim, seen->explanation, found.input)) {
    answer.why = found.why;
    if (answer.why.empty()) answer.why = {"a witness did not do what was found for it: this is a fault of the prover"};
    return answer;
  }
  answer.result = Result::refuted;
  answer.what = contradictions(claim, seen->explanation, found.input);
  answer.witness = found.input;
  answer.plays.push_back(std::move(*seen));
  return answer;
}

Formula ClaimProver::runs(const SymbolicOutcome &outcome, const std::string &name, Formulas &formulas) const {
  std::vector<Formula> ways;
  for (const PolicyMap &policy : file_->policy_maps) {
    for (const EventRules &event : policy.events) {
      for (const Rule &rule : event.rules) {
        const auto found = outcome.runs.find(&rule);
        if (found == outcome.runs.end()) continue;
        if (rule.class_map.value == name || rule_name(policy, event, rule) == name) ways.push_back(found->second);
      }
    }
  }
  return formulas.any_of(std::move(ways));
}

Formula is_verdict(const SymbolicOutcome &outcome, const std::string &verdict, Formulas &formulas) {
  if (verdict == "permit") return outcome.permits;
  if (verdict == "deny") return outcome.denies;
  return formulas.both(~outcome.permits, ~outcome.denies);
}

Formula ClaimProver::violation_of(const Claim &claim, const SymbolicOutcome &outcome, Question &question) const {
  Formulas &formulas = question.formulas();
  switch (claim.kind) {
    case ClaimKind::never:
      return is_verdict(outcome, claim.subject.value, formulas);
    case ClaimKind::always:
      return ~is_verdict(outcome, claim.subject.value, formulas);
    case ClaimKind::never_runs:
      return runs(outcome, claim.subject.value, formulas);
    case ClaimKind::always_runs:
      return ~runs(outcome, claim.subject.value, formulas);
    case ClaimKind::never_fails:
      return outcome.fails;
    case ClaimKind::ends_with:
      break;
  }
  std::vector<Formula> ways;
  for (const ExpectedValue &expected : claim.values)
    ways.push_back(question.value_differs(outcome, expected));
  return formulas.any_of(std::move(ways));
}

}  // namespace

std::vector<reasoning::Policies> lists_of_targets(const PolicyFile &file) {
  std::vector<reasoning::Policies> lists;
  std::set<reasoning::Policies> known;
  for (const Target &target : file.targets) {
    reasoning::Policies policies;
    for (const Name &policy : target.policies)
      policies.push_back(policy.value);
    if (known.insert(policies).second) lists.push_back(std::move(policies));
  }
  return lists;
}

Answers prove_claims(const PolicyFile &file, const Clock &clock) {
  ClaimProver prover(file, clock);
  Answers answers;
  for (const Claim &claim : file.claims)
    answers.all.push_back(prover.answer(claim));
  answers.problems = prover.finish();
  return answers;
}

}  // namespace simulator::prove
