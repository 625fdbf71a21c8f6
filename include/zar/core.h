/**
 * @file
 * The repository core: handles, start-up and databases, clients, domains, and the keyed trees.
 */
#ifndef ZAR_CORE_H
#define ZAR_CORE_H

#include "zar/records.h"

ZAR_BEGIN_EXPORTS

/**
 * @defgroup zar_core Repository core
 * What everything else stands on: the handle table, start-up and databases, the registry of clients, the ownership of
 * domains, and the keyed trees in which maps and targets are found.
 * @{
 */

/**
 * @name State
 * Set up by zar_init() and changed by the library alone; callers may read it.
 * @{
 */

/**
 * The client table. Entry i holds the client with clid i + 1; entries are never removed. The array moves when it grows,
 * so callers may keep a pointer to an entry, but none into the array. NULL when zar_init() could not allocate it.
 */
extern zar_client_data **zar_clients_info;
/** The room in the client table, in entries: 10 at first, and 10 more each time that it is full. */
extern uint32_t zar_allowed_max_clients;
/** The number of clients, which is also the highest valid clid. */
extern uint32_t zar_current_max_clients;
/** The claimed domains (zar_domain_entry) in the order of their claims; no domain stands in it twice. */
extern queue_head zar_domain_list;

/** @} */

/**
 * @name Pool names
 * The display names of the record pools, for programs that list memory. Only the two pools of parameter-maps are known
 * to the platform by these names; all others are known to it by their allocation tags.
 * @{
 */

/** "ZAR domain list": zar_domain_entry, 20 records to a chunk. */
extern const char *const zar_domain_list_chunk_str;
/** "ZAR DB chunk": zar_db, 20 records to a chunk. */
extern const char *const zar_db_chunk_str;
/** "ZAR client data chunk": zar_client_data, 20 records to a chunk. */
extern const char *const zar_client_data_chunk_str;
/** "ZAR DB pmap chunk": zar_pmap, 20 records to a chunk. */
extern const char *const zar_db_pmap_chunk_str;
/** "ZAR DB cmap chunk": zar_cmap, 20 records to a chunk. */
extern const char *const zar_db_cmap_chunk_str;
/** "ZAR DB action chunk": zar_action, 50 records to a chunk. */
extern const char *const zar_db_action_chunk_str;
/** "ZAR DB filter chunk": zar_filter, 50 records to a chunk. */
extern const char *const zar_db_filter_chunk_str;
/** "ZAR DB event tuple chunk": zar_event_tuple, 30 records to a chunk. */
extern const char *const zar_db_event_tuple_chunk_str;
/** "ZAR DB event context chunk": zar_event_context, 30 records to a chunk. */
extern const char *const zar_db_event_context_chunk_str;
/** "ZAR DB class action chunk": zar_class_action, 30 records to a chunk. */
extern const char *const zar_db_class_action_chunk_str;
/** "ZAR DB pmap cmap ref chunk": zar_pmap_cmap_ref, 30 records to a chunk. */
extern const char *const zar_db_pmap_cmap_ref_chunk_str;
/** "ZAR DB pmap target ref chunk": zar_pmap_target_ref, 30 records to a chunk. */
extern const char *const zar_db_pmap_target_chunk_str;
/** "ZAR DB cmap pmap ref chunk": zar_cmap_pmap_ref, 30 records to a chunk. */
extern const char *const zar_db_cmap_pmap_ref_chunk_str;
/** "ZAR DB target chunk": zar_target, 50 records to a chunk. */
extern const char *const zar_db_target_chunk_str;
/** "ZAR DB target pmap chunk": zar_target_pmap, 30 records to a chunk. */
extern const char *const zar_db_target_pmap_chunk_str;
/** "ZAR DB target policy context chunk": zar_target_policy_context, 30 records to a chunk. */
extern const char *const zar_db_target_policy_context_chunk_str;
/** "ZAR DB pmtr-map chunk": zar_pmtr_map, 20 records to a chunk. */
extern const char *const zar_db_pmtr_map_chunk_str;
/** "ZAR DB pmtr-map stmt chunk": zar_pmtr_map_stmt, 20 records to a chunk. */
extern const char *const zar_db_pmtr_map_stmt_chunk_str;

