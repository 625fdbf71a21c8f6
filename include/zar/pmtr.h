/**
 * @file
 * Parameter-maps: the maps, their statements with hidden class-maps, and their actions.
 */
#ifndef ZAR_PMTR_H
#define ZAR_PMTR_H

#include "zar/records.h"

ZAR_BEGIN_EXPORTS

/**
 * @defgroup zar_pmtr Parameter-maps
 * A parameter-map holds statements in order of their map-indices. Each statement has its own hidden class-map, which
 * holds its filters, and an ordered list of actions.
 *
 * The operations of this group stop at the first fault that they find, unless stated otherwise.
 * @{
 */

/**
 * @name The domain of the engine
 * @{
 */

/**
 * "subscriber": the domain in which the engine keeps its parameter-maps, and in which all hidden class-maps of
 * statements are created.
 */
extern const char *const kel_parameter_map_subscriber_domain_str;

/** @} */

/**
 * @name Creating, storing and finding parameter-maps
 * Like policy-maps and class-maps, a parameter-map is found by name only once it is stored in the client's database,
 * its own or else the default one.
 * @{
 */

/**
 * Creates an empty parameter-map.
 *
 * @param clid          The client for which it is created. Only its range is checked.
 * @param info          Its name, domain and domain type; 'hidden' is not read.
 * @param pmtr_map_out  Receives the handle.
 *
 * Ownership: the parameter-map belongs to the repository. Name and domain are interned; 'info' is not needed after the
 * call.
 *
 * @retval 0   'pmtr_map_out' holds the handle.
 * @retval 37  No handle, or the name, the domain or the name key could not be stored.
 * @retval 38  No record.
 * @retval 39  'clid' is out of range, 'pmtr_map_out' is NULL, or zar_verify_map_info() rejects 'info'.
 *
 * A failure leaves nothing behind.
 *
 * Not checked: whether the client is active, and whether such a parameter-map exists already; storing checks this.
 *
 * Quirk: if the engine's built-in template name begins with the name, the parameter-map is hidden. This applies to
 * every leading part of the template name, including the empty name.
 */
uint32_t zar_create_pmtr_map(uint32_t clid, const zar_map_info *info, uint32_t *pmtr_map_out);

/**
 * Stores a parameter-map under its name key.
 *
 * @param clid      The client whose database is used.
 * @param pmtr_map  The parameter-map.
 *
 * Ownership: the parameter-map belongs to the repository, and is in the database until it is deleted as a stored one.
 *
 * @retval 0   It is stored.
 * @retval 37  The client is inactive or has no database to work in.
 * @retval 39  'clid' is out of range, or 'pmtr_map' does not resolve.
 * @retval 41  A key that compares equal is stored already, or the map is stored already, possibly in another database;
 *             or the database lacks the tree, or the platform refuses the map.
 *
 * A failure leaves the database and the parameter-map as they were.
 *
 * Quirk: any of the three kinds of maps is accepted, as by zar_store_policy(). Only zar_avl_delete_pmtr_map() removes
 * one of another kind again: kel_delete_subscriber_parameter_map() leaves it in the tree.
 */
uint32_t zar_store_pmtr_map(uint32_t clid, uint32_t pmtr_map);

/**
 * Finds a stored parameter-map by name.
 *
 * @param clid          The client whose database is searched.
 * @param info          Name, domain and domain type to find; 'hidden' is not read.
 * @param pmtr_map_out  Receives the handle, or 0 when no such map is stored.
 *
 * @retval 0   The database was searched; 'pmtr_map_out' holds the result.
 * @retval 37  The client is inactive or has no database to work in.
 * @retval 39  'clid' is out of range, 'pmtr_map_out' is NULL, or zar_verify_map_info() rejects 'info'.
 * @retval 41  The database lacks its tree of parameter-maps.
 *
 * On all but 0 'pmtr_map_out' is untouched.
 *
 * Quirk: this is the handle of the record stored under the key, whatever its kind (see zar_store_policy()).
 */
