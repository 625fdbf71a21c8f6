/**
 * @file
 * Lifecycle: deletion, targets and their policy contexts, activation, and the walks over everything.
 */
#ifndef ZAR_LIFECYCLE_H
#define ZAR_LIFECYCLE_H

#include "zar/records.h"

ZAR_BEGIN_EXPORTS

/**
 * @defgroup zar_lifecycle Lifecycle
 * How objects end, the targets on which policy-maps are active, and the walks from one object to the next.
 *
 * Stored policy-maps and class-maps are deleted by the operations for stored maps, all others by the plain ones: a
 * plain deletion looks at no tree.
 * @{
 */

/**
 * @name Deleting actions, filters and events
 * @{
 */

/**
 * Drops one reference of an action. With the last one the action ends: its free function is called with its data and
 * NULL, then the handle ends, then the record goes.
 *
 * @param action  The action.
 *
 * Ownership: the caller's reference is gone. While other holders remain, the handle stays good.
 *
 * @retval 0   One reference was dropped.
 * @retval 39  'action' does not resolve.
 *
 * Not checked: whether the action still stands in a rule or in a parameter-map statement that has no reference of its
 * own. An action that ends there leaves the list dangling; take it out first.
 */
uint32_t zar_delete_action(uint32_t action);

/**
 * Deletes a filter: its free function is called with its data and NULL, then the handle ends, then the record goes.
 *
 * @param filter  The filter.
 *
 * @retval 0   It is deleted.
 * @retval 39  'filter' does not resolve.
 *
 * Not checked: whether the filter still stands in a class-map, whose list is then left dangling. Take it out first with
 * zar_remove_filter_from_class().
 */
uint32_t zar_delete_filter(uint32_t filter);

/**
 * Deletes an event with all that is under it: its event context and its class-actions, each of which drops one
 * reference on each of its actions. The event is taken out of its policy-map, if it is in one; then each class-action
 * also gives back its reference between the policy-map and its class-map. The class-maps stay.
 *
 * @param event  The event.
 *
 * @retval 0   It is deleted. References that could not be found are traced and do not stop the deletion.
 * @retval 39  'event' does not resolve. That covers the handle of a class-action, which a walk over a policy-map that
 *             is not CONTROL gives in the place of an event.
 *
 * While its actions are freed, the event does not resolve any more and has no event context.
 *
 * The handlers of its actions are not told; zar_remove_action_handler_for_event() tells them while the event still
 * exists.
 */
uint32_t zar_delete_event(uint32_t event);

/** @} */

/**
 * @name Deleting policy-maps
 * The built-in policy-map, "BUILTIN_AUTOCONF_POLICY", survives every deletion: it is emptied instead.
 * @{
 */

/**
 * Deletes a policy-map that is not stored. Its events go first, as by zar_delete_event(), or else its class-actions
 * with one reference on each of their actions. Then it is deactivated on every target, whatever the engine answers.
 * Then the handle, the texts and the record go.
 *
 * @param pmap  The policy-map.
 *
 * @retval 0   It is deleted, or emptied if it is the built-in one.
 * @retval 39  'pmap' does not resolve.
 *
 * Not checked: whether the policy-map is stored. A tree that still contains it is left dangling; see
 * zar_delete_stored_policy().
 *
 * Quirk: no removal callback is called, and since the events go first, the handlers of their actions do not hear of the
 * deactivations.
 *
 * Quirk: a policy-map of the name "BUILTIN_AUTOCONF_POLICY", in whatever domain, is never freed.
 * zar_delete_autoconf_policy() runs for it, which empties the stored one, and then its own events are deleted if it is
 * another. Its handle, targets and place in a tree stay.
 */
uint32_t zar_delete_policy(uint32_t pmap);

/**
 * Empties the built-in policy-map: all events of the policy-map "BUILTIN_AUTOCONF_POLICY" of type CONTROL that is
 * stored for the domain "subscriber", in the database of the owner of that domain, are deleted. The policy-map itself,
 * its handle, its targets and its place in the tree stay. Without such a policy-map nothing happens.
 */
void zar_delete_autoconf_policy(void);

