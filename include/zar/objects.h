/**
 * @file
 * Policy objects: creating, storing and retrieving maps, and creating actions, filters and events.
 */
#ifndef ZAR_OBJECTS_H
#define ZAR_OBJECTS_H

#include "zar/records.h"

ZAR_BEGIN_EXPORTS

/**
 * @defgroup zar_objects Policy objects
 * Policy-maps and class-maps, created from a description and found again by name, and what they are filled with:
 * actions, filters and events.
 * @{
 */

/**
 * @name Texts
 * @{
 */

/**
 * "BUILTIN_AUTOCONF_POLICY": the name of the built-in policy-map, which is created hidden, and is emptied where another
 * one would be deleted.
 */
extern const char *const builtin_autoconf_policy;
/** "match": the word before the configuration text of a filter that does not invert. */
extern const char *const zar_match;
/** "no-match": the word before the configuration text of a filter that inverts. */
extern const char *const zar_no_match;

/** @} */

/**
 * @name Creating maps
 * A new map can be reached only through its handle: it cannot be found by name until it is stored. Its name, domain,
 * domain type and name key never change. An unstored map is deleted with zar_delete_policy() or zar_delete_class(), a
 * stored one with the operations for stored maps.
 * @{
 */

/**
 * Checks whether a map info can be used: neither its domain nor its name is NULL, and its domain type is 1 or 2.
 *
 * @param info    The map info.
 * @param caller  The name to use in trace messages; may be NULL.
 *
 * @retval 0  It can.
 * @retval 1  It cannot, or is NULL. Each fault is traced.
 */
uint32_t zar_verify_map_info(const zar_map_info *info, const char *caller);

/**
 * Creates an empty policy-map.
 *
 * @param clid      The client for which it is created. Only its range is checked: the map belongs to no database until
 *                  it is stored.
 * @param info      Its name, domain and domain type; 'hidden' is not read. Domain type 1, CONTROL, creates a policy-map
 *                  that holds events, 2 one that holds class-actions directly.
 * @param pmap_out  Receives the handle.
 *
 * Ownership: the policy-map belongs to the repository. Name and domain are interned; 'info' is not needed after the
 * call.
 *
 * @retval 0   'pmap_out' holds the handle.
 * @retval 37  No handle, or the name, the domain or the name key could not be stored.
 * @retval 38  No record.
 * @retval 39  'clid' is out of range, 'pmap_out' is NULL, or zar_verify_map_info() rejects 'info'.
 *
 * A failure leaves nothing behind.
 *
 * Not checked: whether the client is active, and whether such a policy-map exists already; storing checks this.
 *
 * Quirk: a policy-map named "BUILTIN_AUTOCONF_POLICY", in any domain, is created hidden.
 */
uint32_t zar_create_policy(uint32_t clid, const zar_map_info *info, uint32_t *pmap_out);

/**
 * Creates an empty class-map.
 *
 * @param clid            The client for which it is created. Only its range is checked.
 * @param info            Its name, domain and domain type. A 'hidden' of 1 makes it hidden, like the class-maps of
 *                        parameter-map statements. Every other value makes it visible.
 * @param match_criteria  How its filters decide: 1 match-all, 2 match-any, 3 match-none.
 * @param cmap_out        Receives the handle.
 *
 * Ownership: the class-map belongs to the repository. Name and domain are interned; 'info' is not needed after the
 * call.
 *
 * @retval 0   'cmap_out' holds the handle.
 * @retval 37  No handle, or the name, the domain or the name key could not be stored.
 * @retval 38  No record.
 * @retval 39  'clid' is out of range, 'cmap_out' is NULL, zar_verify_map_info() rejects 'info', or 'match_criteria' is
 *             not 1, 2 or 3.
 *
 * A failure leaves nothing behind.
 *
 * Not checked: whether the client is active, and whether such a class-map exists already; storing checks this.
 */
uint32_t zar_create_class(uint32_t clid, const zar_map_info *info, uint32_t match_criteria, uint32_t *cmap_out);

/**
 * Returns whether a name is that of the built-in policy-map.
 *
 * @param name  The name; may be NULL.
 *
 * @retval 1  It is exactly "BUILTIN_AUTOCONF_POLICY".
 * @retval 0  It is another name, or NULL.
 */
uint32_t zar_is_autoconf_policy(const char *name);

/** @} */

/**
 * @name Storing and retrieving maps
 * Storing inserts a map into the client's database, its own or else the default one, under its name key; from then on
 * every client that works in this database can find it by name. Since the tree contains the map, only the operations
 * for stored maps may delete it. The conventions describe how keys compare, and the consequences for names with colons
 * and for cut keys.
 * @{
 */

