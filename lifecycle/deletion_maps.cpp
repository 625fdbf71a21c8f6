// Deletion of policy-maps and class-maps, and two accessors of policy-maps.
#include "compose/rules.h"
#include "core/callbacks.h"
#include "core/clients.h"
#include "core/names.h"
#include "core/pool.h"
#include "core/text.h"
#include "core/tree.h"
#include "core/trees.h"
#include "lifecycle/associations.h"
#include "objects/leaves.h"
#include "objects/map_family.h"
#include "platform/tags.h"
#include "zar/pmtr.h"

using namespace zar;

namespace {

constexpr char kEmptyBuiltin[] = "delete_autoconf_policy";

// ---- Policy-maps

// Deletes the elements of the rule list one by one: events by their handles, or, in a policy-map without events, the
// class-actions themselves.
void delete_rules(const char *name, zar_pmap &pmap) {
  auto trace = [name](uint32_t handle) { TRACE_INFO("(info): %s: Deleting event tuple:0x%x", name, handle); };
  if (is_control(pmap)) {
    for (zar_event_tuple &event : Elements<zar_event_tuple>(pmap.rule_list)) {
      trace(event.handle);
      zar_delete_event(event.handle);
    }
  } else {
    while (zar_class_action *rule = take_first<zar_class_action>(pmap.rule_list)) {
      trace(rule->handle);
      zar_free_class_action(rule);
    }
  }
}

void part_from_targets(zar_pmap &pmap) {
  for (const zar_pmap_target_ref &ref : Elements<zar_pmap_target_ref>(pmap.target_refs))
    part_for_good(&pmap, ref.target);
}

// Deactivates a policy-map that is out of its tree on its targets and notifies the client of each. The callback may do
// anything, including the deletion of targets and of this policy-map.
void take_off_targets(uint32_t clid, zar_pmap &pmap) {
  const zar_client_data &client = *client_entry(clid);
  const uint32_t pmap_handle = pmap.handle;
  for (const zar_pmap_target_ref &ref : Elements<zar_pmap_target_ref>(pmap.target_refs)) {
    uint32_t target_handle = ref.target->handle;
    part_for_good(&pmap, ref.target);
    if (client.removal_vector) call("removal_vector", client.removal_vector, target_handle, pmap_handle);
  }
}

// The callback may have stored the policy-map again, in any tree.
uint32_t delete_unlinked(uint32_t clid, zar_pmap &pmap) {
  uint32_t handle = pmap.handle;
  const Watched<zar_pmap> watched(&pmap);
  take_off_targets(clid, pmap);
  if (avl_tree *tree = watched.entered()) {
    zar_pmap *removed = nullptr;
    tree::remove(*tree, &pmap, &removed);
  }
  return zar_delete_policy(handle);
}

// The policy-map of 'handle' if it has the name of the built-in one, wherever it is stored.
bool names_builtin(uint32_t handle) {
  return zar_is_autoconf_policy(zar_get_pmap_name(handle)) != kNo;
}

// Empties the built-in policy-map, and the given one too: it may be outside the tree that is searched for the built-in
// one.
void empty_builtin(uint32_t handle) {
  zar_delete_autoconf_policy();
  if (zar_pmap *pmap = resolve<zar_pmap>(handle)) delete_rules(kEmptyBuiltin, *pmap);
}

void free_policy(zar_pmap &pmap) {
  drop_references(pmap);
  zar_handle_release(pmap.handle);
  sdb_remove_block(pmap.name, ZAR_TAG_RETURNED_PMAP_NAME);
  sdb_remove_block(pmap.domain, ZAR_TAG_RETURNED_PMAP_DOMAIN);
  release_key(pmap);
  pmap_pool.give_back(&pmap);
}

// ---- Class-maps

// Whether policy-maps use the class-map; traces their names.
bool cmap_is_referenced(const zar_cmap &cmap, const char *name) {
  if (cmap.pmap_refs.count == 0) return false;
  TRACE_INFO("(info): %s: cmap:0x%x cannot be deleted as the below policy-maps are referring to it", name, cmap.handle);
  for (const zar_cmap_pmap_ref &ref : Elements<zar_cmap_pmap_ref>(cmap.pmap_refs))
    if (ref.pmap) TRACE_INFO("(info): %s: pmap name:%s ", name, or_null(text_of(ref.pmap->name)));
  return true;
}

void free_class(zar_cmap &cmap, const char *name) {
  retire(cmap.handle);
  while (zar_filter *filter = take_first<zar_filter>(cmap.filters)) {
    TRACE_INFO("(info): %s: Freeing filter:0x%x", name, filter->handle);
    zar_free_filter(filter);
  }
  zar_handle_release(cmap.handle);
  sdb_remove_block(cmap.name, ZAR_TAG_CMAP_NAME);
  sdb_remove_block(cmap.domain, ZAR_TAG_DOMAIN_TEXT);
  release_key(cmap);
  cmap_pool.give_back(&cmap);
}

void trace_tree_refused(const char *name) {
  TRACE_ERROR("(ERR): %s: Error: avl delete failed", name);
}

}  // namespace

uint32_t zar_delete_policy(uint32_t pmap_handle) {
  static constexpr char kName[] = "delete_policy";
  if (names_builtin(pmap_handle)) {
    empty_builtin(pmap_handle);
    return kSuccess;
  }
  auto *pmap = require<zar_pmap>(kName, pmap_handle);
  if (!pmap) return kInvalidArgument;

  retire(pmap_handle);
  // The events are deleted first: the handlers of their actions are not notified of the deactivations that follow.
  delete_rules(kName, *pmap);
  part_from_targets(*pmap);
  free_policy(*pmap);
  TRACE_INFO("(info): %s: successfully deleted pmap:0x%x", kName, pmap_handle);
  return kSuccess;
}

