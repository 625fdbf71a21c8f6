/**
 * @file
 * Presentation and integration: accessors, configuration texts, listings and counters, notifications, and the services
 * around parameter-maps.
 */
#ifndef ZAR_PRESENT_H
#define ZAR_PRESENT_H

#include "zar/records.h"

ZAR_BEGIN_EXPORTS

/**
 * @defgroup zar_present Presentation and integration
 * How the engine reads the repository and is kept informed: single values and texts of objects, listings and their
 * counters, notifications of the handlers of actions, and what parameter-maps need of policies.
 * @{
 */

/**
 * @name Values of objects
 * Each operation reads one value of the object that a handle names. A handle that does not resolve is traced and gives
 * 0 or NULL; 0 is often a value as well, so these operations do not show whether an object exists. NULL is also what
 * they give, without a trace, for a text that a record of the caller's own lacks.
 * @{
 */

/**
 * Whether a policy-map is hidden.
 *
 * @param pmap  The policy-map.
 *
 * @retval 1  It is: it is a built-in one that nobody has unhidden.
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
 * The domain of a policy-map. Its name is given by zar_get_pmap_name().
 *
 * @param pmap  The policy-map.
 *
 * @return The domain, or NULL when 'pmap' does not resolve.
 */
const char *zar_get_pmap_domain(uint32_t pmap);

/**
 * The event id of an event.
 *
 * @param event  The event.
 *
 * @return The event id, or 0: 'event' does not resolve, or has no event context (not traced).
 */
uint32_t zar_get_event_id(uint32_t event);

/**
 * The name of an event.
 *
 * @param event  The event.
 *
 * @return The name, or NULL: 'event' does not resolve, or has no event context (not traced).
 */
const char *zar_get_event_name(uint32_t event);

/**
 * The name of the match criteria of an event.
 *
 * @param event  The event.
 *
 * @return The engine's short text for the criteria, passed on as it is, or NULL when 'event' does not resolve. The text
 *         is the engine's.
 */
const char *zar_get_event_class_match_criteria(uint32_t event);

/**
 * The name of the class-map of a class-action.
 *
 * @param class_action  The class-action.
 *
 * @return The name, good as long as the class-map, or NULL: 'class_action' does not resolve, or has no class-map (not
 *         traced).
 */
const char *zar_get_class_name_from_class_action(uint32_t class_action);

/**
 * The class number of a class-action.
 *
 * @param class_action  The class-action.
 *
 * @return The number, 0 to 255, or 0 when 'class_action' does not resolve.
 */
uint32_t zar_get_class_num_from_class_action(uint32_t class_action);

/**
 * The name of the criteria by which the actions of a class-action are run.
 *
 * @param class_action  The class-action, not an action.
 *
 * @return The engine's short text for the criteria, passed on as it is, or NULL when 'class_action' does not resolve.
 *         The text is the engine's.
 */
const char *zar_get_action_exec_criteria(uint32_t class_action);

/**
 * The name of a class-map.
 *
 * @param cmap  The class-map.
 *
 * @return The name, or NULL when 'cmap' does not resolve.
 */
const char *zar_get_cmap_name(uint32_t cmap);

/**
 * The domain of a class-map.
 *
 * @param cmap  The class-map.
 *
 * @return The domain, or NULL when 'cmap' does not resolve.
 */
const char *zar_get_cmap_domain(uint32_t cmap);

/**
 * Whether a class-map is hidden, as the class-maps of parameter-map statements are.
 *
 * @param cmap  The class-map.
 *
 * @retval 1  It is.
 * @retval 0  It is not, or 'cmap' does not resolve.
 */
uint32_t zar_get_cmap_if_hidden(uint32_t cmap);

/**
 * The match criteria of a class-map, as a number.
 *
 * @param cmap  The class-map.
 *
 * @return 1 match-all, 2 match-any, 3 match-none, or 0 when 'cmap' does not resolve.
 */
uint32_t zar_get_cmap_match_logical_op(uint32_t cmap);

