/**
 * @file
 * Presentation and integration: accessors, configuration texts, listings and counters, notifications, and services for
 * parameter-maps.
 */
#ifndef ZAR_PRESENT_H
#define ZAR_PRESENT_H

#include "zar/records.h"

ZAR_BEGIN_EXPORTS

/**
 * @defgroup zar_present Presentation and integration
 * How the engine reads the repository and is kept informed: single values and texts of objects, listings and their
 * counters, notifications to the handlers of actions, and what parameter-maps need from policies.
 * @{
 */

/**
 * @name Values of objects
 * Each operation reads one value of the object that a handle names. A handle that does not resolve is traced and gives
 * 0 or NULL; 0 is often also a value, so these operations do not show whether an object exists. They also return NULL,
 * without a trace, for a text that is missing in a caller's own record.
 * @{
 */

/**
 * Returns whether a policy-map is hidden.
 *
 * @param pmap  The policy-map.
 *
 * @retval 1  It is: it is a built-in one that was not unhidden.
 * @retval 0  It is not, or 'pmap' does not resolve.
 */
uint32_t zar_is_policy_hidden(uint32_t pmap);

/**
 * Makes a policy-map visible. Nothing makes it hidden again.
 *
 * @param pmap  The policy-map; nothing happens when it does not resolve.
 */
void zar_unhide_policy(uint32_t pmap);

/**
 * Returns the domain of a policy-map. zar_get_pmap_name() returns its name.
 *
 * @param pmap  The policy-map.
 *
 * @return The domain, or NULL when 'pmap' does not resolve.
 */
const char *zar_get_pmap_domain(uint32_t pmap);

/**
 * Returns the event id of an event.
 *
 * @param event  The event.
 *
 * @return The event id, or 0: 'event' does not resolve, or has no event context (not traced).
 */
uint32_t zar_get_event_id(uint32_t event);

/**
 * Returns the name of an event.
 *
 * @param event  The event.
 *
 * @return The name, or NULL: 'event' does not resolve, or has no event context (not traced).
 */
const char *zar_get_event_name(uint32_t event);

/**
 * Returns the name of the match criteria of an event.
 *
 * @param event  The event.
 *
 * @return The engine's short text for the criteria, passed on unchanged, or NULL when 'event' does not resolve. The
 *         text belongs to the engine.
 */
const char *zar_get_event_class_match_criteria(uint32_t event);

/**
 * Returns the name of the class-map of a class-action.
 *
 * @param class_action  The class-action.
 *
 * @return The name, valid as long as the class-map, or NULL: 'class_action' does not resolve, or has no class-map (not
 *         traced).
 */
const char *zar_get_class_name_from_class_action(uint32_t class_action);

/**
 * Returns the class number of a class-action.
 *
 * @param class_action  The class-action.
 *
 * @return The number, 0 to 255, or 0 when 'class_action' does not resolve.
 */
uint32_t zar_get_class_num_from_class_action(uint32_t class_action);

/**
 * Returns the name of the criteria by which the actions of a class-action run.
 *
 * @param class_action  The class-action, not an action.
 *
 * @return The engine's short text for the criteria, passed on unchanged, or NULL when 'class_action' does not resolve.
 *         The text belongs to the engine.
 */
const char *zar_get_action_exec_criteria(uint32_t class_action);

/**
 * Returns the name of a class-map.
 *
 * @param cmap  The class-map.
 *
 * @return The name, or NULL when 'cmap' does not resolve.
 */
const char *zar_get_cmap_name(uint32_t cmap);

/**
 * Returns the domain of a class-map.
 *
 * @param cmap  The class-map.
 *
 * @return The domain, or NULL when 'cmap' does not resolve.
 */
const char *zar_get_cmap_domain(uint32_t cmap);

/**
 * Returns whether a class-map is hidden, as the class-maps of parameter-map statements are.
 *
 * @param cmap  The class-map.
 *
 * @retval 1  It is.
 * @retval 0  It is not, or 'cmap' does not resolve.
 */
