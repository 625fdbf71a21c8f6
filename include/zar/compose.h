/**
 * @file
 * Policy composition: filters in class-maps, events and class-actions in policy-maps, actions in rules, and the
 * assembly of stored policies by name.
 */
#ifndef ZAR_COMPOSE_H
#define ZAR_COMPOSE_H

#include "zar/records.h"

ZAR_BEGIN_EXPORTS

/**
 * @defgroup zar_compose Policy composition
 * How the parts are combined into a policy. A class-map lists filters. A CONTROL policy-map (domain type 1) lists
 * events, and each event lists class-actions, its rules; any other policy-map lists class-actions directly. A
 * class-action connects a class-map with a list of actions.
 *
 * A class-action under an event of a policy-map counts one reference for the pair of that policy-map and its class-map;
 * a class-map that any policy-map refers to cannot be deleted. Class-actions of an event that is in no policy-map, and
 * those of a policy-map that is not CONTROL, count none: a class-map that only they use is not protected, and the
 * caller must keep it alive. If there is no memory for a reference, this is traced and not reported, and the class-map
 * may then not be protected either.
 * @{
 */

/**
 * @name Filters in class-maps
 * The filters of a class-map are listed in the order in which they are evaluated, which the caller chooses. These
 * operations add filters to the list and remove them, and neither create nor free any. A filter is refused if its
 * handle does not resolve or its record lacks one of the four functions.
 *
 * A filter in the list is deleted with its class-map. Before it is deleted on its own it must be removed from the list,
 * which would otherwise keep a dangling entry; nothing checks this.
 * @{
 */

/**
 * Adds a filter at the end of a class-map's list.
 *
 * @param cmap    The class-map.
 * @param filter  The filter to add.
 *
 * Ownership: from now on the filter is deleted with the class-map.
 *
 * @retval 0   It is the last in the list.
 * @retval 39  'cmap' does not resolve, or 'filter' is refused. The list is unchanged.
 *
 * Not checked: whether the filter is already in this or another list. If it is, it will be freed more than once.
 */
uint32_t zar_add_filter_to_class(uint32_t cmap, uint32_t filter);

/**
 * Inserts a filter into a class-map's list right before another one.
 *
 * @param cmap       The class-map.
 * @param filter     The filter to add.
 * @param reference  The handle of a filter in the list. It is only compared with the handles in the list, never
 *                   resolved; the first match counts.
 *
 * Ownership: from now on the filter is deleted with the class-map.
 *
 * @retval 0   It is right before 'reference'; or, if the filter before 'reference' is in the list several times,
 *             right after the first occurrence of that one.
 * @retval 39  'cmap' does not resolve, 'filter' is refused, or 'reference' is not in the list. The list is unchanged.
 *
 * Not checked: whether the filter is already in this or another list. If it is, it will be freed more than once.
 */
uint32_t zar_add_filter_to_class_before_filter(uint32_t cmap, uint32_t filter, uint32_t reference);

/**
 * Inserts a filter into a class-map's list right after another one.
 *
 * @param cmap       The class-map.
 * @param filter     The filter to add.
 * @param reference  The handle of a filter in the list. It is only compared with the handles in the list, never
 *                   resolved; the first match counts.
 *
 * Ownership: from now on the filter is deleted with the class-map.
 *
 * @retval 0   It is right after 'reference'.
 * @retval 39  'cmap' does not resolve, 'filter' is refused, or 'reference' is not in the list. The list is unchanged.
 *
 * Not checked: whether the filter is already in this or another list. If it is, it will be freed more than once.
 */
uint32_t zar_add_filter_to_class_after_filter(uint32_t cmap, uint32_t filter, uint32_t reference);

/**
 * Finds a filter of a class-map by its content: the first in the list whose free and evaluation functions are those of
 * the context, for which its own compare function, given the stored data and then the context's, returns non-zero, and
 * which has the same no-match byte.
 *
 * @param cmap        The class-map.
 * @param context     The content; only its data and its free and evaluation functions are read, and both functions are
 *                    required.
 * @param no_match    The no-match byte; the low 8 bits count.
 * @param filter_out  Receives the handle, or 0 when no filter matches.
 *
 * @retval 0   The list was searched; 'filter_out' holds the result.
 * @retval 39  'cmap' does not resolve, 'context' is NULL or lacks one of the two functions, or 'filter_out' is NULL.
 *
 * Quirk: no-match bytes are compared as numbers: a filter made with 1 is not found with 2, though both mean "no-match".
 * The compare function is called before the bytes are compared.
 */
