// Events in CONTROL policy-maps, and the rules under them.
#include "compose/rules.h"

using namespace zar;

const char *const zar_db_class_action_chunk_str = "ZAR DB class action chunk";

namespace {

constexpr uint32_t kStopOnFailure = 2;  // the exec criteria of a rule created without any

uint32_t number_of(const zar_class_action &rule) {
  return rule.class_num;
}

void trace_no_event_context(const char *name) {
  TRACE_ERROR("(ERR): %s: Error: event context cannot be NULL in event tuple", name);
}

// The event that 'handle' names if it has its context.
zar_event_tuple *require_event_with_context(const char *name, uint32_t handle) {
  auto *event = require<zar_event_tuple>(name, handle);
  if (!event || event->event_context) return event;
  trace_no_event_context(name);
  return nullptr;
}

}  // namespace

bool zar::valid_exec_criteria(const char *name, uint32_t exec_criteria) {
  if (exec_criteria <= kLastExecCriteria) return true;
  TRACE_ERROR("(ERR): %s: Error: invalid action exec criteria", name);
  return false;
}

zar_event_tuple *zar::find_event(const char *name, const zar_pmap &pmap, uint32_t event_id) {
  return find<zar_event_tuple>(pmap.rule_list, [=](const zar_event_tuple &event) {
    if (event.event_context) return event.event_context->event_id == event_id;
    trace_no_event_context(name);
    return false;
  });
}

zar_class_action *zar::find_rule(const zar_event_tuple &event, const zar_cmap *cmap) {
  return find<zar_class_action>(event.class_actions,
                                [cmap](const zar_class_action &rule) { return rule.cmap == cmap; });
}

uint32_t zar::create_class_action_tuple(uint32_t cmap_handle, uint32_t exec_criteria, uint32_t *class_action_out,
                                        Pooled<zar_class_action> &rule) {
  static constexpr char kName[] = "create_class_action_tuple";
  auto *cmap = require<zar_cmap>(kName, cmap_handle);
  bool valid = valid_exec_criteria(kName, exec_criteria);
  if (!class_action_place_given(kName, class_action_out)) return kInvalidArgument;
  if (!cmap || !valid) return kInvalidArgument;

  rule = class_action_pool.take();
  if (!rule) {
    TRACE_ERROR("(ERR): %s: memory alloc for class action failed", kName);
    return kNoMemory;
  }
  HeldHandle handle;
  if (!handle.issue(rule.get())) {
    TRACE_ERROR("(ERR): %s: Could not create id for class action", kName);
    return kFailed;
  }
  rule->exec_criteria = exec_criteria == 0 ? kStopOnFailure : exec_criteria;
  rule->cmap = cmap;
  make_empty(rule->actions);
  *class_action_out = handle.keep();
  TRACE_INFO("(info): %s: class-action tuple created, hdl:0x%x", kName, *class_action_out);
  return kSuccess;
}

void zar::zar_free_class_action(zar_class_action *class_action) {
  retire(class_action->handle);
  while (zar_action *action = take_first<zar_action>(class_action->actions))
    zar_free_action(action);
  TRACE_INFO("(info): class-action:0x%x freed", class_action->handle);
  zar_handle_release(class_action->handle);
  class_action_pool.give_back(class_action);
}

// It is not checked whether the class-map already has a rule under this event.
uint32_t zar_add_class_to_event(uint32_t event_handle, uint32_t cmap, uint32_t exec_criteria, uint32_t class_num,
                                uint32_t *class_action_out) {
  static constexpr char kName[] = "add_class_to_event";
  auto *event = require<zar_event_tuple>(kName, event_handle);
  if (!event) return kInvalidArgument;
  Pooled<zar_class_action> made;
  if (uint32_t status = create_class_action_tuple(cmap, exec_criteria, class_action_out, made)) return status;
  if (!resolve<zar_class_action>(*class_action_out)) return kFailed;

  zar_class_action *rule = made.keep();
  rule->class_num = static_cast<uint8_t>(class_num);
  insert_by_number(event->class_actions, rule, number_of, [=] {
    TRACE_INFO("(info): %s: class-action:0x%p adding to event:0x%x as first entry", kName, address(rule), event_handle);
  });
  if (event->pmap) zar_update_references(event->pmap, rule->cmap);
  TRACE_INFO("(info): %s: added class:0x%x to event:0x%x", kName, cmap, event_handle);
  return kSuccess;
}

