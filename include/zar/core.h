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
 * The foundation of everything else: the handle table, start-up and databases, the registry of clients, the ownership
 * of domains, and the keyed trees that hold maps and targets.
 * @{
 */

/**
 * @name State
 * Set up by zar_init() and changed only by the library; callers may read it.
 * @{
 */

/**
 * The client table. Entry i holds the client with clid i + 1; entries are never removed. The array moves when it grows,
 * so callers may keep a pointer to an entry, but not into the array. NULL when zar_init() could not allocate it.
 */
extern zar_client_data **zar_clients_info;
/** The capacity of the client table, in entries: 10 at first, and 10 more each time it is full. */
extern uint32_t zar_allowed_max_clients;
/** The number of clients, which is also the highest valid clid. */
extern uint32_t zar_current_max_clients;
/** The claimed domains (zar_domain_entry) in the order of their claims; no domain is listed twice. */
extern queue_head zar_domain_list;

/** @} */

/**
 * @name Pool names
 * The display names of the record pools, for programs that list memory. The platform knows only the two pools of
 * parameter-maps by these names; it knows all others by their allocation tags.
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
 * The only table of the process, for records of every kind. It holds pointers and owns no record. Callers use it to
 * read the record behind a handle, and rarely to make handles for records of their own.
 * @{
 */

/**
 * Creates the handle table; zar_init() calls it.
 *
 * @return The platform's identifier of the new table.
 *
 * Not checked: that the platform could create one, and that there was none yet. A second call starts a new table and a
 * count of 0. The old table is not destroyed but lost: its handles do not resolve unless the platform issues their
 * numbers again in the new table.
 */
uint16_t zar_handle_table_init(void);

/**
 * Destroys the handle table, and with it every handle. The records behind the handles are left as they are, and so is
 * the count of live handles until the next zar_handle_table_init().
 *
 * @return What the platform returns: non-zero if there was a table.
 *
 * Not checked: that no handle is used and no record created afterwards.
 */
uint32_t zar_handle_table_destroy(void);

/**
 * Issues a new handle for a record. This handle has no kind: every operation that takes a handle accepts it and reads
 * the record as the type that it expects.
 *
 * @param record  The record; NULL is refused and not traced.
 *
 * Ownership: the record and the handle belong to the caller, who ends the handle with zar_handle_release().
 *
 * @return The handle, or 0: 'record' is NULL, or the platform issued none (neither is traced); or 65,536 handles count
 *         as live, or there is no room left to record the kind of another one (both are traced as the limit).
 *
 * Not checked: what the record is, whether it has a handle already, and that it outlives the handle.
 *
 * Quirk: if the platform issues none, the attempt still counts as a live handle, so the table has room for one less
 * until a handle is released that is not live. Each release of a handle that is not live lowers the count below the
 * number of live handles; the room for their kinds, at least 98,304, is then exhausted first.
 */
uint32_t zar_handle_alloc(void *record);

/**
 * Ends a handle; from then on it is reported as destroyed already, until the platform issues its number again.
 *
 * @param handle  The handle to end; 0 does nothing.
 *
 * Ownership: the record is not freed.
 *
 * Not checked: that the handle is live (the count of live handles is lowered anyway, though never below 0), and that it
 * is the caller's own: a record of the library that loses its handle in this way can no longer be reached or deleted
 * through it.
 */
void zar_handle_release(uint32_t handle);

/**
 * Returns the record behind a handle of any kind.
 *
 * @param handle  The handle, of any kind or none.
 *
 * Ownership: the record belongs to the repository and must not be used once it is deleted. zar/records.h says what
 * others may write in it.
 *
 * @return The record, or NULL: the handle is 0 (traced at level 6), released (level 3), or was never issued (not
 *         traced).
 *
 * Quirk: a live handle without a record is corruption; it is traced at level 3, NULL is returned and the handle is
 * ended, so that from then on it counts as released.
 */
void *zar_handle_get_context(uint32_t handle);

/** @} */

/**
 * @name Start-up and databases
 * @{
 */

/**
 * Initialises the repository: an empty client table with room for 10, an empty domain list, and a new handle table. It
 * must be called before any other operation.
 *
 * @return The identifier of the handle table, as from zar_handle_table_init().
 *
 * A client table that cannot be allocated is traced and not reported: zar_clients_info is then NULL, and
 * zar_client_register() returns 37.
 *
 * Not checked: that this is the first call. A second call starts again and frees nothing: clients, domain claims and
 * handles are lost.
 */
uint16_t zar_init(void);

/**
 * Creates a database: four empty trees, for policy-maps, class-maps, targets and parameter-maps.
 *
 * @param out  Receives the database.
 *
 * Ownership: the caller hands the database to zar_client_register() and empties it with zar_destroy_database(). Its
 * memory is never freed.
 *
 * @retval 0   'out' holds the database.
 * @retval 38  Out of memory: no pool ('out' is untouched, and not checked), no record ('out' is NULL), or no tree, or
 *             one that the platform could not initialise ('out' is untouched).
 * @retval 39  'out' is NULL; the pool has been created nevertheless. Not traced.
 *
 * A failure at a tree leaks the record and the trees created so far.
 */
uint32_t zar_create_database(zar_db **out);

/**
 * Empties the four trees of a database. Policy-maps, class-maps and parameter-maps are only unlinked: they still exist
 * under their handles, unstored. Targets are deleted with zar_delete_target(); a failure is traced and does not stop
 * the operation.
 *
 * @param database  The database. A missing tree is skipped.
 *
 * Ownership: the record and its tree objects stay allocated.
 *
 * @retval 0   The trees were emptied, even if there was nothing in them.
 * @retval 39  'database' is NULL.
 *
 * Not checked: the clients that registered this database. Their entries still refer to it, and if it is the database of
 * clid 1, clients without one still work in it; the caller must make sure that none of them uses it any more.
 */
uint32_t zar_destroy_database(zar_db *database);

/** @} */

/**
 * @name Clients
 * A client registers once under its name and identifies itself by its clid from then on. Clids run from 1 to
 * zar_current_max_clients. A client is active from its registration on; nothing in the library makes it inactive.
 * @{
 */

/**
 * Registers a client, or finds the one that has the name. The first client gets clid 1: its database is the default
 * database, and it owns every unclaimed domain.
 *
 * @param name      The client's name, compared as a whole; copied.
 * @param database  Its own database, or NULL to work in the default database.
 * @param clid_out  Receives the clid.
 *
 * Ownership: the entry belongs to the repository and stays until the process ends. The database still belongs to the
 * caller; it must live as long as the entry.
 *
 * @retval 0   The client is registered, and 'clid_out' holds its clid; or an active client has the name already (see
 *             below).
 * @retval 37  zar_init() could not create the client table; or there is no record for the entry ('clid_out' is then 0,
 *             and untouched in the other cases); or the full table could not grow, for lack of memory or because its
 *             size would overflow.
 * @retval 38  The pool of client entries could not be created.
 * @retval 39  'name' or 'clid_out' is NULL.
 *
 * If the table could not grow, the new entry and its copy of the name stay allocated; no client is counted.
 *
 * Not checked: whether the name could be copied. If not, the client is registered with a NULL name, which no later
 * registration matches.
 *
 * Quirk: for the name of an active client the result is 0, 'clid_out' is left untouched and 'database' is ignored.
 *
 * Quirk: an inactive client of that name becomes active again with the clid and the database that it had; 'database' is
 * ignored and 'clid_out' receives the clid minus 1.
 */
uint32_t zar_client_register(const char *name, zar_db *database, uint32_t *clid_out);

/**
 * Returns whether a clid is in range. Whether its client is active is not checked.
 *
 * @param clid    The clid.
 * @param caller  The name to use in trace messages; may be NULL.
 *
 * @retval 0  It is.
 * @retval 1  It is 0 or above the number of clients; traced.
 */
uint32_t zar_verify_client_id(uint32_t clid, const char *caller);

/**
 * Finds the database in which a client works: its own, or else the default one. All operations that take a clid and
 * need a database choose it in this way.
 *
 * @param clid            The client.
 * @param caller          The name to use in trace messages; may be NULL.
 * @param out             Receives the database.
 * @param is_default_out  Receives 0 for the client's own database and 1 for the default one; may be NULL.
 *
 * @retval 1  'out' holds the database.
 * @retval 0  'clid' is out of range, 'out' is NULL (not traced), the client is inactive or missing, or it has no
 *            database of its own and there is no default database.
 *
 * On 0 both places are untouched, except that 'out' receives NULL if there is no default database.
 *
 * Quirk: client 1, whose database is the default one, need not be active itself.
 */
uint32_t zar_get_client_database_handle(uint32_t clid, const char *caller, zar_db **out, uint32_t *is_default_out);

/**
 * Returns the client at which a walk over the clients with their own database begins: the engine.
 *
 * @return The engine's own clid (its kel_clid), whatever the client table holds.
 */
uint32_t zar_get_first_client_with_database(void);

/**
 * Returns the next client after a given one that has a database of its own.
 *
 * @param clid  The client to continue from.
 *
 * @return The clid, or 0: there is none, 'clid' is out of range, or its client is inactive or missing.
 *
 * Not checked: whether the client found is active.
 */
uint32_t zar_get_next_client_with_database(uint32_t clid);

/**
 * Traces the client table at level 6: the number of clients and the capacity, then clid, status and name of each. A
 * missing name prints as a space; a missing entry is skipped.
 *
 * Quirk: every status but 0 prints as "Active", while only 1 counts as active elsewhere.
 */
void zar_display_clients(void);

/**
 * Registers the function to call when policy-maps are removed from targets because they are being deleted.
 * zar_delete_stored_policy() and zar_delete_stored_policy_by_name() call it, if they are given this clid, for each
 * target after the pair has been unlinked. Its type says when exactly, and what it may do
 * (#zar_target_policy_removal_fn).
 *
 * @param clid      The client.
 * @param callback  The function; it replaces an earlier one. NULL for none.
 *
 * @retval 0   It is registered.
 * @retval 37  The client is inactive or missing.
 * @retval 39  'clid' is out of range.
 */
uint32_t zar_client_register_target_policy_removal_vector(uint32_t clid, zar_target_policy_removal_fn callback);

/** @} */

/**
 * @name Domains
 * First come, first served: a claim cannot be given up or passed on. Domain names are compared as a whole and are
 * case-sensitive.
 * @{
 */

/**
 * Claims a domain for a client.
 *
 * @param clid    The client.
 * @param domain  The domain; copied.
 *
 * Ownership: the claim belongs to the repository and stays until the process ends.
 *
 * @retval 0   The client owns the domain; the claim is the last in zar_domain_list.
 * @retval 38  No record for the claim, or no memory for the copy of the domain.
 * @retval 39  'clid' is out of range, 'domain' is NULL, or the domain is claimed already, even by the same client.
 *
 * A failure leaves no claim behind.
 *
 * Not checked: whether the client is active.
 */
uint32_t zar_register_domain(uint32_t clid, const char *domain);

/**
 * Finds the client that owns a domain.
 *
 * @param domain     The domain.
 * @param owner_out  Receives the owner's clid: 1 for an unclaimed domain.
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
 * They order the trees of a database. A comparator compares the node that is being searched for or inserted ('nascent')
 * with one in the tree and reads only the key of each, so a probe with nothing but its key is enough. They are passed
 * to the platform and rarely called otherwise. The map comparators deliberately do not compare to the end of both keys,
 * and the one of policy-maps deliberately differs from the other two; none of the three defines a consistent order.
 * @{
 */

/**
 * Orders two policy-maps by their name keys, over the length of the shorter one, so that two keys are equal when one
 * begins with the other. A missing key counts as empty.
 *
 * @param nascent  The policy-map being searched for or inserted; may be NULL.
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
 * @param nascent  The class-map being searched for or inserted; may be NULL.
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
 * @param nascent  The parameter-map being searched for or inserted; may be NULL.
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
 * @param nascent  The target being searched for or inserted.
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
 * One family for each of the three map trees of a database. These operations work on records, not on handles, and
 * return 1 for done and 0 for not done; a database that lacks the tree is treated like NULL. A call that returns 0 is
 * traced at level 3 and has changed nothing in the tree. The trees own no record and copy none. A record taken from a
 * tree may be a map of another kind, if one was stored there.
 *
 * Most callers use the storing, retrieving, deleting and walking operations instead, which choose the database by the
 * clid and check more. None of these checks that a record is what its type says, that it has a name key, or that it
 * stays alive while it is in the tree.
 * @{
 */

/**
 * Inserts a policy-map into its tree under its name key.
 *
 * @param database  The database whose tree of policy-maps is meant.
 * @param record    The policy-map to insert.
 *
 * Ownership: unchanged; the record must be removed from the tree before it is freed.
 *
 * @retval 1  It is in the tree.
 * @retval 0  A key that compares equal is present, the record is already in a tree, the platform refuses it, or an
 *            argument is NULL.
 */
uint32_t zar_avl_insert_pmap(zar_db *database, zar_pmap *record);

/**
 * Inserts a class-map into its tree under its name key.
 *
 * @param database  The database whose tree of class-maps is meant.
 * @param record    The class-map to insert.
 *
 * Ownership: unchanged; the record must be removed from the tree before it is freed.
 *
 * @retval 1  It is in the tree.
 * @retval 0  A key that compares equal is present, the record is already in a tree, the platform refuses it, or an
 *            argument is NULL.
 */
uint32_t zar_avl_insert_cmap(zar_db *database, zar_cmap *record);

/**
 * Inserts a parameter-map into its tree under its name key.
 *
 * @param database  The database whose tree of parameter-maps is meant.
 * @param record    The parameter-map to insert.
 *
 * Ownership: unchanged; the record must be removed from the tree before it is freed.
 *
 * @retval 1  It is in the tree.
 * @retval 0  A key that compares equal is present, the record is already in a tree, the platform refuses it, or an
 *            argument is NULL.
 */
uint32_t zar_avl_insert_pmtr_map(zar_db *database, zar_pmtr_map *record);

/**
 * Looks for a policy-map by its name key.
 *
 * @param database   The database whose tree of policy-maps is meant.
 * @param probe      A record, in no tree, whose 'hash_str' is the key to find.
 * @param found_out  Receives the record found, or NULL when there is none.
 *
 * @retval 1  The tree was searched; 'found_out' holds the result.
 * @retval 0  'database' or 'probe' is NULL; 'found_out' is untouched.
 *
 * Not checked: 'found_out', which must not be NULL.
 */
uint32_t zar_avl_search_pmap(zar_db *database, zar_pmap *probe, zar_pmap **found_out);

/**
 * Looks for a class-map by its name key.
 *
 * @param database   The database whose tree of class-maps is meant.
 * @param probe      A record, in no tree, whose 'hash_str' is the key to find.
 * @param found_out  Receives the record found, or NULL when there is none.
 *
 * @retval 1  The tree was searched; 'found_out' holds the result.
 * @retval 0  'database' or 'probe' is NULL; 'found_out' is untouched.
 *
 * Not checked: 'found_out', which must not be NULL.
 */
uint32_t zar_avl_search_cmap(zar_db *database, zar_cmap *probe, zar_cmap **found_out);

/**
 * Looks for a parameter-map by its name key.
 *
 * @param database   The database whose tree of parameter-maps is meant.
 * @param probe      A record, in no tree, whose 'hash_str' is the key to find.
 * @param found_out  Receives the record found, or NULL when there is none.
 *
 * @retval 1  The tree was searched; 'found_out' holds the result.
 * @retval 0  'database' or 'probe' is NULL; 'found_out' is untouched.
 *
 * Not checked: 'found_out', which must not be NULL.
 */
uint32_t zar_avl_search_pmtr_map(zar_db *database, zar_pmtr_map *probe, zar_pmtr_map **found_out);

/**
 * Removes a policy-map from its tree.
 *
 * @param database     The database whose tree of policy-maps is meant.
 * @param record       The policy-map itself, in which case exactly this record is removed; or a probe that holds its
 *                     key.
 * @param removed_out  Receives the removed record.
 *
 * Ownership: the caller must free the record.
 *
 * @retval 1  It is no longer in the tree.
 * @retval 0  No record in the tree compares equal; or an argument is NULL.
 *
 * If an argument is NULL, 'removed_out' is untouched. If the removal fails otherwise, 'removed_out' holds the given
 * record, unless the platform has written something else; its value then has no meaning.
 */
uint32_t zar_avl_delete_pmap(zar_db *database, zar_pmap *record, zar_pmap **removed_out);

/**
 * Removes a class-map from its tree.
 *
 * @param database     The database whose tree of class-maps is meant.
 * @param record       The class-map itself, in which case exactly this record is removed; or a probe that holds its
 *                     key.
 * @param removed_out  Receives the removed record.
 *
 * Ownership: the caller must free the record.
 *
 * @retval 1  It is no longer in the tree.
 * @retval 0  No record in the tree compares equal; or an argument is NULL.
 *
 * If an argument is NULL, 'removed_out' is untouched. If the removal fails otherwise, 'removed_out' holds the given
 * record, unless the platform has written something else; its value then has no meaning.
 */
uint32_t zar_avl_delete_cmap(zar_db *database, zar_cmap *record, zar_cmap **removed_out);

/**
 * Removes a parameter-map from its tree.
 *
 * @param database     The database whose tree of parameter-maps is meant.
 * @param record       The parameter-map itself, in which case exactly this record is removed; or a probe that holds its
 *                     key.
 * @param removed_out  Receives the removed record.
 *
 * Ownership: the caller must free the record.
 *
 * @retval 1  It is no longer in the tree.
 * @retval 0  No record in the tree compares equal; or an argument is NULL.
 *
 * If an argument is NULL, 'removed_out' is untouched. If the removal fails otherwise, 'removed_out' holds the given
 * record, unless the platform has written something else; its value then has no meaning.
 */
uint32_t zar_avl_delete_pmtr_map(zar_db *database, zar_pmtr_map *record, zar_pmtr_map **removed_out);

/**
 * The first policy-map in key order.
 *
 * @param database   The database whose tree of policy-maps is meant.
 * @param first_out  Receives the record, or NULL when the tree is empty.
 *
 * @retval 1  'first_out' is written.
 * @retval 0  An argument is NULL.
 */
uint32_t zar_avl_get_first_pmap(zar_db *database, zar_pmap **first_out);

/**
 * The first class-map in key order.
 *
 * @param database   The database whose tree of class-maps is meant.
 * @param first_out  Receives the record, or NULL when the tree is empty.
 *
 * @retval 1  'first_out' is written.
 * @retval 0  An argument is NULL.
 */
uint32_t zar_avl_get_first_cmap(zar_db *database, zar_cmap **first_out);

/**
 * The first parameter-map in key order.
 *
 * @param database   The database whose tree of parameter-maps is meant.
 * @param first_out  Receives the record, or NULL when the tree is empty.
 *
 * @retval 1  'first_out' is written.
 * @retval 0  An argument is NULL.
 */
uint32_t zar_avl_get_first_pmtr_map(zar_db *database, zar_pmtr_map **first_out);

/**
 * The policy-map that follows another one in key order. If the latter is not in the tree, it is the first one that
 * sorts after it.
 *
 * @param database  The database whose tree of policy-maps is meant.
 * @param current   The policy-map to continue from.
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
 * @param database  The database whose tree of class-maps is meant.
 * @param current   The class-map to continue from.
 * @param next_out  Receives the record, or NULL when there is none.
 *
 * @retval 1  'next_out' is written.
 * @retval 0  An argument is NULL.
 */
uint32_t zar_avl_get_next_cmap(zar_db *database, zar_cmap *current, zar_cmap **next_out);

/**
 * The parameter-map that follows another one in key order. If the latter is not in the tree, it is the first one that
 * sorts after it.
 *
 * @param database  The database whose tree of parameter-maps is meant.
 * @param current   The parameter-map to continue from.
 * @param next_out  Receives the record, or NULL when there is none.
 *
 * @retval 1  'next_out' is written.
 * @retval 0  An argument is NULL.
 */
uint32_t zar_avl_get_next_pmtr_map(zar_db *database, zar_pmtr_map *current, zar_pmtr_map **next_out);

/** @} */

/**
 * @name Trees of targets
 * The same for the target tree, which is ordered by the targets' handles. Each operation exists twice: both do the same
 * to the given database and differ only in their traces, which show whether a client's own or the default database was
 * meant. Most callers use zar_add_target() and zar_remove_target() instead.
 * @{
 */

/**
 * Inserts a target into the target tree: the variant for a client's own database.
 *
 * @param database  The database whose tree of targets is meant.
 * @param target    The target to insert.
 *
 * Ownership: unchanged; the target must be removed from the tree before it is deleted.
 *
 * @retval 1  It is in the tree.
 * @retval 0  A target with the same handle is present, the target is already in a tree, the platform refuses it, or an
 *            argument is NULL.
 */
uint32_t zar_avl_insert_target_client_db(zar_db *database, zar_target *target);

/**
 * Inserts a target into the target tree: the variant for the default database.
 *
 * @param database  The database whose tree of targets is meant.
 * @param target    The target to insert.
 *
 * Ownership: unchanged; the target must be removed from the tree before it is deleted.
 *
 * @retval 1  It is in the tree.
 * @retval 0  A target with the same handle is present, the target is already in a tree, the platform refuses it, or an
 *            argument is NULL.
 */
uint32_t zar_avl_insert_target_default_db(zar_db *database, zar_target *target);

/**
 * Looks for a target by its handle: the variant for a client's own database.
 *
 * @param database   The database whose tree of targets is meant.
 * @param probe      A record, in no tree, whose 'handle' is the one to find.
 * @param found_out  Receives the target, or NULL when there is none.
 *
 * @retval 1  'found_out' holds the target.
 * @retval 0  There is none; or an argument is NULL, and 'found_out' is untouched.
 *
 * Quirk: unlike the searches for maps, this one returns 0 if it finds nothing.
 */
uint32_t zar_avl_search_target_client_db(zar_db *database, zar_target *probe, zar_target **found_out);

/**
 * Looks for a target by its handle: the variant for the default database.
 *
 * @param database   The database whose tree of targets is meant.
 * @param probe      A record, in no tree, whose 'handle' is the one to find.
 * @param found_out  Receives the target, or NULL when there is none.
 *
 * @retval 1  'found_out' holds the target.
 * @retval 0  There is none; or an argument is NULL, and 'found_out' is untouched.
 *
 * Quirk: unlike the searches for maps, this one returns 0 if it finds nothing.
 */
uint32_t zar_avl_search_target_default_db(zar_db *database, zar_target *probe, zar_target **found_out);

/**
 * Removes a target from the target tree: the variant for a client's own database.
 *
 * @param database     The database whose tree of targets is meant.
 * @param target       The target itself, in which case exactly this record is removed; or a probe that holds its
 *                     handle.
 * @param removed_out  Receives the removed target.
 *
 * Ownership: the caller must delete the target.
 *
 * @retval 1  It is no longer in the tree.
 * @retval 0  No target of that handle is in the tree; or an argument is NULL.
 *
 * If an argument is NULL, 'removed_out' is untouched. If the removal fails otherwise, 'removed_out' holds the given
 * record, unless the platform has written something else; its value then has no meaning.
 */
uint32_t zar_avl_delete_target_client_db(zar_db *database, zar_target *target, zar_target **removed_out);

/**
 * Removes a target from the target tree: the variant for the default database.
 *
 * @param database     The database whose tree of targets is meant.
 * @param target       The target itself, in which case exactly this record is removed; or a probe that holds its
 *                     handle.
 * @param removed_out  Receives the removed target.
 *
 * Ownership: the caller must delete the target.
 *
 * @retval 1  It is no longer in the tree.
 * @retval 0  No target of that handle is in the tree; or an argument is NULL.
 *
 * If an argument is NULL, 'removed_out' is untouched. If the removal fails otherwise, 'removed_out' holds the given
 * record, unless the platform has written something else; its value then has no meaning.
 */
uint32_t zar_avl_delete_target_default_db(zar_db *database, zar_target *target, zar_target **removed_out);

/** @} */

/**
 * @name Emptying trees
 * zar_destroy_database() empties all four trees of a database in this way: it unlinks every node and calls the tree's
 * free callback once on each.
 * @{
 */

/**
 * Unlinks every policy-map of a database. None is freed: they still exist under their handles, unstored.
 *
 * @param database  The database whose tree is emptied.
 *
 * @retval 1  The tree was emptied.
 * @retval 0  'database' is NULL or lacks the tree.
 */
uint32_t zar_avl_remove_pmap(zar_db *database);

/**
 * Unlinks every class-map of a database. None is freed: they still exist under their handles, unstored.
 *
 * @param database  The database whose tree is emptied.
 *
 * @retval 1  The tree was emptied.
 * @retval 0  'database' is NULL or lacks the tree.
 */
uint32_t zar_avl_remove_cmap(zar_db *database);

/**
 * Unlinks every parameter-map of a database. None is freed: they still exist under their handles, unstored.
 *
 * @param database  The database whose tree is emptied.
 *
 * @retval 1  The tree was emptied.
 * @retval 0  'database' is NULL or lacks the tree.
 */
uint32_t zar_avl_remove_pmtr_map(zar_db *database);

/**
 * Unlinks and deletes every target of a database, as zar_avl_free_target() does.
 *
 * @param database  The database whose tree is emptied.
 *
 * @retval 1  The tree was emptied, even if a target could not be deleted.
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
 * leaves the target as that operation leaves it.
 *
 * @param node  The target; NULL is traced at level 3.
 */
void zar_avl_free_target(void *node);

/** @} */

/** @} */

ZAR_END_EXPORTS

#endif
