/**
 * @file
 * Lifecycle: deletion, targets and their policy contexts, activation, and walks over all objects.
 */
#ifndef ZAR_LIFECYCLE_H
#define ZAR_LIFECYCLE_H

#include "zar/records.h"

ZAR_BEGIN_EXPORTS

/**
 * @defgroup zar_lifecycle Lifecycle
 * How objects are deleted, the targets on which policy-maps are active, and the walks from one object to the next.
 *
 * Stored policy-maps and class-maps are deleted by the operations for stored maps, all others by the plain ones: a
 * plain deletion does not check the trees.
 * @{
 */

/**
 * @name Deleting actions, filters and events
 * @{
 */

/**
 * Drops one reference to an action. The last one deletes the action: its free function is called with its data and
 * NULL, then the handle is released, then the record is freed.
 *
 * @param action  The action.
 *
 * Ownership: the caller's reference is gone. While others remain, the handle stays valid.
 *
 * @retval 0   One reference was dropped.
 * @retval 39  'action' does not resolve.
 *
 * Not checked: whether the action is still in a rule or in a parameter-map statement that has no reference of its own.
 * An action deleted there leaves a dangling entry in the list; remove it first.
 */
uint32_t zar_delete_action(uint32_t action);

/**
 * Deletes a filter: its free function is called with its data and NULL, then the handle is released, then the record is
 * freed.
 *
 * @param filter  The filter.
 *
 * @retval 0   It is deleted.
 * @retval 39  'filter' does not resolve.
 *
 * Not checked: whether the filter is still in a class-map, whose list then has a dangling entry. Remove it first with
 * zar_remove_filter_from_class().
 */
uint32_t zar_delete_filter(uint32_t filter);

/**
 * Deletes an event with everything under it: its event context and its class-actions, each of which drops one reference
 * to each of its actions. The event is removed from its policy-map, if it is in one; then each class-action also drops
 * its reference between the policy-map and its class-map. The class-maps remain.
 *
 * @param event  The event.
 *
 * @retval 0   It is deleted. References that could not be found are traced and do not stop the deletion.
 * @retval 39  'event' does not resolve. This includes the handle of a class-action, which a walk over a policy-map that
 *             is not CONTROL returns instead of an event.
 *
 * While its actions are freed, the event no longer resolves and has no event context.
 *
 * The handlers of its actions are not notified; zar_remove_action_handler_for_event() notifies them while the event
 * still exists.
 */
uint32_t zar_delete_event(uint32_t event);

/** @} */

/**
 * @name Deleting policy-maps
 * The built-in policy-map, "BUILTIN_AUTOCONF_POLICY", cannot be deleted: it is emptied instead.
 * @{
 */

/**
 * Deletes a policy-map that is not stored. First its events are deleted, as by zar_delete_event(), or else its
 * class-actions with one reference to each of their actions. Then it is deactivated on every target, whatever the
 * engine returns. Then the handle, the texts and the record are freed.
 *
 * @param pmap  The policy-map.
 *
 * @retval 0   It is deleted, or emptied if it is the built-in one.
 * @retval 39  'pmap' does not resolve.
 *
 * Not checked: whether the policy-map is stored. A tree that still contains it is left with a dangling node; see
 * zar_delete_stored_policy().
 *
 * Quirk: no removal callback is called, and since the events are deleted first, the handlers of their actions are not
 * notified of the deactivations.
 *
 * Quirk: a policy-map named "BUILTIN_AUTOCONF_POLICY", in any domain, is never freed. zar_delete_autoconf_policy() runs
 * instead, which empties the stored one; if this is a different one, its own events are deleted too. Its handle,
 * targets and place in a tree remain.
 */
uint32_t zar_delete_policy(uint32_t pmap);

/**
 * Empties the built-in policy-map: all events of the policy-map "BUILTIN_AUTOCONF_POLICY" of type CONTROL that is
 * stored for the domain "subscriber", in the database of the owner of that domain, are deleted. The policy-map itself,
 * its handle, its targets and its place in the tree remain. Without such a policy-map nothing happens.
 */
