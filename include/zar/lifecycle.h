/*
 * Lifecycle: deletion, targets and their policy contexts, activation, and the walks over everything.
 */
#ifndef ZAR_LIFECYCLE_H
#define ZAR_LIFECYCLE_H

#include "zar/records.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Deletion */

uint32_t zar_delete_action(uint32_t action);

uint32_t zar_delete_filter(uint32_t filter);

uint32_t zar_delete_event(uint32_t event);

uint32_t zar_delete_policy(uint32_t pmap);

void zar_delete_autoconf_policy(void);

uint32_t zar_delete_stored_policy_by_name(uint32_t clid, const zar_map_info *info);

uint32_t zar_delete_stored_policy(uint32_t clid, uint32_t pmap);

uint32_t zar_delete_class(uint32_t cmap);

uint32_t zar_delete_stored_class_by_name(uint32_t clid, const zar_map_info *info);

uint32_t zar_delete_stored_class(uint32_t clid, uint32_t cmap);

uint32_t zar_get_pmap_target_count(uint32_t pmap);

const char *zar_get_pmap_name(uint32_t pmap);

/* ---- Targets and policy contexts */

uint32_t zar_verify_target_context(const zar_target *target, const char *caller);

zar_target_policy_context *zar_create_policy_context(uint32_t target);

zar_target_policy_context *zar_retrieve_policy_context(uint32_t target);

uint32_t zar_add_target(uint32_t clid, zar_target_info *target_info, uint32_t pmap, uint32_t *target_out);

uint32_t zar_remove_target(uint32_t clid, uint32_t target, zar_target_info **target_info_out);

uint32_t zar_delete_target(uint32_t target);

/* ---- Activation */

uint32_t zar_activate_policy(uint32_t clid, uint32_t pmap, uint32_t target);

uint32_t zar_activate_policy_by_name(uint32_t clid, uint32_t target, const zar_map_info *info);

uint32_t zar_deactivate_policy_by_name(uint32_t clid, uint32_t target, const zar_map_info *info);

uint32_t zar_deactivate_policy_by_type(uint32_t clid, uint32_t target, uint32_t domain_type);

uint32_t zar_deactivate_any_policy_for_target(uint32_t clid, uint32_t target);

uint32_t zar_deactivate_policy_by_name_from_all_targets(uint32_t clid, const zar_map_info *info);

uint32_t zar_deactivate_policy_by_handle_from_all_targets(uint32_t clid, uint32_t pmap);

uint32_t zar_retrieve_policy_from_target(uint32_t clid, uint32_t target, const zar_map_info *info, void *unused,
                                         uint32_t *pmap_out);

uint32_t zar_get_first_active_policy_on_target(uint32_t target, uint32_t *domain_type_out, uint32_t *reserved_out,
                                               uint32_t *pmap_out);

uint32_t zar_get_next_active_policy_on_target(uint32_t target, uint32_t current_pmap, uint32_t *domain_type_out,
                                              uint32_t *reserved_out, uint32_t *pmap_out);

/* ---- Iteration */

uint32_t zar_get_first_policy(uint32_t clid, uint32_t *pmap_out);

uint32_t zar_get_next_policy(uint32_t clid, uint32_t current, uint32_t *pmap_out);

uint32_t zar_get_first_class(uint32_t clid, uint32_t *cmap_out);

uint32_t zar_get_next_class(uint32_t clid, uint32_t current, uint32_t *cmap_out);

uint32_t zar_get_event_class(uint32_t clid, uint32_t pmap, uint32_t *event_out);

uint32_t zar_get_next_event_class(uint32_t clid, uint32_t pmap, uint32_t current, uint32_t *event_out);

uint32_t zar_get_class_action(uint32_t clid, uint32_t pmap, uint32_t event, uint32_t *class_action_out);

uint32_t zar_get_next_class_action(uint32_t clid, uint32_t pmap, uint32_t event, uint32_t current,
                                   uint32_t *class_action_out);

uint32_t zar_get_action(uint32_t clid, uint32_t class_action, uint32_t *action_out);

uint32_t zar_get_next_action(uint32_t clid, uint32_t class_action, uint32_t current, uint32_t *action_out);

uint32_t zar_get_filter(uint32_t clid, uint32_t cmap, uint32_t *filter_out);

uint32_t zar_get_next_filter(uint32_t clid, uint32_t cmap, uint32_t current, uint32_t *filter_out);

#ifdef __cplusplus
}
#endif

#endif