/**
 * Deletes a stored policy-map, found by name: takes it out of its database, takes it off every target, and deletes it
 * as zar_delete_policy() does. For each target the engine deletes its instance, the handlers are told, and then the
 * removal callback of the client 'clid' is called, if it has registered one. Where the callback activates or stores the
 * policy-map again, that is undone.
 *
 * @param clid  The client whose database is used, and whose callback is called.
 * @param info  Name, domain and domain type; 'hidden' is not read.
 *
 * @retval 0   It is deleted.
 * @retval 37  The client is inactive or has no database to work in.
 * @retval 39  'clid' is out of range, or zar_verify_map_info() rejects 'info'; or the record stored under the name is
 *             no policy-map (see below); or the removal callback has deleted the policy-map itself, which it must not.
 * @retval 41  No such policy-map is stored, or the database lacks the tree; nothing has changed.
 *
 * Once the policy-map is out of the tree the deletion goes through: an engine that fails to find or delete an instance
 * is traced and does not stop it.
 *
 * Quirk: the built-in policy-map is taken out of the tree and off all targets, and then only emptied; its handle stays
 * good.
 *
 * Quirk: a record of another kind that was stored among the policy-maps is removed, and left unstored and otherwise
 * untouched; the result is 39.
 */
uint32_t zar_delete_stored_policy_by_name(uint32_t clid, const zar_map_info *info);

/**
 * Deletes a stored policy-map, as zar_delete_stored_policy_by_name() does.
 *
 * @param clid  The client whose database is used, and whose callback is called.
 * @param pmap  The policy-map.
 *
 * @retval 0   It is deleted.
 * @retval 37  The client is inactive or has no database to work in.
 * @retval 39  'clid' is out of range, or 'pmap' does not resolve; or the removal callback has deleted the policy-map
 *             itself, which it must not.
 * @retval 41  The policy-map is not in this database, even if one with an equal key is; nothing has changed.
 *
 * Quirk: the built-in policy-map is taken out of the tree and off all targets, and then only emptied; its handle stays
 * good.
 */
uint32_t zar_delete_stored_policy(uint32_t clid, uint32_t pmap);

/** @} */

/**
 * @name Deleting class-maps
 * A class-map that a policy-map refers to is not deleted; the policy-maps in question are traced at level 6. A
 * reference lasts as long as a class-action of the class-map under an event of the policy-map.
 *
 * Not checked by any of the three: class-actions that make no reference, which are those of policy-maps that are not
 * CONTROL and those under events that are in no policy-map. They are left dangling when their class-map goes.
 * @{
 */

/**
 * Deletes a class-map that is not stored, with its filters, which go as by zar_delete_filter().
 *
 * @param cmap  The class-map.
 *
 * @retval 0   It is deleted.
 * @retval 39  'cmap' does not resolve, or a policy-map refers to the class-map.
 *
 * Not checked: whether the class-map is stored. A tree that still contains it is left dangling; see
 * zar_delete_stored_class().
 */
uint32_t zar_delete_class(uint32_t cmap);

/**
 * Deletes a stored class-map, found by name: takes it out of its database and deletes it with its filters.
 *
 * @param clid  The client whose database is used.
 * @param info  Name, domain and domain type; 'hidden' is not read.
 *
 * @retval 0   It is deleted, or no such class-map is stored.
 * @retval 37  The client is inactive or has no database to work in.
 * @retval 39  'clid' is out of range, or zar_verify_map_info() rejects 'info'; or a policy-map refers to the class-map,
 *             which stays stored; or the record stored under the name is no class-map (see below).
 * @retval 41  The database lacks the tree, or the tree refuses the deletion; nothing has changed.
 *
 * Quirk: a record of another kind that was stored among the class-maps is removed, and left unstored and otherwise
 * untouched; the result is 39.
 */
uint32_t zar_delete_stored_class_by_name(uint32_t clid, const zar_map_info *info);

/**
 * Deletes a stored class-map: takes it out of its database and deletes it with its filters.
 *
 * @param clid  The client whose database is used.
 * @param cmap  The class-map.
 *
 * @retval 0   It is deleted.
 * @retval 37  The client is inactive or has no database to work in.
 * @retval 39  'clid' is out of range, 'cmap' does not resolve, or a policy-map refers to the class-map, which stays
 *             stored.
 * @retval 41  The class-map is not in this database, even if one with an equal key is; nothing has changed.
 */
