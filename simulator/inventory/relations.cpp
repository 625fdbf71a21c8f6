#include "simulator/inventory/relations.h"

#include "simulator/text/text.h"

namespace simulator::inventory {

std::string statement_name(const ParameterMap &map, const Statement &statement) {
  return concat(map.name.value, "/", statement.index);
}

Relations::Relations(const PolicyFile &file) : file_(&file) {
  for (const PolicyMap &policy : file.policy_maps)
    add_policy(policy);
  for (const ParameterMap &map : file.parameter_maps) {
    for (const Statement &statement : map.statements)
      add_appliers(statement.actions, statement_name(map, statement));
  }
  for (const Target &target : file.targets) {
    for (const Name &policy : target.policies)
      of_policies_[policy.value].push_back(target.name.value);
  }
}

void Relations::add_policy(const PolicyMap &policy) {
  for (const EventRules &event : policy.events) {
    for (const Rule &rule : event.rules) {
      const std::string name = rule_name(policy, event, rule);
      of_classes_[rule.class_map.value].push_back(name);
      add_appliers(rule.actions, name);
    }
  }
}

void Relations::add_appliers(const std::vector<Action> &actions, const std::string &applier) {
  for (const Action &action : actions) {
    if (action.kind != ActionKind::apply) continue;
    std::vector<std::string> &appliers = of_maps_[action.subject.value];
    // A rule that applies a map twice counts as one user.
    if (appliers.empty() || appliers.back() != applier) appliers.push_back(applier);
  }
}

const std::vector<std::string> &Relations::find(const Users &users, std::string_view name) {
  static const std::vector<std::string> kNone;
  const auto found = users.find(name);
  return found == users.end() ? kNone : found->second;
}

const std::string &Relations::database_of(std::string_view domain) const {
  static const std::string kDefault;
  const Domain *found = file_->find_domain(domain);
  const Client *owner = found && found->owner ? file_->find_client(found->owner->value) : nullptr;
  return owner && owner->own_database ? owner->name.value : kDefault;
}

}  // namespace simulator::inventory