uint32_t zar_retrieve_pmtr_map(uint32_t clid, const zar_map_info *info, uint32_t *pmtr_map_out);

/** @} */

/**
 * @name Deleting parameter-maps
 * The statements are deleted with their parameter-map: each action of a statement loses one reference, and the hidden
 * class-map is deleted with its filters. For the callbacks that run during this the parameter-map no longer resolves.
 *
 * Quirk: only the interned name is released. The reference to the domain stays in the string database.
 * @{
 */

/**
 * Deletes a stored parameter-map: removes it from its database and deletes it.
 *
 * @param pmtr_map  The parameter-map.
 * @param database  The database in which it is stored, as given by zar_get_client_database_handle().
 *
 * @retval 0   It is deleted.
 * @retval 39  'pmtr_map' does not resolve, or 'database' is NULL.
 * @retval 41  The parameter-map is not in this database, even if one with an equal key is; nothing has changed.
 */
uint32_t zar_delete_stored_pmtr_map(uint32_t pmtr_map, zar_db *database);

/**
 * Deletes a parameter-map that is not stored.
 *
 * @param pmtr_map  The parameter-map.
 *
 * @retval 0   It is deleted.
 * @retval 39  'pmtr_map' does not resolve.
 *
 * Not checked: whether the parameter-map is stored. A tree that still contains it is left with a dangling node; see
 * zar_delete_stored_pmtr_map().
 */
uint32_t zar_delete_pmtr_map(uint32_t pmtr_map);

/** @} */

/**
 * @name Values of parameter-maps
 * @{
 */

/**
 * Returns the name of a parameter-map.
 *
 * @param pmtr_map  The parameter-map.
 *
 * @return The name, or NULL when 'pmtr_map' does not resolve.
 */
const char *zar_get_pmtr_map_name(uint32_t pmtr_map);

/**
 * Returns whether a parameter-map is hidden. Despite its name, it is not for policy-maps; zar_is_policy_hidden() is.
 *
 * @param pmtr_map  The parameter-map.
 *
 * @retval 1  It is.
 * @retval 0  It is not, or 'pmtr_map' does not resolve.
 */
uint32_t zar_is_pmap_hidden(uint32_t pmtr_map);

/**
 * Makes a parameter-map visible. Nothing makes it hidden again. Despite its name, it is not for policy-maps;
 * zar_unhide_policy() is.
 *
 * @param pmtr_map  The parameter-map; nothing happens when it does not resolve.
 */
void zar_unhide_pmap(uint32_t pmtr_map);

/** @} */

/**
 * @name Walks over stored parameter-maps
 * They are walked like policy-maps (zar_get_first_policy() and zar_get_next_policy()), in key order.
 * @{
 */

/**
 * Returns the first stored parameter-map.
 *
 * @param clid          The client whose database is walked.
 * @param pmtr_map_out  Receives the handle, or 0 when no parameter-map is stored.
 *
 * @retval 0   'pmtr_map_out' is written.
 * @retval 37  The client is inactive or has no database to work in.
 * @retval 39  'clid' is out of range, or 'pmtr_map_out' is NULL.
 * @retval 41  The database lacks the tree; 'pmtr_map_out' is 0.
 */
uint32_t zar_get_first_pmtr_map(uint32_t clid, uint32_t *pmtr_map_out);

/**
 * Returns the stored parameter-map that follows a given one.
 *
 * @param clid          The client whose database is walked.
 * @param current       The map to continue from, of any map kind. If it is not stored here, the walk continues with the
 *                      first parameter-map that sorts after it.
 * @param pmtr_map_out  Receives the handle, or 0 when 'current' is the last.
 *
 * @retval 0   'pmtr_map_out' is written.
 * @retval 37  The client is inactive or has no database to work in.
 * @retval 39  'clid' is out of range, 'current' does not resolve, or 'pmtr_map_out' is NULL.
 * @retval 41  The database lacks the tree; 'pmtr_map_out' is 0.
 */
