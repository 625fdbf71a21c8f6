// The association of a policy-map with a target on which it is active.
//
// Invariants, for every policy-map P and target T:
// 1. Either T's 'active_pmaps' names P and P's 'target_refs' names T, once each, or neither does.
// 2. While they do, the engine holds an instance for the pair.
// Only the functions here edit these two lists. An engine that fails to delete an instance breaks the second invariant,
// never the first.
#pragma once

#include "zar/lifecycle.h"

namespace zar {

// Links the pair, has the engine make its instance and tells the action handlers. 0, 37 when the engine refuses, 38 when
// memory runs out; the pair is unlinked unless 0. The target has its information: the caller has checked that.
uint32_t associate_target_and_policy(uint32_t clid, zar_target *target, zar_pmap *pmap);

// Unlinks the pair, has the engine delete its instance and tells the action handlers; 1 when the instance was found and
// deleted. The pair is unlinked whatever the engine says, also when it was linked only one way. A target that has lost
// its information is refused, traced and left linked.
uint32_t disassociate_target_and_policy(zar_pmap *pmap, zar_target *target);

// The same for records that are about to go: a target that has lost its information, which the routine above refuses, is
// unlinked too.
void part_for_good(zar_pmap *pmap, zar_target *target);

// The link of the target to the policy-map, or NULL.
zar_target_pmap *find_active(const zar_target &target, const zar_pmap *pmap);

}  // namespace zar
