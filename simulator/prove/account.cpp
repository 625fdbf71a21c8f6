#include "simulator/prove/account.h"

#include <algorithm>
#include <set>

#include "simulator/explanation/words.h"
#include "simulator/text/text.h"

namespace simulator::prove {

namespace {

std::optional<std::string> value_in(const reasoning::Input &input, const std::string &attribute) {
  const auto found = input.find(attribute);
  return found == input.end() ? std::nullopt : found->second;
}

std::string shown(const std::optional<std::string> &value) {
  return value ? in_quotes(*value) : "absent";
}

// The first action that failed.
std::string first_failure(const EventExplanation &explanation) {
  std::string found;
  for_each_action(explanation, [&](const ActionExplanation &action) {
    if (action.failed && found.empty())
      found = concat("the action '", simulator::to_string(*action.action), "' in line ", action.action->position.line,
                     " fails");
  });
  return found;
}

size_t times_run(const EventExplanation &explanation, const std::string &name) {
  const std::vector<RuleRun> runs = rules_run(explanation);
  return static_cast<size_t>(
      std::count_if(runs.begin(), runs.end(), [&](const RuleRun &run) { return is_named(run, name); }));
}

std::vector<std::string> contradictions_of_values(const Claim &claim, const Account &account) {
  std::vector<std::string> found;
  for (const ExpectedValue &value : claim.values) {
    const std::optional<std::string> actual = value_in(account.after, value.attribute.value);
    if (actual == value.text) continue;
    found.push_back(
        concat("attribute ", value.attribute.value, " ends as ", shown(actual), ", not as ", shown(value.text)));
  }
  return found;
}

}  // namespace

bool is_named(const RuleRun &run, const std::string &name) {
  return run.rule->class_map->name.value == name || rule_name(*run.policy, *run.event, *run.rule->rule) == name;
}

Account account_of(const EventExplanation &explanation, const reasoning::Input &before) {
  Account account{.verdict = explanation.outcome.verdict};
  for (const auto &[attribute, value] : before) {
    if (value) account.after[attribute] = value;
  }
  for (const Change &change : net_changes(explanation)) {
    account.after.erase(change.attribute);
    if (change.after) account.after[change.attribute] = change.after;
  }
  account.log = logs(explanation);
  account.failed = !first_failure(explanation).empty();
  return account;
}

std::vector<std::string> contradictions(const Claim &claim, const EventExplanation &explanation,
                                        const reasoning::Input &before) {
  const Account account = account_of(explanation, before);
  const std::string &subject = claim.subject.value;
  const std::string verdict = simulator::to_string(account.verdict);
  switch (claim.kind) {
    case ClaimKind::never:
    case ClaimKind::always:
      if ((verdict == subject) == (claim.kind == ClaimKind::always)) return {};
      return {concat("the verdict is ", verdict)};
    case ClaimKind::never_runs:
      if (times_run(explanation, subject) == 0) return {};
      return {concat(subject, " runs")};
    case ClaimKind::always_runs:
      if (times_run(explanation, subject) != 0) return {};
      return {concat(subject, " does not run")};
    case ClaimKind::ends_with:
      return contradictions_of_values(claim, account);
    case ClaimKind::never_fails:
      if (!account.failed) return {};
      return {first_failure(explanation)};
  }
  return {};
}

bool contradicts(const Claim &claim, const EventExplanation &explanation, const reasoning::Input &before) {
  const bool is_about_these = std::all_of(claim.when.begin(), claim.when.end(),
                                          [&](const Filter &filter) { return reasoning::holds(filter, before); });
  return is_about_these && !contradictions(claim, explanation, before).empty();
}

std::vector<std::string> differences(const Account &before, const Account &after) {
  std::vector<std::string> found;
  if (before.verdict != after.verdict)
    found.push_back(
        concat("the verdict: ", simulator::to_string(before.verdict), " -> ", simulator::to_string(after.verdict)));
  std::set<std::string> attributes;
  for (const reasoning::Input *input : {&before.after, &after.after}) {
    for (const auto &[attribute, value] : *input)
      attributes.insert(attribute);
  }
  for (const std::string &attribute : attributes) {
    const std::optional<std::string> one = value_in(before.after, attribute);
    const std::optional<std::string> other = value_in(after.after, attribute);
    if (one != other) found.push_back(concat("attribute ", attribute, ": ", shown(one), " -> ", shown(other)));
  }
  if (before.log != after.log)
    found.push_back(concat("the log: ", listed_in_quotes(before.log), " -> ", listed_in_quotes(after.log)));
  return found;
}

}  // namespace simulator::prove
