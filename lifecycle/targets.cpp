// Targets and their policy contexts.
#include "core/checks.h"
#include "core/pool.h"
#include "core/queue.h"
#include "lifecycle/associations.h"

using namespace zar;

const char *const zar_db_target_chunk_str = "ZAR DB target chunk";
const char *const zar_db_target_policy_context_chunk_str = "ZAR DB target policy context chunk";

namespace {

// The database in which a client keeps its targets, and the tree operations that name it correctly in traces.
struct TargetDatabase {
  TargetDatabase(uint32_t clid, const char *name) {
    uint32_t is_default = 0;
    if (!zar_get_client_database_handle(clid, name, &database, &is_default)) database = nullptr;
    if (!is_default) return;
    insert_fn = zar_avl_insert_target_default_db;
    remove_fn = zar_avl_delete_target_default_db;
  }
  explicit operator bool() const { return database != nullptr; }

  bool insert(zar_target *target) const { return insert_fn(database, target) != kNo; }
  // The key of a target is its handle, so a probe with only a handle is enough to remove it.
  bool remove(uint32_t handle) const {
    zar_target key{};
    key.handle = handle;
    zar_target *removed = nullptr;
    return remove_fn(database, &key, &removed) != kNo;
  }

 private:
  zar_db *database = nullptr;
  decltype(&zar_avl_insert_target_client_db) insert_fn = zar_avl_insert_target_client_db;
  decltype(&zar_avl_delete_target_client_db) remove_fn = zar_avl_delete_target_client_db;
};

// False if the engine does not release what it keeps there; the context then stays.
bool free_policy_context(const zar_target &target) {
  zar_target_policy_context *context = target.policy_context;
  if (!context) return true;
  TRACE_INFO("(info): %s: remove policy context:0x%p", "free_policy", address(context));
  if (context->ae_context && kel_free_all_policy_ae_context(context->ae_context) != 0) {
    TRACE_INFO("(info): delete_target:Error: policy context free failed");
    return false;
  }
  zar_handle_release(context->handle);
  policy_context_pool.give_back(context);
  return true;
}

void part_from_policies(zar_target &target) {
  for (const zar_target_pmap &link : Elements<zar_target_pmap>(target.active_pmaps))
    part_for_good(link.pmap, &target);
}

// Activates the first policy-map on a new target and inserts the target into its database; a failure undoes the
// activation.
uint32_t activate_and_store(const char *name, uint32_t clid, zar_target &target, zar_pmap *pmap) {
  if (associate_target_and_policy(clid, &target, pmap) != kSuccess) return kFailed;
  TargetDatabase database(clid, name);
  if (!database) {
    disassociate_target_and_policy(pmap, &target);
    return kFailed;
  }
  if (!database.insert(&target)) {
    TRACE_ERROR("(ERR): add_target: Error: avl insert failed, hdl:0x%x", target.handle);
    disassociate_target_and_policy(pmap, &target);
    return kTreeFailed;
  }
  return kSuccess;
}

}  // namespace

uint32_t zar_verify_target_context(const zar_target *target, const char *caller) {
  if (target) return kSuccess;
  trace_no_context(or_blank(caller), target);
  return kCheckFailed;
}

zar_target_policy_context *zar_create_policy_context(uint32_t target_handle) {
  static constexpr char kName[] = "create_policy_context";
  zar_target *target = require_whole_target(kName, target_handle);
  if (!target) return nullptr;
  if (target->policy_context) return target->policy_context;

  Pooled<zar_target_policy_context> context = policy_context_pool.take();
  if (!context) {
    TRACE_ERROR("(ERR): memory alloc for policy context failed ");
    return nullptr;
  }
  HeldHandle handle;
  if (!handle.issue(context.get())) {
    TRACE_ERROR("(ERR): create_policy_context: Could not create id for policy context");
    return nullptr;
  }
  handle.keep();
  target->policy_context = context.keep();
  TRACE_INFO("(info): %s: success", kName);
  return target->policy_context;
}

zar_target_policy_context *zar_retrieve_policy_context(uint32_t target_handle) {
  auto *target = require<zar_target>("retrieve_policy_context", target_handle);
  return target ? target->policy_context : nullptr;
}

uint32_t zar_add_target(uint32_t clid, zar_target_info *target_info, uint32_t pmap_handle, uint32_t *target_out) {
  static constexpr char kName[] = "add_target";
  bool valid = target_place_given(kName, target_out);
  valid &= valid_clid(kName, clid);
  valid &= target_info_given(kName, target_info);
  auto *pmap = require<zar_pmap>(kName, pmap_handle);
  if (!pmap || !valid) return kInvalidArgument;

  Pooled<zar_target> target = target_pool.take();
  if (!target) {
    TRACE_ERROR("(ERR): add_target: memory alloc for target failed clid:%d", clid);
    return kNoMemory;
  }
  HeldHandle handle;
  if (!handle.issue(target.get())) {
    TRACE_ERROR("(ERR): add_target: Could not create id for target clid:%d", clid);
    return kFailed;
  }
  target->target_info = target_info;
  make_empty(target->active_pmaps);
  make_empty(target->reserved_queue);
  uint32_t status = activate_and_store(kName, clid, *target, pmap);
  if (status != kSuccess) {
    // A handler notified of the activation may have activated more on the target; without a handle it no longer can.
    handle.give_back();
    part_from_policies(*target);
    return status;
  }
  target.keep();
  *target_out = handle.keep();
  TRACE_INFO("(info): %s: success", kName);
  return kSuccess;
}

uint32_t zar_remove_target(uint32_t clid, uint32_t target_handle, zar_target_info **target_info_out) {
  static constexpr char kName[] = "remove_target";
  bool valid = valid_clid(kName, clid);
  zar_target *target = require_whole_target(kName, target_handle);
  if (!target || !valid) return kInvalidArgument;
  if (!target_info_out) {
    TRACE_ERROR("(ERR): %s: input target info place cannot be NULL", kName);
    return kInvalidArgument;
  }

  TargetDatabase database(clid, kName);
  if (!database) return kFailed;
  *target_info_out = target->target_info;
  if (database.remove(target_handle)) return kSuccess;
  TRACE_ERROR("(ERR): remove_target: Error: avl delete failed");
  *target_info_out = nullptr;
  return kTreeFailed;
}

// If the engine does not release the policy context, the target's record and its context stay allocated, although its
// policies are deactivated and its handle is released.
uint32_t zar_delete_target(uint32_t target_handle) {
  static constexpr char kName[] = "delete_target";
  zar_target *target = require_whole_target(kName, target_handle);
  if (!target || is_ending(target)) return kInvalidArgument;

  const Ending ending(target);
  part_from_policies(*target);
  zar_handle_release(target_handle);
  // A handler notified of a deactivation may have activated a policy again; without a handle it no longer can.
  part_from_policies(*target);
  if (!free_policy_context(*target)) return kFailed;
  target_pool.give_back(target);
  TRACE_INFO("(info): %s: target freed", kName);
  return kSuccess;
}
