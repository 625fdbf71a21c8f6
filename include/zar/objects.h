/*
 * Policy objects: making, storing and retrieving maps, and making actions, filters and events.
 */
#ifndef ZAR_OBJECTS_H
#define ZAR_OBJECTS_H

#include "zar/records.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Data */

/* "BUILTIN_AUTOCONF_POLICY": the name of the built-in policy-map, which is made hidden and is emptied instead of deleted. */
extern const char *const builtin_autoconf_policy;

/* "match" and "no-match": the words before a filter's configuration text. */
extern const char *const zar_match;
extern const char *const zar_no_match;

/* ---- Maps */

uint32_t zar_verify_map_info(const zar_map_info *info, const char *caller);

uint32_t zar_create_policy(uint32_t clid, const zar_map_info *info, uint32_t *pmap_out);

uint32_t zar_create_class(uint32_t clid, const zar_map_info *info, uint32_t match_criteria, uint32_t *cmap_out);

uint32_t zar_is_autoconf_policy(const char *name);

uint32_t zar_store_policy(uint32_t clid, uint32_t pmap);

uint32_t zar_store_class(uint32_t clid, uint32_t cmap);

uint32_t zar_retrieve_policy(uint32_t clid, const zar_map_info *info, uint32_t *pmap_out);

uint32_t zar_retrieve_class(uint32_t clid, const zar_map_info *info, uint32_t *cmap_out);

/* ---- Leaves */

uint32_t zar_create_action(const zar_action_context *context, uint32_t action_num, uint32_t precedence,
                           uint32_t *action_out);

uint32_t zar_create_filter(const zar_filter_context *context, uint32_t *filter_out, uint32_t no_match);

uint32_t zar_pmtr_create_filter(const zar_filter_context *context, uint32_t *filter_out, uint32_t no_match,
                                uint32_t regex, uint32_t flag_1, uint32_t flag_2);

uint32_t zar_create_event(const zar_event_context *context, const char *name, uint32_t *event_out);

uint32_t zar_event_set_match_criteria(uint32_t event, uint32_t criteria);

uint32_t zar_event_get_match_criteria(uint32_t event);

uint32_t zar_free_action_from_action_chunk(zar_action *action);

#ifdef __cplusplus
}
#endif

#endif
