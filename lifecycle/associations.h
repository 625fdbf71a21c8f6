// The association of a policy-map with a target on which it is active.
//
// Invariants, for every policy-map P and target T:
// 1. Either T's 'active_pmaps' names P and P's 'target_refs' names T, once each, or neither does.
// 2. While they do, the engine holds an instance for the pair.
// Only the functions here edit these two lists. An engine that fails to delete an instance breaks the second invariant,
// never the first.
#pragma once

#include "core/pool.h"
#include "zar/lifecycle.h"

namespace zar {

// Links the pair, asks the engine to create its instance and notifies the action handlers. Returns 0, 37 if the engine
// refuses, or 38 if memory runs out; the pair is unlinked unless 0. The caller has checked that the target has its
// information.
uint32_t associate_target_and_policy(uint32_t clid, zar_target *target, zar_pmap *pmap);

// Unlinks the pair, asks the engine to delete its instance and notifies the action handlers; returns 1 if the instance
// was found and deleted. The pair is unlinked whatever the engine returns, even if it was linked in only one direction.
// A target that has lost its information is refused, traced and left linked.
uint32_t disassociate_target_and_policy(zar_pmap *pmap, zar_target *target);

// The same for records that are about to be freed: it also unlinks a target that has lost its information, which the
// function above refuses.
void part_for_good(zar_pmap *pmap, zar_target *target);

// The link of the target to the policy-map, or NULL.
TargetPmap *find_active(const zar_target &target, const zar_pmap *pmap);

}  // namespace zar
