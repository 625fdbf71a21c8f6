/*
 * Parameter-maps: the records, their statements with hidden class-maps, and their actions.
 */
#ifndef ZAR_PMTR_H
#define ZAR_PMTR_H

#include "zar/records.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Data */

/* "subscriber": the domain in which the engine keeps its parameter-maps and their hidden class-maps. */
extern const char *const kel_parameter_map_subscriber_domain_str;

/* ---- Parameter-maps */

uint32_t zar_create_pmtr_map(uint32_t clid, const zar_map_info *info, uint32_t *pmtr_map_out);

uint32_t zar_store_pmtr_map(uint32_t clid, uint32_t pmtr_map);

uint32_t zar_retrieve_pmtr_map(uint32_t clid, const zar_map_info *info, uint32_t *pmtr_map_out);

uint32_t zar_delete_stored_pmtr_map(uint32_t pmtr_map, zar_db *database);

uint32_t zar_delete_pmtr_map(uint32_t pmtr_map);

const char *zar_get_pmtr_map_name(uint32_t pmtr_map);

uint32_t zar_get_first_pmtr_map(uint32_t clid, uint32_t *pmtr_map_out);

uint32_t zar_get_next_pmtr_map(uint32_t clid, uint32_t current, uint32_t *pmtr_map_out);

uint32_t kel_find_subscriber_parameter_map_by_name(const char *name, uint32_t domain_type, uint32_t *pmtr_map_out);

uint32_t kel_create_subscriber_parameter_map(const char *name, uint32_t domain_type, uint32_t *pmtr_map_out);

uint32_t kel_delete_subscriber_parameter_map(const char *name, uint32_t domain_type);

uint32_t kel_is_pmap_created(const char *name);

void zar_unhide_pmap(uint32_t pmtr_map);

uint32_t zar_is_pmap_hidden(uint32_t pmtr_map);

/* ---- Parameter-map statements */

uint32_t zar_pmtr_create_or_add_filter(uint32_t pmtr_map, const zar_filter_context *filter, uint8_t no_match,
                                       uint8_t regex, uint8_t flag_3, uint32_t map_index, uint8_t replace,
                                       uint8_t filter_type);

uint32_t zar_add_statement_to_pmtr_map(uint32_t pmtr_map, zar_pmtr_map_stmt *statement);

uint32_t zar_pmtr_delete_filter(uint32_t pmtr_map, uint32_t map_index);

uint32_t zar_pmtr_delete_filter_by_stmt(zar_pmtr_map_stmt *statement);

uint32_t zar_get_first_pmtr_map_index(uint32_t clid, uint32_t pmtr_map, uint32_t *index_out);

uint32_t zar_get_next_pmtr_map_index(uint32_t clid, uint32_t pmtr_map, uint32_t current, uint32_t *index_out);

uint32_t zar_get_internal_class_map(uint32_t pmtr_map, uint32_t map_index);

uint32_t kel_pmtr_map_get_filter_expr_by_type(uint32_t pmtr_map, uint32_t map_index, const char *keyword,
                                              char *text_out);

void zar_init_internal_cmap_compare(uint32_t cmap);

void zar_add_to_internal_cmap_compare(uint32_t cmap, const zar_filter_context *filter, uint32_t no_match,
                                      uint32_t slot);

uint32_t zar_internal_cmap_compare(void);

/* ---- Parameter-map actions */

uint32_t zar_pmtr_map_create_action(uint32_t pmtr_map, uint32_t map_index, uint8_t action_num, uint16_t precedence,
                                    zar_action_context *context);

uint32_t zar_add_action_to_pmtr_map_rule(uint32_t pmtr_map, uint32_t map_index, uint32_t action);

uint32_t zar_remove_action_from_pmtr_stmt_action(uint32_t pmtr_map, uint32_t map_index, uint32_t action);

uint32_t zar_retrieve_action_num_in_pmtr_stmt_action(uint32_t pmtr_map, uint32_t map_index, uint32_t action_num,
                                                     uint32_t *action_out);

uint32_t zar_pmtr_verify_action_hdl(uint32_t action, const char *caller);

uint32_t zar_pmtr_verify_action_content(const zar_action *action, const char *caller);

uint32_t zar_pmtr_get_first_action_index(uint32_t clid, uint32_t pmtr_map, uint32_t map_index, uint32_t *action_out);

uint32_t zar_pmtr_get_next_action_index(uint32_t clid, uint32_t pmtr_map, uint32_t map_index, uint32_t current,
                                        uint32_t *action_out);

#ifdef __cplusplus
}
#endif

#endif