uint32_t zar_get_cmap_if_hidden(uint32_t cmap);

/**
 * Returns the match criteria of a class-map, as a number.
 *
 * @param cmap  The class-map.
 *
 * @return 1 match-all, 2 match-any, 3 match-none, or 0 when 'cmap' does not resolve.
 */
uint32_t zar_get_cmap_match_logical_op(uint32_t cmap);

/**
 * Returns the match criteria of a class-map, by name.
 *
 * @param cmap  The class-map.
 *
 * @return "match-all", "match-any" or "match-none", a constant; or NULL: 'cmap' does not resolve, or its criteria have
 *         no name.
 */
const char *zar_get_cmap_match_criteria(uint32_t cmap);

/**
 * Returns the number of an action, by which a rule orders its actions.
 *
 * @param action  The action.
 *
 * @return The number, 0 to 255, or 0 when 'action' does not resolve.
 */
uint32_t zar_get_action_num(uint32_t action);

/**
 * Returns the precedence of an action.
 *
 * @param action  The action.
 *
 * @return The precedence, 0 to 65,535, or 0 when 'action' does not resolve.
 */
uint32_t zar_get_precedence_value(uint32_t action);

/** @} */

/**
 * @name Configuration texts
 * @{
 */

/**
 * Returns the configuration text of an action, as given by its string function.
 *
 * @param action    The action.
 * @param argument  Passed on to the string function; its meaning is the engine's.
 *
 * Ownership: the text belongs to the caller.
 *
 * @return The text, or NULL: 'action' does not resolve (traced), it has no string function, or that function returns
 *         none.
 */
char *zar_get_action_nvgen_str(uint32_t action, uint32_t argument);

/**
 * Returns the configuration text of a filter: "match" or "no-match", a space, and the text of its string function.
 *
 * @param filter  The filter.
 *
 * Ownership: the text belongs to the caller.
 *
 * @return The text, or NULL: 'filter' does not resolve, or there is no memory (both traced); or it has no string
 *         function, or that function returns none.
 */
char *zar_get_filter_nvgen_str(uint32_t filter);

/**
 * Returns the configuration text of a filter, given its record; otherwise like zar_get_filter_nvgen_str().
 *
 * @param filter  The record of the filter; may be NULL.
 *
 * Ownership: the text belongs to the caller.
 *
 * @return The text, or NULL: there is no record or no string function, the string function returns none, or there is no
 *         memory (only this is traced).
 */
char *zar_get_filter_nvgen_str_internal(const zar_filter *filter);

/** @} */

/**
 * @name Freeing context blocks
 * These operations free a client's context blocks on the heap through their own free functions. Nothing happens for
 * NULL or for a block without a free function. The block must not be used afterwards.
 * @{
 */

/**
 * Frees the block of an action context: calls its free function with (NULL, 'context'). The data stays.
 *
 * @param context  The block; may be NULL.
 *
 * Ownership: the block passes to its free function.
 */
void zar_free_client_action_context(zar_action_context *context);

/**
 * Frees the block of a filter context: calls its free function with (NULL, 'context'). The data stays.
 *
 * @param context  The block; may be NULL.
 *
 * Ownership: the block passes to its free function.
 */
void zar_free_client_filter_context(zar_filter_context *context);

/**
 * Frees the block of a filter context and its data: calls its free function with (data, 'context').
 *
 * @param context  The block; may be NULL.
 *
 * Ownership: the block and the data pass to the free function.
 *
 * Not checked: whether a filter uses the data. It is for blocks from which no filter was created.
 */
void zar_free_client_filter_params_context(zar_filter_context *context);

/** @} */

/**
 * @name Engine hooks
 * @{
 */

/**
 * Does nothing: the engine's verbose debugging output is discarded.
 *
 * @param format  Not read.
 * @param ...     Not read.
 */
void kel_vbuginf(const char *format, ...);

