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

/* The library finds the definitions of the host, which may hide its names otherwise. */
#if defined(__GNUC__)
#pragma GCC visibility push(default)
#endif

/**
 * @defgroup zar_platform_engine Engine
 * What the library imports from the policy rule engine. It is used only inside operations; docs/platform.md says what
 * the library relies on. Functions that return a status return 0 for success.
 * @{
 */

/** The module under which the library traces. */
extern uint32_t kel_trace_id;
/** The engine's own clid. */
extern uint32_t kel_clid;
/** The name of the built-in template; parameter-maps whose name is a leading part of it are created hidden. */
extern const char *BUILTIN_DEVICE_TO_TEMPLATE;

/**
 * Creates the instance of a policy-map on a target.
 *
 * @param instance_out  Receives the instance.
 * @param target        The target's handle.
 * @param clid          The client that activates the policy-map.
 * @param key           Names the policy-map; valid only during the call. 'hidden' is 0.
 *
 * @return 0, or non-zero: the activation is then undone.
 */
uint32_t kel_create_policy_instance(void **instance_out, uint32_t target, uint32_t clid, const zar_map_info *key);

/**
 * Finds the instance of a policy-map on a target. It is also asked for instances that were never made.
 *
 * @param instance_out  Receives the instance.
 * @param target        The target's handle.
 * @param key           Names the policy-map; valid only during the call. 'hidden' is 0.
 *
 * @return 0, or non-zero if there is none.
 */
uint32_t kel_find_policy_instance(void **instance_out, uint32_t target, const zar_map_info *key);

/**
 * Deletes an instance.
 *
 * @param instance  The instance.
 *
 * @return 0: it is deleted, and the handlers of its actions are notified; otherwise they are not.
 */
uint32_t kel_delete_policy_instance(void *instance);

/**
 * Releases what the engine keeps in the policy context of a target.
 *
 * @param ae_context  What the engine put there; not NULL.
 *
 * @return 0, or non-zero: the target's deletion then stops.
 */
uint32_t kel_free_all_policy_ae_context(void *ae_context);

/**
 * Returns the domain type of the parameter-maps of a domain.
 *
 * @param domain    The domain's name.
 * @param type_out  Receives the domain type.
 *
 * @return 0, or non-zero if the domain has none.
 */
uint32_t kel_parameter_map_get_type(const char *domain, uint32_t *type_out);

/**
 * Returns a short text for the way in which a class-map matches, for listings.
 *
 * @param criteria  Any number.
 *
 * @return The text; not NULL.
 */
const char *kel_cmap_match_criteria_get_string_short(uint32_t criteria);

/**
 * Returns a short text for the way in which an event selects rules, for listings.
 *
 * @param criteria  Any number.
 *
 * @return The text; not NULL.
 */
const char *kel_pmap_class_match_get_string_short(uint32_t criteria);

/**
 * Returns a short text for the way in which a rule runs actions, for listings.
 *
 * @param criteria  Any number.
 *
 * @return The text; not NULL.
 */
const char *kel_pmap_action_exec_criteria_get_string_short(uint32_t criteria);

/** @} */

#if defined(__GNUC__)
#pragma GCC visibility pop
#endif

#ifdef __cplusplus
}
#endif

#endif
