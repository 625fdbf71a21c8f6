// The walks over the maps of a client's database, in the order of their name keys. The three kinds of maps are walked
// in the same way; a description of the kind gives the operations on its tree and the texts.
//
// A description has:
//   Record                                   the record
//   get_first(), get_next()                  the operations on its tree
//   place_given(name, clid, place)           the check of the place for the handle
//   kStopsAtFirstFault whether a bad clid skips the check of the place the texts, k...
#pragma once

#include "core/checks.h"

namespace zar {

template <class Walk>
bool may_walk(const char *name, uint32_t clid, const uint32_t *handle_out) {
  bool valid = valid_clid(name, clid);
  if constexpr (Walk::kStopsAtFirstFault) {
    if (!valid) return false;
  }
  return Walk::place_given(name, clid, handle_out) && valid;
}

template <class Walk>
uint32_t first_map(uint32_t clid, uint32_t *handle_out) {
  if (!may_walk<Walk>(Walk::kFirst, clid, handle_out)) return kInvalidArgument;
  zar_db *database = database_of(clid, Walk::kFirst);
  if (!database) return kFailed;

  typename Walk::Record *record = nullptr;
  if (!Walk::get_first(database, &record)) {
    *handle_out = 0;
    TRACE_ERROR(Walk::kFirstFailed);
    return kTreeFailed;
  }
  *handle_out = record ? record->handle : 0;
  if (record) {
    TRACE_INFO(Walk::kFirstFound, Walk::kFirst, *handle_out);
  } else {
    TRACE_INFO(Walk::kNoFirst, Walk::kFirst);
  }
  return kSuccess;
}

// The map after 'current', which may be of any kind: a map of another kind in the tree does not end the walk.
template <class Walk>
uint32_t map_after(uint32_t clid, typename Walk::Record *current, uint32_t *handle_out) {
  zar_db *database = database_of(clid, Walk::kNext);
  if (!database) return kFailed;

  typename Walk::Record *record = nullptr;
  if (!Walk::get_next(database, current, &record)) {
    *handle_out = 0;
    TRACE_ERROR(Walk::kNextFailed);
    return kTreeFailed;
  }
  *handle_out = record ? record->handle : 0;
  if (record) {
    TRACE_INFO(Walk::kNextFound, Walk::kNext, *handle_out);
  } else {
    TRACE_INFO(Walk::kNoNext, Walk::kNext);
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