/**
 * The match criteria of a class-map, by name.
 *
 * @param cmap  The class-map.
 *
 * @return "match-all", "match-any" or "match-none", a constant; or NULL: 'cmap' does not resolve, or its criteria have
 *         no name.
 */
const char *zar_get_cmap_match_criteria(uint32_t cmap);

/**
 * The number of an action, by which a rule orders its actions.
 *
 * @param action  The action.
 *
 * @return The number, 0 to 255, or 0 when 'action' does not resolve.
 */
uint32_t zar_get_action_num(uint32_t action);

/**
 * The precedence of an action.
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
 * The configuration text of an action, as its string function gives it.
 *
 * @param action    The action.
 * @param argument  Passed on to the string function; its meaning is the engine's.
 *
 * Ownership: the text is the caller's.
 *
 * @return The text, or NULL: 'action' does not resolve (traced), it has no string function, or that gives none.
 */
char *zar_get_action_nvgen_str(uint32_t action, uint32_t argument);

/**
 * The configuration text of a filter: "match" or "no-match", a blank, and what its string function gives.
 *
 * @param filter  The filter.
 *
 * Ownership: the text is the caller's.
 *
 * @return The text, or NULL: 'filter' does not resolve, or there is no memory (both traced); or it has no string
 *         function, or that gives none.
 */
char *zar_get_filter_nvgen_str(uint32_t filter);

/**
 * The configuration text of a filter, from its record; otherwise as zar_get_filter_nvgen_str().
 *
 * @param filter  The record of the filter; may be NULL.
 *
 * Ownership: the text is the caller's.
 *
 * @return The text, or NULL: there is no record or no string function, the string function gives none, or there is no
 *         memory (only this is traced).
 */
char *zar_get_filter_nvgen_str_internal(const zar_filter *filter);

/** @} */

/**
 * @name Freeing context blocks
 * A client whose context blocks come from the heap has them freed through their own free functions. Nothing happens for
 * NULL, nor for a block without a free function. The block must not be used afterwards.
 * @{
 */

/**
 * Frees the block of an action context: calls its free function with (NULL, 'context'). The data stays.
 *
 * @param context  The block; may be NULL.
 *
 * Ownership: the block is its free function's.
 */
void zar_free_client_action_context(zar_action_context *context);

/**
 * Frees the block of a filter context: calls its free function with (NULL, 'context'). The data stays.
 *
 * @param context  The block; may be NULL.
 *
 * Ownership: the block is its free function's.
 */
void zar_free_client_filter_context(zar_filter_context *context);

/**
 * Frees the block of a filter context and its data: calls its free function with (data, 'context').
 *
 * @param context  The block; may be NULL.
 *
 * Ownership: the block and the data are the free function's.
 *
 * Not checked: whether a filter uses the data. It is for blocks that no filter was made of.
 */
void zar_free_client_filter_params_context(zar_filter_context *context);

/** @} */

/**
 * @name Engine hooks
 * @{
 */

/**
 * Does nothing: the engine's verbose debugging output goes nowhere.
 *
 * @param format  Not read.
 * @param ...     Not read.
 */
void kel_vbuginf(const char *format, ...);

/**
 * Whether event debugging is active.
 *
 * @retval 1  Always, whatever the trace settings are.
 */
uint32_t kel_debugging_event_active(void);

/** @} */

/**
 * @name Listings
 * A listing goes line by line to the caller's printer; nothing else is written. It seeks the given domain among the
 * claimed ones and lists maps of the database in which its owner works, in key order. A domain that nobody claimed has
 * no listing, although elsewhere client 1 counts as its owner.
 *
 * Quirk: the domain leads to the database and nothing more. All maps of that database are listed or searched by name,
 * those of other domains, too.
 *
 * Prefix and suffix print as empty texts when they are NULL. A text that is composed for a line is cut at 99
 * characters. Lines that were printed before a failure stay printed.
 * @{
 */