/** @} */

/**
 * @name Handles
 * The one table of the process that names records of every kind. It holds pointers and owns no record. Callers use it
 * to read a record behind a handle, and seldom to name records of their own.
 * @{
 */

/**
 * Makes the handle table; zar_init() calls it.
 *
 * @return The platform's identifier of the new table.
 *
 * Not checked: that the platform could make one, and that there was none yet. A second call starts a new table and a
 * count of 0. The old one is not ended but lost: its handles do not resolve, as long as the platform gives none of
 * their numbers again in the new table.
 */
uint16_t zar_handle_table_init(void);

/**
 * Ends the handle table, and with it every handle. The records behind the handles are left as they are, and so is the
 * count of live handles until the next zar_handle_table_init().
 *
 * @return What the platform answers: non-zero when there was a table.
 *
 * Not checked: that no handle is used and no record made afterwards.
 */
uint32_t zar_handle_table_destroy(void);

/**
 * Names a record by a new handle. A handle made here has no kind: every operation that takes a handle accepts it and
 * reads the record as the record that it expects.
 *
 * @param record  The record; NULL is refused without a trace.
 *
 * Ownership: the record stays the caller's, and so does the handle: zar_handle_release() ends it.
 *
 * @return The handle, or 0: 'record' is NULL, or the platform gave none (neither is traced); or 65,536 handles count as
 *         live, or there is no room left to note the kind of one more (both are traced as the limit).
 *
 * Not checked: what the record is, whether it has a handle already, and that it outlives the handle.
 *
 * Quirk: when the platform gives none, the attempt is counted as a live handle all the same, so the room in the table
 * is one less until some handle too many is released. Where handles too many are released, the count falls below the
 * number of live handles; the room for their kinds, 98,304 at least, is then what ends first.
 */
uint32_t zar_handle_alloc(void *record);

/**
 * Ends a handle; from then on it is reported as destroyed already, until the platform gives its number again.
 *
 * @param handle  The handle to end; 0 does nothing.
 *
 * Ownership: the record is not freed.
 *
 * Not checked: that the handle is live (the count of live handles is lowered all the same, though never below 0), and
 * that it is the caller's own: a record of the library that loses its handle in this way cannot be reached or deleted
 * through it any more.
 */
void zar_handle_release(uint32_t handle);

/**
 * The record behind a handle, of whatever kind.
 *
 * @param handle  The handle, of any kind or none.
 *
 * Ownership: the record stays the repository's and is gone once it is deleted. zar/records.h tells what others may
 * write in it.
 *
 * @return The record, or NULL: the handle is 0 (traced at level 6), released (level 3), or was never issued (not
 *         traced).
 *
 * Quirk: a live handle that names NULL is damage; it is traced at level 3, NULL is returned and the handle is ended, so
 * that from then on it counts as released.
 */
void *zar_handle_get_context(uint32_t handle);

/** @} */

/**
 * @name Start-up and databases
 * @{
 */

/**
 * Brings the repository up: an empty client table with room for 10, an empty domain list, a new handle table. It comes
 * before every other operation.
 *
 * @return The identifier of the handle table, as from zar_handle_table_init().
 *
 * A client table that cannot be allocated is traced and not reported: zar_clients_info is NULL then, and
 * zar_client_register() answers 37.
 *
 * Not checked: that this is the first call. A second one starts anew and gives nothing back of what there was: clients,
 * domain claims and handles are lost.
 */
uint16_t zar_init(void);

/**
 * Makes a database: four empty trees, for policy-maps, class-maps, targets and parameter-maps.
 *
 * @param out  Receives the database.
 *
 * Ownership: the database is the caller's to hand to zar_client_register() and to empty with zar_destroy_database().
 * Its memory is never given back.
 *
 * @retval 0   'out' holds the database.
 * @retval 38  Out of memory: no pool ('out' is untouched, and not looked at), no record ('out' is NULL), or no tree, or
 *             one that the platform could not initialise ('out' is untouched).
 * @retval 39  'out' is NULL; the pool has been made nonetheless. Not traced.
 *
 * A failure at a tree leaves the record and the trees made so far allocated, and nobody knows them.
 */
