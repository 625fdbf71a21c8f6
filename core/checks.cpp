#include "core/checks.h"

#include "zar/pmtr.h"

namespace zar {

bool valid_clid(const char *name, uint32_t clid) {
  return zar_verify_client_id(clid, name) == 0;
}

// A policy-map or a target without context is an error traced at the info level.
void trace_no_context(const char *name, const zar_pmap *) {
  TRACE_INFO("(info): %s: Error: input pmap context cannot be NULL", name);
}

void trace_no_context(const char *name, const zar_cmap *) {
  TRACE_ERROR("(ERR): %s: input class map handle context cannot be NULL", name);
}

void trace_no_context(const char *name, const zar_event_tuple *) {
  TRACE_ERROR("(ERR): %s: input event class action handle context cannot be NULL", name);
}

void trace_no_context(const char *name, const zar_class_action *) {
  TRACE_ERROR("(ERR): %s: input class action handle context cannot be NULL", name);
}

void trace_no_context(const char *name, const zar_target *) {
  TRACE_INFO("(info): %s: Error: input target context cannot be NULL", name);
}

void trace_no_context(const char *name, const zar_pmtr_map *) {
  TRACE_ERROR("(ERR): %s: input pmtr-map handle context cannot be NULL", name);
}

zar_pmap *require_control_pmap(const char *name, uint32_t handle) {
  zar_pmap *pmap = require<zar_pmap>(name, handle);
  return pmap && has_control_type(name, *pmap) ? pmap : nullptr;
}

bool has_control_type(const char *name, const zar_pmap &pmap) {
  if (pmap.domain_type == kControl) return true;
  TRACE_ERROR("(ERR): %s: Error: Policy map has to be CONTROL type", name);
  return false;
}

zar_target *require_whole_target(const char *name, uint32_t handle) {
  zar_target *target = require<zar_target>(name, handle);
  return target && target_info_given(name, target->target_info) ? target : nullptr;
}

bool target_info_given(const char *name, const zar_target_info *info) {
  if (!info) TRACE_ERROR("(ERR): %s: input target info cannot be NULL", name);
  return info;
}

bool database_given(const char *name, const zar_db *database) {
  if (!database) TRACE_ERROR("(ERR): %s: input database handle cannot be NULL", name);
  return database;
}

bool pmap_place_given(const char *name, const uint32_t *place) {
  if (!place) TRACE_ERROR("(ERR): %s: input policy map handle cannot be NULL", name);
  return place;
}

bool cmap_place_given(const char *name, uint32_t clid, const uint32_t *place) {
  if (!place) TRACE_ERROR("(ERR): %s: clid:%d, input class map handle cannot be NULL", name, clid);
  return place;
}

bool pmtr_map_place_given(const char *name, uint32_t clid, const uint32_t *place) {
  if (!place) TRACE_ERROR("(ERR): %s: clid:%d, input parameter-map handle cannot be NULL", name, clid);
  return place;
}

bool event_place_given(const char *name, const uint32_t *place) {
  if (!place) TRACE_ERROR("(ERR): %s: Error: input event tuple handle cannot be NULL", name);
  return place;
}

bool class_action_place_given(const char *name, const uint32_t *place) {
  if (!place) TRACE_ERROR("(ERR): %s: Error: input class action handle cannot be NULL", name);
  return place;
}

bool action_place_given(const char *name, const uint32_t *place) {
  if (!place) TRACE_ERROR("(ERR): %s: Error: input action handle cannot be NULL", name);
  return place;
}

bool filter_place_given(const char *name, const uint32_t *place) {
  if (!place) TRACE_ERROR("(ERR): %s: Error: input filter handle cannot be NULL", name);
  return place;
}

bool target_place_given(const char *name, const void *place) {
  if (!place) TRACE_ERROR("(ERR): %s: input target handle cannot be NULL", name);
  return place;
}

zar_db *database_of(uint32_t clid, const char *name) {
  zar_db *database = nullptr;
  return zar_get_client_database_handle(clid, name, &database, nullptr) ? database : nullptr;
}

uint32_t subscriber_owner() {
  uint32_t owner = 0;
  zar_get_owner_for_domain(kel_parameter_map_subscriber_domain_str, &owner);
  return owner;
}

}  // namespace zar
