// Id tables.
//
// An id consists of the slot's generation (14 high bits) and the slot index (18 low bits). A slot holds the pointer,
// its live id and the table that issued it, so a look-up compares two words and touches one cache line, however many
// slots there are. Index 0 is never issued, so no id is 0.
//
// All tables of the process share the slots: the numbering continues when a table ends or another one is created, and
// an id of one table is unknown in any other. The slot that was freed last, which is still in the cache, is issued
// first. No value is reused within 16 million allocations: a slot whose generations are used up rests for that long. At
// most as many rest as were live at once, so there is room for 131,000 live ids at any time, and for twice as many until
// the first slots rest.
//
// Whether a value was ever issued follows from the generation of its slot. A slot whose generations have wrapped around
// has issued all of its values. A slot remembers only the table of its newest id: an older id counts as deleted in any
// table.
#include <algorithm>
#include <cstdlib>

#include "host/runtime/monitor.h"
#include "host/runtime/services.h"

using namespace runtime;

namespace {

constexpr uint32_t kIndexBits = 18, kGenerationBits = 32 - kIndexBits;
constexpr uint32_t kIndexMask = (1u << kIndexBits) - 1, kGenerationMask = (1u << kGenerationBits) - 1;
constexpr uint32_t kMostSlots = 1u << kIndexBits;
constexpr uint32_t kRest = 1 << 24;  // allocations

constexpr uint32_t kSmallestSpace = 16;
constexpr uint32_t kMostTables = 1 << 16;

enum Status : uint32_t { kLive = 0, kNeverIssued = 1, kDeleted = 2 };

struct Slot {
  // Live: the pointer. Free: the next slot in its list, and the generation of the last id.
  uint64_t content;
  uint32_t id;          // the live id; 0 if there is none
  uint16_t table;       // which table issued the last id
  uint16_t began_anew;  // all generations were used

  uint32_t next_free() const { return static_cast<uint32_t>(content); }
  uint32_t last_generation() const { return static_cast<uint32_t>(content >> 32); }
  uint32_t newest_generation() const { return id ? id >> kIndexBits : last_generation(); }
  void set_free(uint32_t next, uint32_t generation) {
    content = uint64_t{generation} << 32 | next;
    id = 0;
  }
  void set_next_free(uint32_t next) { set_free(next, last_generation()); }
  void *pointer() const { return reinterpret_cast<void *>(content); }
};
static_assert(sizeof(Slot) == 16, "four slots share a cache line, and none lies in two");

// The slots of all tables.
struct Space {
  Slot *slots;
  uint32_t *issues;        // for each slot: when its id was issued, as a count of issues
  uint32_t fresh;          // slots from here on were never issued; 0 if there are none yet
  uint32_t capacity;       // allocated slots
  uint32_t growth;         // the minimum growth, in slots
  uint32_t newest_free;    // the list of free slots, the newest first; 0: none
  uint32_t first_resting;  // the list of slots whose generations are used up, the oldest first; 0: none
  uint32_t last_resting;
};
constinit Space space = {};
constinit uint32_t newest_issue = 0;

struct Table {
  bool exists;
  uint32_t n_live;
};
constinit Table tables[kMostTables] = {};
constinit uint16_t newest_table = 0;

template <class Element>
bool extend(Element *&elements, uint32_t capacity) {
  void *extended = std::realloc(elements, capacity * sizeof(Element));
  if (!extended) return false;
  elements = static_cast<Element *>(extended);
  return true;
}

bool grow() {
  uint32_t capacity = std::min(space.capacity + std::max(space.growth, space.capacity), kMostSlots);
  if (capacity == space.capacity) return false;
  if (!extend(space.slots, capacity) || !extend(space.issues, capacity)) return false;
  space.capacity = capacity;
  return true;
}

// Allocates the first slots; one of them is never issued.
bool prepare(uint32_t initial) {
  if (space.fresh != 0) return true;
  space.growth = std::max(initial, kSmallestSpace);
  if (!grow()) return false;
  // The index bits of this id are not 0, so no look-up finds it here.
  space.slots[0] = {.content = 0, .id = UINT32_MAX, .table = 0, .began_anew = 0};
  space.fresh = 1;
  return true;
}

uint32_t next_id_of(uint32_t index) {
  return ((space.slots[index].last_generation() + 1) & kGenerationMask) << kIndexBits | index;
}

uint32_t take_free_slot() {
  const uint32_t index = space.newest_free;
  space.newest_free = space.slots[index].next_free();
  return next_id_of(index);
}

bool has_rested() {
  return space.first_resting != 0 && newest_issue - space.issues[space.first_resting] >= kRest;
}

uint32_t take_rested_slot() {
  const uint32_t index = space.first_resting;
  space.first_resting = space.slots[index].next_free();
  space.slots[index].began_anew = 1;
  return next_id_of(index);
}

// 0 if there is none.
uint32_t take_fresh_slot() {
  if (space.fresh == space.capacity && !grow()) return 0;
  uint32_t index = space.fresh++;
  space.slots[index].began_anew = 0;
  return index;
}

uint32_t next_id() {
  if (space.newest_free != 0) [[likely]]
    return take_free_slot();
  return has_rested() ? take_rested_slot() : take_fresh_slot();
}

void enter(uint32_t id, uint16_t table, void *pointer) {
  Slot &slot = space.slots[id & kIndexMask];
  slot.content = reinterpret_cast<uintptr_t>(pointer);
  slot.id = id;
  slot.table = table;
  space.issues[id & kIndexMask] = ++newest_issue;
  ++tables[table].n_live;
}

void let_rest(uint32_t index) {
  space.slots[index].set_free(0, kGenerationMask);
  if (space.first_resting == 0)
    space.first_resting = index;
  else
    space.slots[space.last_resting].set_next_free(index);
  space.last_resting = index;
}

void leave(uint32_t index) {
  Slot &slot = space.slots[index];
  const uint32_t generation = slot.id >> kIndexBits;
  --tables[slot.table].n_live;
  if (generation == kGenerationMask) [[unlikely]]
    return let_rest(index);
  slot.set_free(space.newest_free, generation);
  space.newest_free = index;
}

Slot *live_slot(uint32_t id, uint16_t table) {
  uint32_t index = id & kIndexMask;
  if (index >= space.fresh) return nullptr;
  Slot &slot = space.slots[index];
  return slot.id == id && slot.table == table ? &slot : nullptr;
}

Status status_of_dead(uint32_t id, uint16_t table) {
  uint32_t index = id & kIndexMask;
  if (index == 0 || index >= space.fresh || !tables[table].exists) return kNeverIssued;
  const Slot &slot = space.slots[index];
  uint32_t generation = id >> kIndexBits, newest = slot.newest_generation();
  if (generation == newest) return slot.table == table ? kDeleted : kNeverIssued;
  return slot.began_anew || generation < newest ? kDeleted : kNeverIssued;
}

void *report(uint32_t *status_out, Status status, void *pointer) {
  if (status_out) *status_out = status;
  return pointer;
}

// All identifiers are used before one is reused, so ids of a destroyed table rarely meet a new one.
uint16_t unused_table() {
  for (uint32_t tried = 0; tried < kMostTables; ++tried) {
    ++newest_table;
    if (newest_table != 0 && !tables[newest_table].exists) return newest_table;
  }
  return 0;
}

}  // namespace