uint32_t zar_retrieve_filter(uint32_t cmap, const zar_filter_context *context, uint32_t no_match, uint32_t *filter_out);

/**
 * Returns whether a filter has the content of a context: the same free and evaluation functions, and data that the
 * filter's compare function finds equal.
 *
 * @param filter   The filter's record; may be NULL.
 * @param context  The content; only its data and its free and evaluation functions are read; may be NULL.
 *
 * @retval 1  It does.
 * @retval 0  It does not, an argument is NULL, or the record has no compare function. Nothing is traced.
 *
 * Quirk: the no-match byte is ignored.
 */
uint32_t zar_match_filter_parameters(const zar_filter *filter, const zar_filter_context *context);

/**
 * Removes a filter from a class-map's list; the first occurrence, if it is there several times.
 *
 * @param cmap    The class-map.
 * @param filter  The filter to remove.
 *
 * Ownership: the filter still exists under its handle; the caller adds it elsewhere or deletes it.
 *
 * @retval 0   It is removed, or was not in the list. Nothing is traced.
 * @retval 39  'cmap' does not resolve, or 'filter' is refused. The list is unchanged.
 *
 * Not checked: that the filter is in this class-map.
 */
uint32_t zar_remove_filter_from_class(uint32_t cmap, uint32_t filter);

/** @} */

/**
 * @name Events and class-actions
 * The events of a CONTROL policy-map are in the order in which they were added, and no two have the same event id. The
 * class-actions of an event are in ascending order of their class numbers, equal numbers in the order in which they
 * were added.
 * @{
 */

/**
 * Creates a class-action for a class-map and adds it to an event, after all those whose class number is not greater.
 *
 * @param event             The event, in a policy-map or not.
 * @param cmap              The class-map.
 * @param exec_criteria     How the actions run: 1 run-all, 2 stop-on-failure, 3 stop-on-success; 0 means the same as 2.
 * @param class_num         The class number; the low 8 bits are kept.
 * @param class_action_out  Receives the handle.
 *
 * Ownership: the class-action belongs to the repository and is deleted with the event. If the event is in a policy-map,
 * the pair of policy-map and class-map gains one reference.
 *
 * @retval 0   'class_action_out' holds the handle.
 * @retval 37  No handle, or the new handle does not resolve (see below).
 * @retval 38  No record.
 * @retval 39  'event' or 'cmap' does not resolve, 'exec_criteria' is 4 or more, or 'class_action_out' is NULL.
 *
 * A failure leaves nothing behind. If the platform does not lead from the new handle to the record, 'class_action_out'
 * still holds that handle, which has no meaning.
 *
 * Not checked: whether the event has a class-action for this class-map already; and, while the event is in no
 * policy-map, that the class-map outlives the class-action.
 *
 * Quirk: if there is no record for a reference, this is traced and the result is still 0. The class-map may then not be
 * protected from deletion.
 */
uint32_t zar_add_class_to_event(uint32_t event, uint32_t cmap, uint32_t exec_criteria, uint32_t class_num,
                                uint32_t *class_action_out);

/**
 * Adds an event at the end of a CONTROL policy-map. For each of its class-actions, the pair of policy-map and class-map
 * gains one reference.
 *
 * @param pmap   The policy-map.
 * @param event  The event; it may have class-actions already.
 *
 * Ownership: from now on the event is deleted with the policy-map.
 *
 * @retval 0   It is the last event of the policy-map.
 * @retval 39  'pmap' does not resolve or is not CONTROL, 'event' does not resolve or has no event context, it belongs
 *             to another policy-map, or the policy-map already has an event with this event id (possibly this event
 *             itself). Nothing is changed.
 *
 * Quirk: if there is no record for a reference, this is traced and the result is still 0. The class-map may then not be
 * protected from deletion.
 */
uint32_t zar_add_event(uint32_t pmap, uint32_t event);