uint32_t zar_delete_stored_class(uint32_t clid, uint32_t cmap);

/** @} */

/**
 * @name Two questions about policy-maps
 * @{
 */

/**
 * Reads the target count of a policy-map.
 *
 * @param pmap  The policy-map.
 *
 * @return The 'target_count' of the record, or 0 when 'pmap' does not resolve.
 *
 * Quirk: nothing counts in that field, so the answer is 0 however many targets the policy-map is active on. The queue
 * 'target_refs' of the record has their number.
 */
uint32_t zar_get_pmap_target_count(uint32_t pmap);

/**
 * Reads the name of a policy-map.
 *
 * @param pmap  The policy-map.
 *
 * @return The name, or NULL when 'pmap' does not resolve.
 */
const char *zar_get_pmap_name(uint32_t pmap);

/** @} */

/**
 * @name Targets
 * A target is made with its first policy-map and lives from zar_add_target() to zar_delete_target(), with
 * zar_remove_target() right before the latter. It stays when its last policy-map is deactivated. A target whose
 * 'target_info' has become NULL counts as broken and is refused, unless told otherwise.
 * @{
 */

/**
 * Checks that there is a target record.
 *
 * @param target  The record.
 * @param caller  The name to use in trace messages; may be NULL.
 *
 * @retval 0  'target' is not NULL.
 * @retval 1  'target' is NULL; traced, at level 6.
 */
uint32_t zar_verify_target_context(const zar_target *target, const char *caller);

/**
 * Makes a target, activates its first policy-map on it, and stores it. The engine makes its instance, and the handlers
 * are told, before the caller has the handle.
 *
 * @param clid         The client whose database is used. The engine is told it, too.
 * @param target_info  The caller's own record of the target.
 * @param pmap         The first policy-map; it need not be stored.
 * @param target_out   Receives the handle.
 *
 * Ownership: the target is the repository's. 'target_info' stays the caller's and must outlive the target.
 *
 * @retval 0   The target is stored, and the policy-map is active on it.
 * @retval 37  There is no handle; or the policy-map could not be activated, be it for want of memory or because the
 *             engine refused; or the client is inactive; or there is neither an own nor a default database.
 * @retval 38  No record.
 * @retval 39  'clid' is out of range, 'target_info' or 'target_out' is NULL, or 'pmap' does not resolve.
 * @retval 41  The database lacks the tree, or the tree refuses the target.
 *
 * A failure leaves nothing behind: where the policy-map had been activated already, it is deactivated again, with a
 * call of the engine and of the handlers. 'target_out' is untouched.
 *
 * Not checked: whether there is a target of this 'target_info' already.
 */
uint32_t zar_add_target(uint32_t clid, zar_target_info *target_info, uint32_t pmap, uint32_t *target_out);

/**
 * Takes a target out of its database. It still resolves, and its policy-maps stay active.
 *
 * @param clid             The client whose database is used.
 * @param target           The target.
 * @param target_info_out  Receives the caller's own record of the target.
 *
 * Ownership: the target still uses the record until zar_delete_target().
 *
 * @retval 0   It is in no database any more.
 * @retval 37  The client is inactive or has no database to work in.
 * @retval 39  'clid' is out of range, 'target' does not resolve or is broken, or 'target_info_out' is NULL.
 * @retval 41  The target is not in this database; nothing has changed, and 'target_info_out' is NULL.
 */
uint32_t zar_remove_target(uint32_t clid, uint32_t target, zar_target_info **target_info_out);

/**
 * Deletes a target: deactivates every policy-map on it, whatever the engine answers, then ends its handle, lets the
 * engine release what it keeps in the policy context, and frees the policy context and the target.
 *
 * @param target  The target, which zar_remove_target() has taken out of its database.
 *
 * Ownership: the caller's own record of the target is the caller's alone again, but for the target lists that handlers
 * may still hold.
 *
 * @retval 0   It is deleted.
 * @retval 37  The engine refused to release the policy context (see below).
 * @retval 39  'target' does not resolve, is broken, or is being deleted.
 *
 * On 37 the policy-maps are deactivated and the handle has ended, but the records of the target and of its policy
 * context stay allocated, and nothing can reach the target any more. The engine still knows the policy context, whose
 * own handle has not ended either.
 *
 * Not checked: whether the target is still in a database, whose tree is then left dangling.
 */
