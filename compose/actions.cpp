// The actions of rules: a list of records that rules share by reference count, in action-number order unless an
// insertion gives another position.
#include "compose/rules.h"
#include "core/callbacks.h"
#include "objects/leaves.h"
#include "zar/compose.h"

using namespace zar;

namespace {

// The class-action and the action of an operation; both are checked before either refuses.
struct RuleAndAction {
  RuleAndAction(const char *name, uint32_t class_action_handle, uint32_t action_handle)
      : rule(require<zar_class_action>(name, class_action_handle)), action(require_action(name, action_handle)) {}
  explicit operator bool() const { return rule && action; }

  zar_class_action *rule;
  zar_action *action;
};

uint32_t number_of(const zar_action &action) {
  return action.action_num;
}

}  // namespace

uint32_t zar_verify_action_content(const zar_action *action, const char *caller) {
  if (!action) {
    TRACE_ERROR("(ERR): %s: Error: input action context cannot be NULL", or_blank(caller));
    return kCheckFailed;
  }
  if (!action->action_entry_fn)
    TRACE_ERROR("(ERR): %s: Error: action_entry_fn from input action context cannot be NULL", or_blank(caller));
  if (!action->action_free_fn)
    TRACE_ERROR("(ERR): %s: Error: action_free_fn from input action context cannot be NULL", or_blank(caller));
  if (!action->action_str_fn)
    TRACE_ERROR("(ERR): %s: Error: action_str_fn from input action context cannot be NULL", or_blank(caller));
  if (!action->action_compare_fn)
    TRACE_ERROR("(ERR): %s: Error: action_compare_fn from input action context cannot be NULL", or_blank(caller));
  bool complete =
      action->action_entry_fn && action->action_free_fn && action->action_str_fn && action->action_compare_fn;
  return complete ? kSuccess : kCheckFailed;
}

zar_action *zar::require_action(const char *name, uint32_t handle) {
  auto *action = resolve<zar_action>(handle);
  return zar_verify_action_content(action, name) == kSuccess ? action : nullptr;
}

uint32_t zar_add_action_to_rule(uint32_t class_action, uint32_t action) {
  static constexpr char kName[] = "add_action_to_rule";
  RuleAndAction given(kName, class_action, action);
  if (!given) return kInvalidArgument;
  insert_by_number(given.rule->actions, given.action, number_of, [=] {
    TRACE_INFO("(info): %s: class-action:0x%x adding action:0x%x as first entry", kName, class_action, action);
  });
  TRACE_INFO("(info): %s: added action:0x%x to class-action:0x%x", kName, action, class_action);
  return kSuccess;
}

uint32_t zar_add_action_to_rule_before_action(uint32_t class_action, uint32_t action, uint32_t reference) {
  static constexpr char kName[] = "add_action_to_rule_before_action";
  RuleAndAction given(kName, class_action, action);
  if (!given) return kInvalidArgument;
  Place place = insert_before_handle(given.rule->actions, given.action, reference, [=] {
    TRACE_INFO("(info): %s: adding action:0x%x to class-action:0x%x before action:0x%xas first entry", kName, action,
               class_action, reference);
  });
  if (place == Place::nowhere) {
    TRACE_ERROR("(ERR): %s: Could not find action hdl:0x%x in class-action to insert before", kName, reference);
    return kInvalidArgument;
  }
  TRACE_INFO("(info): %s: added action:0x%x to class-action:0x%x before action:0x%x", kName, action, class_action,
             reference);
  return kSuccess;
}

uint32_t zar_add_action_to_rule_after_action(uint32_t class_action, uint32_t action, uint32_t reference) {
  static constexpr char kName[] = "add_action_to_rule_after_action";
  RuleAndAction given(kName, class_action, action);
  if (!given) return kInvalidArgument;
  if (insert_after_handle(given.rule->actions, given.action, reference) == Place::nowhere) {
    TRACE_ERROR("(ERR): %s: Error: Could not find action hdl:0x%x in class-action to insert after", kName, reference);
    return kInvalidArgument;
  }
  TRACE_INFO("(info): %s: added action:0x%x to class-action:0x%x after action:0x%x", kName, action, class_action,
             reference);
  return kSuccess;
}

uint32_t zar_remove_action_from_class_action(uint32_t class_action, uint32_t action) {
  RuleAndAction given("remove_action_from_class_action", class_action, action);
  if (!given) return kInvalidArgument;
  unlink(given.rule->actions, given.action);
  return kSuccess;
}

uint32_t zar_retrieve_action(uint32_t class_action, const zar_action_context *context, uint32_t *action_out) {
  static constexpr char kName[] = "retrieve_action";
  bool valid = action_place_given(kName, action_out);
  valid &= zar_verify_action_context(context, kName) == kSuccess;
  auto *rule = require<zar_class_action>(kName, class_action);
  if (!rule || !valid) return kInvalidArgument;

  const auto *match = find<zar_action>(rule->actions, [context](const zar_action &action) {
    return zar_match_action_parameters(&action, context) != kNo;
  });
  *action_out = match ? match->handle : 0;
  TRACE_INFO("(info): %s: retrieved matching action:0x%x in class-action:0x%x", kName, *action_out, class_action);
  return kSuccess;
}

uint32_t zar_retrieve_action_num_in_class_action(uint32_t class_action, uint32_t action_num, uint32_t *action_out) {
  static constexpr char kName[] = "retrieve_action_num_in_class_action";
  bool valid = action_place_given(kName, action_out);
  auto *rule = require<zar_class_action>(kName, class_action);
  if (!rule || !valid) return kInvalidArgument;

  uint8_t number = static_cast<uint8_t>(action_num);
  const auto *match =
      find<zar_action>(rule->actions, [number](const zar_action &action) { return action.action_num == number; });
  *action_out = match ? match->handle : 0;
  TRACE_INFO("(info): %s: retrieved matching action:0x%x with action num:%d in class-action:0x%x", kName, *action_out,
             number, class_action);
  return kSuccess;
}

uint32_t zar_match_action_parameters(const zar_action *action, const zar_action_context *context) {
  if (!action || !context) return kNo;
  if (action->action_free_fn != context->action_free_fn) return kNo;
  if (action->action_entry_fn != context->action_entry_fn) return kNo;
  if (!action->action_compare_fn) return kNo;
  return call("action_compare_fn", action->action_compare_fn, action->action_data, context->action_data) ? kYes : kNo;
}

uint32_t zar_compare_actions(uint32_t action, const zar_action_context *context) {
  return zar_match_action_parameters(resolve<zar_action>(action), context);
}

uint32_t zar_increment_action(zar_action *action) {
  if (!action) return kNo;
  ++action->ref_count;
  return kYes;
}

// The count is lowered before it is tested: if it is already 0 it wraps, and the action is never freed.
uint32_t zar_free_action(zar_action *action) {
  if (!action) return kNo;
  --action->ref_count;
  TRACE_INFO("(info): action:0x%x reference count:%d", action->handle, action->ref_count);
  if (action->ref_count != 0) return kYes;

  retire(action->handle);
  if (action->action_free_fn) call("action_free_fn", action->action_free_fn, action->action_data, nullptr);
  zar_handle_release(action->handle);
  TRACE_INFO("(info): action:0x%x chunk freed", action->handle);
  action_pool.give_back(action);
  return kYes;
}