uint32_t zar_create_database(zar_db **out);

/**
 * Empties the four trees of a database. Policy-maps, class-maps and parameter-maps are only unlinked: they live on
 * behind their handles, unstored. Targets are deleted with zar_delete_target(); one that cannot be is traced, and the
 * work goes on.
 *
 * @param database  The database. A tree that it lacks is passed over.
 *
 * Ownership: the record and its tree objects stay allocated.
 *
 * @retval 0   The trees were emptied, also when there was nothing in them.
 * @retval 39  'database' is NULL.
 *
 * Not checked: the clients that registered this database. Their entries keep naming it, and clients without one still
 * work in it when it is that of clid 1; the caller sees to it that none of them uses it any more.
 */
uint32_t zar_destroy_database(zar_db *database);

/** @} */

/**
 * @name Clients
 * A client registers once under its name and names itself by its clid from then on. Clids run from 1 to
 * zar_current_max_clients. A client is active from its registration on; nothing in the library makes it inactive.
 * @{
 */

/**
 * Registers a client, or finds the one that has the name. The first client has clid 1: its database is the default
 * database, and it owns every domain that nobody claimed.
 *
 * @param name      The name that the client is known by, compared as a whole; copied.
 * @param database  Its own database, or NULL: it works in the default database.
 * @param clid_out  Receives the clid.
 *
 * Ownership: the entry is the repository's and stays until the process ends. The database stays the caller's; it must
 * live as long as the entry.
 *
 * @retval 0   The client is registered, and 'clid_out' holds its clid; or an active client has the name already (see
 *             below).
 * @retval 37  zar_init() could not make the client table; or there is no record for the entry ('clid_out' is 0 then,
 *             and untouched in the other cases); or the full table could not grow, for want of memory or because its
 *             size would pass the largest number.
 * @retval 38  The pool of client entries could not be made.
 * @retval 39  'name' or 'clid_out' is NULL.
 *
 * A table that could not grow leaves the new entry and its copy of the name allocated; no client is counted.
 *
 * Not checked: whether the copy of the name succeeded. Without it the client is registered with a NULL name, which no
 * later registration matches.
 *
 * Quirk: for the name of an active client the result is 0, 'clid_out' is left untouched and 'database' is ignored.
 *
 * Quirk: an inactive client of that name is made active again with the clid and the database that it had; 'database' is
 * ignored and 'clid_out' receives the clid less 1.
 */
uint32_t zar_client_register(const char *name, zar_db *database, uint32_t *clid_out);

/**
 * Whether a clid is in range. Whether its client is active is not asked.
 *
 * @param clid    The clid.
 * @param caller  The name for the trace; may be NULL.
 *
 * @retval 0  It is.
 * @retval 1  It is 0 or above the number of clients; traced.
 */
uint32_t zar_verify_client_id(uint32_t clid, const char *caller);

/**
 * The database in which a client works: its own, or else the default one. All operations that take a clid and need a
 * database choose in this way.
 *
 * @param clid            The client.
 * @param caller          The name for the trace; may be NULL.
 * @param out             Receives the database.
 * @param is_default_out  Receives 0 for the client's own database and 1 for the default one; may be NULL.
 *
 * @retval 1  'out' holds the database.
 * @retval 0  'clid' is out of range, 'out' is NULL (not traced), the client is inactive or missing, or there is neither
 *            an own nor a default database.
 *
 * On 0 both places are untouched, except that without a default database 'out' receives NULL.
 *
 * Quirk: whether client 1, which the default database comes from, is active itself is not asked.
 */
uint32_t zar_get_client_database_handle(uint32_t clid, const char *caller, zar_db **out, uint32_t *is_default_out);

/**
 * The client at which a walk over the clients with a database of their own begins: the engine.
 *
 * @return The engine's own clid (its kel_clid), whatever the client table holds.
 */
uint32_t zar_get_first_client_with_database(void);

