// The argument checks that recur in the operations. Each traces a refused argument under the operation's name, and
// decides nothing else: an operation makes all its checks before it refuses.
#pragma once

#include "core/handles.h"
#include "core/status.h"
#include "core/trace.h"

namespace zar {

// Whether 'clid' is in use.
bool valid_clid(const char *name, uint32_t clid);

// The messages for a handle without context, for each kind that has the same message everywhere.
void trace_no_context(const char *name, const zar_pmap *);
void trace_no_context(const char *name, const zar_cmap *);
void trace_no_context(const char *name, const zar_event_tuple *);
void trace_no_context(const char *name, const zar_class_action *);
void trace_no_context(const char *name, const zar_target *);
void trace_no_context(const char *name, const zar_pmtr_map *);

// The record that 'handle' names; if there is none, traces the message of the operations on its kind.
template <class Record>
Record *require(const char *name, uint32_t handle) {
  Record *record = resolve<Record>(handle);
  if (!record) [[unlikely]]
    trace_no_context(name, static_cast<const Record *>(nullptr));
  return record;
}

// The policy-map that 'handle' names if it has the CONTROL type.
zar_pmap *require_control_pmap(const char *name, uint32_t handle);
bool has_control_type(const char *name, const zar_pmap &pmap);

// The target that 'handle' names if it still has its caller's information.
zar_target *require_whole_target(const char *name, uint32_t handle);
bool target_info_given(const char *name, const zar_target_info *info);

// Whether a place for a result was given; each kind of result has its own message.
bool pmap_place_given(const char *name, const uint32_t *place);
bool cmap_place_given(const char *name, uint32_t clid, const uint32_t *place);
bool pmtr_map_place_given(const char *name, uint32_t clid, const uint32_t *place);
bool event_place_given(const char *name, const uint32_t *place);
bool class_action_place_given(const char *name, const uint32_t *place);
bool action_place_given(const char *name, const uint32_t *place);
bool filter_place_given(const char *name, const uint32_t *place);
bool target_place_given(const char *name, const void *place);

bool database_given(const char *name, const zar_db *database);

// The database that the client works in, or NULL.
zar_db *database_of(uint32_t clid, const char *name);

// The owner of the domain of parameter-maps and of the built-in policy-map.
uint32_t subscriber_owner();

}  // namespace zar