uint32_t zar_get_next_pmtr_map(uint32_t clid, uint32_t current, uint32_t *pmtr_map_out);

/** @} */

/**
 * @name Parameter-maps of the engine's domain
 * The engine identifies its parameter-maps only by their names. They belong to the domain "subscriber", and these
 * operations act for the owner of that domain.
 * @{
 */

/**
 * Finds a stored parameter-map of the domain "subscriber".
 *
 * @param name          Its name.
 * @param domain_type   Its domain type, 1 or 2.
 * @param pmtr_map_out  Receives the handle, or 0 when no such map is stored.
 *
 * @retval 0   'pmtr_map_out' holds the handle.
 * @retval 40  No such parameter-map is stored; 'pmtr_map_out' is 0.
 * @retval 37  The owner of the domain is inactive or has no database to work in.
 * @retval 39  'name' is NULL or could not be copied, 'domain_type' is neither 1 nor 2, 'pmtr_map_out' is NULL, or there
 *             is no client yet.
 * @retval 41  The database lacks its tree of parameter-maps.
 *
 * On 37, 39 and 41 'pmtr_map_out' is untouched.
 *
 * Quirk: only 40 is treated as "not found". A search that failed is traced as one that found the map, and its status is
 * returned.
 *
 * Quirk: this is the handle of the record stored under the key, whatever its kind (see zar_store_policy()).
 */
uint32_t kel_find_subscriber_parameter_map_by_name(const char *name, uint32_t domain_type, uint32_t *pmtr_map_out);

/**
 * Creates a parameter-map of the domain "subscriber" and stores it.
 *
 * @param name          Its name.
 * @param domain_type   Its domain type, 1 or 2.
 * @param pmtr_map_out  Receives the handle.
 *
 * @retval 0   It is created and stored.
 * @retval 37  It could not be created, as for zar_create_pmtr_map(); or it was created, but its client is inactive or
 *             has no database to work in.
 * @retval 38  No record.
 * @retval 39  'name' is NULL or could not be copied, 'domain_type' is neither 1 nor 2, 'pmtr_map_out' is NULL, or there
 *             is no client yet.
 * @retval 41  It was created, but could not be stored, as described for zar_store_pmtr_map().
 *
 * A parameter-map that was created and could not be stored remains, unstored; 'pmtr_map_out' holds its handle, and
 * zar_delete_pmtr_map() deletes it. If it could not be created, 'pmtr_map_out' is untouched.
 */
uint32_t kel_create_subscriber_parameter_map(const char *name, uint32_t domain_type, uint32_t *pmtr_map_out);

/**
 * Deletes a stored parameter-map of the domain "subscriber".
 *
 * @param name         Its name.
 * @param domain_type  Its domain type, 1 or 2.
 *
 * @retval 0   It is deleted.
 * @retval 37  There is no client yet, or the owner of the domain is inactive or has no database to work in.
 * @retval 39  'name' is NULL; or no such parameter-map was found, for any reason; or the record stored under the name
 *             is not a parameter-map, and stays.
 * @retval 41  The tree refused the deletion; nothing has changed.
 */
uint32_t kel_delete_subscriber_parameter_map(const char *name, uint32_t domain_type);

/**
 * Finds a stored parameter-map of the domain "subscriber", of the domain type that the engine has for that domain.
 * Despite its name, it is not for policy-maps; kel_is_policy_created() is.
 *
 * @param name  Its name.
 *
 * @return The handle, or 0: no such parameter-map was found, for any reason; the engine has no type for the domain; or
 *         the name has 100 characters or more.
 *
 * Quirk: this is the handle of the record stored under the key, whatever its kind (see zar_store_policy()).
 */
uint32_t kel_is_pmap_created(const char *name);

/** @} */