/**
 * The next client behind a given one that has a database of its own.
 *
 * @param clid  The client to go on from.
 *
 * @return The clid, or 0: there is none, 'clid' is out of range, or its client is inactive or missing.
 *
 * Not checked: whether the client that is found is active.
 */
uint32_t zar_get_next_client_with_database(uint32_t clid);

/**
 * Traces the client table at level 6: the number of clients and the room for them, then clid, status and name of each.
 * A name that is missing prints as a blank; an entry that is missing is passed over.
 *
 * Quirk: every status but 0 prints as "Active", while only 1 counts as active elsewhere.
 */
void zar_display_clients(void);

/**
 * Says which function is to hear of policy-maps that are taken off targets because they are deleted. It is called by
 * zar_delete_stored_policy() and zar_delete_stored_policy_by_name() when they are given this clid, for each target,
 * after the pair has been taken apart. Its type says when exactly, and what it may do (#zar_target_policy_removal_fn).
 *
 * @param clid      The client.
 * @param callback  The function; it replaces an earlier one. NULL: none is to hear.
 *
 * @retval 0   It is registered.
 * @retval 37  The client is inactive or missing.
 * @retval 39  'clid' is out of range.
 */
uint32_t zar_client_register_target_policy_removal_vector(uint32_t clid, zar_target_policy_removal_fn callback);

/** @} */

/**
 * @name Domains
 * First come, first served: a claim cannot be given up or passed on. Names of domains are compared as a whole, with
 * their case.
 * @{
 */

/**
 * Claims a domain for a client.
 *
 * @param clid    The client.
 * @param domain  The domain; copied.
 *
 * Ownership: the claim is the repository's and stays until the process ends.
 *
 * @retval 0   The client owns the domain; the claim is the last in zar_domain_list.
 * @retval 38  No record for the claim, or no memory for the copy of the domain.
 * @retval 39  'clid' is out of range, 'domain' is NULL, or the domain is claimed already, if only by the same client.
 *
 * A failure leaves no claim behind.
 *
 * Not checked: whether the client is active.
 */
uint32_t zar_register_domain(uint32_t clid, const char *domain);

/**
 * The client that owns a domain.
 *
 * @param domain     The domain.
 * @param owner_out  Receives the owner's clid: 1 for a domain that nobody claimed.
 *
 * @retval 0   'owner_out' holds the owner.
 * @retval 39  'domain' or 'owner_out' is NULL.
 *
 * Quirk: an unclaimed domain is never an error, and its owner is 1 even while no client has registered.
 */
uint32_t zar_get_owner_for_domain(const char *domain, uint32_t *owner_out);

/** @} */

/**
 * @name Comparators
 * What orders the trees of a database. A comparator sets the node that is sought or inserted ('nascent') against one in
 * the tree and reads nothing of either but the key, so a probe of which only the key is set will do. They are handed to
 * the platform and seldom called otherwise. The map comparators deliberately do not compare to the end of both keys,
 * and the one of policy-maps deliberately differs from the other two; none of the three is a consistent order.
 * @{
 */

/**
 * Orders two policy-maps by their name keys, over the length of the shorter one, so that two keys are equal when one
 * begins with the other. A missing key counts as empty.
 *
 * @param nascent  The policy-map that is sought or inserted; may be NULL.
 * @param tree     The policy-map in the tree; may be NULL.
 *
 * @retval 0  'nascent' sorts before 'tree', or it alone is NULL.
 * @retval 1  The keys are equal over that length.
 * @retval 2  'nascent' sorts after 'tree', or 'tree' is NULL.
 */
uint32_t zar_pmap_compare_string(const void *nascent, const void *tree);

/**
 * Orders two class-maps by their name keys, over the length of the key in the tree, so that a key equals one in the
 * tree that it begins with, and sorts before one that begins with it. A missing key counts as empty.
 *
 * @param nascent  The class-map that is sought or inserted; may be NULL.
 * @param tree     The class-map in the tree; may be NULL.
 *
 * @retval 0  'nascent' sorts before 'tree', or it alone is NULL.
 * @retval 1  The keys are equal over that length.
 * @retval 2  'nascent' sorts after 'tree', or 'tree' is NULL.
 */