/**
 * Stores a policy-map under its name key.
 *
 * @param clid  The client whose database is used.
 * @param pmap  The policy-map.
 *
 * Ownership: the policy-map belongs to the repository, and is in the database until it is deleted as a stored one.
 *
 * @retval 0   It is stored.
 * @retval 37  The client is inactive or has no database to work in.
 * @retval 39  'clid' is out of range, or 'pmap' does not resolve.
 * @retval 41  A key that compares equal is stored already, or the map is stored already, possibly in another database;
 *             or the database lacks the tree, or the platform refuses the map.
 *
 * A failure leaves the database and the policy-map as they were.
 *
 * Quirk: any of the three kinds of maps is accepted and inserted under its name key. Retrieving returns its handle and
 * walks include it; operations that look for policy-maps in the tree skip it; a deletion by name removes it from the
 * tree, leaves it unstored and returns 39.
 */
uint32_t zar_store_policy(uint32_t clid, uint32_t pmap);

/**
 * Stores a class-map under its name key.
 *
 * @param clid  The client whose database is used.
 * @param cmap  The class-map.
 *
 * Ownership: the class-map belongs to the repository, and is in the database until it is deleted as a stored one.
 *
 * @retval 0   It is stored.
 * @retval 37  The client is inactive or has no database to work in.
 * @retval 39  'clid' is out of range, or 'cmap' does not resolve.
 * @retval 41  A key that compares equal is stored already, or the map is stored already, possibly in another database;
 *             or the database lacks the tree, or the platform refuses the map.
 *
 * A failure leaves the database and the class-map as they were.
 *
 * Quirk: any of the three kinds of maps is accepted, as by zar_store_policy().
 */
uint32_t zar_store_class(uint32_t clid, uint32_t cmap);

/**
 * Finds a stored policy-map by name.
 *
 * @param clid      The client whose database is searched.
 * @param info      Name, domain and domain type to find; 'hidden' is not read.
 * @param pmap_out  Receives the handle, or 0 when no such map is stored.
 *
 * @retval 0   The database was searched; 'pmap_out' holds the result.
 * @retval 37  The client is inactive or has no database to work in.
 * @retval 39  'clid' is out of range, 'pmap_out' is NULL, or zar_verify_map_info() rejects 'info'.
 * @retval 41  The database lacks its tree of policy-maps.
 *
 * On all but 0 'pmap_out' is untouched.
 *
 * Quirk: this is the handle of the record stored under the key, whatever its kind (see zar_store_policy()).
 */
uint32_t zar_retrieve_policy(uint32_t clid, const zar_map_info *info, uint32_t *pmap_out);

/**
 * Finds a stored class-map by name.
 *
 * @param clid      The client whose database is searched.
 * @param info      Name, domain and domain type to find; 'hidden' is not read.
 * @param cmap_out  Receives the handle, or 0 when no such map is stored.
 *
 * @retval 0   The database was searched; 'cmap_out' holds the result.
 * @retval 37  The client is inactive or has no database to work in.
 * @retval 39  'clid' is out of range, 'cmap_out' is NULL, or zar_verify_map_info() rejects 'info'.
 * @retval 41  The database lacks its tree of class-maps.
 *
 * On all but 0 'cmap_out' is untouched.
 *
 * Quirk: this is the handle of the record stored under the key, whatever its kind (see zar_store_policy()).
 */
uint32_t zar_retrieve_class(uint32_t clid, const zar_map_info *info, uint32_t *cmap_out);

/** @} */

/**
 * @name Creating actions and filters
 * The repository does not understand what an action does or a filter matches; it keeps the words of the caller's
 * context and calls the functions. The conventions describe the life of a context.
 * @{
 */

/**
 * Creates an action with one reference.
 *
 * @param context     What the action is; all functions but the notification and the parameter-map check are required.
 * @param action_num  Its order among the actions of a rule; the low 8 bits are kept.
 * @param precedence  A number for the engine; the low 16 bits are kept.
 * @param action_out  Receives the handle.
 *
 * Ownership: the action belongs to the repository, and its data with it: the free function is called on the data when
 * the last reference is dropped. 'context' itself still belongs to the caller. The caller gives the one reference to a
 * rule, or drops it with zar_delete_action().
 *
 * @retval 0   'action_out' holds the handle.
 * @retval 37  No handle.
 * @retval 38  No record.
 * @retval 39  'action_out' or 'context' is NULL, or a required function is missing.
 *
 * A failure leaves nothing behind, and the data still belongs to the caller.
 *
 * Not checked: that no other record has the same data, which would free it a second time.
 */