/**
 * @name Statements
 * A statement is created with its first filter and deleted by zar_pmtr_delete_filter() or with its parameter-map.
 *
 * Its hidden class-map is created and deleted with it. That class-map has the domain "subscriber", domain type 1 and
 * criteria match-all, and is stored in the database of the owner of that domain. Its name consists of `__PMTR__`, the
 * name of the parameter-map and the map-index as a signed decimal number, with nothing in between: `__PMTR__abc10` for
 * index 10 of the map "abc". A walk over class-maps returns it; a listing of all class-maps omits it.
 * @{
 */

/**
 * Adds a filter to a statement of a parameter-map, and creates the statement if there is none. If a filter with the
 * same content and no-match flag exists, it takes over the new one's data instead (zar_replace_old_filter_hdl()).
 *
 * @param pmtr_map     The parameter-map.
 * @param filter       The filter's context.
 * @param no_match     0: "match"; anything else: "no-match".
 * @param regex        Kept in the filter: whether its text is a regular expression.
 * @param flag_3       Kept in the filter; its meaning is the engine's.
 * @param map_index    The number of the statement.
 * @param replace      Not 0: a statement with this number is deleted first, with its filters and actions.
 * @param filter_type  The type of the filter, which selects its slot in the compare table. That table knows 0 to 4;
 *                     types above 31 count modulo 32 in the class-map's mask.
 *
 * Ownership: the context block still belongs to the caller. The data belongs to the filter if the filter was added or
 * took it over, otherwise to the caller; if the new filter was created but could not be added, its free function has
 * been called with the data.
 *
 * @retval 0   Done; or the filter could not be searched for, created or added (see below).
 * @retval 37  The hidden class-map of the statement no longer resolves; or the new statement could not be added to the
 *             parameter-map.
 * @retval 38  No record for the statement, or no memory for the domain or the name of its class-map.
 * @retval 39  'pmtr_map' does not resolve, 'filter' is NULL, or the hidden class-map could not be created or stored;
 *             the latter happens if a class-map with its name is already stored.
 *
 * If the statement cannot be created, everything that was created for it is freed again. A statement that was to be
 * replaced is deleted anyway.
 *
 * Quirk: if only the filter cannot be added, for lack of memory or because its context lacks a function, the result is
 * 0 and the statement remains, possibly without any filter. To check for the filter, call zar_retrieve_filter() on the
 * class-map that zar_get_internal_class_map() returns.
 */
uint32_t zar_pmtr_create_or_add_filter(uint32_t pmtr_map, const zar_filter_context *filter, uint8_t no_match,
                                       uint8_t regex, uint8_t flag_3, uint32_t map_index, uint8_t replace,
                                       uint8_t filter_type);

/**
 * Adds a statement to a parameter-map, after those with a smaller or an equal map-index.
 *
 * @param pmtr_map   The parameter-map.
 * @param statement  The statement.
 *
 * Ownership: the statement belongs to the parameter-map.
 *
 * @retval 0   It is in the parameter-map.
 * @retval 39  'pmtr_map' does not resolve, or 'statement' is NULL or is being deleted.
 *
 * Not checked: whether the statement is in a parameter-map already, whether its fields are filled, whether there is
 * another one with its map-index, and where its memory comes from: it will be returned to the pool of statements.
 */
uint32_t zar_add_statement_to_pmtr_map(uint32_t pmtr_map, zar_pmtr_map_stmt *statement);

/**
 * Deletes a statement of a parameter-map, with all its filters and its hidden class-map; each of its actions loses one
 * reference. For the callbacks that run during this the statement no longer exists. Despite its name, it is not for a
 * single filter.
 *
 * @param pmtr_map   The parameter-map.
 * @param map_index  The number of the statement.
 *
 * @retval 0   The statement is deleted.
 * @retval 37  There is no such statement.
 * @retval 39  'pmtr_map' does not resolve.
 *
 * Quirk: if the hidden class-map cannot be deleted, for example because a policy-map refers to it, this is traced and
 * it stays stored; the statement is deleted anyway. A new statement with this number then fails with 39, because the
 * name of its class-map is taken.
 */