void zar_delete_autoconf_policy(void);

/**
 * Deletes a stored policy-map, found by name: removes it from its database and from every target, and deletes it as
 * zar_delete_policy() does. For each target the engine deletes its instance, the handlers are notified, and then the
 * removal callback of the client 'clid' is called, if it has registered one. If the callback activates or stores the
 * policy-map again, that is undone.
 *
 * @param clid  The client whose database is used, and whose callback is called.
 * @param info  Name, domain and domain type; 'hidden' is not read.
 *
 * @retval 0   It is deleted.
 * @retval 37  The client is inactive or has no database to work in.
 * @retval 39  'clid' is out of range, or zar_verify_map_info() rejects 'info'; or the record stored under the name is
 *             no policy-map (see below); or the removal callback has deleted the policy-map itself, which is forbidden.
 * @retval 41  No such policy-map is stored, or the database lacks the tree; nothing has changed.
 *
 * Once the policy-map is out of the tree the deletion completes: if the engine fails to find or delete an instance,
 * this is traced and does not stop it.
 *
 * Quirk: the built-in policy-map is removed from the tree and from all targets, and then only emptied; its handle stays
 * valid.
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
 *             itself, which is forbidden.
 * @retval 41  The policy-map is not in this database, even if one with an equal key is; nothing has changed.
 *
 * Quirk: the built-in policy-map is removed from the tree and from all targets, and then only emptied; its handle stays
 * valid.
 */
uint32_t zar_delete_stored_policy(uint32_t clid, uint32_t pmap);

/** @} */

/**
 * @name Deleting class-maps
 * A class-map that a policy-map refers to is not deleted; the policy-maps in question are traced at level 6. A
 * reference exists as long as an event of the policy-map has a class-action for the class-map.
 *
 * None of the three checks class-actions that count no reference, which are those of policy-maps that are not CONTROL
 * and those under events that are in no policy-map. They are left dangling when their class-map is deleted.
 * @{
 */

/**
 * Deletes a class-map that is not stored, with its filters, which are deleted as by zar_delete_filter().
 *
 * @param cmap  The class-map.
 *
 * @retval 0   It is deleted.
 * @retval 39  'cmap' does not resolve, or a policy-map refers to the class-map.
 *
 * Not checked: whether the class-map is stored. A tree that still contains it is left with a dangling node; see
 * zar_delete_stored_class().
 */
uint32_t zar_delete_class(uint32_t cmap);

/**
 * Deletes a stored class-map, found by name: removes it from its database and deletes it with its filters.
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
 * Deletes a stored class-map: removes it from its database and deletes it with its filters.
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
 * @name Reading policy-maps
 * @{
 */

/**
 * Reads the target count of a policy-map.
 *
 * @param pmap  The policy-map.
 *
 * @return The 'target_count' of the record, or 0 when 'pmap' does not resolve.
 *
 * Quirk: nothing updates that field, so the result is 0 however many targets the policy-map is active on. The count of
 * the queue 'target_refs' in the record is their number.
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
 * A target is created with its first policy-map and lives from zar_add_target() to zar_delete_target(), with
 * zar_remove_target() right before the latter. It remains when its last policy-map is deactivated. A target whose
 * 'target_info' has become NULL is broken and is refused, unless stated otherwise.
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
 * Creates a target, activates its first policy-map on it, and stores it. The engine creates its instance, and the
 * handlers are notified, before the caller has the handle.
 *
 * @param clid         The client whose database is used. It is also passed to the engine.
 * @param target_info  The caller's own record of the target.
 * @param pmap         The first policy-map; it need not be stored.
 * @param target_out   Receives the handle.
 *
 * Ownership: the target belongs to the repository. 'target_info' belongs to the caller and must outlive the target.
 *
 * @retval 0   The target is stored, and the policy-map is active on it.
 * @retval 37  There is no handle; or the policy-map could not be activated, for lack of memory or because the engine
 *             refused; or the client is inactive or has no database to work in.
 * @retval 38  No record.
 * @retval 39  'clid' is out of range, 'target_info' or 'target_out' is NULL, or 'pmap' does not resolve.
 * @retval 41  The database lacks the tree, or the tree refuses the target.
 *
 * A failure leaves nothing behind: if the policy-map had been activated already, it is deactivated again, and the
 * engine and the handlers are called. 'target_out' is untouched.
 *
 * Not checked: whether there is a target of this 'target_info' already.
 */