uint32_t zar_delete_target(uint32_t target);

/** @} */

/**
 * @name Policy contexts
 * What the engine keeps for a target lies in one record, which is the target's and goes with it. The engine writes its
 * words at any time.
 * @{
 */

/**
 * Gives the policy context of a target, and makes it the first time.
 *
 * @param target  The target.
 *
 * Ownership: the record is the repository's and good until zar_delete_target(); the engine may write all of it but
 * 'handle'.
 *
 * @return The record, the same one at every call. NULL: 'target' does not resolve or is broken, or there is no record
 *         or no handle for a new one; the target is unchanged then.
 */
zar_target_policy_context *zar_create_policy_context(uint32_t target);

/**
 * Gives the policy context of a target if it has one.
 *
 * @param target  The target; a broken one is served, too.
 *
 * @return The record, or NULL: none was made (not traced), or 'target' does not resolve.
 */
zar_target_policy_context *zar_retrieve_policy_context(uint32_t target);

/** @} */

/**
 * @name Activation
 * Activation links a policy-map and a target both ways, has the engine make a policy instance for the pair, and tells
 * the handlers of the actions. Deactivation undoes the link, has the engine find and delete the instance, and then
 * tells the handlers. The link goes whatever the engine answers; where it does not delete an instance, the handlers are
 * not told. None of these operations calls a removal callback.
 *
 * Not checked: that the engine, inside the calls that these operations make to it, neither deletes the policy-map or
 * the target nor changes what is active where.
 * @{
 */

/**
 * Activates a policy-map on a target.
 *
 * @param clid    The client, of which the range is checked; the engine is told it.
 * @param pmap    The policy-map; it need not be stored.
 * @param target  The target.
 *
 * @retval 0   It was activated. If it was active already, neither the engine nor the handlers have heard of it again.
 * @retval 37  The engine refused to make an instance; the pair is unlinked again.
 * @retval 38  No memory for the link; nothing is linked.
 * @retval 39  'clid' is out of range, 'pmap' does not resolve, or 'target' does not resolve or is broken.
 */
uint32_t zar_activate_policy(uint32_t clid, uint32_t pmap, uint32_t target);

/**
 * Activates a stored policy-map, found by name, on a target.
 *
 * @param clid    The client whose database is searched; the engine is told it.
 * @param target  The target.
 * @param info    Name, domain and domain type; 'hidden' is not read.
 *
 * @retval 0   It was activated, now or before.
 * @retval 37  The engine refused to make an instance; the pair is unlinked again.
 * @retval 38  No memory for the link; nothing is linked.
 * @retval 39  The search failed for any reason, or found no policy-map; or 'target' does not resolve or is broken.
 */
uint32_t zar_activate_policy_by_name(uint32_t clid, uint32_t target, const zar_map_info *info);

/**
 * Deactivates a stored policy-map, found by name, on one target.
 *
 * @param clid    The client whose database is searched.
 * @param target  The target.
 * @param info    Name, domain and domain type; 'hidden' is not read.
 *
 * @retval 0   The pair is unlinked, and the engine has deleted its instance.
 * @retval 37  The engine did not find or did not delete the instance. The pair is unlinked all the same. A policy-map
 *             that was not active at all ends here, too.
 * @retval 39  The search failed for any reason, or found no policy-map; or 'target' does not resolve or is broken.
 */
uint32_t zar_deactivate_policy_by_name(uint32_t clid, uint32_t target, const zar_map_info *info);

/**
 * Does nothing.
 *
 * @param clid         Not read.
 * @param target       Not read.
 * @param domain_type  Not read.
 *
 * @retval 0  Always.
 */
uint32_t zar_deactivate_policy_by_type(uint32_t clid, uint32_t target, uint32_t domain_type);

/**
 * Deactivates every policy-map on a target. One that a handler activates there meanwhile stays.
 *
 * @param clid    The client, of which the range is checked.
 * @param target  The target.
 *
 * @retval 0   All that were active are deactivated, also when none was.
 * @retval 37  The engine failed for at least one of them, which is unlinked all the same; or the target was broken
 *             meanwhile, and those that were still active then stay.
 * @retval 39  'clid' is out of range, or 'target' does not resolve or is broken.
 */