uint32_t zar_pmtr_delete_filter(uint32_t pmtr_map, uint32_t map_index);

/**
 * Deletes a statement that is no longer in a parameter-map, as zar_pmtr_delete_filter() does.
 *
 * @param statement  The statement, which the caller has removed from its parameter-map.
 *
 * Ownership: the record is gone.
 *
 * @retval 0   The statement is deleted.
 * @retval 39  'statement' is NULL, or is being deleted.
 *
 * Not checked: whether the statement is still in a parameter-map, whose list then has a dangling entry.
 */
uint32_t zar_pmtr_delete_filter_by_stmt(zar_pmtr_map_stmt *statement);

/**
 * Returns the smallest map-index of a parameter-map.
 *
 * @param clid       The client; it must have a database to work in.
 * @param pmtr_map   The parameter-map.
 * @param index_out  Receives the map-index.
 *
 * @retval 0   'index_out' holds it.
 * @retval 37  The client is inactive or has no database to work in.
 * @retval 39  'clid' is out of range, 'pmtr_map' does not resolve, or 'index_out' is NULL.
 * @retval 40  The parameter-map has no statements; 'index_out' is 0.
 */
uint32_t zar_get_first_pmtr_map_index(uint32_t clid, uint32_t pmtr_map, uint32_t *index_out);

/**
 * Returns the map-index that follows a given one in a parameter-map.
 *
 * @param clid       The client; it must have a database to work in.
 * @param pmtr_map   The parameter-map.
 * @param current    The map-index to continue from.
 * @param index_out  Receives the next map-index.
 *
 * @retval 0   'index_out' holds it.
 * @retval 37  The client is inactive or has no database to work in.
 * @retval 39  'clid' is out of range, 'pmtr_map' does not resolve, or 'index_out' is NULL.
 * @retval 40  There is no next one, or 'current' is not in the parameter-map; 'index_out' is 0.
 */
uint32_t zar_get_next_pmtr_map_index(uint32_t clid, uint32_t pmtr_map, uint32_t current, uint32_t *index_out);

/**
 * Returns the hidden class-map of a statement.
 *
 * @param pmtr_map   The parameter-map.
 * @param map_index  The number of the statement.
 *
 * Ownership: the class-map belongs to the statement. It may be read, but not deleted.
 *
 * @return The class-map, or 0: 'pmtr_map' does not resolve, or there is no such statement (not traced).
 */
uint32_t zar_get_internal_class_map(uint32_t pmtr_map, uint32_t map_index);

/**
 * Finds the filter of a statement whose text begins with a keyword, and returns the whole text, without "match" or
 * "no-match". The filters are tried in order; the text must be longer than the keyword.
 *
 * @param pmtr_map   The parameter-map.
 * @param map_index  The number of the statement. Only the low 8 bits count.
 * @param keyword    The beginning of the text. The empty keyword finds the first text that is not empty, NULL finds
 *                   none.
 * @param text_out   Receives the text and its terminating NUL.
 *
 * @retval 0   'text_out' holds the text.
 * @retval 39  'pmtr_map' does not resolve, there is no such statement, its class-map does not resolve, or 'text_out' is
 *             NULL.
 * @retval 40  No filter has such a text; or the search ended at a filter without a string function, for lack of memory,
 *             or where 256 characters of the keyword matched a text, which does not count as a match.
 *
 * On all but 0 'text_out' is untouched.
 *
 * Not checked: whether 'text_out' has room for the text, which may have any length.
 *
 * Quirk: statements with a map-index above 255 cannot be searched; the statement given by the low 8 bits is searched
 * instead.
 */
uint32_t kel_pmtr_map_get_filter_expr_by_type(uint32_t pmtr_map, uint32_t map_index, const char *keyword,
                                              char *text_out);

/** @} */

