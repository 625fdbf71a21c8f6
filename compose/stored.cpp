// Policy-maps built by name: adding classes and actions to stored policy-maps, and removing them.
#include "compose/rules.h"
#include "zar/objects.h"

using namespace zar;

namespace {

// The handles of the maps that an operation names by map infos; 0 for a map that is not stored.
struct StoredPair {
  uint32_t pmap = 0;
  uint32_t cmap = 0;
};

// Looks up both maps before checking either result; false if a look-up was refused.
bool look_up(uint32_t clid, const zar_map_info *policy, const zar_map_info *class_info, StoredPair &found) {
  bool done = zar_retrieve_policy(clid, policy, &found.pmap) == kSuccess;
  done &= zar_retrieve_class(clid, class_info, &found.cmap) == kSuccess;
  return done;
}

// The policy-map, unless it holds events and no event is given.
zar_pmap *require_pmap_to_add_to(const char *name, uint32_t handle, const zar_event_context *event) {
  auto *pmap = require<zar_pmap>(name, handle);
  if (!pmap || !is_control(*pmap) || event) return pmap;
  TRACE_ERROR("(ERR): %s: Error: event needs to be provided to add class for control polies", name);
  return nullptr;
}

// A rule of a policy-map without events: it gets no class number, may repeat a class-map, and counts no reference.
uint32_t append_rule(zar_pmap &pmap, uint32_t cmap, uint32_t exec_criteria) {
  uint32_t handle = 0;
  Pooled<zar_class_action> rule;
  if (create_class_action_tuple(cmap, exec_criteria, &handle, rule) != kSuccess) return kFailed;
  if (!resolve<zar_class_action>(handle)) return kFailed;
  append(pmap.rule_list, rule.keep());
  return kSuccess;
}

// The event of the policy-map with this id, created and added if there is none; NULL if that fails.
zar_event_tuple *find_or_add_event(const char *name, zar_pmap &pmap, const zar_event_context &context,
                                   const char *event_name) {
  uint32_t id = context.event_id;
  if (zar_event_tuple *event = find_event(name, pmap, id)) {
    TRACE_INFO("(info): %s: event:%d already existing in pmap:0x%x", name, id, pmap.handle);
    return event;
  }
  TRACE_INFO("(info): %s: event:%d not found in pmap:0x%x, adding now", name, id, pmap.handle);
  uint32_t handle = 0;
  if (zar_create_event(&context, event_name, &handle) != kSuccess) return nullptr;
  if (zar_add_event(pmap.handle, handle) != kSuccess) return nullptr;
  TRACE_INFO("(info): %s: event:%d added to pmap:0x%x", name, id, pmap.handle);
  return resolve<zar_event_tuple>(handle);
}

// The rule for the named class under the given event of the named policy-map, or NULL. A policy-map that is not CONTROL
// has none, which is not traced.
zar_class_action *stored_rule(uint32_t clid, const zar_map_info *policy, const zar_event_context *event,
                              const zar_map_info *class_info) {
  static constexpr char kName[] = "get_matching_class_action_tuple";
  StoredPair found;
  if (!look_up(clid, policy, class_info, found)) return nullptr;
  const zar_pmap *pmap = require_pmap_to_add_to(kName, found.pmap, event);
  const auto *cmap = require<zar_cmap>(kName, found.cmap);
  if (!pmap || !cmap || !is_control(*pmap)) return nullptr;

  uint32_t id = event->event_id;
  const zar_event_tuple *tuple = find_event(kName, *pmap, id);
  if (!tuple) {
    TRACE_ERROR("(ERR): %s: Error: no matching event:%d found in policy:%s", kName, id, policy->map_name);
    return nullptr;
  }
  TRACE_INFO("(info): %s: event:%d  present in pmap:0x%x", kName, id, found.pmap);
  zar_class_action *rule = find_rule(*tuple, cmap);
  if (!rule) {
    TRACE_ERROR("(ERR): %s: Error: no matching class-map:%s found in policy:%s", kName, class_info->map_name,
                policy->map_name);
    return nullptr;
  }
  TRACE_INFO("(info): %s: class found under event event:%d in pmap:0x%x, class-action tuple:0x%p", kName, id,
             found.pmap, address(rule));
  return rule;
}

}  // namespace

uint32_t zar_add_class_to_stored_policy(uint32_t clid, const zar_map_info *policy, const zar_event_context *event,
                                        const char *event_name, uint32_t exec_criteria, uint32_t class_num,
                                        const zar_map_info *class_info) {
  static constexpr char kName[] = "add_class_to_stored_policy";
  StoredPair found;
  if (!look_up(clid, policy, class_info, found)) return kInvalidArgument;
  TRACE_INFO("(info): %s: retrieved stored policy:0x%x, stored class:0x%x", kName, found.pmap, found.cmap);

  zar_pmap *pmap = require_pmap_to_add_to(kName, found.pmap, event);
  const auto *cmap = require<zar_cmap>(kName, found.cmap);
  bool valid = valid_exec_criteria(kName, exec_criteria);
  if (!pmap || !cmap || !valid) return kInvalidArgument;
  if (!is_control(*pmap)) return append_rule(*pmap, found.cmap, exec_criteria);

  const zar_event_tuple *tuple = find_or_add_event(kName, *pmap, *event, event_name);
  if (!tuple) return kFailed;
  if (find_rule(*tuple, cmap)) {
    TRACE_INFO("(info): %s: class:0x%x already present in pmap:0x%x", kName, found.cmap, found.pmap);
    return kSuccess;
  }
  uint32_t rule = 0;
  uint32_t status = zar_add_class_to_event(tuple->handle, found.cmap, exec_criteria, class_num, &rule);
  return status == kSuccess ? kSuccess : kFailed;
}

