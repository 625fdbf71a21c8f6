// Deletion of actions, filters and events.
#include "compose/rules.h"
#include "core/pool.h"
#include "core/text.h"
#include "objects/leaves.h"
#include "platform/tags.h"
#include "zar/lifecycle.h"

using namespace zar;

namespace {

void free_event_context(zar_event_context *context) {
  if (!context) return;
  sdb_remove_block(context->event_name, ZAR_TAG_EVENT_NAME);
  event_context_pool.give_back(context);
}

}  // namespace

// Drops one reference: an action that others hold still exists under its handle.
uint32_t zar_delete_action(uint32_t action_handle) {
  static constexpr char kName[] = "delete_action";
  auto *action = resolve<zar_action>(action_handle);
  if (!action) {
    TRACE_ERROR("(ERR): %s: Error: action:0x%x is already NULL", kName, action_handle);
    return kInvalidArgument;
  }
  zar_free_action(action);
  TRACE_INFO("(info): %s: deleted action:0x%x", kName, action_handle);
  return kSuccess;
}

// A filter that is still in a class-map leaves a dangling element there: the caller must remove it first.
uint32_t zar_delete_filter(uint32_t filter_handle) {
  static constexpr char kName[] = "delete_filter";
  auto *filter = resolve<zar_filter>(filter_handle);
  if (!filter) {
    TRACE_ERROR("(ERR): %s: Error: filter:0x%x is already NULL", kName, filter_handle);
    return kInvalidArgument;
  }
  zar_free_filter(filter);
  TRACE_INFO("(info): %s: deleted filter:0x%x", kName, filter_handle);
  return kSuccess;
}

uint32_t zar_delete_event(uint32_t event_handle) {
  static constexpr char kName[] = "delete_event";
  auto *event = require<zar_event_tuple>(kName, event_handle);
  if (!event) return kInvalidArgument;

  // The actions' free functions run while the rules are freed: for them the event no longer exists.
  retire(event_handle);
  free_event_context(std::exchange(event->event_context, nullptr));
  const Watched<zar_pmap> pmap(event->pmap);
  if (pmap) unlink(pmap->rule_list, event);
  while (zar_class_action *rule = take_first<zar_class_action>(event->class_actions)) {
    TRACE_INFO("(info): %s: Removing class-action tuple:0x%x", kName, rule->handle);
    if (pmap) zar_remove_references(pmap.get(), rule->cmap);
    zar_free_class_action(rule);
  }
  zar_handle_release(event_handle);
  event_tuple_pool.give_back(event);
  TRACE_INFO("(info): %s: Removed event tuple:0x%x", kName, event_handle);
  return kSuccess;
}