uint32_t zar_add_target(uint32_t clid, zar_target_info *target_info, uint32_t pmap, uint32_t *target_out);

/**
 * Removes a target from its database. It still resolves, and its policy-maps stay active.
 *
 * @param clid             The client whose database is used.
 * @param target           The target.
 * @param target_info_out  Receives the caller's own record of the target.
 *
 * Ownership: the target still uses the record until zar_delete_target().
 *
 * @retval 0   It is no longer in a database.
 * @retval 37  The client is inactive or has no database to work in.
 * @retval 39  'clid' is out of range, 'target' does not resolve or is broken, or 'target_info_out' is NULL.
 * @retval 41  The target is not in this database; nothing has changed, and 'target_info_out' is NULL.
 */
uint32_t zar_remove_target(uint32_t clid, uint32_t target, zar_target_info **target_info_out);

/**
 * Deletes a target: deactivates every policy-map on it, whatever the engine returns, then releases its handle, asks the
 * engine to release what it keeps in the policy context, and frees the policy context and the target.
 *
 * @param target  The target, which zar_remove_target() has removed from its database.
 *
 * Ownership: the library no longer uses the caller's own record of the target, but handlers may still hold target lists
 * that contain it.
 *
 * @retval 0   It is deleted.
 * @retval 37  The engine refused to release the policy context (see below).
 * @retval 39  'target' does not resolve, is broken, or is being deleted.
 *
 * On 37 the policy-maps are deactivated and the handle is released, but the records of the target and of its policy
 * context stay allocated, and the target can no longer be reached. The engine still knows the policy context, whose own
 * handle is not released either.
 *
 * Not checked: whether the target is still in a database, whose tree is then left with a dangling node.
 */
uint32_t zar_delete_target(uint32_t target);

/** @} */

/**
 * @name Policy contexts
 * What the engine keeps for a target is in one record, which belongs to the target and is freed with it. The engine may
 * write its words at any time.
 * @{
 */

/**
 * Returns the policy context of a target, and creates it the first time.
 *
 * @param target  The target.
 *
 * Ownership: the record belongs to the repository and is valid until zar_delete_target(); the engine may write all of
 * it but 'handle'.
 *
 * @return The record, the same one for every call. NULL: 'target' does not resolve or is broken, or there is no record
 *         or no handle for a new one; the target is then unchanged.
 */
zar_target_policy_context *zar_create_policy_context(uint32_t target);

/**
 * Returns the policy context of a target if it has one.
 *
 * @param target  The target; it may be broken.
 *
 * @return The record, or NULL: none was created (not traced), or 'target' does not resolve.
 */
zar_target_policy_context *zar_retrieve_policy_context(uint32_t target);

/** @} */

/**
 * @name Activation
 * Activation links a policy-map and a target in both directions, asks the engine to create a policy instance for the
 * pair, and notifies the handlers of the actions. Deactivation removes the link, asks the engine to find and delete the
 * instance, and then notifies the handlers. The link is removed whatever the engine returns; if it does not delete an
 * instance, the handlers are not notified. None of these operations calls a removal callback.
 *
 * Quirk: an activation that fails after its first link was made, for lack of memory or because the engine refuses the
 * instance, is undone as a deactivation: the engine is asked to find and delete an instance that it never made, and if
 * it reports success, handlers are notified of an end without a beginning. So an engine should report such an instance
 * as absent, and a handler should ignore the end of what never began.
 *
 * Not checked: that the engine, while these operations call it, neither deletes the policy-map or the target nor
 * changes what is active on which target.
 * @{
 */