// The policy-map itself stays, so every request to delete it only empties it.
void zar_delete_autoconf_policy(void) {
  uint32_t owner = subscriber_owner();
  zar_map_info info{.domain = kel_parameter_map_subscriber_domain_str,
                    .domain_type = kControl,
                    .map_name = builtin_autoconf_policy,
                    .hidden = 0};
  uint32_t handle = 0;
  if (zar_retrieve_policy(owner, &info, &handle) != kSuccess || handle == 0) return;
  if (auto *pmap = require<zar_pmap>(kEmptyBuiltin, handle)) delete_rules(kEmptyBuiltin, *pmap);
}

uint32_t zar_delete_stored_policy_by_name(uint32_t clid, const zar_map_info *info) {
  static constexpr char kName[] = "delete_stored_policy_by_name";
  bool valid = valid_clid(kName, clid);
  valid &= zar_verify_map_info(info, kName) == kSuccess;
  if (!valid) return kInvalidArgument;

  NameKey key(*info);
  auto probe = probe_for<zar_pmap>(key);
  zar_db *database = database_of(clid, kName);
  if (!database) return kFailed;
  zar_pmap *removed = nullptr;
  if (!zar_avl_delete_pmap(database, &probe, &removed)) {
    TRACE_ERROR("(ERR): Error: avl delete failed");
    return kTreeFailed;
  }
  // A map of another kind that was stored as a policy-map is left as it is, in no tree.
  if (!require_kind(*removed)) return kInvalidArgument;
  return delete_unlinked(clid, *removed);
}

uint32_t zar_delete_stored_policy(uint32_t clid, uint32_t pmap_handle) {
  static constexpr char kName[] = "delete_stored_policy";
  bool valid = valid_clid(kName, clid);
  auto *pmap = require<zar_pmap>(kName, pmap_handle);
  if (!pmap || !valid) return kInvalidArgument;
  zar_db *database = database_of(clid, kName);
  if (!database) return kFailed;
  if (!remove_itself(database, pmap)) {
    trace_tree_refused(kName);
    return kTreeFailed;
  }
  return delete_unlinked(clid, *pmap);
}

uint32_t zar_delete_class(uint32_t cmap_handle) {
  static constexpr char kName[] = "delete_class";
  auto *cmap = require<zar_cmap>(kName, cmap_handle);
  if (!cmap || cmap_is_referenced(*cmap, kName)) return kInvalidArgument;
  free_class(*cmap, kName);
  TRACE_INFO("(info): %s: successfully delete cmap:0x%x", kName, cmap_handle);
  return kSuccess;
}

uint32_t zar_delete_stored_class(uint32_t clid, uint32_t cmap_handle) {
  static constexpr char kName[] = "delete_stored_class";
  bool valid = valid_clid(kName, clid);
  auto *cmap = require<zar_cmap>(kName, cmap_handle);
  if (!cmap || !valid) return kInvalidArgument;
  zar_db *database = database_of(clid, kName);
  if (!database) return kFailed;
  if (cmap_is_referenced(*cmap, kName)) return kInvalidArgument;
  if (!remove_itself(database, cmap)) {
    trace_tree_refused(kName);
    return kTreeFailed;
  }
  free_class(*cmap, kName);
  TRACE_INFO("(info): %s: successfully deleted stored cmap:0x%x", kName, cmap_handle);
  return kSuccess;
}

// A class-map that is not stored counts as deleted.
uint32_t zar_delete_stored_class_by_name(uint32_t clid, const zar_map_info *info) {
  static constexpr char kName[] = "delete_stored_class_by_name";
  bool valid = valid_clid(kName, clid);
  valid &= zar_verify_map_info(info, kName) == kSuccess;
  if (!valid) return kInvalidArgument;

  NameKey key(*info);
  auto probe = probe_for<zar_cmap>(key);
  zar_db *database = database_of(clid, kName);
  if (!database) return kFailed;
  zar_cmap *cmap = nullptr;
  if (!zar_avl_search_cmap(database, &probe, &cmap)) {
    TRACE_ERROR("(ERR): %s: clid:%d class:%s search failed", kName, clid, info->map_name);
    return kTreeFailed;
  }
  if (!cmap) {
    TRACE_INFO("(info): %s: no policy-map with name:%s stored to remove for clid:%d", kName, info->map_name, clid);
    return kSuccess;
  }
  // A map of another kind that was stored as a class-map is removed without reading it and left as it is, in no tree.
  bool is_cmap = require_kind(*cmap);
  if (is_cmap && cmap_is_referenced(*cmap, kName)) return kInvalidArgument;
  zar_cmap *removed = nullptr;
  if (!zar_avl_delete_cmap(database, cmap, &removed)) {
    trace_tree_refused(kName);
    return kTreeFailed;
  }
  if (!is_cmap) return kInvalidArgument;
  free_class(*cmap, kName);
  TRACE_INFO("(info): %s: successfully deleted stored class:%s", kName, info->map_name);
  return kSuccess;
}

uint32_t zar_get_pmap_target_count(uint32_t pmap_handle) {
  auto *pmap = require<zar_pmap>("get_pmap_target_count", pmap_handle);
  return pmap ? pmap->target_count : 0;
}

const char *zar_get_pmap_name(uint32_t pmap_handle) {
  auto *pmap = require<zar_pmap>(" ", pmap_handle);
  return pmap ? text_of(pmap->name) : nullptr;
}