uint16_t id_create_new_table(uint32_t initial, uint32_t growth, const char *name, uint32_t tag) {
  if (refused(Service::id_table, tag, 0, name ? name : "")) return 0;
  uint16_t number = unused_table();
  if (number == 0 || !prepare(initial)) {
    note_out_of_memory();
    return 0;
  }
  space.growth = std::max(growth, kSmallestSpace);
  tables[number] = {.exists = true, .n_live = 0};
  return number;
}

uint32_t id_get(void *pointer, uint16_t table, uint32_t tag) {
  if (!tables[table].exists) [[unlikely]] {
    complain("an id was asked of table %u, which does not exist", table);
    return 0;
  }
  if (refused(Service::id, tag)) [[unlikely]]
    return 0;
  uint32_t id = next_id();
  if (id == 0) [[unlikely]] {
    note_out_of_memory();
    return 0;
  }
  enter(id, table, pointer);
  return id;
}

void *id_to_ptr(uint32_t id, uint32_t *status, uint16_t table) {
  const Slot *slot = live_slot(id, table);
  if (!slot) [[unlikely]]
    return report(status, status_of_dead(id, table), nullptr);
  if (monitor.lose_next_pointer) [[unlikely]] {
    monitor.lose_next_pointer = false;
    return report(status, kLive, nullptr);
  }
  return report(status, kLive, slot->pointer());
}

uint32_t id_delete(uint32_t id, uint16_t table) {
  if (!live_slot(id, table)) return 0;
  leave(id & kIndexMask);
  return 1;
}

uint32_t id_destroy_table(uint16_t table) {
  if (!tables[table].exists) return 0;
  for (uint32_t index = 1; index < space.fresh && tables[table].n_live > 0; ++index)
    if (space.slots[index].id != 0 && space.slots[index].table == table) leave(index);
  tables[table].exists = false;
  return 1;
}

namespace runtime {

std::vector<uint32_t> live_ids() {
  struct Issued {
    uint32_t age;
    uint32_t id;
  };
  std::vector<Issued> live;
  for (uint32_t index = 1; index < space.fresh; ++index)
    if (uint32_t id = space.slots[index].id) live.push_back({newest_issue - space.issues[index], id});
  std::sort(live.begin(), live.end(), [](const Issued &a, const Issued &b) { return a.age > b.age; });

  std::vector<uint32_t> ids;
  for (const Issued &issued : live)
    ids.push_back(issued.id);
  return ids;
}

}  // namespace runtime
