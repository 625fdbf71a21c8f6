#include "core/kinds.h"

#include <algorithm>

namespace zar::kinds {

namespace {

// A handle's home is given by its low bits, in which handles that are live together nearly always differ: objects that
// were created together are also looked up together, and have adjacent homes. A home has room for one handle. Further
// ones with the same home are in a hash table of their own, whatever the platform's ids look like.
constexpr uint32_t kHomes = 1u << 16;
constexpr uint32_t kMostHandles = kHomes + kHomes / 2;

uint32_t handles[kHomes];  // 0: the home is empty
uint32_t used;             // handles

// As a rule, all that a look-up needs of a home: the kind, and whether others ever had the home, too.
constexpr uint8_t kShared = 0x80;
uint8_t kinds[kHomes];

uint32_t home_of(uint32_t handle) {
  return handle & (kHomes - 1);
}
bool is_shared(uint32_t home) {
  return (kinds[home] & kShared) != 0;
}
Kind kind_at(uint32_t home) {
  return static_cast<Kind>(kinds[home] & ~kShared);
}
void set_kind_at(uint32_t home, Kind kind) {
  kinds[home] = static_cast<uint8_t>((kinds[home] & kShared) | static_cast<uint8_t>(kind));
}

// ---- The others: a hash table with linear probing

struct Place {
  uint32_t handle;  // 0: empty
  Kind kind;
};
constexpr uint32_t kPlaceBits = 18, kPlaces = 1u << kPlaceBits;
static_assert(kPlaces > 2 * kMostHandles, "searches are short, and end");
Place places[kPlaces];

uint32_t first_place_for(uint32_t handle) {
  return (handle * 0x9e3779b9u) >> (32 - kPlaceBits);
}
uint32_t after(uint32_t place) {
  return (place + 1) & (kPlaces - 1);
}
uint32_t distance(uint32_t from, uint32_t to) {
  return (to - from) & (kPlaces - 1);
}

// Where 'handle' is or, if it is in no place, where it would be put.
Place &place_of(uint32_t handle) {
  uint32_t place = first_place_for(handle);
  while (places[place].handle != 0 && places[place].handle != handle)
    place = after(place);
  return places[place];
}

// Moves the following ones up, as far as they are still found.
void empty(Place &given) {
  auto gap = static_cast<uint32_t>(&given - places);
  for (uint32_t place = after(gap); places[place].handle != 0; place = after(place)) {
    if (distance(first_place_for(places[place].handle), place) < distance(gap, place)) continue;
    places[gap] = places[place];
    gap = place;
  }
  places[gap] = {};
}

// The place of 'handle', or NULL.
Place *find_place(uint32_t home, uint32_t handle) {
  if (!is_shared(home)) [[likely]]
    return nullptr;
  Place &place = place_of(handle);
  return place.handle == handle ? &place : nullptr;
}

}  // namespace

Kind of(uint32_t handle) {
  const uint32_t home = home_of(handle);
  if (handles[home] == handle) return kind_at(home);
  const Place *place = find_place(home, handle);
  return place ? place->kind : Kind::none;
}

Kind of_live(uint32_t handle) {
  const uint32_t home = home_of(handle);
  if (!is_shared(home)) [[likely]]
    return kind_at(home);
  return of(handle);
}

bool has_room() {
  return used < kMostHandles;
}

void remember(uint32_t handle, Kind kind) {
  ++used;
  const uint32_t home = home_of(handle);
  if (handles[home] == 0) {
    handles[home] = handle;
    return set_kind_at(home, kind);
  }
  place_of(handle) = {handle, kind};
  kinds[home] |= kShared;
}

void change(uint32_t handle, Kind kind) {
  const uint32_t home = home_of(handle);
  if (handles[home] == handle)
    set_kind_at(home, kind);
  else if (Place *place = find_place(home, handle))
    place->kind = kind;
}

void forget(uint32_t handle) {
  const uint32_t home = home_of(handle);
  if (handles[home] == handle) {
    handles[home] = 0;
    set_kind_at(home, Kind::none);
    --used;
  } else if (Place *place = find_place(home, handle)) {
    empty(*place);
    --used;
  }
}

void forget_all() {
  if (used == 0) return;
  std::fill_n(kinds, kHomes, uint8_t{});
  std::fill_n(handles, kHomes, 0);
  std::fill_n(places, kPlaces, Place{});
  used = 0;
}

}  // namespace zar::kinds