uint32_t zar_deactivate_any_policy_for_target(uint32_t clid, uint32_t target);

/**
 * Deactivates a stored policy-map, found by name, on every target that it is active on. A broken target keeps it, and
 * so may a target on which a handler activates it during the operation.
 *
 * @param clid  The client whose database is searched.
 * @param info  Name, domain and domain type; 'hidden' is not read.
 *
 * @retval 0   It was deactivated, even if it was active nowhere; the engine's results do not matter.
 * @retval 39  The search failed for any reason, or found no policy-map.
 */
uint32_t zar_deactivate_policy_by_name_from_all_targets(uint32_t clid, const zar_map_info *info);

/**
 * Deactivates a policy-map on every target that it is active on. A broken target keeps it, and so may a target on which
 * a handler activates it during the operation.
 *
 * @param clid  The client, of which the range is checked.
 * @param pmap  The policy-map; it need not be stored.
 *
 * @retval 0   It was deactivated, even if it was active nowhere; the engine's results do not matter.
 * @retval 39  'clid' is out of range, or 'pmap' does not resolve.
 */
uint32_t zar_deactivate_policy_by_handle_from_all_targets(uint32_t clid, uint32_t pmap);

/** @} */

/**
 * @name What is active on a target
 * The walk has no state: it goes on from the policy-map that the caller holds. One that is deactivated meanwhile ends
 * it.
 * @{
 */

/**
 * Finds a stored policy-map by name among those that are active on a target.
 *
 * @param clid      The client whose database is searched.
 * @param target    The target.
 * @param info      Name, domain and domain type; 'hidden' is not read.
 * @param unused    Ignored.
 * @param pmap_out  Receives the policy-map, or 0 when it is not active there or not stored.
 *
 * @retval 0   The target was searched; 'pmap_out' holds the result.
 * @retval 39  'clid' is out of range, 'target' does not resolve or is broken, 'pmap_out' is NULL, or the search for the
 *             name failed, for whatever reason.
 */
uint32_t zar_retrieve_policy_from_target(uint32_t clid, uint32_t target, const zar_map_info *info, void *unused,
                                         uint32_t *pmap_out);

/**
 * Gives the policy-map that has been active on a target for the longest time.
 *
 * @param target           The target.
 * @param domain_type_out  Receives its domain type, or 0 when nothing is active; may be NULL.
 * @param reserved_out     Receives 0; may be NULL.
 * @param pmap_out         Receives the policy-map, or 0 when nothing is active.
 *
 * @retval 0   The places are written.
 * @retval 39  'target' does not resolve or is broken, or 'pmap_out' is NULL. The places are untouched.
 */
uint32_t zar_get_first_active_policy_on_target(uint32_t target, uint32_t *domain_type_out, uint32_t *reserved_out,
                                               uint32_t *pmap_out);

/**
 * Gives the policy-map that was activated on a target next after a given one.
 *
 * @param target           The target.
 * @param current_pmap     The policy-map to continue from, by its handle, which need not resolve.
 * @param domain_type_out  Receives the domain type of the next one, or 0; may be NULL.
 * @param reserved_out     Receives 0; may be NULL.
 * @param pmap_out         Receives the next one, or 0: the given one is the last, or is not active on the target.
 *
 * @retval 0   The places are written.
 * @retval 39  'target' does not resolve or is broken, or 'pmap_out' is NULL. The places are untouched.
 */
uint32_t zar_get_next_active_policy_on_target(uint32_t target, uint32_t current_pmap, uint32_t *domain_type_out,
                                              uint32_t *reserved_out, uint32_t *pmap_out);

/** @} */

/**
 * @name Walks over stored maps
 * One operation gives the first map of the client's database, its own or else the default one, the other the map that
 * follows a given one in key order. Nothing is skipped: the built-in policy-map, hidden policy-maps and the class-maps
 * of parameter-map statements are all given, and so is a map of another kind that was stored in this tree. Handle 0
 * says that there is no map, or no more; that is a success.
 *
 * The walk has no state: it goes on from the map that the caller holds. One that is deleted meanwhile does not resolve
 * any more, so a caller that deletes on its way asks for the next map first.
 * @{
 */