/**
 * @name Evaluating a statement
 * The compare table determines whether the values of a subscriber satisfy a statement. It has five slots, one for each
 * filter type from 0 to 4. There is only one table in the process, so evaluations must not be interleaved.
 *
 * 1. zar_init_internal_cmap_compare() marks the filter types of the statement as not matched yet.
 * 2. zar_add_to_internal_cmap_compare() is called for each value that the subscriber offers, with its filter type as
 *    the slot.
 * 3. zar_internal_cmap_compare() returns the result.
 * @{
 */

/**
 * Begins an evaluation: the slot of each filter type that was ever added to the class-map is configured and not
 * matched, all others are empty.
 *
 * @param cmap  The hidden class-map of the statement. If it does not resolve, all slots are empty.
 */
void zar_init_internal_cmap_compare(uint32_t cmap);

/**
 * Records in a slot whether the class-map has a filter that equals a value.
 *
 * @param cmap      The hidden class-map of the statement.
 * @param filter    The value, as the context of a filter; it needs its first three words.
 * @param no_match  The no-match flag that the filter must have; the low 8 bits count.
 * @param slot      The filter type of the value, 0 to 4. Above 4 nothing happens.
 *
 * Quirk: each call writes the slot, so the last one for a slot counts; and it also writes a slot that was empty. So a
 * value that is not found, for any reason, makes the statement fail, even if the statement has no filter of that type.
 */
void zar_add_to_internal_cmap_compare(uint32_t cmap, const zar_filter_context *filter, uint32_t no_match,
                                      uint32_t slot);

/**
 * Returns the result of an evaluation. The table is unchanged.
 *
 * @retval 1  At least one slot is matched, and none is configured but not matched.
 * @retval 0  A slot is configured and not matched, or all slots are empty.
 */
uint32_t zar_internal_cmap_compare(void);

/** @} */

/**
 * @name Actions of statements
 * The actions of a statement are in ascending order of their action numbers. They are ordinary actions; deleting the
 * statement drops one reference to each.
 * @{
 */

/**
 * Creates an action and adds it to a statement. An action number is used once in a statement: if it is already there
 * with the same action (zar_compare_actions()), that action takes over the new data, which frees its old data, and the
 * precedence, and keeps its handle; if it is there with a different action, that one is removed.
 *
 * @param pmtr_map    The parameter-map.
 * @param map_index   The number of the statement.
 * @param action_num  The action number.
 * @param precedence  The precedence.
 * @param context     The action's context, allocated on the heap by its creator.
 *
 * Ownership: on 0 the block is freed as by zar_free_client_action_context(), which leaves a block without a free
 * function alone; otherwise it stays with the caller. The data belongs to the action if the action was created or took
 * it over. An action that was replaced by another is neither deleted nor released: the caller deletes it by its handle
 * with zar_delete_action().
 *
 * @retval 0   Done; or the parameter-map does not resolve, or the action could not be created (see below).
 * @retval 1   The new action could not be added to the statement, for example because there is no such statement. It
 *             was deleted again, and its data freed with it; the block still belongs to the caller.
 * @retval 39  'context' is NULL.
 *
 * Quirk: 0 does not guarantee that the action is there. If 'pmtr_map' does not resolve, or no action could be created
 * from the context, the block is freed, its data stays with the caller, and the result is 0; an action that was to be
 * replaced is removed anyway. zar_retrieve_action_num_in_pmtr_stmt_action() shows which action is there.
 */
uint32_t zar_pmtr_map_create_action(uint32_t pmtr_map, uint32_t map_index, uint8_t action_num, uint16_t precedence,
                                    zar_action_context *context);

/**
 * Adds an action to a statement, after those with a smaller or an equal action number; if the last of these is there
 * several times, right after the first occurrence of that one.
 *
 * @param pmtr_map   The parameter-map.
 * @param map_index  The number of the statement.
 * @param action     The action.
 *
 * Ownership: the statement drops one reference when it is deleted; the caller provides it. No reference is added here.
 *
 * @retval 0   It is in the statement.
 * @retval 39  'pmtr_map' or 'action' does not resolve, the action lacks a function, or there is no such statement.
 *
 * Not checked: whether the action, or its number, is in the statement already.
 */
