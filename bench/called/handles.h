/* Ways to identify records by 32-bit handles, in a shared library of their own. */
#pragma once

#include <cstdint>

#pragma GCC visibility push(default)
extern "C" {

struct CalledAction;

CalledAction *called_action_new(uint32_t number);

// 18 bits of slot, 14 of generation, and a kind for each slot.
uint32_t called_slot_map_add(CalledAction *action);
void called_slot_map_remove(uint32_t handle);
uint32_t called_slot_map_action_number(uint32_t handle);

// std::unordered_map from the handle to the record and its kind.
uint32_t called_hash_map_add(CalledAction *action);
void called_hash_map_remove(uint32_t handle);
uint32_t called_hash_map_action_number(uint32_t handle);

// The least that an accessor of the library can do: it asks the platform's id table, and for the kind of the handle a table
// beside it, where handles with the same low 16 bits share a kind; if the handle is dead, it asks whether its two messages
// are wanted.
uint32_t called_id_add(CalledAction *action);
void called_id_remove(uint32_t handle);
uint32_t called_id_action_number(uint32_t handle);
}
#pragma GCC visibility pop