/**
 * Finds an event of a CONTROL policy-map by its event id.
 *
 * @param pmap       The policy-map.
 * @param context    The event to find; only 'event_id' is read.
 * @param event_out  Receives the handle, or 0 when there is no such event.
 *
 * @retval 0   The policy-map was searched; 'event_out' holds the result.
 * @retval 39  'pmap' does not resolve or is not CONTROL, or 'context' or 'event_out' is NULL.
 */
uint32_t zar_retrieve_event(uint32_t pmap, const zar_event_context *context, uint32_t *event_out);

/**
 * Finds the class-action of a class-map under an event of a CONTROL policy-map: the first one under the policy-map's
 * event with the given event's id.
 *
 * @param pmap              The policy-map.
 * @param event             An event with the id to find; it need not be the policy-map's own.
 * @param cmap              The class-map.
 * @param class_action_out  Receives the handle, or 0 when the event has no class-action for the class-map.
 *
 * @retval 0   The event was searched; 'class_action_out' holds the result. Or the policy-map is not CONTROL (see
 *             below).
 * @retval 39  'pmap', 'cmap' or 'event' does not resolve, 'class_action_out' is NULL, the given event has no event
 *             context, or the policy-map has no event of its id.
 *
 * Quirk: on a policy-map that is not CONTROL the result is 0 and 'class_action_out' is left unwritten; 'event' is not
 * checked.
 */
uint32_t zar_retrieve_class_action(uint32_t pmap, uint32_t event, uint32_t cmap, uint32_t *class_action_out);

/**
 * Finds a class-action of an event by its class number; the first that has it.
 *
 * @param event             The event.
 * @param class_num         The class number to find.
 * @param class_action_out  Receives the handle, or 0 when there is none.
 *
 * @retval 0   The event was searched; 'class_action_out' holds the result.
 * @retval 39  'event' does not resolve, or 'class_action_out' is NULL.
 *
 * Quirk: all 32 bits are compared, so a number above 255 is never found, although the other operations keep only its
 * low 8 bits.
 */
uint32_t zar_retrieve_class_num_in_event(uint32_t event, uint32_t class_num, uint32_t *class_action_out);

/**
 * Returns the class-map of a class-action.
 *
 * @param class_action  The class-action.
 *
 * @return Its handle, or 0: 'class_action' does not resolve or has no class-map. Nothing is traced beyond the look-up.
 */
uint32_t zar_get_cmap_from_class_action(uint32_t class_action);

/** @} */

/**
 * @name Actions in rules
 * The actions of a class-action are in ascending order of their action numbers, unless the caller places them before or
 * after another one. An action is refused if its handle does not resolve or its record lacks its entry, free, string or
 * compare function.
 *
 * An action may be in several rules. Each occurrence in a rule counts as one reference, which is dropped when the rule
 * is deleted; adding or removing an action changes no count. So a caller that adds an action to another rule calls
 * zar_increment_action(), and one that removes it from a rule must drop a reference with zar_delete_action(). Dropping
 * the last reference to an action that is still in a rule would leave a dangling entry in the rule; nothing checks
 * this.
 * @{
 */

/**
 * Checks whether an action's record has everything that the operations on rules need.
 *
 * @param action  The record.
 * @param caller  The name to use in trace messages; may be NULL.
 *
 * @retval 0  It does.
 * @retval 1  It is NULL or lacks its entry, free, string or compare function; each is traced.
 */
uint32_t zar_verify_action_content(const zar_action *action, const char *caller);

/**
 * Inserts an action into a rule by its number: after all those whose number is not greater. If the list is out of
 * order, this means before the first greater number; and if the action that it would follow is in the rule several
 * times, it is inserted right after the first occurrence of that one.
 *
 * @param class_action  The class-action.
 * @param action        The action to add.
 *
 * Ownership: the rule takes over one reference to the action; the count is unchanged.
 *
 * @retval 0   It is in the rule.
 * @retval 39  'class_action' does not resolve, or 'action' is refused. The rule is unchanged.
 *
 * Not checked: whether the action is already in this rule, and that there is a reference for this occurrence.
 */
uint32_t zar_add_action_to_rule(uint32_t class_action, uint32_t action);

