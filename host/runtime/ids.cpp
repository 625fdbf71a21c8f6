// Id tables.
//
// An id is a slot index (18 bits) below the slot's generation (14 bits). A slot holds the pointer and the id that is live
// in it, so a look-up compares one word and touches one cache line, whatever the size of the table. Index 0 is never
// issued, so no id is 0.
//
// No value comes back within 16 million allocations of its table: freed slots wait in a queue and are issued again in the
// order in which they were freed, and only while more than kQuarantine of them wait; otherwise the table grows. All slots
// that wait behind a slot at its issue are issued before it comes round again, so its 2^14 generations last for at least
// (2^14 - 1) * (kQuarantine + 1) allocations. That leaves room for more than 261,000 live ids in a table.
//
// Whether a value was ever issued follows from the generation that its slot is at. A slot whose generations have begun
// anew has issued all of its values.
#include <algorithm>
#include <cstdlib>

#include "host/runtime/monitor.h"
#include "host/runtime/services.h"

using namespace runtime;

namespace {

constexpr uint32_t kIndexBits = 18, kGenerationBits = 32 - kIndexBits;
constexpr uint32_t kIndexMask = (1u << kIndexBits) - 1, kGenerationMask = (1u << kGenerationBits) - 1;
constexpr uint32_t kMostSlots = 1u << kIndexBits;
constexpr uint32_t kQuarantine = 1024;
static_assert(uint64_t{kGenerationMask} * (kQuarantine + 1) >= uint64_t{1} << 24);

constexpr uint32_t kSmallestTable = 16;
constexpr uint32_t kMostTables = 1 << 16;

enum Status : uint32_t { kLive = 0, kNeverIssued = 1, kDeleted = 2 };

struct Slot {
  // Live: the pointer. Free: the next slot in the queue of free ones, and the generation of the last id.
  uint64_t content;
  uint32_t id;     // the live id; 0 when there is none
  uint32_t issue;  // when the last id was issued, as a count of issues; the top bit: all generations were used

  uint32_t next_free() const { return static_cast<uint32_t>(content); }
  uint32_t last_generation() const { return static_cast<uint32_t>(content >> 32); }
  void set_free(uint32_t next, uint32_t generation) {
    content = uint64_t{generation} << 32 | next;
    id = 0;
  }
  void set_next_free(uint32_t next) { set_free(next, last_generation()); }
  void *pointer() const { return reinterpret_cast<void *>(content); }
};
static_assert(sizeof(Slot) == 16, "four slots share a cache line, and none lies in two");

constexpr uint32_t kAllGenerationsUsed = 1u << 31;

struct Table {
  Slot *slots;
  uint32_t fresh;       // slots from here on were never issued; 0 when there is no table
  uint32_t capacity;    // slots that there is memory for
  uint32_t growth;      // slots to grow by at least
  uint32_t n_free;      // slots in the queue of free ones
  uint32_t first_free;  // the slot that was freed first
  uint32_t last_free;
};

constinit Table tables[kMostTables] = {};
constinit uint16_t newest_table = 0;
constinit uint16_t highest_table = 0;
constinit uint32_t issues = 0;  // of all tables; the order of issue

bool exists(const Table &table) {
  return table.fresh != 0;
}

bool grow(Table &table) {
  uint32_t capacity = std::min(table.capacity + std::max(table.growth, table.capacity), kMostSlots);
  if (capacity == table.capacity) return false;
  void *slots = std::realloc(table.slots, capacity * sizeof(Slot));
  if (!slots) return false;
  table.slots = static_cast<Slot *>(slots);
  table.capacity = capacity;
  return true;
}

uint32_t take_freed_slot(Table &table) {
  uint32_t index = table.first_free;
  table.first_free = table.slots[index].next_free();
  --table.n_free;
  Slot &slot = table.slots[index];
  uint32_t generation = (slot.last_generation() + 1) & kGenerationMask;
  if (generation == 0) slot.issue |= kAllGenerationsUsed;
  return generation << kIndexBits | index;
}

// 0 when there is none.
uint32_t take_fresh_slot(Table &table) {
  if (table.fresh == table.capacity && !grow(table)) return 0;
  uint32_t index = table.fresh++;
  table.slots[index].issue = 0;
  return index;
}

uint32_t next_id(Table &table) {
  return table.n_free > kQuarantine ? take_freed_slot(table) : take_fresh_slot(table);
}

void enter(Slot &slot, uint32_t id, void *pointer) {
  slot.content = reinterpret_cast<uintptr_t>(pointer);
  slot.id = id;
  slot.issue = (slot.issue & kAllGenerationsUsed) | (++issues & ~kAllGenerationsUsed);
}

void leave(Table &table, uint32_t index) {
  table.slots[index].set_free(0, table.slots[index].id >> kIndexBits);
  if (table.n_free == 0)
    table.first_free = index;
  else
    table.slots[table.last_free].set_next_free(index);
  table.last_free = index;
  ++table.n_free;
}

Slot *live_slot(const Table &table, uint32_t id) {
  uint32_t index = id & kIndexMask;
  if (index >= table.fresh || table.slots[index].id != id) return nullptr;
  return &table.slots[index];
}

Status status_of_dead(const Table &table, uint32_t id) {
  uint32_t index = id & kIndexMask;
  if (index == 0 || index >= table.fresh) return kNeverIssued;
  const Slot &slot = table.slots[index];
  uint32_t newest = slot.id ? slot.id >> kIndexBits : slot.last_generation();
  return (slot.issue & kAllGenerationsUsed) != 0 || id >> kIndexBits <= newest ? kDeleted : kNeverIssued;
}

void *report(uint32_t *status_out, Status status, void *pointer) {
  if (status_out) *status_out = status;
  return pointer;
}

// The identifiers go round before one is used again, so ids of an ended table seldom meet a new one.
uint16_t unused_table() {
  for (uint32_t tried = 0; tried < kMostTables; ++tried)
    if (++newest_table != 0 && !exists(tables[newest_table])) return newest_table;
  return 0;
}

}  // namespace