/**
 * Lists policy-maps with their events, class-actions and actions. The lines, behind the prefix, are with 'control':
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
 * No line ends in a newline of its own; only messages of trouble do.
 *
 * An action whose string function gives no text has only its "Executed:" line, or none. An event without a name and a
 * class-action without a class-map have no line of their own. Nothing is listed below a policy-map that is not CONTROL.
 *
 * @param prefix   The beginning of each line; may be NULL.
 * @param printer  Receives the lines.
 * @param domain   The claimed domain whose owner's database is listed.
 * @param name     The policy-map to list: the first one of this name. Ignored, and may be NULL, with 'all'.
 * @param all      Not 0: all policy-maps.
 * @param control  Not 0: the long form.
 *
 * @retval 0   The walk was completed, even if nothing of that name was found.
 * @retval 37  The owner of the domain is inactive or has no database to work in.
 * @retval 39  'printer' or 'domain' is NULL, 'name' is NULL without 'all', or the owner of the domain is out of range.
 *
 * Quirk: without memory to compose a line, a message line takes its place and the rest of the policy-map (at an event)
 * or of the event (at a class-action) is left out; the result stays 0.
 */
uint32_t zar_print_policymap(const char *prefix, zar_printer_fn printer, const char *domain, const char *name,
                             uint32_t all, uint32_t control);

/**
 * Lists the filters of class-maps with their counts, as a table: two lines of head, then one line for each filter with
 * the class-map's match criteria and name, the filter's configuration text, and its exec, hit, miss and comp counts.
 *
 * @param prefix   The beginning of each line; may be NULL.
 * @param printer  Receives the lines.
 * @param suffix   The end of each line of the table; may be NULL.
 * @param domain   The claimed domain whose owner's database is listed.
 * @param name     The class-map to list: the first one of this name, even if it is hidden. Ignored, and may be NULL,
 *                 with 'all'.
 * @param all      Not 0: all class-maps that are not hidden.
 *
 * @retval 0   The walk was completed, even if nothing of that name was found; the head is printed in any case.
 * @retval 37  The owner of the domain is inactive or has no database to work in; or there is no memory to compose a
 *             line; or a filter gave no text. A message line says so in the latter two cases.
 * @retval 39  'printer' or 'domain' is NULL, 'name' is NULL without 'all', or the owner of the domain is out of range.
 *
 * Quirk: a class-map without filters has no line.
 *
 * Quirk: so that they fit their columns, the counts are printed modulo 10,000, the hit count modulo 1,000.
 */
uint32_t zar_print_classmap(const char *prefix, zar_printer_fn printer, const char *suffix, const char *domain,
                            const char *name, uint32_t all);

/** @} */

/**
 * @name Counters
 * What the engine counts is set back to 0 here. Maps are found as by the listings.
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
 * @param name    The policy-map: the first one of this name. Ignored, and may be NULL, with 'all'.
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
 * Clears the four counts of every filter of class-maps.
 *
 * @param domain  The claimed domain whose owner's database is meant.
 * @param name    The class-map: the first one of this name. Ignored, and may be NULL, with 'all'.
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
 * The notification function of an action names to its handler the targets on which the action became active, or is not
 * active any more. Activation and deactivation call zar_invoke_action_handler() themselves. The other three are for the
 * engine, when it changes the rules of a policy-map that is active already.
 *
 * The target lists belong to the side of the handlers: the library allocates one list at most for each call of an
 * operation, hands it to each function in turn, and never frees it. It leaves out targets that have no 'target_info'
 * any more. Where there is no memory for a list, the rest of the call is given up without a word.
 * @{
 */

/**
 * Tells the handler of one action that the action was added to a policy-map, or removed from it, on all targets that
 * the policy-map is active on.
 *
 * @param action  The action. Nothing happens if it does not resolve, has no notification function, or has NULL data.
 * @param pmap    The policy-map, of either type. Nothing happens if it does not resolve, or is active nowhere.
 * @param added   0: removed; anything else: added.
 *
 * Not checked: whether the action stands, or stood, in a rule of the policy-map.
 */
void zar_shim_action_added_removed(uint32_t action, uint32_t pmap, uint32_t added);