uint32_t zar_create_action(const zar_action_context *context, uint32_t action_num, uint32_t precedence,
                           uint32_t *action_out);

/**
 * Creates a filter.
 *
 * @param context     What the filter is; all its functions are required.
 * @param filter_out  Receives the handle.
 * @param no_match    0 for a "match" statement, anything else for "no-match"; the low 8 bits are kept, so 256 is 0.
 *
 * Ownership: the filter belongs to the repository, and its data with it: the free function is called on the data when
 * the filter is deleted. 'context' itself still belongs to the caller.
 *
 * @retval 0   'filter_out' holds the handle.
 * @retval 37  No handle.
 * @retval 38  No record.
 * @retval 39  'filter_out' or 'context' is NULL, or a function is missing.
 *
 * A failure leaves nothing behind, and the data still belongs to the caller.
 *
 * Not checked: that no other record has the same data, which would free it a second time.
 */
uint32_t zar_create_filter(const zar_filter_context *context, uint32_t *filter_out, uint32_t no_match);

/**
 * Creates a filter for a parameter-map statement, like zar_create_filter(), with three more numbers. The low 8 bits of
 * each number are kept.
 *
 * @param context     What the filter is; all its functions are required.
 * @param filter_out  Receives the handle.
 * @param no_match    0 for a "match" statement, anything else for "no-match".
 * @param regex       Whether the filter's text is a regular expression; kept for the engine.
 * @param flag_1      Opaque; kept for the engine.
 * @param flag_2      The filter type; the comparison of statements knows 0 to 4.
 *
 * Ownership: as with zar_create_filter().
 *
 * @retval 0   'filter_out' holds the handle.
 * @retval 37  No handle.
 * @retval 38  No record.
 * @retval 39  'filter_out' or 'context' is NULL, or a function is missing.
 *
 * A failure leaves nothing behind, and the data still belongs to the caller.
 *
 * Not checked: that no other record has the same data, which would free it a second time.
 *
 * Quirk: its messages name "create_filter".
 */
uint32_t zar_pmtr_create_filter(const zar_filter_context *context, uint32_t *filter_out, uint32_t no_match,
                                uint32_t regex, uint32_t flag_1, uint32_t flag_2);

/**
 * Returns an action's record to its pool, and does nothing else. zar_delete_action() and zar_free_action() delete an
 * action completely and are what callers want.
 *
 * @param action  The record; may be NULL.
 *
 * @return What the platform returns: non-zero when it took the record back. 0 for NULL.
 *
 * Not checked: that the data was freed, the handle released, and the action removed from every list; the caller must
 * have done all three.
 */
uint32_t zar_free_action_from_action_chunk(zar_action *action);

/** @} */

/**
 * @name Events
 * An event is in no policy-map until zar_add_event() adds it to a CONTROL policy-map.
 * @{
 */

/**
 * Creates an event without rules, which is in no policy-map and runs every rule that matches (match-all).
 *
 * @param context    Identifies the event; only 'event_id' is read.
 * @param name       Its name; interned.
 * @param event_out  Receives the handle.
 *
 * Ownership: the event belongs to the repository. 'context' and 'name' are not needed after the call.
 *
 * @retval 0   'event_out' holds the handle.
 * @retval 37  No handle, 'name' is NULL, or it could not be stored.
 * @retval 38  No record for the event or for its context.
 * @retval 39  'event_out' or 'context' is NULL.
 *
 * A failure leaves nothing behind, with one exception: if there is no record for the event's context (38), the handle
 * issued before is not released. It is lost, and permanently takes the room of one live handle.
 *
 * Quirk: a NULL name is a failed step (37), not an invalid argument.
 */
uint32_t zar_create_event(const zar_event_context *context, const char *name, uint32_t *event_out);

/**
 * Sets which of an event's rules run.
 *
 * @param event     The event.
 * @param criteria  1 match-all: every rule that matches; 2 match-first: the first that matches; 0 means the same as 1.
 *
 * @retval 0   It is set.
 * @retval 39  'event' does not resolve, or 'criteria' is 3 or more.
 */
uint32_t zar_event_set_match_criteria(uint32_t event, uint32_t criteria);

/**
 * Returns which of an event's rules run.
 *
 * @param event  The event.
 *
 * @return 1 match-all, 2 match-first; 0 when 'event' does not resolve.
 */
uint32_t zar_event_get_match_criteria(uint32_t event);

/** @} */

/** @} */

ZAR_END_EXPORTS

#endif
