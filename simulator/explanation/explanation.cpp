#include "simulator/explanation/explanation.h"

#include <algorithm>

namespace simulator {

bool PolicyExplanation::any_matched() const {
  return std::any_of(rules.begin(), rules.end(), [](const RuleExplanation &rule) { return rule.matched; });
}

bool EventExplanation::any_matched() const {
  return std::any_of(policies.begin(), policies.end(),
                     [](const PolicyExplanation &policy) { return policy.any_matched(); });
}

namespace {

void collect_rules(const EventExplanation &explanation, std::vector<RuleRun> &all);

void collect_rules(const std::vector<ActionExplanation> &actions, std::vector<RuleRun> &all) {
  for (const ActionExplanation &action : actions) {
    if (action.raised) collect_rules(*action.raised, all);
    if (action.applied) collect_rules(action.applied->actions, all);
  }
}

void collect_rules(const EventExplanation &explanation, std::vector<RuleRun> &all) {
  for (const PolicyExplanation &policy : explanation.policies) {
    for (const RuleExplanation &rule : policy.rules) {
      if (!rule.matched) continue;
      all.push_back({policy.policy, policy.event, &rule});
      collect_rules(rule.actions, all);
    }
  }
}

// Includes the actions of the parameter-maps that they apply, but not of the events that they raise: each event has a
// verdict of its own.
const ActionExplanation *last_decision(const std::vector<ActionExplanation> &actions) {
  const ActionExplanation *last = nullptr;
  for (const ActionExplanation &action : actions) {
    if (action.decided != engine::Verdict::none) last = &action;
    if (!action.applied) continue;
    if (const ActionExplanation *inner = last_decision(action.applied->actions)) last = inner;
  }
  return last;
}

}  // namespace

std::vector<RuleRun> rules_run(const EventExplanation &explanation) {
  std::vector<RuleRun> all;
  collect_rules(explanation, all);
  return all;
}

std::vector<std::string> logs(const EventExplanation &explanation) {
  std::vector<std::string> texts;
  for_each_action(explanation, [&](const ActionExplanation &action) {
    if (action.action->kind == ActionKind::log) texts.push_back(action.action->text);
  });
  return texts;
}

std::vector<Change> net_changes(const EventExplanation &explanation) {
  std::vector<Change> net;
  for_each_action(explanation, [&](const ActionExplanation &action) {
    for (const Change &change : action.changes) {
      const auto known =
          std::find_if(net.begin(), net.end(), [&](const Change &c) { return c.attribute == change.attribute; });
      if (known == net.end()) {
        net.push_back(change);
      } else {
        known->after = change.after;
      }
    }
  });
  std::erase_if(net, [](const Change &change) { return change.before == change.after; });
  return net;
}

Refusals refusals(const EventExplanation &explanation) {
  Refusals all;
  for_each_action(explanation, [&](const ActionExplanation &action) {
    if (action.led_on()) ++all.led_on;
    if (!action.refused) return;
    ++all.count;
    if (!all.first) all.first = &action;
  });
  return all;
}

std::optional<Decision> decision(const EventExplanation &explanation) {
  std::optional<Decision> last;
  for (const PolicyExplanation &policy : explanation.policies) {
    for (const RuleExplanation &rule : policy.rules) {
      if (const ActionExplanation *action = last_decision(rule.actions)) {
        last = Decision{{policy.policy, policy.event, &rule}, action};
      }
    }
  }
  return last;
}

}  // namespace simulator
