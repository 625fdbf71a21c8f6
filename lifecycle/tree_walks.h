// The walks over the maps of a client's database, in the order of their name keys.
#pragma once

#include "core/checks.h"
#include "core/maps.h"

namespace zar {

template <MapDescription Maps>
bool may_walk(const char *name, uint32_t clid, const uint32_t *handle_out) {
  bool valid = valid_clid(name, clid);
  if constexpr (Maps::kStopsAtFirstFault) {
    if (!valid) return false;
  }
  return Maps::place_given(name, clid, handle_out) && valid;
}

template <MapDescription Maps>
uint32_t first_map(uint32_t clid, uint32_t *handle_out) {
  if (!may_walk<Maps>(Maps::Walk::kFirst, clid, handle_out)) return kInvalidArgument;
  zar_db *database = database_of(clid, Maps::Walk::kFirst);
  if (!database) return kFailed;

  typename Maps::Record *record = nullptr;
  if (!Maps::get_first(database, &record)) {
    *handle_out = 0;
    TRACE_ERROR(Maps::Walk::kFirstFailed);
    return kTreeFailed;
  }
  *handle_out = record ? record->handle : 0;
  if (record) {
    TRACE_INFO(Maps::Walk::kFirstFound, Maps::Walk::kFirst, *handle_out);
  } else {
    TRACE_INFO(Maps::Walk::kNoFirst, Maps::Walk::kFirst);
  }
  return kSuccess;
}

// The map after 'current', which may be of any kind: a map of another kind in the tree does not end the walk.
template <MapDescription Maps>
uint32_t map_after(uint32_t clid, typename Maps::Record *current, uint32_t *handle_out) {
  zar_db *database = database_of(clid, Maps::Walk::kNext);
  if (!database) return kFailed;

  typename Maps::Record *record = nullptr;
  if (!Maps::get_next(database, current, &record)) {
    *handle_out = 0;
    TRACE_ERROR(Maps::Walk::kNextFailed);
    return kTreeFailed;
  }
  *handle_out = record ? record->handle : 0;
  if (record) {
    TRACE_INFO(Maps::Walk::kNextFound, Maps::Walk::kNext, *handle_out);
  } else {
    TRACE_INFO(Maps::Walk::kNoNext, Maps::Walk::kNext);
  }
  return kSuccess;
}

// The map of any kind that 'handle' names; if there is none, traces the message of this kind's operations.
template <class Map>
Map *require_any_map(const char *name, uint32_t handle) {
  auto *map = resolve_any_map<Map>(handle);
  if (!map) trace_no_context(name, map);
  return map;
}

}  // namespace zar
