// The kind of record behind each handle that the library issued.
//
// One handle table serves nine kinds of records, and the platform's id table stores only a pointer. A caller that hands
// an operation a handle of another kind must not have its record read as something else, so the library remembers beside
// the id table which kind it issued each handle for. A handle that a caller made for a record of its own has no kind.
//
// The kinds stand in a hash table, keyed by the handle: one cache line for a look-up, no memory beyond the table. It has
// room for more than the cap on live handles needs. Callers that release handles which they never got can lower the count
// of live handles below their number; the table then refuses a new one when it is full, as if the cap had been reached,
// rather than forget a kind.
#pragma once

#include <cstdint>

#include "zar/records.h"

namespace zar {

enum class Kind : uint8_t {
  none,  // not issued by the library for a record of its own
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
  ending,  // of a record whose contents are being freed: no operation may resolve it any more
};

// Which kind the handles of 'Record' have.
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
// False when there is no room for one more.
bool has_room();
// Remembers 'handle' as 'kind', whatever was remembered before; Kind::none forgets it.
void remember(uint32_t handle, Kind kind);
// Remembers 'handle' as one of a record that ends. Where there is no room for one that was not remembered, nothing is.
void retire(uint32_t handle);
void forget(uint32_t handle);
void forget_all();

}  // namespace kinds

}  // namespace zar