/**
 * Activates a policy-map on a target.
 *
 * @param clid    The client; only its range is checked. It is passed to the engine.
 * @param pmap    The policy-map; it need not be stored.
 * @param target  The target.
 *
 * @retval 0   It was activated. If it was active already, neither the engine nor the handlers were called again.
 * @retval 37  The engine refused to make an instance; the pair is unlinked again.
 * @retval 38  No memory for the link; nothing is linked.
 * @retval 39  'clid' is out of range, 'pmap' does not resolve, or 'target' does not resolve or is broken.
 */
uint32_t zar_activate_policy(uint32_t clid, uint32_t pmap, uint32_t target);

/**
 * Activates a stored policy-map, found by name, on a target.
 *
 * @param clid    The client whose database is searched; it is passed to the engine.
 * @param target  The target.
 * @param info    Name, domain and domain type; 'hidden' is not read.
 *
 * @retval 0   It is active; it may have been active already.
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
 * @retval 37  The engine did not find or did not delete the instance. The pair is unlinked anyway. This is also the
 *             result for a policy-map that was not active at all.
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
 * Deactivates every policy-map on a target. One that a handler activates there during the operation stays active.
 *
 * @param clid    The client; only its range is checked.
 * @param target  The target.
 *
 * @retval 0   All that were active are deactivated, even if none was.
 * @retval 37  The engine failed for at least one of them, which is unlinked anyway; or the target became broken during
 *             the operation, and those that were still active then stay active.
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
 * @param clid  The client; only its range is checked.
 * @param pmap  The policy-map; it need not be stored.
 *
 * @retval 0   It was deactivated, even if it was active nowhere; the engine's results do not matter.
 * @retval 39  'clid' is out of range, or 'pmap' does not resolve.
 */
uint32_t zar_deactivate_policy_by_handle_from_all_targets(uint32_t clid, uint32_t pmap);

/** @} */

/**
 * @name What is active on a target
 * The walk has no state: it continues from the policy-map that the caller holds. If that one is deactivated in between,
 * the walk ends.
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
 *             name failed for any reason.
 */
uint32_t zar_retrieve_policy_from_target(uint32_t clid, uint32_t target, const zar_map_info *info, void *unused,
                                         uint32_t *pmap_out);

/**
 * Finds the policy-map that has been active on a target for the longest time.
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
 * Finds the policy-map that was activated on a target next after a given one.
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
 * One operation returns the first map of the client's database, its own or else the default one, the other the map that
 * follows a given one in key order. Nothing is skipped: the built-in policy-map, hidden policy-maps and the class-maps
 * of parameter-map statements are all returned, and so is a map of another kind that was stored in this tree. Handle 0
 * means that there is no map, or no more; that is a success.
 *
 * The walk has no state: it continues from the map that the caller holds. A deleted map no longer resolves, so a caller
 * that deletes maps during the walk must ask for the next one first.
 * @{
 */

/**
 * Returns the first stored policy-map.
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
 * Returns the stored policy-map that follows a given one.
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
 * Returns the first stored class-map.
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
 * Returns the stored class-map that follows a given one.
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
 * One operation returns the first element of a list, the other the element that follows a given one, in the order of
 * the list. Handle 0 means that there is none, or no more; that is a success. Only the range of the clid is checked.
 *
 * The walk has no state: it searches for the element that the caller holds from the head of the list (the first
 * occurrence, if it is in the list twice), so a walk over n elements costs n * n / 2 comparisons. An element that was
 * removed in between ends the walk with handle 0; only the trace distinguishes this from the end of the list.
 *
 * An operation that returns 39 leaves its out place untouched.
 * @{
 */

/**
 * Returns the first event of a policy-map.
 *
 * @param clid       The client.
 * @param pmap       The policy-map.
 * @param event_out  Receives the handle, or 0 when there is none.
 *
 * @retval 0   'event_out' is written.
 * @retval 39  'clid' is out of range, 'pmap' does not resolve, or 'event_out' is NULL.
 *
 * Quirk: for a policy-map that is not CONTROL it returns the first class-action. Operations on events refuse that
 * handle, those on class-actions accept it.
 */
