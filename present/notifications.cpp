// Notifications to action handlers that an action became active or inactive on targets.
//
// A notification has a list of target information records, created when the first record is added to it. One call uses
// one list for all its notifications and adds the records again before each, so that the n-th notification finds them n
// times. The list is handed over: the handlers free it, after the call.
#include "compose/rules.h"
#include "core/callbacks.h"
#include "core/text.h"
#include "platform/tags.h"
#include "zar/present.h"

using namespace zar;

namespace {

constexpr uint32_t kAdded = 0, kRemoved = 1;

// A list that no handler received is freed.
class TargetList {
 public:
  explicit TargetList(uint32_t tag) : tag_(tag) {}
  TargetList(const TargetList &) = delete;
  TargetList &operator=(const TargetList &) = delete;
  ~TargetList() {
    if (list_ && !handed_over_) bfree_named(list_);
  }

  // False if there is no memory for the list. The platform may lack memory for an entry: then the record is not in it.
  bool add(zar_target_info *info) {
    if (!list_) list_ = make();
    if (list_) append(*list_, info);
    return list_;
  }
  // Called after an add() that had memory for the list.
  bool empty() const { return list_->count == 0; }
  queue_head *hand_over() {
    handed_over_ = true;
    return list_;
  }

 private:
  queue_head *make() const {
    auto *list = allocate<queue_head>(tag_);
    if (list) make_empty(*list);
    return list;
  }

  uint32_t tag_;
  queue_head *list_ = nullptr;
  bool handed_over_ = false;
};

enum class Collected { none, some, out_of_memory };

// Adds the targets on which the policy-map is active. The result depends on what is in the list.
Collected zar_collect_pmap_targets(const zar_pmap &pmap, TargetList &list) {
  Collected result = Collected::none;
  for (const zar_pmap_target_ref &ref : Elements<zar_pmap_target_ref>(pmap.target_refs)) {
    if (!ref.target->target_info) continue;
    if (!list.add(ref.target->target_info)) return Collected::out_of_memory;
    if (!list.empty()) result = Collected::some;
  }
  return result;
}

// Notifies the handlers of the rule's actions that these became inactive on the policy-map's targets. False if memory
// for the list runs out or a handler deleted the policy-map: that ends the whole call.
bool notify_removal(const zar_class_action &rule, const Watched<zar_pmap> &pmap, TargetList &list) {
  for (const zar_action &action : Elements<zar_action>(rule.actions)) {
    if (!pmap) return false;
    if (!action.action_notify_fn) continue;
    Collected collected = zar_collect_pmap_targets(*pmap.get(), list);
    if (collected == Collected::out_of_memory) return false;
    if (collected == Collected::some)
      call("action_notify_fn", action.action_notify_fn, kRemoved, action.action_data, list.hand_over());
  }
  return true;
}

// Notifies the handlers of the rule's actions about one target.
bool notify_of_target(const zar_class_action &rule, uint32_t removed, zar_target_info *info, TargetList &list) {
  for (const zar_action &action : Elements<zar_action>(rule.actions)) {
    if (!action.action_notify_fn) continue;
    if (!list.add(info)) return false;
    if (!list.empty()) call("action_notify_fn", action.action_notify_fn, removed, action.action_data, list.hand_over());
  }
  return true;
}

}  // namespace

void zar_shim_action_added_removed(uint32_t action_handle, uint32_t pmap_handle, uint32_t added) {
  if (action_handle == 0) return;
  const auto *action = resolve<zar_action>(action_handle);
  if (!action || !action->action_notify_fn) return;
  const auto *pmap = require<zar_pmap>("shim_action_added_removed", pmap_handle);
  // Without data no handler is notified, so no list is created that nobody would free.
  if (!pmap || !action->action_data) return;

  TargetList list(ZAR_TAG_TARGETS_OF_PMAP);
  if (zar_collect_pmap_targets(*pmap, list) != Collected::some) return;
  call("action_notify_fn", action->action_notify_fn, added ? kAdded : kRemoved, action->action_data, list.hand_over());
}

void zar_invoke_action_handler(zar_pmap *pmap, zar_target *target, uint32_t added) {
  if (!pmap || !target || !target->target_info || !is_control(*pmap)) return;
  TargetList list(ZAR_TAG_ACTIVATED_TARGETS);
  zar_target_info *info = target->target_info;
  for (const zar_event_tuple &event : Elements<zar_event_tuple>(pmap->rule_list))
    for (const zar_class_action &rule : Elements<zar_class_action>(event.class_actions))
      if (!notify_of_target(rule, added ? kAdded : kRemoved, info, list)) return;
}

void zar_remove_action_handler_for_event(uint32_t event_handle, uint32_t pmap_handle) {
  static constexpr char kName[] = "remove_action_handler_for_event";
  const auto *event = require<zar_event_tuple>(kName, event_handle);
  const Watched<zar_pmap> pmap(require<zar_pmap>(kName, pmap_handle));
  if (!event || !pmap) return;
  TargetList list(ZAR_TAG_TARGETS_OF_PMAP);
  for (const zar_class_action &rule : Elements<zar_class_action>(event->class_actions))
    if (!notify_removal(rule, pmap, list)) return;
}

void zar_remove_action_handler_for_class(uint32_t class_action, uint32_t pmap_handle) {
  static constexpr char kName[] = "remove_action_handler_for_class";
  const auto *rule = require<zar_class_action>(kName, class_action);
  const Watched<zar_pmap> pmap(require<zar_pmap>(kName, pmap_handle));
  if (!rule || !pmap) return;
  TargetList list(ZAR_TAG_TARGETS_OF_PMAP);
  notify_removal(*rule, pmap, list);
}
