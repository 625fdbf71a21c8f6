// The lines that the operations on policy-maps, targets and activations have in common.
#pragma once

#include "support/lines.h"
#include "support/repository.h"
#include "support/wrong_handles.h"

namespace rig {

// A handle table that a test leaves behind would keep its handles live for the next test of the same process.
struct Lifecycle : Repository {
  ~Lifecycle() override { zar_handle_table_destroy(); }
};

// ---- Arguments

inline Line no_map_info(const char *operation) {
  return error("(ERR): %s: input map info cannot be NULL", operation);
}
inline Line no_target_info(const char *operation) {
  return error("(ERR): %s: input target info cannot be NULL", operation);
}
inline Line no_place_for_pmap(const char *operation) {
  return error("(ERR): %s: input policy map handle cannot be NULL", operation);
}

// ---- Look-ups

inline Line no_default_database() {
  return error("(ERR): Could not find default db");
}
inline Line missing_client(const char *operation, uint32_t clid) {
  return error("(ERR): %s: clid:%d, Client entry is in ZAR is NULL", operation, clid);
}

// What the look-up of a policy-map by name says, for a client with a database of its own.
inline Lines found_policy(const char *key) {
  return {own_database("retrieve_policy"), info("(info): retrieve_policy: successful, pmap:%s", key)};
}
inline Lines found_no_policy(uint32_t clid, const char *name) {
  return {own_database("retrieve_policy"),
          info("(info): retrieve_policy: search failed as there is no match clid:%d, name:%s", clid, name)};
}

// ---- Pairs of a policy-map and a target

inline Line associated(uintptr_t target_id, const char *policy) {
  return info("(info):  association between target:0x%lu, policy:%s success", target_id, policy);
}
inline Lines unlinked(const char *policy) {
  return {info("(info): removed target from pmap:%s", policy), info("(info): removed pmap from target:%s", policy)};
}
inline Line no_target_to_unlink() {
  return info("(info): remove target from pmap, target not found to remove");
}
inline Line no_pmap_to_unlink(const char *policy) {
  return info("(info): remove pmap from target: pmap:%s not found to remove from target", policy);
}
inline Line instance_not_found(uint32_t pmap) {
  return error("(ERR): remove_pmap_from_target: Error: pmap:0x%x could not find policy instance", pmap);
}
inline Line instance_not_deleted(const char *policy) {
  return error("(ERR): remove_pmap_from_target: Error: pmap:%s could not delete policy instance", policy);
}

// The client is notified of policy-maps removed from targets, as calls "removed target:0x.. pmap:0x..".
inline void hear_removals(uint32_t clid) {
  const Quiet quiet;
  EXPECT_EQ(zar_client_register_target_policy_removal_vector(clid, policy_removed), 0U);
}
inline std::string removal(uint32_t target, uint32_t pmap) {
  return text("removed target:0x%x pmap:0x%x", target, pmap);
}

// Removes a target from its tree and deletes it, without trace and calls.
inline void drop_target(uint32_t clid, uint32_t target) {
  const Quiet quiet;
  zar_target_info *target_info = nullptr;
  EXPECT_EQ(zar_remove_target(clid, target, &target_info), 0U);
  EXPECT_EQ(zar_delete_target(target), 0U);
}

}  // namespace rig
