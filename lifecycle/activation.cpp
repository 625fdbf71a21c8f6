// Activation of policy-maps on targets, and reading what is active.
#include "core/checks.h"
#include "core/queue.h"
#include "core/text.h"
#include "lifecycle/associations.h"
#include "zar/objects.h"

using namespace zar;

namespace {

const char *name_of(const zar_pmap &pmap) {
  return or_null(text_of(pmap.name));
}

// The results of a walk over the active policy-maps of a target; all out places but the handle's may be missing.
struct ActivePolicyPlaces {
  uint32_t *domain_type;
  uint32_t *reserved;
  uint32_t *pmap;

  void clear_options() const {
    if (domain_type) *domain_type = 0;
    if (reserved) *reserved = 0;
  }
  void write(const zar_pmap &active) const {
    *pmap = active.handle;
    if (domain_type) *domain_type = active.domain_type;
  }
};

void deactivate_everywhere(zar_pmap &pmap) {
  for (const zar_pmap_target_ref &ref : Elements<zar_pmap_target_ref>(pmap.target_refs))
    disassociate_target_and_policy(&pmap, ref.target);
}

}  // namespace

uint32_t zar_activate_policy(uint32_t clid, uint32_t pmap_handle, uint32_t target_handle) {
  static constexpr char kName[] = "activate_policy";
  bool valid = valid_clid(kName, clid);
  auto *pmap = require<zar_pmap>(kName, pmap_handle);
  zar_target *target = require_whole_target(kName, target_handle);
  if (!target || !pmap || !valid) return kInvalidArgument;

  if (find_active(*target, pmap)) {
    TRACE_INFO("(info): %s: policy:%s was already active on target", kName, name_of(*pmap));
    return kSuccess;
  }
  if (uint32_t status = associate_target_and_policy(clid, target, pmap)) return status;
  TRACE_INFO("(info): %s: success, policy:%s is activated on target", kName, name_of(*pmap));
  return kSuccess;
}

uint32_t zar_activate_policy_by_name(uint32_t clid, uint32_t target, const zar_map_info *info) {
  uint32_t pmap = 0;
  if (zar_retrieve_policy(clid, info, &pmap) != kSuccess) return kInvalidArgument;
  if (uint32_t status = zar_activate_policy(clid, pmap, target)) return status;
  TRACE_INFO("(info): %s: success, policy:%s is activated on target:0x%x", "activate_policy_by_name", info->map_name,
             target);
  return kSuccess;
}

uint32_t zar_deactivate_policy_by_name(uint32_t clid, uint32_t target_handle, const zar_map_info *info) {
  static constexpr char kName[] = "deactivate_policy_by_name";
  uint32_t pmap_handle = 0;
  zar_retrieve_policy(clid, info, &pmap_handle);  // a refused one leaves 0, which names no policy-map
  zar_target *target = require_whole_target(kName, target_handle);
  auto *pmap = require<zar_pmap>(kName, pmap_handle);
  if (!pmap || !target) return kInvalidArgument;

  // A policy-map that was not active has no instance in the engine, so this fails for it.
  if (disassociate_target_and_policy(pmap, target) == kNo) return kFailed;
  TRACE_INFO("(info): %s: success, policy:%s is deactivated on target", kName, info->map_name);
  return kSuccess;
}

uint32_t zar_deactivate_policy_by_type(uint32_t, uint32_t, uint32_t) {
  return kSuccess;
}

uint32_t zar_deactivate_any_policy_for_target(uint32_t clid, uint32_t target_handle) {
  static constexpr char kName[] = "deactivate_any_policy_for_target";
  bool valid = valid_clid(kName, clid);
  zar_target *target = require_whole_target(kName, target_handle);
  if (!target || !valid) return kInvalidArgument;

  bool all_deactivated = true;
  for (const zar_target_pmap &link : Elements<zar_target_pmap>(target->active_pmaps))
    all_deactivated &= disassociate_target_and_policy(link.pmap, target) != kNo;
  if (!all_deactivated) return kFailed;
  TRACE_INFO("(info): %s: success, deactivated all policies on target", kName);
  return kSuccess;
}