uint32_t zar_cmap_compare_string(const void *nascent, const void *tree);

/**
 * Orders two parameter-maps by their name keys, over the length of the key in the tree, so that a key equals one in the
 * tree that it begins with, and sorts before one that begins with it. A missing key counts as empty.
 *
 * @param nascent  The parameter-map that is sought or inserted; may be NULL.
 * @param tree     The parameter-map in the tree; may be NULL.
 *
 * @retval 0  'nascent' sorts before 'tree', or it alone is NULL.
 * @retval 1  The keys are equal over that length.
 * @retval 2  'nascent' sorts after 'tree', or 'tree' is NULL.
 */
uint32_t zar_pmtr_map_compare_string(const void *nascent, const void *tree);

/**
 * Orders two targets by their handles, as unsigned numbers.
 *
 * @param nascent  The target that is sought or inserted.
 * @param tree     The target in the tree.
 *
 * @retval 0  'nascent' has the smaller handle.
 * @retval 1  The handles are equal.
 * @retval 2  'nascent' has the greater handle; or one of the two is NULL, which is traced at level 3.
 */
uint32_t zar_target_compare_int(const void *nascent, const void *tree);

/** @} */

/**
 * @name Trees of maps
 * One family for each of the three map trees of a database. These work on records, not on handles, and answer 1 for
 * done and 0 for not; a database that lacks the tree is treated like NULL. Whatever answers 0 is traced at level 3 and
 * has changed nothing in the tree. The trees own no record and copy none. What comes out of one may be a map of another
 * kind, if one was stored there.
 *
 * Callers rather use the storing, retrieving, deleting and walking operations, which choose the database by the clid
 * and check more. Not checked by any of these: that a record is what its type says, that it has a name key, and that it
 * stays alive while it is in the tree.
 * @{
 */

/**
 * Enters a policy-map into its tree under its name key.
 *
 * @param database  Whose tree of policy-maps is meant.
 * @param record    The policy-map to enter.
 *
 * Ownership: none passes; the record must be taken out of the tree before it is freed.
 *
 * @retval 1  It is in the tree.
 * @retval 0  A key that compares equal is present, the record is in a tree already, the platform refuses it, or an
 *            argument is NULL.
 */
uint32_t zar_avl_insert_pmap(zar_db *database, zar_pmap *record);

/**
 * Enters a class-map into its tree under its name key.
 *
 * @param database  Whose tree of class-maps is meant.
 * @param record    The class-map to enter.
 *
 * Ownership: none passes; the record must be taken out of the tree before it is freed.
 *
 * @retval 1  It is in the tree.
 * @retval 0  A key that compares equal is present, the record is in a tree already, the platform refuses it, or an
 *            argument is NULL.
 */
uint32_t zar_avl_insert_cmap(zar_db *database, zar_cmap *record);

/**
 * Enters a parameter-map into its tree under its name key.
 *
 * @param database  Whose tree of parameter-maps is meant.
 * @param record    The parameter-map to enter.
 *
 * Ownership: none passes; the record must be taken out of the tree before it is freed.
 *
 * @retval 1  It is in the tree.
 * @retval 0  A key that compares equal is present, the record is in a tree already, the platform refuses it, or an
 *            argument is NULL.
 */
uint32_t zar_avl_insert_pmtr_map(zar_db *database, zar_pmtr_map *record);

/**
 * Looks for a policy-map by its name key.
 *
 * @param database   Whose tree of policy-maps is meant.
 * @param probe      A record, in no tree, whose 'hash_str' is the key sought.
 * @param found_out  Receives the record found, or NULL when there is none.
 *
 * @retval 1  The tree was searched; 'found_out' tells what was found.
 * @retval 0  'database' or 'probe' is NULL; 'found_out' is untouched.
 *
 * Not checked: 'found_out', which must not be NULL.
 */
uint32_t zar_avl_search_pmap(zar_db *database, zar_pmap *probe, zar_pmap **found_out);