uint32_t zar_add_event(uint32_t pmap_handle, uint32_t event_handle) {
  static constexpr char kName[] = "add_event";
  zar_pmap *pmap = require_control_pmap(kName, pmap_handle);
  zar_event_tuple *event = require_event_with_context(kName, event_handle);
  if (!event || !pmap) return kInvalidArgument;

  uint32_t event_id = event->event_context->event_id;
  if (event->pmap && event->pmap != pmap) {
    TRACE_ERROR("(ERR): %s: Error: Event tuple already belongs to a pmap, eventid:%d", kName, event_id);
    return kInvalidArgument;
  }
  if (find_event(kName, *pmap, event_id)) {
    TRACE_ERROR("(ERR): %s: Error: Event tuple already present in pmap, eventid:%d", kName, event_id);
    return kInvalidArgument;
  }
  append(pmap->rule_list, event);
  event->pmap = pmap;
  TRACE_INFO("(info): %s: Added event tuple:0x%x, to pmap:0x%x success", kName, event_handle, pmap_handle);

  for (zar_class_action &rule : Elements<zar_class_action>(event->class_actions))
    zar_update_references(pmap, rule.cmap);
  TRACE_INFO("(info): %s: updated references between event tuple:0x%x, and pmap:0x%x", kName, event_handle,
             pmap_handle);
  return kSuccess;
}

uint32_t zar_retrieve_event(uint32_t pmap_handle, const zar_event_context *context, uint32_t *event_out) {
  static constexpr char kName[] = "retrieve_event";
  const zar_pmap *pmap = require_control_pmap(kName, pmap_handle);
  bool place_given = event_place_given(kName, event_out);
  if (!context) {
    TRACE_ERROR("(ERR): %s: Error: Event context input cannot be NULL", kName);
    return kInvalidArgument;
  }
  if (!pmap || !place_given) return kInvalidArgument;

  const zar_event_tuple *event = find_event(kName, *pmap, context->event_id);
  if (event) {
    *event_out = event->handle;
    TRACE_INFO("(info): %s: Event tuple present in pmap, eventid:%d", kName, context->event_id);
  } else {
    TRACE_INFO("(info): %s: Event tuple not present in pmap for eventid:%d", kName, context->event_id);
    *event_out = 0;
  }
  return kSuccess;
}

uint32_t zar_retrieve_class_action(uint32_t pmap_handle, uint32_t event_handle, uint32_t cmap_handle,
                                   uint32_t *class_action_out) {
  static constexpr char kName[] = "retrieve_class_action";
  const auto *pmap = require<zar_pmap>(kName, pmap_handle);
  const auto *cmap = require<zar_cmap>(kName, cmap_handle);
  if (!class_action_place_given(kName, class_action_out)) return kInvalidArgument;
  if (!pmap || !cmap) return kInvalidArgument;
  // For a policy-map without events this succeeds without a result: the out place keeps its value.
  if (!is_control(*pmap)) return kSuccess;

  // Only the id of the given event is used; the event with this id in the policy-map may be a different one.
  const zar_event_tuple *named = require_event_with_context(kName, event_handle);
  if (!named) return kInvalidArgument;
  uint32_t event_id = named->event_context->event_id;
  const zar_event_tuple *event = find_event(kName, *pmap, event_id);
  if (!event) {
    TRACE_ERROR("(ERR): %s: Error: no matching event:%d found in policy:0x%x", kName, event_id, pmap_handle);
    return kInvalidArgument;
  }
  TRACE_INFO("(info): %s: event:%d present in pmap:0x%x", kName, event_id, pmap_handle);

  const zar_class_action *rule = find_rule(*event, cmap);
  *class_action_out = rule ? rule->handle : 0;
  if (rule) {
    TRACE_INFO("(info): %s: success, found class-action:0x%x in pmap:0x%x under event:%d with cmap:0x%x", kName,
               rule->handle, pmap_handle, event_id, cmap_handle);
  } else {
    TRACE_INFO("(info): %s: success, no class-action in pmap:0x%x under event:%d", kName, pmap_handle, event_id);
  }
  return kSuccess;
}

// All bits of the number are compared: one above 255 matches nothing, although class numbers are stored in 8 bits.
uint32_t zar_retrieve_class_num_in_event(uint32_t event_handle, uint32_t class_num, uint32_t *class_action_out) {
  static constexpr char kName[] = "retrieve_class_num";
  if (!class_action_place_given(kName, class_action_out)) {
    TRACE_ERROR("(ERR): %s: Invalid class_action", kName);
    return kInvalidArgument;
  }
  auto *event = resolve<zar_event_tuple>(event_handle);
  if (!event) {
    TRACE_ERROR("(ERR): %s: Invalid event context", kName);
    return kInvalidArgument;
  }
  const auto *rule = find<zar_class_action>(
      event->class_actions, [class_num](const zar_class_action &other) { return other.class_num == class_num; });
  *class_action_out = rule ? rule->handle : 0;
  if (rule) {
    TRACE_INFO("(info): %s: success, found class-action:0x%x under event:0x%x with num:%d", kName, rule->handle,
               event_handle, class_num);
  } else {
    TRACE_INFO("(info): %s: success, no class-action under event:0x%x with num:%d", kName, event_handle, class_num);
  }
  return kSuccess;
}

uint32_t zar_get_cmap_from_class_action(uint32_t class_action) {
  auto *rule = resolve<zar_class_action>(class_action);
  return rule && rule->cmap ? rule->cmap->handle : 0;
}
