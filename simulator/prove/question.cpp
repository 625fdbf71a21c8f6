#include "simulator/prove/question.h"

#include <set>
#include <utility>

namespace simulator::prove {

namespace {

const SymbolicValue &value_in(const SymbolicValues &values, const std::string &attribute) {
  static const SymbolicValue kInitial = {{Term{}, Formula::always()}};
  const auto found = values.find(attribute);
  return found == values.end() ? kInitial : *found->second;
}

// Leaves out what is the same at both ends.
void cut_common_ends(std::vector<LoggedText> &one, std::vector<LoggedText> &other) {
  const auto same = [](const LoggedText &a, const LoggedText &b) {
    return a.condition == b.condition && a.text == b.text;
  };
  while (!one.empty() && !other.empty() && same(one.back(), other.back())) {
    one.pop_back();
    other.pop_back();
  }
  size_t common = 0;
  while (common < one.size() && common < other.size() && same(one[common], other[common]))
    ++common;
  one.erase(one.begin(), one.begin() + static_cast<std::ptrdiff_t>(common));
  other.erase(other.begin(), other.begin() + static_cast<std::ptrdiff_t>(common));
}

}  // namespace

Question::Question(reasoning::Hints hints, reasoning::MayGoOn may_go_on)
    : hints_(std::move(hints)), may_go_on_(std::move(may_go_on)) {}

SymbolicOutcome Question::raise(const PolicyFile &file, const reasoning::Policies &policies, const std::string &event) {
  return SymbolicRun(file, formulas_, tests_, may_go_on_).raise(policies, event);
}

Formula Question::holds_before(const std::vector<Filter> &filters) {
  Formula all = Formula::always();
  for (const Filter &filter : filters)
    all = formulas_.both(all, tests_.holds(filter));
  return all;
}

Formula Question::value_differs(const SymbolicValues &one, const SymbolicValues &other, const std::string &attribute) {
  return ~ValueOf(attribute, formulas_, tests_).same(value_in(one, attribute), value_in(other, attribute));
}

Formula Question::values_differ(const SymbolicOutcome &one, const SymbolicOutcome &other) {
  std::set<std::string> attributes;
  for (const SymbolicValues *values : {&one.values, &other.values}) {
    for (const auto &[attribute, value] : *values)
      attributes.insert(attribute);
  }
  std::vector<Formula> ways;
  for (const std::string &attribute : attributes)
    ways.push_back(value_differs(one.values, other.values, attribute));
  return formulas_.any_of(std::move(ways));
}

Formula Question::value_differs(const SymbolicOutcome &outcome, const ExpectedValue &expected) {
  const std::string &attribute = expected.attribute.value;
  const Term term = expected.text ? Term{Term::Kind::text, 0, *expected.text} : Term{Term::Kind::absent, 0, {}};
  return ~ValueOf(attribute, formulas_, tests_).same(value_in(outcome.values, attribute), term);
}

// From the ends to the beginnings: whether the rest of one log, from each place on, is the rest of the other.
Formula Question::logs_differ(const SymbolicOutcome &one, const SymbolicOutcome &other) {
  constexpr size_t kMostPairs = 1'000'000;
  std::vector<LoggedText> a = one.log;
  std::vector<LoggedText> b = other.log;
  const auto never_logged = [](const LoggedText &logged) { return logged.condition == Formula::never(); };
  std::erase_if(a, never_logged);
  std::erase_if(b, never_logged);
  cut_common_ends(a, b);
  if (a.size() * b.size() > kMostPairs) return tests_.open("logs", "the texts that are logged are too many to compare");

  std::vector<Formula> rest(b.size() + 1, Formula::always());
  for (size_t at = b.size(); at-- > 0;)
    rest[at] = formulas_.both(~b[at].condition, rest[at + 1]);
  for (size_t from = a.size(); from-- > 0;) {
    std::vector<Formula> next = rest;
    next.back() = formulas_.both(~a[from].condition, rest.back());
    for (size_t at = b.size(); at-- > 0;) {
      const Formula both_logged = a[from].text == b[at].text ? rest[at + 1] : Formula::never();
      const Formula logged = formulas_.choose(b[at].condition, both_logged, next[at + 1]);
      next[at] = formulas_.choose(a[from].condition, logged, rest[at]);
    }
    rest = std::move(next);
  }
  return ~rest[0];
}

FoundInput Question::find(Formula formula) {
  return solver_.find_first({formula});
}

Step step_with(const std::string &event, const reasoning::Input &input) {
  Step step;
  step.event.value = event;
  step.target.value = "a target";
  for (const auto &[attribute, value] : input) {
    if (!value) continue;
    Assignment &given = step.set.emplace_back();
    given.attribute.value = attribute;
    given.text = *value;
  }
  return step;
}

namespace {

// A repository has no id for an event that no policy-map of its file handles; nothing happens.
EventExplanation explanation_of_unknown(const PolicyFile &file, const reasoning::Policies &policies,
                                        const std::string &event) {
  EventExplanation explanation{.event = event};
  for (const std::string &policy : policies)
    explanation.policies.push_back({.policy = file.find_policy_map(policy)});
  return explanation;
}

}  // namespace

std::optional<Play> play(const PolicyFile &file, const std::shared_ptr<reasoning::Stage> &stage,
                         const reasoning::Policies &policies, const std::string &event, const reasoning::Input &input) {
  if (file.event_id(event) == 0)
    return Play{stage, &file, step_with(event, input), explanation_of_unknown(file, policies, event)};
  std::optional<EventExplanation> explanation = stage->play(policies, event, input);
  if (!explanation) return std::nullopt;
  return Play{stage, &file, step_with(event, input), std::move(*explanation)};
}

}  // namespace simulator::prove