/**
 * Gives the first stored policy-map.
 *
 * @param clid      The client whose database is walked.
 * @param pmap_out  Receives the handle, or 0 when no policy-map is stored.
 *
 * @retval 0   'pmap_out' is written.
 * @retval 37  The client is inactive or has no database to work in.
 * @retval 39  'clid' is out of range, or 'pmap_out' is NULL.
 * @retval 41  The database lacks the tree; 'pmap_out' is 0.
 */
uint32_t zar_get_first_policy(uint32_t clid, uint32_t *pmap_out);

/**
 * Gives the stored policy-map that follows a given one.
 *
 * @param clid      The client whose database is walked.
 * @param current   The map to continue from, of any map kind. If it is not stored here, the walk continues with the
 *                  first policy-map that sorts after it.
 * @param pmap_out  Receives the handle, or 0 when 'current' is the last.
 *
 * @retval 0   'pmap_out' is written.
 * @retval 37  The client is inactive or has no database to work in.
 * @retval 39  'clid' is out of range, 'current' does not resolve, or 'pmap_out' is NULL.
 * @retval 41  The database lacks the tree; 'pmap_out' is 0.
 */
uint32_t zar_get_next_policy(uint32_t clid, uint32_t current, uint32_t *pmap_out);

/**
 * Gives the first stored class-map.
 *
 * @param clid      The client whose database is walked.
 * @param cmap_out  Receives the handle, or 0 when no class-map is stored.
 *
 * @retval 0   'cmap_out' is written.
 * @retval 37  The client is inactive or has no database to work in.
 * @retval 39  'clid' is out of range, or 'cmap_out' is NULL.
 * @retval 41  The database lacks the tree; 'cmap_out' is 0.
 */
uint32_t zar_get_first_class(uint32_t clid, uint32_t *cmap_out);

/**
 * Gives the stored class-map that follows a given one.
 *
 * @param clid      The client whose database is walked.
 * @param current   The map to continue from, of any map kind. If it is not stored here, the walk continues with the
 *                  first class-map that sorts after it.
 * @param cmap_out  Receives the handle, or 0 when 'current' is the last.
 *
 * @retval 0   'cmap_out' is written.
 * @retval 37  The client is inactive or has no database to work in.
 * @retval 39  'clid' is out of range, 'current' does not resolve, or 'cmap_out' is NULL.
 * @retval 41  The database lacks the tree; 'cmap_out' is 0.
 */
uint32_t zar_get_next_class(uint32_t clid, uint32_t current, uint32_t *cmap_out);

/** @} */

/**
 * @name Walks over what a map holds
 * One operation gives the first element of a list, the other the element that follows a given one, in the order of the
 * list. Handle 0 says that there is none, or no more; that is a success. Of the clid only the range is checked.
 *
 * The walk has no state: it seeks the element that the caller holds from the head on (the first place of one that
 * stands in the list twice), so a walk over n elements costs n * n / 2 comparisons. An element that was taken out
 * meanwhile ends the walk with handle 0; only the trace tells this from the end.
 *
 * An operation that answers 39 leaves its place untouched.
 * @{
 */

/**
 * Gives the first event of a policy-map.
 *
 * @param clid       The client.
 * @param pmap       The policy-map.
 * @param event_out  Receives the handle, or 0 when there is none.
 *
 * @retval 0   'event_out' is written.
 * @retval 39  'clid' is out of range, 'pmap' does not resolve, or 'event_out' is NULL.
 *
 * Quirk: of a policy-map that is not CONTROL it gives the first class-action. Operations on events refuse that handle,
 * those on class-actions take it.
 */
uint32_t zar_get_event_class(uint32_t clid, uint32_t pmap, uint32_t *event_out);

/**
 * Gives the event of a policy-map that follows a given one.
 *
 * @param clid       The client.
 * @param pmap       The policy-map.
 * @param current    The event to continue from; not 0, but need not resolve.
 * @param event_out  Receives the handle, or 0: 'current' is the last, or is not in the policy-map.
 *
 * @retval 0   'event_out' is written.
 * @retval 39  'clid' is out of range, 'pmap' does not resolve, 'current' is 0, or 'event_out' is NULL.
 *
 * Quirk: of a policy-map that is not CONTROL it gives the class-actions.
 */
