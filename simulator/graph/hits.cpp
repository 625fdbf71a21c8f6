#include "simulator/graph/graph.h"
#include "simulator/graph/names.h"
#include "simulator/inventory/relations.h"

namespace simulator::graph {

// A raised event is on the target of the event that raises it.
void Hits::add(const std::string &target, const EventExplanation &explanation) {
  target_ = id_of_target(target);
  add_policies(explanation);
}

void Hits::add_policies(const EventExplanation &explanation) {
  for (const PolicyExplanation &policy : explanation.policies) {
    if (!policy.event) continue;
    const std::string &name = policy.policy->name.value;
    const std::string event = id_of_event(name, policy.event->event.value);
    count(target_, id_of_policy(name), true);
    count(id_of_policy(name), event, true);
    for (const RuleExplanation &rule : policy.rules) {
      const std::string id = id_of_rule(rule_name(*policy.policy, *policy.event, *rule.rule));
      count(event, id, rule.matched);
      count(id, id_of_class(rule.class_map->name.value), rule.matched);
      add_actions(id, rule.actions);
    }
  }
}

void Hits::add_actions(const std::string &from, const std::vector<ActionExplanation> &actions) {
  for (const ActionExplanation &action : actions) {
    if (action.raised) add_raised(from, *action.raised);
    if (action.applied) add_applied(from, *action.applied);
  }
}

void Hits::add_raised(const std::string &from, const EventExplanation &explanation) {
  const std::string raised = id_of_raised(explanation.event);
  count(from, raised, true);
  for (const PolicyExplanation &policy : explanation.policies) {
    if (!policy.event) continue;
    const std::string event = id_of_event(policy.policy->name.value, policy.event->event.value);
    count(from, event, true);
    count(raised, event, true);
  }
  add_policies(explanation);
}

void Hits::add_applied(const std::string &from, const ParameterMapExplanation &explanation) {
  const ParameterMap &map = *explanation.map;
  const std::string id = id_of_parameter_map(map.name.value);
  count(from, id, true);
  for (const StatementExplanation &statement : explanation.statements) {
    const std::string to = id_of_statement(inventory::statement_name(map, *statement.statement));
    count(id, to, statement.matched);
    if (statement.matched) add_actions(to, explanation.actions);
  }
}

void Hits::count(const std::string &from, const std::string &to, bool hit) {
  Count &count = counts_[{from, to}];
  ++count.tries;
  if (hit) ++count.hits;
}

const Hits::Count &Hits::find(const std::string &from, const std::string &to) const {
  static const Count kNone;
  const auto found = counts_.find({from, to});
  return found == counts_.end() ? kNone : found->second;
}

size_t Hits::hits(const std::string &from, const std::string &to) const {
  return find(from, to).hits;
}

size_t Hits::tries(const std::string &from, const std::string &to) const {
  return find(from, to).tries;
}

}  // namespace simulator::graph