/**
 * Returns whether event debugging is active.
 *
 * @retval 1  Always, whatever the trace settings are.
 */
uint32_t kel_debugging_event_active(void);

/** @} */

/**
 * @name Listings
 * A listing goes line by line to the caller's printer; nothing else is written. It looks for the given domain among the
 * claimed ones and lists maps of the database in which its owner works, in key order. An unclaimed domain has no
 * listing, although elsewhere client 1 counts as its owner.
 *
 * Quirk: the domain only selects the database. All maps of that database are listed or searched by name, including
 * those of other domains.
 *
 * A NULL prefix or suffix prints as an empty text. A text composed for a line is cut at 99 characters. Lines printed
 * before a failure stay printed.
 * @{
 */

/**
 * Lists policy-maps with their events, class-actions and actions. With 'control', the lines after the prefix are:
 *
 * @code
 * Control_Policy: POLICY-MAP
 *   Event:      event EVENT CRITERIA
 *     Class-map:  NUMBER class CLASS-MAP CRITERIA
 *       Action: NUMBER TEXT
 *       Precedence:PRECEDENCE TEXT
 *       Executed: COUNT
 * @endcode
 *
 * and without it:
 *
 * @code
 * POLICY-MAP
 *   event EVENT CRITERIA
 *     NUMBER class CLASS-MAP CRITERIA
 *       NUMBER TEXT
 * @endcode
 *
 * Lines do not end in a newline; only error messages do.
 *
 * An action whose string function returns no text has only its "Executed:" line, or none. An event without a name and a
 * class-action without a class-map have no line of their own. Nothing is listed below a policy-map that is not CONTROL.
 *
 * @param prefix   The beginning of each line; may be NULL.
 * @param printer  Receives the lines.
 * @param domain   The claimed domain whose owner's database is listed.
 * @param name     The policy-map to list: the first one with this name. Ignored, and may be NULL, with 'all'.
 * @param all      Not 0: all policy-maps.
 * @param control  Not 0: the long form.
 *
 * @retval 0   The walk was completed, even if nothing of that name was found.
 * @retval 37  The owner of the domain is inactive or has no database to work in.
 * @retval 39  'printer' or 'domain' is NULL, 'name' is NULL without 'all', or the owner of the domain is out of range.
 *
 * Quirk: if there is no memory to compose a line, a message is printed instead and the rest of the policy-map (at an
 * event) or of the event (at a class-action) is omitted; the result is still 0.
 */
uint32_t zar_print_policymap(const char *prefix, zar_printer_fn printer, const char *domain, const char *name,
                             uint32_t all, uint32_t control);

/**
 * Lists the filters of class-maps with their counts, as a table: two header lines, then one line for each filter with
 * the class-map's match criteria and name, the filter's configuration text, and its exec, hit, miss and comp counts.
 *
 * @param prefix   The beginning of each line; may be NULL.
 * @param printer  Receives the lines.
 * @param suffix   The end of each line of the table; may be NULL.
 * @param domain   The claimed domain whose owner's database is listed.
 * @param name     The class-map to list: the first one with this name, even if it is hidden. Ignored, and may be NULL,
 *                 with 'all'.
 * @param all      Not 0: all class-maps that are not hidden.
 *
 * @retval 0   The walk was completed, even if nothing of that name was found; the header is always printed.
 * @retval 37  The owner of the domain is inactive or has no database to work in; or there is no memory to compose a
 *             line; or a filter returned no text. A message line says so in the latter two cases.
 * @retval 39  'printer' or 'domain' is NULL, 'name' is NULL without 'all', or the owner of the domain is out of range.
 *
 * Quirk: a class-map without filters has no line.
 *
 * Quirk: to fit their columns, the counts are printed modulo 10,000, the hit count modulo 1,000.
 */
uint32_t zar_print_classmap(const char *prefix, zar_printer_fn printer, const char *suffix, const char *domain,
                            const char *name, uint32_t all);

