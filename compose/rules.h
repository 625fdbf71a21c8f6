// Events, class-actions and references as the other subsystems use them.
#pragma once

#include "core/checks.h"
#include "core/pool.h"
#include "core/queue.h"
#include "zar/compose.h"

namespace zar {

// A class-action for the class-map, under no event yet and without a class number. 'rule' owns it until it is in a
// list: it is freed if its new handle does not resolve.
uint32_t create_class_action_tuple(uint32_t cmap, uint32_t exec_criteria, uint32_t *class_action_out,
                                   Pooled<zar_class_action> &rule);

// Frees a class-action with its handle, and drops one reference to each of its actions.
void zar_free_class_action(zar_class_action *class_action);

// The action that 'handle' names if its record is complete. Both faults are traced in the same way, as a missing record.
zar_action *require_action(const char *name, uint32_t handle);

// Adds one use of the class-map by the policy-map, and links the two if it is the first; removes one use, and unlinks
// them if it was the last. Does nothing for a rule without a class-map; failures are only traced.
void zar_update_references(zar_pmap *pmap, zar_cmap *cmap);
void zar_remove_references(zar_pmap *pmap, zar_cmap *cmap);

// Unlinks the class-maps that the policy-map still counts as used when it is deleted. Only an event that is being
// deleted leaves any.
void drop_references(zar_pmap &pmap);

// Whether the rule list of the policy-map holds events; otherwise it holds class-actions.
inline bool is_control(const zar_pmap &pmap) {
  return pmap.domain_type == kControl;
}

// The highest exec criteria that a rule may have.
constexpr uint32_t kLastExecCriteria = 3;
bool valid_exec_criteria(const char *name, uint32_t exec_criteria);

// The event of a CONTROL policy-map with this id. Events without a context are traced and skipped.
zar_event_tuple *find_event(const char *name, const zar_pmap &pmap, uint32_t event_id);

// The first rule of an event for this class-map.
zar_class_action *find_rule(const zar_event_tuple &event, const zar_cmap *cmap);

// Calls 'visit' for each rule under each event of a CONTROL policy-map; other policy-maps have no events.
template <class Visit>
void for_each_rule(const zar_pmap &pmap, Visit visit) {
  if (!is_control(pmap)) return;
  for (const zar_event_tuple &event : Elements<zar_event_tuple>(pmap.rule_list))
    for (zar_class_action &rule : Elements<zar_class_action>(event.class_actions))
      visit(rule);
}

}  // namespace zar
