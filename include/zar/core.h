/*
 * The repository core: handles, start-up and databases, clients, domains, and the keyed trees.
 */
#ifndef ZAR_CORE_H
#define ZAR_CORE_H

#include "zar/records.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Data */

/* The client table: 'zar_current_max_clients' entries in use, room for 'zar_allowed_max_clients'. Entry i holds the client
 * with clid i + 1. NULL when zar_init could not allocate it. Read only for callers. */
extern zar_client_data **zar_clients_info;
extern uint32_t zar_allowed_max_clients;
extern uint32_t zar_current_max_clients;

/* The claimed domains (zar_domain_entry) in the order of their claims. Read only for callers. */
extern queue_head zar_domain_list;

/* The display names of the record pools. */
extern const char *const zar_domain_list_chunk_str;
extern const char *const zar_db_chunk_str;
extern const char *const zar_client_data_chunk_str;
extern const char *const zar_db_pmap_chunk_str;
extern const char *const zar_db_cmap_chunk_str;
extern const char *const zar_db_action_chunk_str;
extern const char *const zar_db_filter_chunk_str;
extern const char *const zar_db_event_tuple_chunk_str;
extern const char *const zar_db_event_context_chunk_str;
extern const char *const zar_db_class_action_chunk_str;
extern const char *const zar_db_pmap_cmap_ref_chunk_str;
extern const char *const zar_db_pmap_target_chunk_str;
extern const char *const zar_db_cmap_pmap_ref_chunk_str;
extern const char *const zar_db_target_chunk_str;
extern const char *const zar_db_target_pmap_chunk_str;
extern const char *const zar_db_target_policy_context_chunk_str;
extern const char *const zar_db_pmtr_map_chunk_str;
extern const char *const zar_db_pmtr_map_stmt_chunk_str;

/* ---- Handles, start-up, databases */

uint16_t zar_handle_table_init(void);

uint32_t zar_handle_table_destroy(void);

uint32_t zar_handle_alloc(void *record);

void zar_handle_release(uint32_t handle);

void *zar_handle_get_context(uint32_t handle);

uint16_t zar_init(void);

uint32_t zar_create_database(zar_db **out);

uint32_t zar_destroy_database(zar_db *database);

/* ---- Clients, domains */

uint32_t zar_client_register(const char *name, zar_db *database, uint32_t *clid_out);

uint32_t zar_verify_client_id(uint32_t clid, const char *caller);

uint32_t zar_get_client_database_handle(uint32_t clid, const char *caller, zar_db **out, uint32_t *is_default_out);

uint32_t zar_get_first_client_with_database(void);

uint32_t zar_get_next_client_with_database(uint32_t clid);

void zar_display_clients(void);

uint32_t zar_client_register_target_policy_removal_vector(uint32_t clid, zar_target_policy_removal_fn callback);

uint32_t zar_register_domain(uint32_t clid, const char *domain);

uint32_t zar_get_owner_for_domain(const char *domain, uint32_t *owner_out);

/* ---- Keyed trees: KIND is pmap, cmap or pmtr_map; RECORD its zar_KIND */

uint32_t zar_pmap_compare_string(const void *nascent, const void *tree);

uint32_t zar_cmap_compare_string(const void *nascent, const void *tree);

uint32_t zar_pmtr_map_compare_string(const void *nascent, const void *tree);

uint32_t zar_target_compare_int(const void *nascent, const void *tree);

uint32_t zar_avl_insert_pmap(zar_db *database, zar_pmap *record);

uint32_t zar_avl_insert_cmap(zar_db *database, zar_cmap *record);

uint32_t zar_avl_insert_pmtr_map(zar_db *database, zar_pmtr_map *record);

uint32_t zar_avl_search_pmap(zar_db *database, zar_pmap *probe, zar_pmap **found_out);

uint32_t zar_avl_search_cmap(zar_db *database, zar_cmap *probe, zar_cmap **found_out);

uint32_t zar_avl_search_pmtr_map(zar_db *database, zar_pmtr_map *probe, zar_pmtr_map **found_out);

uint32_t zar_avl_delete_pmap(zar_db *database, zar_pmap *record, zar_pmap **removed_out);

uint32_t zar_avl_delete_cmap(zar_db *database, zar_cmap *record, zar_cmap **removed_out);

uint32_t zar_avl_delete_pmtr_map(zar_db *database, zar_pmtr_map *record, zar_pmtr_map **removed_out);

uint32_t zar_avl_get_first_pmap(zar_db *database, zar_pmap **first_out);

uint32_t zar_avl_get_first_cmap(zar_db *database, zar_cmap **first_out);

uint32_t zar_avl_get_first_pmtr_map(zar_db *database, zar_pmtr_map **first_out);

uint32_t zar_avl_get_next_pmap(zar_db *database, zar_pmap *current, zar_pmap **next_out);

uint32_t zar_avl_get_next_cmap(zar_db *database, zar_cmap *current, zar_cmap **next_out);

uint32_t zar_avl_get_next_pmtr_map(zar_db *database, zar_pmtr_map *current, zar_pmtr_map **next_out);

uint32_t zar_avl_insert_target_client_db(zar_db *database, zar_target *target);

uint32_t zar_avl_insert_target_default_db(zar_db *database, zar_target *target);

uint32_t zar_avl_search_target_client_db(zar_db *database, zar_target *probe, zar_target **found_out);

uint32_t zar_avl_search_target_default_db(zar_db *database, zar_target *probe, zar_target **found_out);

uint32_t zar_avl_delete_target_client_db(zar_db *database, zar_target *target, zar_target **removed_out);

uint32_t zar_avl_delete_target_default_db(zar_db *database, zar_target *target, zar_target **removed_out);

uint32_t zar_avl_remove_pmap(zar_db *database);

uint32_t zar_avl_remove_cmap(zar_db *database);

uint32_t zar_avl_remove_pmtr_map(zar_db *database);

uint32_t zar_avl_remove_target(zar_db *database);

void zar_avl_free_pmap(void *node);

void zar_avl_free_cmap(void *node);

void zar_avl_free_pmtr_map(void *node);

void zar_avl_free_target(void *node);

#ifdef __cplusplus
}
#endif

#endif
