#include "simulator/reasoning/stage.h"

#include <algorithm>

#include "simulator/explanation/rehearsal.h"
#include "simulator/text/text.h"

namespace simulator::reasoning {

Stage::Stage(const PolicyFile &file) : given_(&file), file_(file.copy_of_objects()) {
  file_.shrink_to({.clients = file_.clients.size(),
                   .domains = file_.domains.size(),
                   .class_maps = file_.class_maps.size(),
                   .policy_maps = file_.policy_maps.size(),
                   .parameter_maps = file_.parameter_maps.size(),
                   .targets = 0,
                   .events = file_.events.size()});
}

std::vector<Policies> Stage::casts_with(const std::string &policy, const Policies &others) const {
  constexpr size_t kMostCasts = 10;
  std::vector<Policies> casts;
  for (const Target &target : given_->targets) {
    Policies policies;
    for (const Name &name : target.policies)
      policies.push_back(name.value);
    const bool has_it = std::find(policies.begin(), policies.end(), policy) != policies.end();
    const bool is_new = std::find(casts.begin(), casts.end(), policies) == casts.end();
    if (has_it && is_new && casts.size() < kMostCasts) casts.push_back(std::move(policies));
  }
  if (!casts.empty()) return casts;
  Policies alone = {policy};
  for (const std::string &other : others) {
    if (std::find(alone.begin(), alone.end(), other) == alone.end()) alone.push_back(other);
  }
  return {alone};
}

// Every list of policy-maps has a target, which is added when it is first asked for.
bool Stage::prepare(const Policies &policies) {
  constexpr size_t kOfTarget = 2;
  if (!targets_.contains(policies) && file_.handles() + kOfTarget > kMostHandles) return false;

  const auto [target, is_new] = targets_.try_emplace(policies, concat("stage-", targets_.size()));
  if (is_new) {
    PolicyFile more;
    Target &added = more.targets.emplace_back();
    added.name.value = target->second;
    for (const std::string &policy : policies)
      added.policies.emplace_back().value = policy;
    file_.append(std::move(more));
  }
  if (!repository_) repository_ = std::make_unique<Repository>(file_);
  return !is_new || repository_->build();
}

std::optional<EventExplanation> Stage::play(const Policies &policies, const std::string &event, const Input &input) {
  if (!prepare(policies)) return std::nullopt;
  Step step;
  step.event.value = event;
  step.target.value = targets_.at(policies);
  for (const auto &[attribute, value] : input) {
    if (!value) continue;
    Assignment &given = step.set.emplace_back();
    given.attribute.value = attribute;
    given.text = *value;
  }
  return rehearse(file_, *repository_, step);
}

Complaints Stage::finish() {
  if (!repository_) return {};
  Complaints problems = repository_->finish();
  repository_.reset();
  targets_.clear();
  return problems;
}

size_t times_run(const EventExplanation &explanation, std::string_view rule) {
  const std::vector<RuleRun> runs = rules_run(explanation);
  return static_cast<size_t>(std::count_if(runs.begin(), runs.end(), [&](const RuleRun &run) {
    return rule_name(*run.policy, *run.event, *run.rule->rule) == rule;
  }));
}

bool was_too_deep(const EventExplanation &explanation) {
  bool refused = false;
  for_each_action(explanation, [&](const ActionExplanation &action) {
    refused = refused || (action.too_deep && action.action->kind == ActionKind::raise);
  });
  return refused;
}

}  // namespace simulator::reasoning