/** @} */

/**
 * @name Counters
 * These operations reset the engine's counts to 0. They find maps in the same way as the listings.
 * @{
 */

/**
 * Clears the execution counts of all actions under the events of a policy-map.
 *
 * @param pmap  The record of the policy-map. Nothing happens for NULL, nor for a policy-map that is not CONTROL.
 */
void zar_clear_pmap_counters(zar_pmap *pmap);

/**
 * Clears the execution counts of policy-maps, as zar_clear_pmap_counters() does.
 *
 * @param domain  The claimed domain whose owner's database is meant.
 * @param name    The policy-map: the first one with this name. Ignored, and may be NULL, with 'all'.
 * @param all     Not 0: all policy-maps.
 *
 * @retval 0   The walk was completed, even if nothing of that name was found.
 * @retval 37  The owner of the domain is inactive or has no database to work in.
 * @retval 39  'domain' is NULL, 'name' is NULL without 'all', or the owner of the domain is out of range.
 *
 * What was cleared before a failure stays cleared.
 */
uint32_t zar_clear_policymap(const char *domain, const char *name, uint32_t all);

/**
 * Clears the four counts of every filter in class-maps.
 *
 * @param domain  The claimed domain whose owner's database is meant.
 * @param name    The class-map: the first one with this name. Ignored, and may be NULL, with 'all'.
 * @param all     Not 0: all class-maps, the hidden ones included.
 *
 * @retval 0   The walk was completed, even if nothing of that name was found.
 * @retval 37  The owner of the domain is inactive or has no database to work in.
 * @retval 39  'domain' is NULL, 'name' is NULL without 'all', or the owner of the domain is out of range.
 *
 * What was cleared before a failure stays cleared.
 */
uint32_t zar_clear_classmap(const char *domain, const char *name, uint32_t all);

/** @} */

/**
 * @name Notifications
 * The notification function of an action reports to its handler the targets on which the action became active or
 * inactive. Activation and deactivation call zar_invoke_action_handler() themselves. The other three are for the
 * engine, for when it changes the rules of a policy-map that is already active.
 *
 * The target lists belong to the handlers: the library allocates at most one list for each call of an operation, passes
 * it to each function in turn, and never frees it. It omits targets that no longer have a 'target_info'. If there is no
 * memory for a list, the rest of the call is silently skipped.
 * @{
 */

/**
 * Notifies the handler of one action that the action was added to a policy-map, or removed from it, on all targets on
 * which the policy-map is active.
 *
 * @param action  The action. Nothing happens if it does not resolve, has no notification function, or has NULL data.
 * @param pmap    The policy-map, of either type. Nothing happens if it does not resolve, or is active nowhere.
 * @param added   0: removed; anything else: added.
 *
 * Not checked: whether the action is, or was, in a rule of the policy-map.
 */
void zar_shim_action_added_removed(uint32_t action, uint32_t pmap, uint32_t added);

/**
 * Notifies the handlers of all actions under the events of a policy-map, in the order of the rules, that the policy-map
 * is active, or no longer active, on a target. An action with several occurrences is reported for each.
 *
 * @param pmap    The record of the policy-map. Nothing happens for NULL, nor for a policy-map that is not CONTROL.
 * @param target  The record of the target. Nothing happens, and nothing is traced, for NULL or for one without
 *                'target_info'.
 * @param added   0: no longer active; anything else: active.
 *
 * Not checked: whether the policy-map is active on the target.
 *
 * Quirk: the target is added to the list again before each function is called, so the n-th function finds it there n
 * times, minus the additions that failed for lack of memory. No function is called with an empty list.
 */
void zar_invoke_action_handler(zar_pmap *pmap, zar_target *target, uint32_t added);