uint32_t zar_get_next_event_class(uint32_t clid, uint32_t pmap, uint32_t current, uint32_t *event_out);

/**
 * Gives the first class-action of an event.
 *
 * @param clid              The client.
 * @param pmap              The policy-map of the event.
 * @param event             The event.
 * @param class_action_out  Receives the handle, or 0 when there is none.
 *
 * @retval 0   'class_action_out' is written, unless the policy-map is not CONTROL.
 * @retval 39  'clid' is out of range, 'pmap' does not resolve, 'class_action_out' is NULL, or, of a CONTROL policy-map,
 *             'event' does not resolve.
 *
 * Not checked: whether the event belongs to the policy-map.
 *
 * Quirk: for a policy-map that is not CONTROL the result is 0 and 'class_action_out' is left unwritten, so it should
 * hold 0 before the call. zar_get_event_class() gives the class-actions of such a policy-map.
 */
uint32_t zar_get_class_action(uint32_t clid, uint32_t pmap, uint32_t event, uint32_t *class_action_out);

/**
 * Gives the class-action of an event that follows a given one.
 *
 * @param clid              The client.
 * @param pmap              The policy-map of the event.
 * @param event             The event.
 * @param current           The class-action to continue from; not 0, but need not resolve.
 * @param class_action_out  Receives the handle, or 0: 'current' is the last, or is not under the event.
 *
 * @retval 0   'class_action_out' is written, unless the policy-map is not CONTROL.
 * @retval 39  'clid' is out of range, 'pmap' does not resolve, 'current' is 0, 'class_action_out' is NULL, or, of a
 *             CONTROL policy-map, 'event' does not resolve.
 *
 * Not checked: whether the event belongs to the policy-map.
 *
 * Quirk: for a policy-map that is not CONTROL the result is 0 and 'class_action_out' is left unwritten.
 */
uint32_t zar_get_next_class_action(uint32_t clid, uint32_t pmap, uint32_t event, uint32_t current,
                                   uint32_t *class_action_out);

/**
 * Gives the first action of a class-action.
 *
 * @param clid          The client.
 * @param class_action  The class-action.
 * @param action_out    Receives the handle, or 0 when there is none.
 *
 * @retval 0   'action_out' is written.
 * @retval 39  'clid' is out of range, 'class_action' does not resolve, or 'action_out' is NULL.
 */
uint32_t zar_get_action(uint32_t clid, uint32_t class_action, uint32_t *action_out);

/**
 * Gives the action of a class-action that follows a given one.
 *
 * @param clid          The client.
 * @param class_action  The class-action.
 * @param current       The action to continue from; not 0, but need not resolve.
 * @param action_out    Receives the handle, or 0: 'current' is the last, or is not in the class-action.
 *
 * @retval 0   'action_out' is written.
 * @retval 39  'clid' is out of range, 'class_action' does not resolve, 'current' is 0, or 'action_out' is NULL.
 */
uint32_t zar_get_next_action(uint32_t clid, uint32_t class_action, uint32_t current, uint32_t *action_out);

/**
 * Gives the first filter of a class-map.
 *
 * @param clid        The client.
 * @param cmap        The class-map.
 * @param filter_out  Receives the handle, or 0 when there is none.
 *
 * @retval 0   'filter_out' is written.
 * @retval 39  'clid' is out of range, 'cmap' does not resolve, or 'filter_out' is NULL.
 */
uint32_t zar_get_filter(uint32_t clid, uint32_t cmap, uint32_t *filter_out);

/**
 * Gives the filter of a class-map that follows a given one.
 *
 * @param clid        The client.
 * @param cmap        The class-map.
 * @param current     The filter to continue from; not 0, but need not resolve.
 * @param filter_out  Receives the handle, or 0: 'current' is the last, or is not in the class-map.
 *
 * @retval 0   'filter_out' is written.
 * @retval 39  'clid' is out of range, 'cmap' does not resolve, 'current' is 0, or 'filter_out' is NULL.
 */
uint32_t zar_get_next_filter(uint32_t clid, uint32_t cmap, uint32_t current, uint32_t *filter_out);

/** @} */
/** @} */

ZAR_END_EXPORTS

#endif
