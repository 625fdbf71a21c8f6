/*
 * The policy rule engine, as the library imports it. 0 is success.
 */
#ifndef PLATFORM_ENGINE_H
#define PLATFORM_ENGINE_H

#include "zar/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The module under which the library traces. */
extern uint32_t kel_trace_id;
/* The engine's own clid. */
extern uint32_t kel_clid;
/* The name of the built-in template; parameter-maps named by a leading part of it start hidden. */
extern const char *BUILTIN_DEVICE_TO_TEMPLATE;

/* Makes the instance of the policy-map that 'key' names on 'target'. */
uint32_t kel_create_policy_instance(void **instance_out, uint32_t target, uint32_t clid, const zar_map_info *key);
/* Finds the instance again. */
uint32_t kel_find_policy_instance(void **instance_out, uint32_t target, const zar_map_info *key);
uint32_t kel_delete_policy_instance(void *instance);
/* Releases what the engine keeps in a target's policy context. */
uint32_t kel_free_all_policy_ae_context(void *ae_context);
/* The domain type of the parameter-maps of 'domain'; non-zero when the domain has none. */
uint32_t kel_parameter_map_get_type(const char *domain, uint32_t *type_out);

/* Short texts for criteria, for listings. */
const char *kel_cmap_match_criteria_get_string_short(uint32_t criteria);
const char *kel_pmap_class_match_get_string_short(uint32_t criteria);
const char *kel_pmap_action_exec_criteria_get_string_short(uint32_t criteria);

#ifdef __cplusplus
}
#endif

#endif