/**
 * Notifies the handlers of all actions under an event that their actions were removed from a policy-map, on all targets
 * on which the policy-map is active.
 *
 * @param event  The event. Nothing happens if it does not resolve.
 * @param pmap   The policy-map. Nothing happens if it does not resolve, or is active nowhere.
 *
 * Not checked: whether the event belongs to the policy-map.
 *
 * Quirk: the targets are added to the list again for each action, so the n-th function finds each of them n times.
 */
void zar_remove_action_handler_for_event(uint32_t event, uint32_t pmap);

/**
 * Notifies the handlers of all actions of a class-action that their actions were removed from a policy-map, on all
 * targets on which the policy-map is active.
 *
 * @param class_action  The class-action. Nothing happens if it does not resolve.
 * @param pmap          The policy-map, of either type. Nothing happens if it does not resolve, or is active nowhere.
 *
 * Not checked: whether the class-action belongs to the policy-map.
 *
 * Quirk: the targets are added to the list again for each action, so the n-th function finds each of them n times.
 */
void zar_remove_action_handler_for_class(uint32_t class_action, uint32_t pmap);

/** @} */

/**
 * @name Parameter-maps in policies, and replacing data
 * @{
 */

/**
 * Asks the actions of all stored policy-maps whether one of them uses a parameter-map. It walks the databases of the
 * owners of all claimed domains, in the order of the claims; a database whose owner has claimed several domains is
 * walked several times.
 *
 * @param param_map  The value passed to each action's check function; not interpreted.
 *
 * @retval 1  An action uses it; the walk ended there.
 * @retval 0  No action said so; or an owner is out of range, inactive or without a database, which ends the walk.
 *
 * Quirk: an action without a check function ends the walk over its class-action; the actions after it are not asked.
 *
 * Quirk: a database is skipped if none of its clients has claimed a domain, even if it is the default database.
 */
uint32_t zar_is_param_map_assoc_with_policy(const void *param_map);

/**
 * Replaces the data of an action by that of a newer context, and frees the old data through the action's free function.
 * Its functions, handle, number and position stay the same.
 *
 * @param action   The action.
 * @param context  The newer context; it needs its free and entry functions.
 *
 * Ownership: the new data belongs to the action, the context block still to the caller. If the operation changes
 * nothing, the new data also stays with the caller.
 *
 * Nothing changes when 'action' does not resolve, or its record lacks one of the functions that a rule needs, or when
 * 'context' is NULL or lacks one of the two functions. There is no result; only the trace shows this.
 *
 * Not checked: whether the new data is the old data, which would be freed while it is stored; and whether it suits the
 * functions of the action (zar_compare_actions() checks whether the functions are the same).
 */
void zar_replace_old_action_hdl(uint32_t action, const zar_action_context *context);

/**
 * Replaces the data of a filter by that of a newer context, and frees the old data through the filter's free function.
 * Its functions, handle, flags and position stay the same.
 *
 * @param filter   The filter.
 * @param context  The newer context; it needs its free and evaluation functions.
 *
 * Ownership: the new data belongs to the filter, the context block still to the caller. If the operation changes
 * nothing, the new data also stays with the caller.
 *
 * Nothing changes when 'filter' does not resolve, or its record lacks one of its four functions, or when 'context' is
 * NULL or lacks one of the two functions. There is no result; only the trace shows this.
 *
 * Not checked: whether the new data is the old data, which would be freed while it is stored; and whether it suits the
 * functions of the filter (zar_match_filter_parameters() checks whether the functions are the same).
 */
void zar_replace_old_filter_hdl(uint32_t filter, const zar_filter_context *context);

/**
 * Finds a stored CONTROL policy-map of the domain "subscriber" by name, in the database of the owner of that domain.
 *
 * @param name  The name.
 *
 * @return The policy-map, or 0: none is stored, 'name' is NULL, or the search failed for any reason.
 *
 * Quirk: this is the handle of the record stored under the key, whatever its kind (see zar_store_policy()).
 */
uint32_t kel_is_policy_created(const char *name);

/** @} */
/** @} */

ZAR_END_EXPORTS

#endif