/**
 * Inserts an action into a rule right before another one, whatever their numbers.
 *
 * @param class_action  The class-action.
 * @param action        The action to add.
 * @param reference     The handle of an action in the rule. It is only compared with the handles in the rule, never
 *                      resolved; the first match counts.
 *
 * Ownership: the rule takes over one reference to the action; the count is unchanged.
 *
 * @retval 0   It is right before 'reference'; or, if the action before 'reference' is in the rule several times,
 *             right after the first occurrence of that one.
 * @retval 39  'class_action' does not resolve, 'action' is refused, or 'reference' is not in the rule. The rule is
 *             unchanged.
 *
 * Not checked: whether the action is already in this rule, and that there is a reference for this occurrence.
 */
uint32_t zar_add_action_to_rule_before_action(uint32_t class_action, uint32_t action, uint32_t reference);

/**
 * Inserts an action into a rule right after another one, whatever their numbers.
 *
 * @param class_action  The class-action.
 * @param action        The action to add.
 * @param reference     The handle of an action in the rule. It is only compared with the handles in the rule, never
 *                      resolved; the first match counts.
 *
 * Ownership: the rule takes over one reference to the action; the count is unchanged.
 *
 * @retval 0   It is right after 'reference'.
 * @retval 39  'class_action' does not resolve, 'action' is refused, or 'reference' is not in the rule. The rule is
 *             unchanged.
 *
 * Not checked: whether the action is already in this rule, and that there is a reference for this occurrence.
 */
uint32_t zar_add_action_to_rule_after_action(uint32_t class_action, uint32_t action, uint32_t reference);

/**
 * Removes an action from a rule; the first occurrence, if it is there several times.
 *
 * @param class_action  The class-action.
 * @param action        The action to remove.
 *
 * Ownership: the count is unchanged; the caller owns the rule's reference and may use it elsewhere or drop it.
 *
 * @retval 0   It is removed, or was not in the rule. Nothing is traced.
 * @retval 39  'class_action' does not resolve, or 'action' is refused. The rule is unchanged.
 *
 * Not checked: that the action is in this rule.
 */
uint32_t zar_remove_action_from_class_action(uint32_t class_action, uint32_t action);

/**
 * Finds an action of a rule by its content: the first in the list that has the content of the context, as determined by
 * zar_match_action_parameters().
 *
 * @param class_action  The class-action.
 * @param context       The content; only its data and its free and entry functions are read, and both functions are
 *                      required.
 * @param action_out    Receives the handle, or 0 when no action matches.
 *
 * @retval 0   The rule was searched; 'action_out' holds the result.
 * @retval 39  'class_action' does not resolve, 'context' is NULL or lacks one of the two functions, or 'action_out' is
 *             NULL.
 */
uint32_t zar_retrieve_action(uint32_t class_action, const zar_action_context *context, uint32_t *action_out);

/**
 * Finds an action of a rule by its number; the first that has it.
 *
 * @param class_action  The class-action.
 * @param action_num    The action number to find; the low 8 bits count, so 257 finds 1.
 * @param action_out    Receives the handle, or 0 when there is none.
 *
 * @retval 0   The rule was searched; 'action_out' holds the result.
 * @retval 39  'class_action' does not resolve, or 'action_out' is NULL.
 */
uint32_t zar_retrieve_action_num_in_class_action(uint32_t class_action, uint32_t action_num, uint32_t *action_out);

/**
 * Returns whether an action has the content of a context: the same free and entry functions, and data that the action's
 * compare function, given the stored data and then the context's, finds equal.
 *
 * @param action   The action's record; may be NULL.
 * @param context  The content; only its data and its free and entry functions are read; may be NULL.
 *
 * @retval 1  It does.
 * @retval 0  It does not, an argument is NULL, or the record has no compare function. Nothing is traced.
 *
 * Quirk: number and precedence are ignored.
 */
uint32_t zar_match_action_parameters(const zar_action *action, const zar_action_context *context);

/**
 * Does the same as zar_match_action_parameters() for an action given by its handle.
 *
 * @param action   The action.
 * @param context  The content; only its data and its free and entry functions are read; may be NULL.
 *
 * @retval 1  It has the content.
 * @retval 0  It does not, 'action' does not resolve or has no compare function, or 'context' is NULL. Nothing is traced
 *            beyond the look-up.
 */
uint32_t zar_compare_actions(uint32_t action, const zar_action_context *context);