/**
 * Tells the handlers of all actions under the events of a policy-map that the policy-map is active on a target, or is
 * not any more, in the order of the rules. An action that stands in several places is reported at each.
 *
 * @param pmap    The record of the policy-map. Nothing happens for NULL, nor for a policy-map that is not CONTROL.
 * @param target  The record of the target. Nothing happens, and nothing is traced, for NULL or for one without
 *                'target_info'.
 * @param added   0: not active any more; anything else: active.
 *
 * Not checked: whether the policy-map is active on the target.
 *
 * Quirk: the target is added to the list again before each function is called, so the n-th one finds it there n times.
 * An addition that finds no memory leaves it there once less, and a function is not called with an empty list.
 */
void zar_invoke_action_handler(zar_pmap *pmap, zar_target *target, uint32_t added);

/**
 * Tells the handlers of all actions under an event that their actions were removed from a policy-map, on all targets
 * that the policy-map is active on.
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
 * Tells the handlers of all actions of a class-action that their actions were removed from a policy-map, on all targets
 * that the policy-map is active on.
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
 * @name Parameter-maps in policies, and newer data
 * @{
 */

/**
 * Asks the actions of all stored policy-maps whether one of them uses a parameter-map. The databases of the owners of
 * all claimed domains are asked, in the order of the claims; one whose owner has claimed several domains is asked
 * several times.
 *
 * @param param_map  The value that each action's check function is called with; not looked into.
 *
 * @retval 1  An action uses it; the question ended there.
 * @retval 0  No action said so; or an owner is out of range, is inactive or has no database, where the question ends.
 *
 * Quirk: an action without a check function ends the walk over its class-action; the actions behind it are not asked.
 *
 * Quirk: a database that nobody works in who has claimed a domain is not asked, not even the default database.
 */
uint32_t zar_is_param_map_assoc_with_policy(const void *param_map);

/**
 * Gives an action the data of a newer context, and frees its old data through its free function.
 * Its functions, handle, number and place stay.
 *
 * @param action   The action.
 * @param context  The newer context; it needs its free and entry functions.
 *
 * Ownership: the new data is the action's, the context block stays the caller's. Where the operation changes nothing,
 * the new data stays the caller's as well.
 *
 * Nothing changes when 'action' does not resolve, or its record lacks one of the functions that a rule needs, or when
 * 'context' is NULL or lacks one of the two functions. There is no result; only the trace shows it.
 *
 * Not checked: whether the new data is the old data, which would be freed while it is stored; and whether it suits the
 * functions of the action (zar_compare_actions() tells whether the functions are the same).
 */
void zar_replace_old_action_hdl(uint32_t action, const zar_action_context *context);

/**
 * Gives a filter the data of a newer context, and frees its old data through its free function. Its functions, handle,
 * flags and place stay.
 *
 * @param filter   The filter.
 * @param context  The newer context; it needs its free and evaluation functions.
 *
 * Ownership: the new data is the filter's, the context block stays the caller's. Where the operation changes nothing,
 * the new data stays the caller's as well.
 *
 * Nothing changes when 'filter' does not resolve, or its record lacks one of its four functions, or when 'context' is
 * NULL or lacks one of the two functions. There is no result; only the trace shows it.
 *
 * Not checked: whether the new data is the old data, which would be freed while it is stored; and whether it suits the
 * functions of the filter (zar_match_filter_parameters() tells whether the functions are the same).
 */
void zar_replace_old_filter_hdl(uint32_t filter, const zar_filter_context *context);

/**
 * Finds a stored CONTROL policy-map of the domain "subscriber" by name, in the database of the owner of that domain.
 *
 * @param name  The name.
 *
 * @return The policy-map, or 0: none is stored, 'name' is NULL, or the search failed, for whatever reason.
 *
 * Quirk: this is the handle of the record stored under the key, whatever its kind (see zar_store_policy()).
 */
uint32_t kel_is_policy_created(const char *name);

/** @} */
/** @} */

ZAR_END_EXPORTS

#endif
