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
 * A parameter-map holds statements in order of their map-indices. Each statement has a hidden class-map of its own,
 * which holds its filters, and an ordered list of actions.
 *
 * The operations of this group stop at the first fault that they find, unless told otherwise.
 * @{
 */

/**
 * @name The domain of the engine
 * @{
 */

/** "subscriber": the domain in which the engine keeps its parameter-maps, and in which all hidden class-maps of
 *  statements are made. */
extern const char *const kel_parameter_map_subscriber_domain_str;

/** @} */

/**
 * @name Making, storing and finding parameter-maps
 * As policy-maps and class-maps, a parameter-map is found by name only once it is stored in the client's database, its
 * own or else the default one.
 * @{
 */

/**
 * Makes an empty parameter-map.
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
 * Quirk: a name that the engine's built-in template name begins with makes the parameter-map hidden. That holds for
 * each leading part of the template name, the empty name included.
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
 * Quirk: any of the three kinds of maps is accepted, as by zar_store_policy(). Only zar_avl_delete_pmtr_map() takes one
 * of another kind out again: kel_delete_subscriber_parameter_map() leaves it where it is.
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
 * With a parameter-map go its statements: each action of a statement loses one reference, and the hidden class-map is
 * deleted with its filters. For the callbacks that run meanwhile the parameter-map does not resolve any more.
 *
 * Quirk: of the interned texts only the name is given back. The reference to the domain stays in the string database.
 * @{
 */

/**
 * Deletes a stored parameter-map: takes it out of its database and deletes it.
 *
 * @param pmtr_map  The parameter-map.
 * @param database  The database that it is stored in; zar_get_client_database_handle() gives it.
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
 * Not checked: whether the parameter-map is stored. A tree that still contains it is left dangling; see
 * zar_delete_stored_pmtr_map().
 */
uint32_t zar_delete_pmtr_map(uint32_t pmtr_map);

/** @} */

/**
 * @name Values of parameter-maps
 * @{
 */

/**
 * The name of a parameter-map.
 *
 * @param pmtr_map  The parameter-map.
 *
 * @return The name, or NULL when 'pmtr_map' does not resolve.
 */
const char *zar_get_pmtr_map_name(uint32_t pmtr_map);

/**
 * Whether a parameter-map is hidden. Despite the name, it is not for policy-maps; zar_is_policy_hidden() is.
 *
 * @param pmtr_map  The parameter-map.
 *
 * @retval 1  It is.
 * @retval 0  It is not, or 'pmtr_map' does not resolve.
 */
uint32_t zar_is_pmap_hidden(uint32_t pmtr_map);

/**
 * Makes a parameter-map visible. Nothing makes it hidden again. Despite the name, it is not for policy-maps;
 * zar_unhide_policy() is.
 *
 * @param pmtr_map  The parameter-map; nothing happens when it does not resolve.
 */
void zar_unhide_pmap(uint32_t pmtr_map);

/** @} */

/**
 * @name Walks over stored parameter-maps
 * They are walked as policy-maps are (zar_get_first_policy() and zar_get_next_policy()), in key order.
 * @{
 */

/**
 * Gives the first stored parameter-map.
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
 * Gives the stored parameter-map that follows a given one.
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
 * The engine names its parameter-maps by their names alone. They are of the domain "subscriber", and the client that
 * acts is the owner of that domain.
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
 * Quirk: only 40 is held for "not found". A search that failed is traced as one that found the map, and its status is
 * passed on.
 *
 * Quirk: this is the handle of the record stored under the key, whatever its kind (see zar_store_policy()).
 */
uint32_t kel_find_subscriber_parameter_map_by_name(const char *name, uint32_t domain_type, uint32_t *pmtr_map_out);

/**
 * Makes a parameter-map of the domain "subscriber" and stores it.
 *
 * @param name          Its name.
 * @param domain_type   Its domain type, 1 or 2.
 * @param pmtr_map_out  Receives the handle.
 *
 * @retval 0   It is made and stored.
 * @retval 37  It could not be made, as for zar_create_pmtr_map(); or it is made, but its client is inactive or has no
 *             database to work in.
 * @retval 38  No record.
 * @retval 39  'name' is NULL or could not be copied, 'domain_type' is neither 1 nor 2, 'pmtr_map_out' is NULL, or there
 *             is no client yet.
 * @retval 41  It is made, but could not be stored, as zar_store_pmtr_map() tells.
 *
 * A parameter-map that was made and could not be stored stays, unstored; 'pmtr_map_out' holds its handle, and
 * zar_delete_pmtr_map() deletes it. When it could not be made, 'pmtr_map_out' is untouched.
 */
uint32_t kel_create_subscriber_parameter_map(const char *name, uint32_t domain_type, uint32_t *pmtr_map_out);

/**
 * Deletes a stored parameter-map of the domain "subscriber".
 *
 * @param name         Its name.
 * @param domain_type  Its domain type, 1 or 2.
 *
 * @retval 0   It is deleted.
 * @retval 37  There is no client yet, the client that acts is inactive, or there is neither an own nor a default
 *             database.
 * @retval 39  'name' is NULL; or no such parameter-map was found, for whatever reason; or what stands under the name is
 *             none, and stays.
 * @retval 41  The tree refused the deletion; nothing has changed.
 */
uint32_t kel_delete_subscriber_parameter_map(const char *name, uint32_t domain_type);

/**
 * Finds a stored parameter-map of the domain "subscriber", of the domain type that the engine has for that domain.
 * Despite the name, it is not for policy-maps; kel_is_policy_created() is.
 *
 * @param name  Its name.
 *
 * @return The handle, or 0: no such parameter-map was found, for whatever reason; the engine has no type for the
 *         domain; or the name has 100 characters or more.
 *
 * Quirk: this is the handle of the record stored under the key, whatever its kind (see zar_store_policy()).
 */
uint32_t kel_is_pmap_created(const char *name);

/** @} */

/**
 * @name Statements
 * A statement comes into being with its first filter and goes with zar_pmtr_delete_filter() or with its parameter-map.
 *
 * Its hidden class-map is made with it and goes with it. That class-map is of the domain "subscriber", domain type 1
 * and criteria match-all, is stored in the database of the owner of that domain, and is named by `__PMTR__`, the name
 * of the parameter-map and the map-index as a signed decimal number, with nothing in between: `__PMTR__abc10` for index
 * 10 of the map "abc". A walk over class-maps gives it; a listing of all leaves it out.
 * @{
 */

/**
 * Adds a filter to a statement of a parameter-map, and makes the statement if there is none. A filter that equals the
 * new one, in content and no-match flag, takes over the new one's data instead (zar_replace_old_filter_hdl()).
 *
 * @param pmtr_map     The parameter-map.
 * @param filter       The filter's context.
 * @param no_match     0: "match"; anything else: "no-match".
 * @param regex        Kept in the filter: whether its text is a regular expression.
 * @param flag_3       Kept in the filter; its meaning is the engine's.
 * @param map_index    The number of the statement.
 * @param replace      Not 0: a statement of this number is deleted first, with its filters and actions.
 * @param filter_type  The type of the filter, by which the compare table asks for it. That table knows 0 to 4; types
 *                     above 31 count modulo 32 in the class-map's mask.
 *
 * Ownership: the context block stays the caller's. The data is the filter's if it was added or took over, else it stays
 * the caller's; when the new filter was made but could not be added, its free function has been called with it.
 *
 * @retval 0   Done; or the filter could not be sought, made or added (see below).
 * @retval 37  The hidden class-map of the statement does not resolve any more; or the new statement could not be put
 *             into the parameter-map.
 * @retval 38  No record for the statement, or no memory for the domain or the name of its class-map.
 * @retval 39  'pmtr_map' does not resolve, 'filter' is NULL, or the hidden class-map could not be made or stored; the
 *             latter happens when a class-map of its name is stored already.
 *
 * A failure to make the statement gives back all that was made for it. A statement that was to be replaced is gone all
 * the same.
 *
 * Quirk: when everything is there but the filter cannot be added, be it for want of memory or because its context lacks
 * a function, the answer is 0 and the statement stays, if need be without a filter. zar_retrieve_filter() on the
 * class-map that zar_get_internal_class_map() gives tells whether the filter is there.
 */
uint32_t zar_pmtr_create_or_add_filter(uint32_t pmtr_map, const zar_filter_context *filter, uint8_t no_match,
                                       uint8_t regex, uint8_t flag_3, uint32_t map_index, uint8_t replace,
                                       uint8_t filter_type);

/**
 * Puts a statement into a parameter-map, behind those with a smaller or an equal map-index.
 *
 * @param pmtr_map   The parameter-map.
 * @param statement  The statement.
 *
 * Ownership: the statement is the parameter-map's.
 *
 * @retval 0   It is in the parameter-map.
 * @retval 39  'pmtr_map' does not resolve, or 'statement' is NULL or is being deleted.
 *
 * Not checked: whether the statement is in a parameter-map already, whether its fields are filled, whether there is
 * another of its map-index, and where its memory comes from: it ends in the pool of the statements.
 */
uint32_t zar_add_statement_to_pmtr_map(uint32_t pmtr_map, zar_pmtr_map_stmt *statement);

/**
 * Deletes a statement of a parameter-map, with all its filters and its hidden class-map; each of its actions loses one
 * reference. For the callbacks that run meanwhile there is no such statement any more. Despite the name, it is not for
 * a single filter.
 *
 * @param pmtr_map   The parameter-map.
 * @param map_index  The number of the statement.
 *
 * @retval 0   The statement is deleted.
 * @retval 37  There is no such statement.
 * @retval 39  'pmtr_map' does not resolve.
 *
 * Quirk: a hidden class-map that cannot be deleted, as when a policy-map refers to it, is traced and stays stored; the
 * statement goes all the same. A new statement of this number then fails with 39, for its class-map has that name.
 */
uint32_t zar_pmtr_delete_filter(uint32_t pmtr_map, uint32_t map_index);

/**
 * Deletes a statement that is in no parameter-map any more, as zar_pmtr_delete_filter() does.
 *
 * @param statement  The statement, which the caller has taken out of its parameter-map.
 *
 * Ownership: the record is gone.
 *
 * @retval 0   The statement is deleted.
 * @retval 39  'statement' is NULL, or is being deleted.
 *
 * Not checked: whether the statement is still in a parameter-map, whose list is then left dangling.
 */
uint32_t zar_pmtr_delete_filter_by_stmt(zar_pmtr_map_stmt *statement);

/**
 * Gives the smallest map-index of a parameter-map.
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
 * Gives the map-index that follows a given one in a parameter-map.
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
 * Gives the hidden class-map of a statement.
 *
 * @param pmtr_map   The parameter-map.
 * @param map_index  The number of the statement.
 *
 * Ownership: the class-map is the statement's. It may be read; deleting it is for the statement.
 *
 * @return The class-map, or 0: 'pmtr_map' does not resolve, or there is no such statement (not traced).
 */
uint32_t zar_get_internal_class_map(uint32_t pmtr_map, uint32_t map_index);

/**
 * Finds the filter of a statement whose text begins with a keyword, and gives the whole text, without "match" or
 * "no-match". The filters are asked in order; the text must be longer than the keyword.
 *
 * @param pmtr_map   The parameter-map.
 * @param map_index  The number of the statement. Only the low 8 bits count.
 * @param keyword    What the text must begin with. The empty keyword finds the first text that is not empty, NULL finds
 *                   none.
 * @param text_out   Receives the text and its terminating NUL.
 *
 * @retval 0   'text_out' holds the text.
 * @retval 39  'pmtr_map' does not resolve, there is no such statement, its class-map does not resolve, or 'text_out' is
 *             NULL.
 * @retval 40  No filter has such a text; or the search ended at a filter without a string function, for want of memory,
 *             or where 256 characters of the keyword agreed with a text, which is no match.
 *
 * On all but 0 'text_out' is untouched.
 *
 * Not checked: whether 'text_out' has room for the text, of whatever length it is.
 *
 * Quirk: statements of a map-index above 255 cannot be asked; the one of the low 8 bits is.
 */
uint32_t kel_pmtr_map_get_filter_expr_by_type(uint32_t pmtr_map, uint32_t map_index, const char *keyword,
                                              char *text_out);

/** @} */

/**
 * @name Evaluating a statement
 * Whether the values of a subscriber satisfy a statement is found with the compare table: five slots, one for each
 * filter type from 0 to 4. There is one table in the process, so evaluations must not be mixed.
 *
 * 1. zar_init_internal_cmap_compare() marks the filter types of the statement as not matched yet.
 * 2. zar_add_to_internal_cmap_compare() is called for each value that the subscriber offers, with its filter type as
 *    the slot.
 * 3. zar_internal_cmap_compare() answers.
 * @{
 */

/**
 * Begins an evaluation: the slot of each filter type that was ever added to the class-map is configured and not
 * matched, all others are empty.
 *
 * @param cmap  The hidden class-map of the statement. When it does not resolve, all slots are empty.
 */
void zar_init_internal_cmap_compare(uint32_t cmap);

/**
 * Notes in a slot whether the class-map has a filter that equals a value.
 *
 * @param cmap      The hidden class-map of the statement.
 * @param filter    The value, as the context of a filter; it needs its first three words.
 * @param no_match  The no-match flag that the filter must have; the low 8 bits count.
 * @param slot      The filter type of the value, 0 to 4. Above 4 nothing happens.
 *
 * Quirk: each call writes the slot, so the last one for a slot counts; and it writes a slot that was empty, too. A
 * value that is not found, for whatever reason, thus makes the statement fail, even if the statement has no filter of
 * that type.
 */
void zar_add_to_internal_cmap_compare(uint32_t cmap, const zar_filter_context *filter, uint32_t no_match,
                                      uint32_t slot);

/**
 * Answers an evaluation. The table keeps what it holds.
 *
 * @retval 1  At least one slot is matched, and none is left that is not.
 * @retval 0  A slot is configured and not matched, or all slots are empty.
 */
uint32_t zar_internal_cmap_compare(void);

/** @} */

/**
 * @name Actions of statements
 * The actions of a statement stand in ascending order of their action numbers. They are actions like all others; a
 * statement that goes drops one reference on each.
 * @{
 */

/**
 * Makes an action and puts it into a statement. An action number stands in a statement once: where the number is there
 * already with the same action (zar_compare_actions()), that action takes over the new data, which frees its old data,
 * and the precedence, and keeps its handle; where it is there with another one, that one is taken out.
 *
 * @param pmtr_map    The parameter-map.
 * @param map_index   The number of the statement.
 * @param action_num  The action number.
 * @param precedence  The precedence.
 * @param context     The action's context, from the heap of its maker.
 *
 * Ownership: on 0 the block is freed as by zar_free_client_action_context(), which leaves one without a free function,
 * on all else it stays the caller's. The
 * data is the action's when it was made or took over. An action that was taken out for another is neither deleted nor
 * released: it is the caller's, by its handle, to delete with zar_delete_action().
 *
 * @retval 0   Done; or the parameter-map does not resolve, or the action could not be made (see below).
 * @retval 1   The new action could not be put into the statement, as when there is no such statement. It was deleted
 *             again, and its data freed with it; the block is still the caller's.
 * @retval 39  'context' is NULL.
 *
 * Quirk: 0 does not say that the action is there. When 'pmtr_map' does not resolve, or no action could be made of the
 * context, the block is freed, its data stays the caller's, and the answer is 0; an action that was to give way is
 * taken out even so. zar_retrieve_action_num_in_pmtr_stmt_action() tells what is there.
 */
uint32_t zar_pmtr_map_create_action(uint32_t pmtr_map, uint32_t map_index, uint8_t action_num, uint16_t precedence,
                                    zar_action_context *context);

/**
 * Puts an action into a statement, behind those with a smaller or an equal action number; where the last of these
 * stands there several times, right behind the first place of that one.
 *
 * @param pmtr_map   The parameter-map.
 * @param map_index  The number of the statement.
 * @param action     The action.
 *
 * Ownership: the statement drops one reference when it goes; the caller provides it. No reference is added here.
 *
 * @retval 0   It is in the statement.
 * @retval 39  'pmtr_map' or 'action' does not resolve, the action lacks a function, or there is no such statement.
 *
 * Not checked: whether the action, or its number, is in the statement already.
 */
uint32_t zar_add_action_to_pmtr_map_rule(uint32_t pmtr_map, uint32_t map_index, uint32_t action);

/**
 * Takes an action out of a statement; the first occurrence, if it is there several times.
 *
 * @param pmtr_map   The parameter-map.
 * @param map_index  The number of the statement.
 * @param action     The action.
 *
 * Ownership: the statement's reference is the caller's again; nothing is freed or released.
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
 * Gives the first action of a statement. Despite the name, it gives the action's handle.
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
 * Gives the action of a statement that follows a given one. Despite the name, it gives the action's handle.
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
