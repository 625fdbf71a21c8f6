/*
 * The smallest engine. BREAK in the environment names a way in which it breaks a promise; compiled with WITHOUT_CLID, it
 * lacks one import.
 */
#include <stdlib.h>
#include <string.h>

#include "zar/platform/engine.h"

uint32_t kel_trace_id = 1;
#ifndef WITHOUT_CLID
uint32_t kel_clid = 1;
#endif
const char *BUILTIN_DEVICE_TO_TEMPLATE = "BUILTIN_DEVICE_TO_TEMPLATE";

static int breaks(const char *way) {
  const char *wanted = getenv("BREAK");
  return wanted && strcmp(wanted, way) == 0;
}

/* Called before each check. */
void zar_platform_check_set_up(void);
void zar_platform_check_set_up(void) {
  if (breaks("no template")) BUILTIN_DEVICE_TO_TEMPLATE = NULL;
}

uint32_t kel_create_policy_instance(void **instance_out, uint32_t target, uint32_t clid, const zar_map_info *key) {
  return (void)instance_out, (void)target, (void)clid, (void)key, 1;
}
uint32_t kel_find_policy_instance(void **instance_out, uint32_t target, const zar_map_info *key) {
  (void)instance_out, (void)target, (void)key;
  return breaks("instance not written") ? 0 : 1;
}
uint32_t kel_delete_policy_instance(void *instance) {
  return (void)instance, 0;
}
uint32_t kel_free_all_policy_ae_context(void *ae_context) {
  return (void)ae_context, 0;
}
uint32_t kel_parameter_map_get_type(const char *domain, uint32_t *type_out) {
  if (strcmp(domain, "subscriber") != 0) return 1;
  if (!breaks("type not written")) *type_out = 1;
  return 0;
}

static const char *text_unless(const char *way, uint32_t criteria) {
  return breaks(way) && criteria > 2 ? NULL : "text";
}
const char *kel_cmap_match_criteria_get_string_short(uint32_t criteria) {
  return text_unless("class-map criteria without a text", criteria);
}
const char *kel_pmap_class_match_get_string_short(uint32_t criteria) {
  return text_unless("event criteria without a text", criteria);
}
const char *kel_pmap_action_exec_criteria_get_string_short(uint32_t criteria) {
  return text_unless("execution criteria without a text", criteria);
}
