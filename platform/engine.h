/**
 * @file
 * The policy rule engine, as the library imports it.
 */
#ifndef PLATFORM_ENGINE_H
#define PLATFORM_ENGINE_H

#include "zar/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * @defgroup zar_platform_engine Engine
 * What the library imports of the policy rule engine. It is used inside operations only; docs/platform.md tells what the
 * library relies on. Of the functions that answer a status, 0 is success.
 * @{
 */

/** The module under which the library traces. */
extern uint32_t kel_trace_id;
/** The engine's own clid. */
extern uint32_t kel_clid;
/** The name of the built-in template; parameter-maps named by a leading part of it start hidden. */
extern const char *BUILTIN_DEVICE_TO_TEMPLATE;

/**
 * Makes the instance of a policy-map on a target.
 *
 * @param instance_out  Receives the instance.
 * @param target        The target's handle.
 * @param clid          The client who activates.
 * @param key           Names the policy-map; good during the call only. 'hidden' is 0.
 *
 * @return 0, or non-zero: the activation is then undone.
 */
uint32_t kel_create_policy_instance(void **instance_out, uint32_t target, uint32_t clid, const zar_map_info *key);

/**
 * Finds the instance of a policy-map on a target.
 *
 * @param instance_out  Receives the instance.
 * @param target        The target's handle.
 * @param key           Names the policy-map; good during the call only. 'hidden' is 0.
 *
 * @return 0, or non-zero when there is none.
 */
uint32_t kel_find_policy_instance(void **instance_out, uint32_t target, const zar_map_info *key);

/**
 * Ends an instance.
 *
 * @param instance  The instance.
 *
 * @return 0: it is gone, and the handlers of its actions are told; otherwise they are not.
 */
uint32_t kel_delete_policy_instance(void *instance);

/**
 * Releases what the engine keeps in the policy context of a target.
 *
 * @param ae_context  What it put there; not NULL.
 *
 * @return 0, or non-zero: the target's deletion then stops.
 */
uint32_t kel_free_all_policy_ae_context(void *ae_context);

/**
 * Tells the domain type of the parameter-maps of a domain.
 *
 * @param domain    The domain's name.
 * @param type_out  Receives the domain type.
 *
 * @return 0, or non-zero when the domain has none.
 */
uint32_t kel_parameter_map_get_type(const char *domain, uint32_t *type_out);

/**
 * A short text for the way in which a class-map matches, for listings.
 *
 * @param criteria  Any number.
 *
 * @return The text; not NULL.
 */
const char *kel_cmap_match_criteria_get_string_short(uint32_t criteria);

/**
 * A short text for the way in which an event takes rules, for listings.
 *
 * @param criteria  Any number.
 *
 * @return The text; not NULL.
 */
const char *kel_pmap_class_match_get_string_short(uint32_t criteria);

/**
 * A short text for the way in which a rule runs actions, for listings.
 *
 * @param criteria  Any number.
 *
 * @return The text; not NULL.
 */
const char *kel_pmap_action_exec_criteria_get_string_short(uint32_t criteria);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
