#include "called/handles.h"

#include <memory>
#include <unordered_map>
#include <vector>

#include "platform/engine.h"
#include "platform/runtime.h"
#include "platform/tags.h"

// As large as the library's record of an action.
struct CalledAction {
  char other[12] = {};
  uint32_t number = 0;
  char more[64] = {};
};

namespace {

enum class Kind : uint8_t { none, action };

struct Slot {
  CalledAction *action = nullptr;
  uint32_t handle = 0;  // the live one, or 0
  Kind kind = Kind::none;
};

constexpr uint32_t kIndexBits = 18, kIndexMask = (1U << kIndexBits) - 1;

struct SlotMap {
  std::vector<Slot> slots{1};
  std::vector<uint32_t> generations{0};
  std::vector<uint32_t> free;
} slot_map;

struct Entry {
  CalledAction *action;
  Kind kind;
};
std::unordered_map<uint32_t, Entry> hash_map;
uint32_t last_handle = 0;

constexpr uint32_t kKinds = 1U << 16;
Kind kinds[kKinds];
uint16_t id_table = 0;

uint32_t free_slot() {
  if (slot_map.free.empty()) {
    slot_map.slots.emplace_back();
    slot_map.generations.push_back(0);
    return static_cast<uint32_t>(slot_map.slots.size() - 1);
  }
  uint32_t index = slot_map.free.back();
  slot_map.free.pop_back();
  return index;
}

// Kept out of the look-up, since a dead handle is rare.
[[gnu::noinline]] uint32_t refused() {
  constexpr uint32_t kError = 3;
  for (const char *message : {"the handle is dead", "there is no action"})
    if (btrace_module_test(kel_trace_id, kError)) btrace_wrapper(kel_trace_id, kError, 0, "%s", message);
  return 0;
}

}  // namespace

CalledAction *called_action_new(uint32_t number) {
  auto action = std::make_unique<CalledAction>();
  action->number = number;
  return action.release();
}

uint32_t called_slot_map_add(CalledAction *action) {
  uint32_t index = free_slot();
  uint32_t handle = ++slot_map.generations[index] << kIndexBits | index;
  slot_map.slots[index] = {action, handle, Kind::action};
  return handle;
}

void called_slot_map_remove(uint32_t handle) {
  uint32_t index = handle & kIndexMask;
  delete slot_map.slots[index].action;
  slot_map.slots[index] = {};
  slot_map.free.push_back(index);
}

uint32_t called_slot_map_action_number(uint32_t handle) {
  uint32_t index = handle & kIndexMask;
  if (index >= slot_map.slots.size()) return 0;
  const Slot &slot = slot_map.slots[index];
  return slot.handle == handle && slot.kind == Kind::action ? slot.action->number : 0;
}

uint32_t called_hash_map_add(CalledAction *action) {
  hash_map.emplace(++last_handle, Entry{action, Kind::action});
  return last_handle;
}

void called_hash_map_remove(uint32_t handle) {
  auto found = hash_map.find(handle);
  delete found->second.action;
  hash_map.erase(found);
}

uint32_t called_hash_map_action_number(uint32_t handle) {
  auto found = hash_map.find(handle);
  return found != hash_map.end() && found->second.kind == Kind::action ? found->second.action->number : 0;
}

uint32_t called_id_add(CalledAction *action) {
  if (id_table == 0) id_table = id_create_new_table(256, 256, "called", ZAR_TAG_HANDLE);
  const uint32_t handle = id_get(action, id_table, ZAR_TAG_HANDLE);
  kinds[handle % kKinds] = Kind::action;
  return handle;
}

void called_id_remove(uint32_t handle) {
  delete static_cast<CalledAction *>(id_to_ptr(handle, nullptr, id_table));
  id_delete(handle, id_table);
}

uint32_t called_id_action_number(uint32_t handle) {
  constexpr uint32_t kLive = 0;
  uint32_t status = kLive;
  const auto *action = static_cast<const CalledAction *>(id_to_ptr(handle, &status, id_table));
  if (status != kLive || !action || kinds[handle % kKinds] != Kind::action) return refused();
  return action->number;
}