/**
 * Looks for a class-map by its name key.
 *
 * @param database   Whose tree of class-maps is meant.
 * @param probe      A record, in no tree, whose 'hash_str' is the key sought.
 * @param found_out  Receives the record found, or NULL when there is none.
 *
 * @retval 1  The tree was searched; 'found_out' tells what was found.
 * @retval 0  'database' or 'probe' is NULL; 'found_out' is untouched.
 *
 * Not checked: 'found_out', which must not be NULL.
 */
uint32_t zar_avl_search_cmap(zar_db *database, zar_cmap *probe, zar_cmap **found_out);

/**
 * Looks for a parameter-map by its name key.
 *
 * @param database   Whose tree of parameter-maps is meant.
 * @param probe      A record, in no tree, whose 'hash_str' is the key sought.
 * @param found_out  Receives the record found, or NULL when there is none.
 *
 * @retval 1  The tree was searched; 'found_out' tells what was found.
 * @retval 0  'database' or 'probe' is NULL; 'found_out' is untouched.
 *
 * Not checked: 'found_out', which must not be NULL.
 */
uint32_t zar_avl_search_pmtr_map(zar_db *database, zar_pmtr_map *probe, zar_pmtr_map **found_out);

/**
 * Takes a policy-map out of its tree.
 *
 * @param database     Whose tree of policy-maps is meant.
 * @param record       The policy-map itself, which is then taken out and no other; or a probe that holds its key.
 * @param removed_out  Receives the record that was taken out.
 *
 * Ownership: the record is the caller's to free.
 *
 * @retval 1  It is out of the tree.
 * @retval 0  No record in the tree compares equal; or an argument is NULL.
 *
 * Where an argument is NULL, 'removed_out' is untouched. A removal that fails otherwise leaves there the given record,
 * unless the platform has written something else; it means nothing.
 */
uint32_t zar_avl_delete_pmap(zar_db *database, zar_pmap *record, zar_pmap **removed_out);

/**
 * Takes a class-map out of its tree.
 *
 * @param database     Whose tree of class-maps is meant.
 * @param record       The class-map itself, which is then taken out and no other; or a probe that holds its key.
 * @param removed_out  Receives the record that was taken out.
 *
 * Ownership: the record is the caller's to free.
 *
 * @retval 1  It is out of the tree.
 * @retval 0  No record in the tree compares equal; or an argument is NULL.
 *
 * Where an argument is NULL, 'removed_out' is untouched. A removal that fails otherwise leaves there the given record,
 * unless the platform has written something else; it means nothing.
 */
uint32_t zar_avl_delete_cmap(zar_db *database, zar_cmap *record, zar_cmap **removed_out);

/**
 * Takes a parameter-map out of its tree.
 *
 * @param database     Whose tree of parameter-maps is meant.
 * @param record       The parameter-map itself, which is then taken out and no other; or a probe that holds its key.
 * @param removed_out  Receives the record that was taken out.
 *
 * Ownership: the record is the caller's to free.
 *
 * @retval 1  It is out of the tree.
 * @retval 0  No record in the tree compares equal; or an argument is NULL.
 *
 * Where an argument is NULL, 'removed_out' is untouched. A removal that fails otherwise leaves there the given record,
 * unless the platform has written something else; it means nothing.
 */
uint32_t zar_avl_delete_pmtr_map(zar_db *database, zar_pmtr_map *record, zar_pmtr_map **removed_out);

/**
 * The first policy-map in key order.
 *
 * @param database   Whose tree of policy-maps is meant.
 * @param first_out  Receives the record, or NULL when the tree is empty.
 *
 * @retval 1  'first_out' is written.
 * @retval 0  An argument is NULL.
 */
uint32_t zar_avl_get_first_pmap(zar_db *database, zar_pmap **first_out);

/**
 * The first class-map in key order.
 *
 * @param database   Whose tree of class-maps is meant.
 * @param first_out  Receives the record, or NULL when the tree is empty.
 *
 * @retval 1  'first_out' is written.
 * @retval 0  An argument is NULL.
 */
uint32_t zar_avl_get_first_cmap(zar_db *database, zar_cmap **first_out);

/**
 * The first parameter-map in key order.
 *
 * @param database   Whose tree of parameter-maps is meant.
 * @param first_out  Receives the record, or NULL when the tree is empty.
 *
 * @retval 1  'first_out' is written.
 * @retval 0  An argument is NULL.
 */