uint32_t zar_add_action_to_pmtr_map_rule(uint32_t pmtr_map, uint32_t map_index, uint32_t action);

/**
 * Removes an action from a statement; the first occurrence, if it is there several times.
 *
 * @param pmtr_map   The parameter-map.
 * @param map_index  The number of the statement.
 * @param action     The action.
 *
 * Ownership: the statement's reference belongs to the caller again; nothing is freed or released.
 *
 * @retval 0   It is removed, or was not in the statement.
 * @retval 39  'pmtr_map' or 'action' does not resolve, the action lacks a function, or there is no such statement.
 */
uint32_t zar_remove_action_from_pmtr_stmt_action(uint32_t pmtr_map, uint32_t map_index, uint32_t action);

/**
 * Finds an action of a statement by its action number.
 *
 * @param pmtr_map    The parameter-map.
 * @param map_index   The number of the statement.
 * @param action_num  The action number; the low 8 bits count.
 * @param action_out  Receives the action, or 0: no action has this number, or there is no such statement.
 *
 * @retval 0   'action_out' is written.
 * @retval 39  'pmtr_map' does not resolve, or 'action_out' is NULL.
 */
uint32_t zar_retrieve_action_num_in_pmtr_stmt_action(uint32_t pmtr_map, uint32_t map_index, uint32_t action_num,
                                                     uint32_t *action_out);

/**
 * Checks that a handle of an action is not 0. It is not resolved.
 *
 * @param action  The handle.
 * @param caller  The name to use in trace messages; may be NULL.
 *
 * @retval 0  It is not 0.
 * @retval 1  It is 0; traced.
 */
uint32_t zar_pmtr_verify_action_hdl(uint32_t action, const char *caller);

/**
 * Checks that an action has its entry, free, string and compare functions, and traces each one that is missing.
 *
 * @param action  The record of the action.
 * @param caller  The name to use in trace messages; may be NULL.
 *
 * @retval 0  It has all four.
 * @retval 1  'action' is NULL, or a function is missing.
 */
uint32_t zar_pmtr_verify_action_content(const zar_action *action, const char *caller);

/**
 * Returns the first action of a statement. Despite its name, it returns the action's handle.
 *
 * @param clid        The client; it must have a database to work in.
 * @param pmtr_map    The parameter-map.
 * @param map_index   The number of the statement.
 * @param action_out  Receives the action.
 *
 * @retval 0   'action_out' holds it.
 * @retval 37  The client is inactive or has no database to work in.
 * @retval 39  'clid' is out of range, 'pmtr_map' does not resolve, or 'action_out' is NULL.
 * @retval 40  There is no such statement, or it has no actions. 'action_out' is untouched.
 */
uint32_t zar_pmtr_get_first_action_index(uint32_t clid, uint32_t pmtr_map, uint32_t map_index, uint32_t *action_out);

/**
 * Returns the action of a statement that follows a given one. Despite its name, it returns the action's handle.
 *
 * @param clid        The client; it must have a database to work in.
 * @param pmtr_map    The parameter-map.
 * @param map_index   The number of the statement.
 * @param current     The action to continue from, by its handle, which need not resolve.
 * @param action_out  Receives the next action.
 *
 * @retval 0   'action_out' holds it.
 * @retval 37  The client is inactive or has no database to work in.
 * @retval 39  'clid' is out of range, 'pmtr_map' does not resolve, or 'action_out' is NULL.
 * @retval 40  There is no next one, 'current' is not in the statement, or there is no such statement. 'action_out' is
 *             0.
 */
uint32_t zar_pmtr_get_next_action_index(uint32_t clid, uint32_t pmtr_map, uint32_t map_index, uint32_t current,
                                        uint32_t *action_out);

/** @} */
/** @} */

ZAR_END_EXPORTS

#endif
