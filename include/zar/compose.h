/*
 * Policy composition: filters in class-maps, events and class-actions in policy-maps, actions in rules, and the
 * assembly of stored policies by name.
 */
#ifndef ZAR_COMPOSE_H
#define ZAR_COMPOSE_H

#include "zar/records.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Filters in class-maps */

uint32_t zar_add_filter_to_class(uint32_t cmap, uint32_t filter);

uint32_t zar_add_filter_to_class_before_filter(uint32_t cmap, uint32_t filter, uint32_t reference);

uint32_t zar_add_filter_to_class_after_filter(uint32_t cmap, uint32_t filter, uint32_t reference);

uint32_t zar_retrieve_filter(uint32_t cmap, const zar_filter_context *context, uint32_t no_match, uint32_t *filter_out);

uint32_t zar_match_filter_parameters(const zar_filter *filter, const zar_filter_context *context);

uint32_t zar_remove_filter_from_class(uint32_t cmap, uint32_t filter);

/* ---- Events and class-actions */

uint32_t zar_add_class_to_event(uint32_t event, uint32_t cmap, uint32_t exec_criteria, uint32_t class_num,
                                uint32_t *class_action_out);

uint32_t zar_add_event(uint32_t pmap, uint32_t event);

uint32_t zar_retrieve_event(uint32_t pmap, const zar_event_context *context, uint32_t *event_out);

uint32_t zar_retrieve_class_action(uint32_t pmap, uint32_t event, uint32_t cmap, uint32_t *class_action_out);

uint32_t zar_retrieve_class_num_in_event(uint32_t event, uint32_t class_num, uint32_t *class_action_out);

uint32_t zar_get_cmap_from_class_action(uint32_t class_action);

/* ---- Actions in rules */

uint32_t zar_verify_action_content(const zar_action *action, const char *caller);

uint32_t zar_add_action_to_rule(uint32_t class_action, uint32_t action);

uint32_t zar_add_action_to_rule_before_action(uint32_t class_action, uint32_t action, uint32_t reference);

uint32_t zar_add_action_to_rule_after_action(uint32_t class_action, uint32_t action, uint32_t reference);

uint32_t zar_remove_action_from_class_action(uint32_t class_action, uint32_t action);

uint32_t zar_retrieve_action(uint32_t class_action, const zar_action_context *context, uint32_t *action_out);

uint32_t zar_retrieve_action_num_in_class_action(uint32_t class_action, uint32_t action_num, uint32_t *action_out);

uint32_t zar_match_action_parameters(const zar_action *action, const zar_action_context *context);

uint32_t zar_compare_actions(uint32_t action, const zar_action_context *context);

uint32_t zar_increment_action(zar_action *action);

uint32_t zar_free_action(zar_action *action);

/* ---- Stored-policy assembly; clid is the client whose database is meant */

uint32_t zar_add_class_to_stored_policy(uint32_t clid, const zar_map_info *policy, const zar_event_context *event,
                                        const char *event_name, uint32_t exec_criteria, uint32_t class_num,
                                        const zar_map_info *class_info);

uint32_t zar_add_class_action_to_stored_policy(uint32_t clid, const zar_map_info *policy,
                                               const zar_event_context *event, uint32_t exec_criteria, uint32_t cmap,
                                               uint32_t class_num, uint32_t action);

uint32_t zar_add_action_to_stored_policy(uint32_t clid, const zar_map_info *policy, const zar_event_context *event,
                                         const zar_map_info *class_info, uint32_t action);

uint32_t zar_remove_action_from_stored_policy(uint32_t clid, const zar_map_info *policy, const zar_event_context *event,
                                              const zar_map_info *class_info, uint32_t action);

uint32_t zar_remove_class_from_policy(uint32_t pmap, const zar_event_context *event, uint32_t cmap, uint32_t class_num);

#ifdef __cplusplus
}
#endif

#endif