/**
 * Adds a reference to an action.
 *
 * @param action  The action's record; may be NULL.
 *
 * Ownership: the reference belongs to the caller, who gives it to a rule or drops it with zar_free_action() or
 * zar_delete_action().
 *
 * @retval 1  It is added.
 * @retval 0  'action' is NULL.
 *
 * Not checked: that the count does not overflow.
 */
uint32_t zar_increment_action(zar_action *action);

/**
 * Drops a reference to an action. The last one deletes the action: its free function is called with (data, 0), then its
 * handle is released, then its record is returned to the pool.
 *
 * @param action  The action's record; may be NULL.
 *
 * Ownership: the caller's reference is gone, and after the last one the record must not be used.
 *
 * @retval 1  The reference is dropped, whether or not the action still exists.
 * @retval 0  'action' is NULL.
 *
 * Not checked: that the caller has a reference to drop, and that the action is in no rule when the last one is dropped.
 * A count of 0 wraps around, and the action is never freed.
 */
uint32_t zar_free_action(zar_action *action);

/** @} */

/**
 * @name Assembly of stored policies
 * Adding rules to stored policy-maps and removing them, by name. 'clid' is the client whose database is used. Names are
 * looked up as by zar_retrieve_policy() and zar_retrieve_class(); any failure there, whatever its status, and a name
 * under which nothing or a map of another kind is stored, returns 39 here. zar_remove_class_from_policy() takes
 * handles, and the policy-map need not be stored.
 *
 * All but zar_add_class_to_stored_policy() work only on CONTROL policy-maps. These need an event, whose 'event_id'
 * alone is read.
 * @{
 */

/**
 * Adds a stored class-map, as a rule without actions, to a stored policy-map: under the event, which is created if the
 * policy-map lacks it; or, in a policy-map that is not CONTROL, at the end of its rules.
 *
 * @param clid           The client.
 * @param policy         The policy-map's name.
 * @param event          The event. May be NULL for a policy-map that is not CONTROL, where it is not read.
 * @param event_name     The event's name; read only if the event has to be created.
 * @param exec_criteria  How the actions run: 1 run-all, 2 stop-on-failure, 3 stop-on-success; 0 means the same as 2.
 * @param class_num      The class number; the low 8 bits are kept.
 * @param class_info     The class-map's name.
 *
 * Ownership: everything created belongs to the repository and is deleted with the policy-map. Under an event, the pair
 * of policy-map and class-map gains one reference. No handle is returned; zar_retrieve_class_action() finds the rule.
 *
 * @retval 0   The rule is there; or the event has a class-action for this class-map already (see below).
 * @retval 37  The event could not be created (for example, 'event_name' is NULL) or added, or the class-action could
 *             not be created.
 * @retval 39  A look-up by name fails or finds no map of its kind, the policy-map is CONTROL and 'event' is NULL, or
 *             'exec_criteria' is 4 or more. Nothing is changed.
 *
 * A failure (37) leaves behind an event that it has created: in the policy-map, without this rule; or, if it could not
 * be added, in no policy-map, and lost.
 *
 * Not checked: in a policy-map that is not CONTROL, whether the class-map is there already, and that it outlives the
 * rule.
 *
 * Quirk: for a class-map that the event has already, the result is 0, and 'exec_criteria' and 'class_num' are ignored.
 *
 * Quirk: in a policy-map that is not CONTROL the class number is not stored (it is 0) and no reference is counted.
 */
uint32_t zar_add_class_to_stored_policy(uint32_t clid, const zar_map_info *policy, const zar_event_context *event,
                                        const char *event_name, uint32_t exec_criteria, uint32_t class_num,
                                        const zar_map_info *class_info);

