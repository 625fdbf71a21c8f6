#include "simulator/page/figures.h"

#include <algorithm>

#include "simulator/explanation/explanation_text.h"
#include "simulator/explanation/recorder.h"
#include "simulator/explanation/words.h"
#include "simulator/text/text.h"

namespace simulator::page {

namespace {

std::string rule_of(const Decision &decision) {
  return rule_name(*decision.rule.policy, *decision.rule.event, *decision.rule.rule->rule);
}

template <class Key, class Value>
Value find_or_none(const std::unordered_map<Key, Value> &values, Key key) {
  const auto found = values.find(key);
  return found == values.end() ? Value{} : found->second;
}

}  // namespace

void Verdicts::add(engine::Verdict verdict, size_t times) {
  switch (verdict) {
    case engine::Verdict::permit:
      permit += times;
      return;
    case engine::Verdict::deny:
      deny += times;
      return;
    case engine::Verdict::none:
      none += times;
      return;
  }
}

void Verdicts::add(const Verdicts &more) {
  permit += more.permit;
  deny += more.deny;
  none += more.none;
}

Figures::Figures(const PolicyFile &file)
    : file_(&file), of_stretch_(std::max<size_t>(1, (file.scenario.size() + kStretches - 1) / kStretches)) {}

void Figures::add(const Step &step, const EventExplanation &explanation) {
  ++events_;
  if (refusals(explanation).first) ++stopped_;
  if ((events_ - 1) % of_stretch_ == 0) over_time_.push_back({events_, {}});
  over_time_.back().verdicts.add(explanation.outcome.verdict);
  count(explanation);
  decide(step, explanation);
}

void Figures::count(const EventExplanation &explanation) {
  for (const PolicyExplanation &policy : explanation.policies) {
    for (const RuleExplanation &rule : policy.rules) {
      OfRule &figures = rules_[rule.rule];
      ++figures.tried;
      count(rule.filters);
      if (!rule.matched) continue;
      ++figures.ran;
      count(rule.actions);
    }
  }
  if (const std::optional<Decision> decided = decision(explanation))
    rules_[decided->rule.rule->rule].decided.add(explanation.outcome.verdict);
}

void Figures::count(const std::vector<ActionExplanation> &actions) {
  for (const ActionExplanation &action : actions) {
    if (action.raised) count(*action.raised);
    if (!action.applied) continue;
    for (const StatementExplanation &statement : action.applied->statements) {
      count(statement.filters);
      if (statement.matched) ++statements_[statement.statement];
    }
    count(action.applied->actions);
  }
}

void Figures::count(const std::vector<FilterExplanation> &filters) {
  for (const FilterExplanation &filter : filters) {
    if (filter.asked) ++(filter.holds ? filters_[filter.filter].held : filters_[filter.filter].did_not);
  }
}

void Figures::decide(const Step &step, const EventExplanation &explanation) {
  const Target *target = file_->find_target(step.target.value);
  DecisionGroup group{.event = step.event.value,
                      .targets = target ? policies_text(*target) : std::string(),
                      .verdict = explanation.outcome.verdict};
  if (const std::optional<Decision> decided = decision(explanation)) group.decided_by = rule_of(*decided);

  const std::string key =
      concat(group.event, "\n", group.targets, "\n", to_string(group.verdict), "\n", group.decided_by);
  const auto [known, is_new] = decision_index_.try_emplace(key, decisions_.size());
  if (is_new) {
    group.first = events_;
    if (decisions_.size() < kExplained)
      group.explanation = explanation_text(explanation, *file_, step, Level::rules, Colours::off);
    decisions_.push_back(std::move(group));
  }
  ++decisions_[known->second].events;
}

std::vector<std::pair<std::string, Verdicts>> Figures::sums(std::string DecisionGroup::*name) const {
  std::vector<std::pair<std::string, Verdicts>> all;
  std::unordered_map<std::string_view, size_t> places;
  for (const DecisionGroup &group : decisions_) {
    const auto [known, is_new] = places.try_emplace(group.*name, all.size());
    if (is_new) all.emplace_back(group.*name, Verdicts{});
    all[known->second].second.add(group.verdict, group.events);
  }
  return all;
}

Figures::OfRule Figures::of(const Rule &rule) const {
  return find_or_none(rules_, &rule);
}

Figures::OfFilter Figures::of(const Filter &filter) const {
  return find_or_none(filters_, &filter);
}

size_t Figures::matches_of(const Statement &statement) const {
  return find_or_none(statements_, &statement);
}

std::optional<Figures> figures_of(const PolicyFile &file, Complaints &problems) {
  Repository repository(file);
  Figures figures(file);
  if (repository.build()) {
    Recorder recorder(file);
    for (const Step &step : file.scenario)
      figures.add(step, recorder.raise(repository, step));
  }
  const Complaints &of_repository = repository.finish();
  problems.insert(problems.end(), of_repository.begin(), of_repository.end());
  return of_repository.empty() ? std::optional(std::move(figures)) : std::nullopt;
}

}  // namespace simulator::page
