// The kind of record behind each handle that the library issued.
//
// One handle table serves nine kinds of records, and the platform's id table stores only a pointer. If a caller passes
// a handle of another kind, its record must not be read as something else, so the library records separately for which
// kind it issued each handle. A handle that a caller made for a record of its own has no kind.
//
// A look-up of a live handle reads one byte, in a table so small that it stays in the cache. The table has room for more
// handles than the cap on live handles allows. Callers that release handles which they never got can lower the count of
// live handles below their number; when the table is full it then refuses a new handle, as if the cap had been reached,
// rather than forget a kind.
#pragma once

#include <cstdint>

#include "zar/records.h"

namespace zar {

enum class Kind : uint8_t {
  none,  // not issued by the library for one of its records
  pmap,
  cmap,
  action,
  filter,
  event_tuple,
  class_action,
  target,
  policy_context,
  pmtr_map,
  orphan,  // a handle that outlived its record: no operation may resolve it
  ending,  // of a record whose contents are being freed: operations no longer resolve it
};

// The kind of the handles of 'Record'.
template <class Record>
constexpr Kind kKindOf = Kind::none;
template <>
inline constexpr Kind kKindOf<zar_pmap> = Kind::pmap;
template <>
inline constexpr Kind kKindOf<zar_cmap> = Kind::cmap;
template <>
inline constexpr Kind kKindOf<zar_action> = Kind::action;
template <>
inline constexpr Kind kKindOf<zar_filter> = Kind::filter;
template <>
inline constexpr Kind kKindOf<zar_event_tuple> = Kind::event_tuple;
template <>
inline constexpr Kind kKindOf<zar_class_action> = Kind::class_action;
template <>
inline constexpr Kind kKindOf<zar_target> = Kind::target;
template <>
inline constexpr Kind kKindOf<zar_target_policy_context> = Kind::policy_context;
template <>
inline constexpr Kind kKindOf<zar_pmtr_map> = Kind::pmtr_map;

namespace kinds {

Kind of(uint32_t handle);
// The same for a handle that is live, and so was issued here.
Kind of_live(uint32_t handle);
// False if there is no room for another one.
bool has_room();
// Records 'kind' for a new handle. Handles without a kind are recorded, too.
void remember(uint32_t handle, Kind kind);
// Does nothing if the handle is unknown.
void change(uint32_t handle, Kind kind);
void forget(uint32_t handle);
void forget_all();

}  // namespace kinds

}  // namespace zar