/**
 * Adds a class-map, as a rule with one action, to an event of a stored CONTROL policy-map.
 *
 * @param clid           The client.
 * @param policy         The policy-map's name.
 * @param event          The event; the policy-map must have it.
 * @param exec_criteria  How the actions run: 1 run-all, 2 stop-on-failure, 3 stop-on-success; 0 means the same as 2.
 * @param cmap           The class-map; it need not be stored.
 * @param class_num      The class number; the low 8 bits are kept.
 * @param action         The action.
 *
 * Ownership: the class-action belongs to the repository and is deleted with the event; it takes over one reference to
 * the action, whose count is unchanged. The pair of policy-map and class-map gains one reference.
 *
 * @retval 0   The rule is there; or the event has a class-action for this class-map already (see below).
 * @retval 37  The class-action could not be created, or the action could not be added to it.
 * @retval 39  The look-up by name fails or finds no policy-map, the policy-map is not CONTROL or lacks the event,
 *             'event' is NULL, 'cmap' does not resolve, 'exec_criteria' is 4 or more, or 'action' does not resolve or
 *             lacks one of the functions that a rule needs. Nothing is changed.
 *
 * If the action could not be added, the class-action stays without it.
 *
 * Not checked: that there is a reference to the action for this rule.
 *
 * Quirk: for a class-map that the event has already, the result is 0, the action is not added and the caller keeps its
 * reference; 'exec_criteria' and 'class_num' are ignored.
 *
 * Quirk: its messages name "add_class_to_stored_policy".
 */
uint32_t zar_add_class_action_to_stored_policy(uint32_t clid, const zar_map_info *policy,
                                               const zar_event_context *event, uint32_t exec_criteria, uint32_t cmap,
                                               uint32_t class_num, uint32_t action);

/**
 * Adds an action, by its number, to the rule of a stored class-map under an event of a stored CONTROL policy-map.
 *
 * @param clid        The client.
 * @param policy      The policy-map's name.
 * @param event       The event; the policy-map must have it.
 * @param class_info  The class-map's name; the event must have a rule for it.
 * @param action      The action.
 *
 * Ownership: the rule takes over one reference to the action; the count is unchanged.
 *
 * @retval 0   It is in the rule.
 * @retval 37  The action was refused: it does not resolve, or lacks one of the functions that a rule needs.
 * @retval 39  A look-up by name fails or finds no map of its kind, the policy-map is not CONTROL or lacks the event,
 *             'event' is NULL, or the event has no rule for the class-map.
 *
 * A failure changes nothing.
 *
 * Not checked: whether the action is already in this rule, and that there is a reference for this occurrence.
 *
 * Quirk: a bad action is a failed step (37), not an invalid argument. A policy-map that is not CONTROL is refused
 * without a message of its own.
 */
uint32_t zar_add_action_to_stored_policy(uint32_t clid, const zar_map_info *policy, const zar_event_context *event,
                                         const zar_map_info *class_info, uint32_t action);

/**
 * Removes an action from the rule of a stored class-map under an event of a stored CONTROL policy-map.
 *
 * @param clid        The client.
 * @param policy      The policy-map's name.
 * @param event       The event; the policy-map must have it.
 * @param class_info  The class-map's name; the event must have a rule for it.
 * @param action      The action.
 *
 * Ownership: the count is unchanged; the caller owns the rule's reference and may use it elsewhere or drop it.
 *
 * @retval 0   It is removed; its first occurrence, if it was there several times.
 * @retval 39  A look-up by name fails or finds no map of its kind, the policy-map is not CONTROL or lacks the event,
 *             'event' is NULL, the event has no rule for the class-map, or the action does not resolve, lacks one of
 *             the functions that a rule needs or is not in the rule. Nothing is changed.
 *
 * Quirk: a policy-map that is not CONTROL is refused without its own message.
 */
uint32_t zar_remove_action_from_stored_policy(uint32_t clid, const zar_map_info *policy, const zar_event_context *event,
                                              const zar_map_info *class_info, uint32_t action);

/**
 * Removes the rule of a class-map from an event of a CONTROL policy-map; the first one, if several match. The event
 * remains, even without rules.
 *
 * @param pmap       The policy-map, stored or not.
 * @param event      The event; the policy-map must have it.
 * @param cmap       The class-map.
 * @param class_num  The rule's class number; the low 8 bits count. Class-map and number must both be those of the rule.
 *
 * Ownership: the class-action is freed, its handle is released, and each of its actions loses one reference. The pair
 * of policy-map and class-map loses one reference.
 *
 * @retval 0   The rule is removed; or the event has no such rule, and nothing is changed.
 * @retval 39  'pmap' does not resolve or is not CONTROL, 'event' is NULL, 'cmap' does not resolve, or the policy-map
 *             lacks the event. Nothing is changed.
 */
uint32_t zar_remove_class_from_policy(uint32_t pmap, const zar_event_context *event, uint32_t cmap, uint32_t class_num);

/** @} */

/** @} */

ZAR_END_EXPORTS

#endif