uint32_t zar_avl_get_first_pmtr_map(zar_db *database, zar_pmtr_map **first_out);

/**
 * The policy-map that follows another one in key order. For one that is not in the tree it is the first that sorts
 * after it.
 *
 * @param database  Whose tree of policy-maps is meant.
 * @param current   The policy-map to go on from.
 * @param next_out  Receives the record, or NULL when there is none.
 *
 * @retval 1  'next_out' is written.
 * @retval 0  An argument is NULL.
 */
uint32_t zar_avl_get_next_pmap(zar_db *database, zar_pmap *current, zar_pmap **next_out);

/**
 * The class-map that follows another one in key order. For one that is not in the tree it is the first that sorts after
 * it.
 *
 * @param database  Whose tree of class-maps is meant.
 * @param current   The class-map to go on from.
 * @param next_out  Receives the record, or NULL when there is none.
 *
 * @retval 1  'next_out' is written.
 * @retval 0  An argument is NULL.
 */
uint32_t zar_avl_get_next_cmap(zar_db *database, zar_cmap *current, zar_cmap **next_out);

/**
 * The parameter-map that follows another one in key order. For one that is not in the tree it is the first that sorts
 * after it.
 *
 * @param database  Whose tree of parameter-maps is meant.
 * @param current   The parameter-map to go on from.
 * @param next_out  Receives the record, or NULL when there is none.
 *
 * @retval 1  'next_out' is written.
 * @retval 0  An argument is NULL.
 */
uint32_t zar_avl_get_next_pmtr_map(zar_db *database, zar_pmtr_map *current, zar_pmtr_map **next_out);

/** @} */

/**
 * @name Trees of targets
 * The same for the target tree, which is ordered by the targets' handles. Each operation stands here twice: the two do
 * the same on the database that they are given, and differ in their traces, which show whether a client's own or the
 * default database was meant. Callers rather use zar_add_target() and zar_remove_target().
 * @{
 */

/**
 * Enters a target into the target tree: the twin for a client's own database.
 *
 * @param database  Whose tree of targets is meant.
 * @param target    The target to enter.
 *
 * Ownership: none passes; the target must be taken out of the tree before it is deleted.
 *
 * @retval 1  It is in the tree.
 * @retval 0  A target of the same handle is present, the target is in a tree already, the platform refuses it, or an
 *            argument is NULL.
 */
uint32_t zar_avl_insert_target_client_db(zar_db *database, zar_target *target);

/**
 * Enters a target into the target tree: the twin for the default database.
 *
 * @param database  Whose tree of targets is meant.
 * @param target    The target to enter.
 *
 * Ownership: none passes; the target must be taken out of the tree before it is deleted.
 *
 * @retval 1  It is in the tree.
 * @retval 0  A target of the same handle is present, the target is in a tree already, the platform refuses it, or an
 *            argument is NULL.
 */
uint32_t zar_avl_insert_target_default_db(zar_db *database, zar_target *target);

/**
 * Looks for a target by its handle: the twin for a client's own database.
 *
 * @param database   Whose tree of targets is meant.
 * @param probe      A record, in no tree, whose 'handle' is the one sought.
 * @param found_out  Receives the target, or NULL when there is none.
 *
 * @retval 1  'found_out' holds the target.
 * @retval 0  There is none; or an argument is NULL, and 'found_out' is untouched.
 *
 * Quirk: unlike the searches for maps, this one answers 0 when it finds nothing.
 */
uint32_t zar_avl_search_target_client_db(zar_db *database, zar_target *probe, zar_target **found_out);

/**
 * Looks for a target by its handle: the twin for the default database.
 *
 * @param database   Whose tree of targets is meant.
 * @param probe      A record, in no tree, whose 'handle' is the one sought.
 * @param found_out  Receives the target, or NULL when there is none.
 *
 * @retval 1  'found_out' holds the target.
 * @retval 0  There is none; or an argument is NULL, and 'found_out' is untouched.
 *
 * Quirk: unlike the searches for maps, this one answers 0 when it finds nothing.
 */