uint32_t zar_deactivate_policy_by_name_from_all_targets(uint32_t clid, const zar_map_info *info) {
  static constexpr char kName[] = "deactivate_policy_by_name_from_all_targets";
  uint32_t pmap_handle = 0;
  zar_retrieve_policy(clid, info, &pmap_handle);  // a refused one leaves 0, which names no policy-map
  auto *pmap = require<zar_pmap>(kName, pmap_handle);
  if (!pmap) return kInvalidArgument;
  deactivate_everywhere(*pmap);
  TRACE_INFO("(info): %s: policy:%s is removed from all targets", kName, info->map_name);
  return kSuccess;
}

uint32_t zar_deactivate_policy_by_handle_from_all_targets(uint32_t clid, uint32_t pmap_handle) {
  static constexpr char kName[] = "deactivate_policy_by_handle_from_all_targets";
  bool valid = valid_clid(kName, clid);
  auto *pmap = require<zar_pmap>(kName, pmap_handle);
  if (!pmap || !valid) return kInvalidArgument;
  deactivate_everywhere(*pmap);
  TRACE_INFO("(info): %s: policy:0x%x is removed from all targets", kName, pmap_handle);
  return kSuccess;
}

uint32_t zar_retrieve_policy_from_target(uint32_t clid, uint32_t target_handle, const zar_map_info *info, void *,
                                         uint32_t *pmap_out) {
  static constexpr char kName[] = "retrieve_policy_from_target";
  bool valid = valid_clid(kName, clid);
  zar_target *target = require_whole_target(kName, target_handle);
  valid &= zar_verify_map_info(info, kName) == kSuccess;
  valid &= pmap_place_given(kName, pmap_out);
  uint32_t sought = 0;
  valid &= zar_retrieve_policy(clid, info, &sought) == kSuccess;
  if (!target || !valid) return kInvalidArgument;

  const auto *link = find<zar_target_pmap>(
      target->active_pmaps, [sought](const zar_target_pmap &other) { return other.pmap->handle == sought; });
  if (link) {
    TRACE_INFO("(info): %s: success, retrieved policy:%s on target", kName, info->map_name);
    *pmap_out = sought;
  } else {
    *pmap_out = 0;
    TRACE_INFO("(info): %s: success, no such policy:%s active on target", kName, info->map_name);
  }
  return kSuccess;
}

uint32_t zar_get_first_active_policy_on_target(uint32_t target_handle, uint32_t *domain_type_out,
                                               uint32_t *reserved_out, uint32_t *pmap_out) {
  static constexpr char kName[] = "get_first_active_policy_on_target";
  const zar_target *target = require_whole_target(kName, target_handle);
  bool place_given = pmap_place_given(kName, pmap_out);
  if (!target || !place_given) return kInvalidArgument;

  ActivePolicyPlaces places{domain_type_out, reserved_out, pmap_out};
  places.clear_options();
  const auto *link = first<zar_target_pmap>(target->active_pmaps);
  if (!link) {
    *pmap_out = 0;
    TRACE_INFO("(info): %s: no active policies active on target", kName);
    return kSuccess;
  }
  places.write(*link->pmap);
  TRACE_INFO("(info): %s: first active policy:%s active on target", kName, name_of(*link->pmap));
  return kSuccess;
}

uint32_t zar_get_next_active_policy_on_target(uint32_t target_handle, uint32_t current_pmap, uint32_t *domain_type_out,
                                              uint32_t *reserved_out, uint32_t *pmap_out) {
  static constexpr char kName[] = "get_next_active_policy_on_target";
  zar_target *target = require_whole_target(kName, target_handle);
  bool place_given = pmap_place_given(kName, pmap_out);
  if (!target || !place_given) return kInvalidArgument;

  ActivePolicyPlaces places{domain_type_out, reserved_out, pmap_out};
  places.clear_options();
  *pmap_out = 0;
  auto found = find_with_next<zar_target_pmap>(
      target->active_pmaps, [current_pmap](const zar_target_pmap &link) { return link.pmap->handle == current_pmap; });
  if (!found.current) {
    TRACE_INFO("(info): %s: no match for current policy:0x%x active on target", kName, current_pmap);
  } else if (!found.next) {
    TRACE_INFO("(info): %s: no policy next to:0x%x active on target", kName, current_pmap);
  } else {
    places.write(*found.next->pmap);
    TRACE_INFO("(info): %s: next active policy:0x%x active on target", kName, found.next->pmap->handle);
  }
  return kSuccess;
}