uint16_t id_create_new_table(uint32_t initial, uint32_t growth, const char *name, uint32_t tag) {
  if (refused(Service::id_table, tag, 0, name ? name : "")) return 0;
  uint16_t number = unused_table();
  Table table{};
  table.growth = std::max(initial, kSmallestTable);
  if (number == 0 || !grow(table)) {
    note_out_of_memory();
    return 0;
  }
  table.growth = std::max(growth, kSmallestTable);
  table.fresh = 1;
  table.slots[0] = {0, UINT32_MAX, 0};  // the index bits of this id are not 0, so no look-up finds it here
  tables[number] = table;
  highest_table = std::max(highest_table, number);
  return number;
}

uint32_t id_get(void *pointer, uint16_t table_id, uint32_t tag) {
  Table &table = tables[table_id];
  if (!exists(table)) [[unlikely]] {
    complain("an id was asked of table %u, which does not exist", table_id);
    return 0;
  }
  if (refused(Service::id, tag)) [[unlikely]]
    return 0;
  uint32_t id = next_id(table);
  if (id == 0) [[unlikely]] {
    note_out_of_memory();
    return 0;
  }
  enter(table.slots[id & kIndexMask], id, pointer);
  return id;
}

void *id_to_ptr(uint32_t id, uint32_t *status, uint16_t table_id) {
  const Table &table = tables[table_id];
  const Slot *slot = live_slot(table, id);
  if (!slot) [[unlikely]]
    return report(status, status_of_dead(table, id), nullptr);
  if (monitor.lose_next_pointer) [[unlikely]] {
    monitor.lose_next_pointer = false;
    return report(status, kLive, nullptr);
  }
  return report(status, kLive, slot->pointer());
}

uint32_t id_delete(uint32_t id, uint16_t table_id) {
  Table &table = tables[table_id];
  if (!live_slot(table, id)) return 0;
  leave(table, id & kIndexMask);
  return 1;
}

uint32_t id_destroy_table(uint16_t table_id) {
  Table &table = tables[table_id];
  if (!exists(table)) return 0;
  std::free(table.slots);
  table = {};
  return 1;
}

namespace runtime {

std::vector<uint32_t> live_ids() {
  struct Issued {
    uint32_t age;
    uint32_t id;
  };
  std::vector<Issued> live;
  for (uint32_t number = 1; number <= highest_table; ++number)
    for (uint32_t index = 1; index < tables[number].fresh; ++index)
      if (const Slot &slot = tables[number].slots[index]; slot.id != 0)
        live.push_back({(issues - slot.issue) & ~kAllGenerationsUsed, slot.id});
  std::sort(live.begin(), live.end(), [](const Issued &a, const Issued &b) { return a.age > b.age; });

  std::vector<uint32_t> ids;
  for (const Issued &issued : live)
    ids.push_back(issued.id);
  return ids;
}

}  // namespace runtime