uint32_t zar_avl_search_target_default_db(zar_db *database, zar_target *probe, zar_target **found_out);

/**
 * Takes a target out of the target tree: the twin for a client's own database.
 *
 * @param database     Whose tree of targets is meant.
 * @param target       The target itself, which is then taken out and no other; or a probe that holds its handle.
 * @param removed_out  Receives the target that was taken out.
 *
 * Ownership: the target is the caller's to delete.
 *
 * @retval 1  It is out of the tree.
 * @retval 0  No target of that handle is in the tree; or an argument is NULL.
 *
 * Where an argument is NULL, 'removed_out' is untouched. A removal that fails otherwise leaves there the given record,
 * unless the platform has written something else; it means nothing.
 */
uint32_t zar_avl_delete_target_client_db(zar_db *database, zar_target *target, zar_target **removed_out);

/**
 * Takes a target out of the target tree: the twin for the default database.
 *
 * @param database     Whose tree of targets is meant.
 * @param target       The target itself, which is then taken out and no other; or a probe that holds its handle.
 * @param removed_out  Receives the target that was taken out.
 *
 * Ownership: the target is the caller's to delete.
 *
 * @retval 1  It is out of the tree.
 * @retval 0  No target of that handle is in the tree; or an argument is NULL.
 *
 * Where an argument is NULL, 'removed_out' is untouched. A removal that fails otherwise leaves there the given record,
 * unless the platform has written something else; it means nothing.
 */
uint32_t zar_avl_delete_target_default_db(zar_db *database, zar_target *target, zar_target **removed_out);

/** @} */

/**
 * @name Emptying trees
 * zar_destroy_database() empties all four trees of a database in this way. Emptying unlinks every node and calls the
 * tree's free callback once on each.
 * @{
 */

/**
 * Unlinks every policy-map of a database. None is freed: they live on behind their handles, unstored.
 *
 * @param database  Whose tree is emptied.
 *
 * @retval 1  The tree was emptied.
 * @retval 0  'database' is NULL or lacks the tree.
 */
uint32_t zar_avl_remove_pmap(zar_db *database);

/**
 * Unlinks every class-map of a database. None is freed: they live on behind their handles, unstored.
 *
 * @param database  Whose tree is emptied.
 *
 * @retval 1  The tree was emptied.
 * @retval 0  'database' is NULL or lacks the tree.
 */
uint32_t zar_avl_remove_cmap(zar_db *database);

/**
 * Unlinks every parameter-map of a database. None is freed: they live on behind their handles, unstored.
 *
 * @param database  Whose tree is emptied.
 *
 * @retval 1  The tree was emptied.
 * @retval 0  'database' is NULL or lacks the tree.
 */
uint32_t zar_avl_remove_pmtr_map(zar_db *database);

/**
 * Unlinks and deletes every target of a database, as zar_avl_free_target() does.
 *
 * @param database  Whose tree is emptied.
 *
 * @retval 1  The tree was emptied, also when a target could not be deleted.
 * @retval 0  'database' is NULL or lacks the tree.
 */
uint32_t zar_avl_remove_target(zar_db *database);

/**
 * The free callback of the tree of policy-maps: frees nothing, since a policy-map outlives its place in a tree.
 *
 * @param node  The policy-map; NULL is traced at level 3.
 */
void zar_avl_free_pmap(void *node);

/**
 * The free callback of the tree of class-maps: frees nothing, since a class-map outlives its place in a tree.
 *
 * @param node  The class-map; NULL is traced at level 3.
 */
void zar_avl_free_cmap(void *node);

/**
 * The free callback of the tree of parameter-maps: frees nothing, since a parameter-map outlives its place in a tree.
 *
 * @param node  The parameter-map; NULL is traced at level 3.
 */
void zar_avl_free_pmtr_map(void *node);

/**
 * The free callback of the target tree: deletes the target with zar_delete_target(). A failure is traced at level 3 and
 * leaves what that operation leaves.
 *
 * @param node  The target; NULL is traced at level 3.
 */
void zar_avl_free_target(void *node);

/** @} */

/** @} */

ZAR_END_EXPORTS

#endif
