/*
 * Presentation and integration: accessors, configuration strings, listings and counters, notifications, and the
 * services around parameter-maps.
 */
#ifndef ZAR_PRESENT_H
#define ZAR_PRESENT_H

#include "zar/records.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Accessors and configuration strings */

uint32_t zar_is_policy_hidden(uint32_t pmap);

void zar_unhide_policy(uint32_t pmap);

const char *zar_get_pmap_domain(uint32_t pmap);

uint32_t zar_get_event_id(uint32_t event);

const char *zar_get_event_name(uint32_t event);

const char *zar_get_class_name_from_class_action(uint32_t class_action);

uint32_t zar_get_class_num_from_class_action(uint32_t class_action);

const char *zar_get_event_class_match_criteria(uint32_t event);

const char *zar_get_action_exec_criteria(uint32_t class_action);

const char *zar_get_cmap_name(uint32_t cmap);

const char *zar_get_cmap_domain(uint32_t cmap);

uint32_t zar_get_cmap_if_hidden(uint32_t cmap);

uint32_t zar_get_cmap_match_logical_op(uint32_t cmap);

const char *zar_get_cmap_match_criteria(uint32_t cmap);

uint32_t zar_get_action_num(uint32_t action);

uint32_t zar_get_precedence_value(uint32_t action);

char *zar_get_action_nvgen_str(uint32_t action, uint32_t argument);

char *zar_get_filter_nvgen_str(uint32_t filter);

char *zar_get_filter_nvgen_str_internal(const zar_filter *filter);

void zar_free_client_action_context(zar_action_context *context);

void zar_free_client_filter_context(zar_filter_context *context);

void zar_free_client_filter_params_context(zar_filter_context *context);

void kel_vbuginf(const char *format, ...);

uint32_t kel_debugging_event_active(void);

/* ---- Show and clear */

uint32_t zar_print_policymap(const char *prefix, zar_printer_fn printer, const char *domain, const char *name,
                             uint32_t all, uint32_t control);

uint32_t zar_print_classmap(const char *prefix, zar_printer_fn printer, const char *suffix, const char *domain,
                            const char *name, uint32_t all);

void zar_clear_pmap_counters(zar_pmap *pmap);

uint32_t zar_clear_policymap(const char *domain, const char *name, uint32_t all);

uint32_t zar_clear_classmap(const char *domain, const char *name, uint32_t all);

/* ---- Notifications, parameter-map association, context replacement */

void zar_shim_action_added_removed(uint32_t action, uint32_t pmap, uint32_t added);

void zar_invoke_action_handler(zar_pmap *pmap, zar_target *target, uint32_t added);

void zar_remove_action_handler_for_event(uint32_t event, uint32_t pmap);

void zar_remove_action_handler_for_class(uint32_t class_action, uint32_t pmap);

uint32_t zar_is_param_map_assoc_with_policy(const void *param_map);

void zar_replace_old_action_hdl(uint32_t action, const zar_action_context *context);

void zar_replace_old_filter_hdl(uint32_t filter, const zar_filter_context *context);

uint32_t kel_is_policy_created(const char *name);

#ifdef __cplusplus
}
#endif

#endif
