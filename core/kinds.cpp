#include "core/kinds.h"

namespace zar::kinds {

namespace {

constexpr uint32_t kSlotBits = 17;
constexpr uint32_t kSlots = 1u << kSlotBits;
constexpr uint32_t kMaxUsed = kSlots / 4 * 3;

struct Slot {
  uint32_t handle;  // 0: empty
  Kind kind;
};

Slot slots[kSlots];
uint32_t used;

// Multiplication spreads both counters and values that differ in their high bits only.
uint32_t home_of(uint32_t handle) {
  return handle * 0x9e3779b1u >> (32 - kSlotBits);
}
uint32_t after(uint32_t slot) {
  return (slot + 1) & (kSlots - 1);
}

// The slot that holds 'handle', or the empty one that ends its cluster.
uint32_t find(uint32_t handle) {
  uint32_t slot = home_of(handle);
  while (slots[slot].handle != handle && slots[slot].handle != 0)
    slot = after(slot);
  return slot;
}

// Whether the entry in 'slot' may move back to 'gap': its home does not lie behind the gap.
bool may_fill(uint32_t gap, uint32_t slot) {
  uint32_t distance_from_home = (slot - home_of(slots[slot].handle)) & (kSlots - 1);
  uint32_t distance_from_gap = (slot - gap) & (kSlots - 1);
  return distance_from_home >= distance_from_gap;
}

// Empties 'gap' and closes the cluster behind it, so that no search ends early.
void remove(uint32_t gap) {
  for (uint32_t slot = after(gap); slots[slot].handle != 0; slot = after(slot)) {
    if (!may_fill(gap, slot)) continue;
    slots[gap] = slots[slot];
    gap = slot;
  }
  slots[gap] = {};
  --used;
}

}  // namespace

Kind of(uint32_t handle) {
  return slots[find(handle)].kind;
}

bool has_room() {
  return used < kMaxUsed;
}

void remember(uint32_t handle, Kind kind) {
  if (kind == Kind::none) return forget(handle);
  Slot &slot = slots[find(handle)];
  if (slot.handle == 0) ++used;
  slot = {handle, kind};
}

void forget(uint32_t handle) {
  uint32_t slot = find(handle);
  if (slots[slot].handle != 0) remove(slot);
}

void forget_all() {
  if (used == 0) return;
  for (Slot &slot : slots)
    slot = {};
  used = 0;
}

}  // namespace zar::kinds