uint32_t zar_get_event_class(uint32_t clid, uint32_t pmap, uint32_t *event_out);

/**
 * Returns the event of a policy-map that follows a given one.
 *
 * @param clid       The client.
 * @param pmap       The policy-map.
 * @param current    The event to continue from; not 0, but need not resolve.
 * @param event_out  Receives the handle, or 0: 'current' is the last one, or is not in the policy-map.
 *
 * @retval 0   'event_out' is written.
 * @retval 39  'clid' is out of range, 'pmap' does not resolve, 'current' is 0, or 'event_out' is NULL.
 *
 * Quirk: for a policy-map that is not CONTROL it returns the class-actions.
 */
uint32_t zar_get_next_event_class(uint32_t clid, uint32_t pmap, uint32_t current, uint32_t *event_out);

/**
 * Returns the first class-action of an event.
 *
 * @param clid              The client.
 * @param pmap              The policy-map of the event.
 * @param event             The event.
 * @param class_action_out  Receives the handle, or 0 when there is none.
 *
 * @retval 0   'class_action_out' is written, unless the policy-map is not CONTROL.
 * @retval 39  'clid' is out of range, 'pmap' does not resolve, 'class_action_out' is NULL, or, for a CONTROL
 *             policy-map, 'event' does not resolve.
 *
 * Not checked: whether the event belongs to the policy-map.
 *
 * Quirk: for a policy-map that is not CONTROL the result is 0 and 'class_action_out' is left unwritten, so it should
 * hold 0 before the call. zar_get_event_class() returns the class-actions of such a policy-map.
 */
uint32_t zar_get_class_action(uint32_t clid, uint32_t pmap, uint32_t event, uint32_t *class_action_out);

/**
 * Returns the class-action of an event that follows a given one.
 *
 * @param clid              The client.
 * @param pmap              The policy-map of the event.
 * @param event             The event.
 * @param current           The class-action to continue from; not 0, but need not resolve.
 * @param class_action_out  Receives the handle, or 0: 'current' is the last, or is not under the event.
 *
 * @retval 0   'class_action_out' is written, unless the policy-map is not CONTROL.
 * @retval 39  'clid' is out of range, 'pmap' does not resolve, 'current' is 0, 'class_action_out' is NULL, or, for a
 *             CONTROL policy-map, 'event' does not resolve.
 *
 * Not checked: whether the event belongs to the policy-map.
 *
 * Quirk: for a policy-map that is not CONTROL the result is 0 and 'class_action_out' is left unwritten.
 */
uint32_t zar_get_next_class_action(uint32_t clid, uint32_t pmap, uint32_t event, uint32_t current,
                                   uint32_t *class_action_out);

/**
 * Returns the first action of a class-action.
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
 * Returns the action of a class-action that follows a given one.
 *
 * @param clid          The client.
 * @param class_action  The class-action.
 * @param current       The action to continue from; not 0, but need not resolve.
 * @param action_out    Receives the handle, or 0: 'current' is the last one, or is not in the class-action.
 *
 * @retval 0   'action_out' is written.
 * @retval 39  'clid' is out of range, 'class_action' does not resolve, 'current' is 0, or 'action_out' is NULL.
 */
uint32_t zar_get_next_action(uint32_t clid, uint32_t class_action, uint32_t current, uint32_t *action_out);

/**
 * Returns the first filter of a class-map.
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
 * Returns the filter of a class-map that follows a given one.
 *
 * @param clid        The client.
 * @param cmap        The class-map.
 * @param current     The filter to continue from; not 0, but need not resolve.
 * @param filter_out  Receives the handle, or 0: 'current' is the last one, or is not in the class-map.
 *
 * @retval 0   'filter_out' is written.
 * @retval 39  'clid' is out of range, 'cmap' does not resolve, 'current' is 0, or 'filter_out' is NULL.
 */
uint32_t zar_get_next_filter(uint32_t clid, uint32_t cmap, uint32_t current, uint32_t *filter_out);

/** @} */
/** @} */

ZAR_END_EXPORTS

#endif