// Traces under the name of its sibling.
uint32_t zar_add_class_action_to_stored_policy(uint32_t clid, const zar_map_info *policy,
                                               const zar_event_context *event, uint32_t exec_criteria,
                                               uint32_t cmap_handle, uint32_t class_num, uint32_t action) {
  static constexpr char kName[] = "add_class_to_stored_policy";
  uint32_t pmap_handle = 0;
  bool valid = zar_retrieve_policy(clid, policy, &pmap_handle) == kSuccess;
  const auto *cmap = require<zar_cmap>(kName, cmap_handle);
  valid &= valid_exec_criteria(kName, exec_criteria);
  if (!cmap || !valid) return kInvalidArgument;
  TRACE_INFO("(info): %s: retrieved stored policy:0x%x", kName, pmap_handle);

  const zar_pmap *pmap = require_pmap_to_add_to(kName, pmap_handle, event);
  valid = pmap && has_control_type(kName, *pmap);
  valid &= require_action(kName, action) != nullptr;
  if (!valid) return kInvalidArgument;

  const zar_event_tuple *tuple = find_event(kName, *pmap, event->event_id);
  if (!tuple) {
    TRACE_ERROR("(ERR): %s: Error: no matching event:%d found in policy:%s", kName, event->event_id, policy->map_name);
    return kInvalidArgument;
  }
  TRACE_INFO("(info): %s: event:%d found in policy:0x%x", kName, event->event_id, pmap_handle);
  if (find_rule(*tuple, cmap)) {
    TRACE_INFO("(info): %s: class:0x%x already present in policy:0x%x", kName, cmap_handle, pmap_handle);
    return kSuccess;
  }
  uint32_t rule = 0;
  if (zar_add_class_to_event(tuple->handle, cmap_handle, exec_criteria, class_num, &rule) != kSuccess) return kFailed;
  if (zar_add_action_to_rule(rule, action) != kSuccess) return kFailed;
  TRACE_INFO("(info): %s: added class:0x%x action:0x%x to policy:0x%x", kName, cmap_handle, action, pmap_handle);
  return kSuccess;
}

uint32_t zar_add_action_to_stored_policy(uint32_t clid, const zar_map_info *policy, const zar_event_context *event,
                                         const zar_map_info *class_info, uint32_t action) {
  static constexpr char kName[] = "add_action_to_stored_policy";
  const zar_class_action *rule = stored_rule(clid, policy, event, class_info);
  if (!rule) return kInvalidArgument;
  if (zar_add_action_to_rule(rule->handle, action) != kSuccess) return kFailed;
  TRACE_INFO("(info): %s: added action:0x%x to stored policy:%s", kName, action, policy->map_name);
  return kSuccess;
}

// The action is only unlinked: its reference count stays.
uint32_t zar_remove_action_from_stored_policy(uint32_t clid, const zar_map_info *policy, const zar_event_context *event,
                                              const zar_map_info *class_info, uint32_t action_handle) {
  zar_class_action *rule = stored_rule(clid, policy, event, class_info);
  if (!rule) return kInvalidArgument;
  if (!require_action("remove_action_from_stored_policy", action_handle)) return kInvalidArgument;
  auto *listed = find_handle<zar_action>(rule->actions, action_handle);
  if (!listed) {
    TRACE_ERROR("(ERR): Error: action:0x%x not present to remove", action_handle);
    return kInvalidArgument;
  }
  unlink(rule->actions, listed);
  return kSuccess;
}

uint32_t zar_remove_class_from_policy(uint32_t pmap_handle, const zar_event_context *event, uint32_t cmap_handle,
                                      uint32_t class_num) {
  static constexpr char kName[] = "remove_class_from_policy";
  auto *pmap = require<zar_pmap>(kName, pmap_handle);
  bool valid = pmap && has_control_type(kName, *pmap);
  if (valid && !event) {
    TRACE_ERROR("(ERR): %s: Error: event needs to be provided to remove class for control polies", kName);
    valid = false;
  }
  auto *cmap = require<zar_cmap>(kName, cmap_handle);
  if (!cmap || !valid) return kInvalidArgument;

  zar_event_tuple *tuple = find_event(kName, *pmap, event->event_id);
  if (!tuple) {
    TRACE_ERROR("(ERR): %s: event:%d not found in pmap:0x%x", kName, event->event_id, pmap_handle);
    return kInvalidArgument;
  }
  TRACE_INFO("(info): %s: event:%d already existing in pmap:0x%x", kName, event->event_id, pmap_handle);

  uint8_t number = static_cast<uint8_t>(class_num);
  auto *rule = find<zar_class_action>(tuple->class_actions, [=](const zar_class_action &other) {
    return other.cmap == cmap && other.class_num == number;
  });
  if (!rule) {
    TRACE_INFO("(info): %s: class-map:0x%x not present to remove", kName, cmap_handle);
    return kSuccess;
  }
  TRACE_INFO("(info): %s: class:0x%x [num %d] present in pmap:0x%x", kName, cmap_handle, number, pmap_handle);
  unlink(tuple->class_actions, rule);
  zar_remove_references(pmap, cmap);
  zar_free_class_action(rule);
  return kSuccess;
}
