// Checking whether a policy uses a parameter-map, and replacing the data of actions and filters in place.
#include "compose/rules.h"
#include "core/callbacks.h"
#include "objects/leaves.h"
#include "present/selection.h"
#include "zar/pmtr.h"
#include "zar/present.h"

using namespace zar;

namespace {

constexpr char kAskName[] = "check_param_map";

// An action without a check function ends the walk over its rule: the actions after it are not asked.
bool rule_uses(const zar_class_action &rule, const void *param_map) {
  for (const zar_action &action : Elements<zar_action>(rule.actions)) {
    if (!action.action_param_map_check_fn) return false;
    if (call("action_param_map_check_fn", action.action_param_map_check_fn, action.action_data, param_map)) return true;
  }
  return false;
}

bool any_rule_uses(const queue_head &rules, const void *param_map) {
  return any<zar_class_action>(rules, [=](const zar_class_action &rule) { return rule_uses(rule, param_map); });
}

bool policy_uses(const zar_pmap &pmap, const void *param_map) {
  if (!is_control(pmap)) return any_rule_uses(pmap.rule_list, param_map);
  return any<zar_event_tuple>(
      pmap.rule_list, [=](const zar_event_tuple &event) { return any_rule_uses(event.class_actions, param_map); });
}

bool database_uses(zar_db *database, const void *param_map) {
  return find_map<zar_pmap>(database, [=](const zar_pmap &pmap) { return policy_uses(pmap, param_map); });
}

}  // namespace

uint32_t zar_is_param_map_assoc_with_policy(const void *param_map) {
  for (const zar_domain_entry &entry : Elements<zar_domain_entry>(zar_domain_list)) {
    if (!valid_clid(kAskName, entry.owner_clid)) return kNo;
    zar_db *database = database_of(entry.owner_clid, kAskName);
    if (!database) return kNo;
    if (database_uses(database, param_map)) return kYes;
  }
  return kNo;
}

// Both records are checked, without a name, before either refuses. Only the data is replaced: the functions stay. The
// record has its new data before the old is freed, so that callbacks that run then do not see the old.
void zar_replace_old_action_hdl(uint32_t action_handle, const zar_action_context *context) {
  bool valid = zar_verify_action_context(context, nullptr) == kSuccess;
  zar_action *action = require_action(nullptr, action_handle);
  if (!action || !valid) return;
  call("action_free_fn", action->action_free_fn, std::exchange(action->action_data, context->action_data), nullptr);
}

void zar_replace_old_filter_hdl(uint32_t filter_handle, const zar_filter_context *context) {
  bool valid = zar_verify_filter_context(context, nullptr) == kSuccess;
  zar_filter *filter = require_filter(nullptr, filter_handle);
  if (!filter || !valid) return;
  call("filter_free_fn", filter->filter_free_fn, std::exchange(filter->filter_data, context->filter_data), nullptr);
}

uint32_t kel_is_policy_created(const char *name) {
  zar_map_info info{
      .domain = kel_parameter_map_subscriber_domain_str, .domain_type = kControl, .map_name = name, .hidden = 0};
  uint32_t pmap = 0;
  return zar_retrieve_policy(subscriber_owner(), &info, &pmap) == kSuccess ? pmap : 0;
}
