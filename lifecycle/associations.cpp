#include "lifecycle/associations.h"

#include "core/checks.h"
#include "core/pool.h"
#include "core/queue.h"
#include "core/text.h"
#include "zar/present.h"

using namespace zar;

const char *const zar_db_pmap_target_chunk_str = "ZAR DB pmap target ref chunk";
const char *const zar_db_target_pmap_chunk_str = "ZAR DB target pmap chunk";

namespace {

const char *name_of(const zar_pmap &pmap) {
  return or_null(text_of(pmap.name));
}

// Identifies the pair's instance in the engine, together with the target's handle.
zar_map_info instance_key(const zar_pmap &pmap) {
  return {.domain = text_of(pmap.domain), .domain_type = pmap.domain_type, .map_name = text_of(pmap.name), .hidden = 0};
}

TargetPmap *link_to_pmap(uint32_t clid, zar_target &target, zar_pmap *pmap) {
  TargetPmap *link = target_pmap_pool.take().keep();
  if (!link) {
    TRACE_ERROR("(ERR): associate target and policy: memory alloc for target pmap ref failed clid:%d", clid);
    return nullptr;
  }
  link->pmap = pmap;
  append(target.active_pmaps, link);
  return link;
}

zar_pmap_target_ref *link_to_target(zar_pmap &pmap, zar_target *target) {
  zar_pmap_target_ref *ref = pmap_target_ref_pool.take().keep();
  if (!ref) {
    TRACE_ERROR("(ERR): associate target and policy: memory alloc for target into pmap:%s ref failed", name_of(pmap));
    return nullptr;
  }
  ref->target = target;
  append(pmap.target_refs, ref);
  return ref;
}

// The two records of an association; either may be missing.
struct Links {
  TargetPmap *of_target;
  zar_pmap_target_ref *of_pmap;
};

// Only if the target has no link to the policy-map is the policy-map's list searched.
Links links_of(const zar_pmap &pmap, const zar_target *target) {
  TargetPmap *link = find_active(*target, &pmap);
  if (link) [[likely]]
    return {link, link->counterpart};
  return {nullptr, find<zar_pmap_target_ref>(
                       pmap.target_refs, [target](const zar_pmap_target_ref &ref) { return ref.target == target; })};
}

// Removes the record from the list and frees it; false if it is not in the list.
template <class Link>
bool drop(queue_head &list, Link *link, Pool<Link> &pool) {
  if (!link || !unlink(list, link)) return false;
  pool.give_back(link);
  return true;
}

bool drop_from_pmap(zar_pmap &pmap, const Links &links) {
  return drop(pmap.target_refs, links.of_pmap, pmap_target_ref_pool);
}
bool drop_from_target(zar_target &target, const Links &links) {
  return drop(target.active_pmaps, links.of_target, target_pmap_pool);
}

void unlink_both_ways(zar_pmap &pmap, zar_target &target) {
  const Links links = links_of(pmap, &target);
  if (drop_from_pmap(pmap, links)) {
    TRACE_INFO("(info): removed target from pmap:%s", name_of(pmap));
  } else {
    TRACE_INFO("(info): remove target from pmap, target not found to remove");
  }
  if (drop_from_target(target, links)) {
    TRACE_INFO("(info): removed pmap from target:%s", name_of(pmap));
  } else {
    TRACE_INFO("(info): remove pmap from target: pmap:%s not found to remove from target", name_of(pmap));
  }
}

bool delete_instance(const zar_pmap &pmap, uint32_t target) {
  zar_map_info key = instance_key(pmap);
  void *instance = nullptr;
  if (kel_find_policy_instance(&instance, target, &key) != 0) {
    TRACE_ERROR("(ERR): remove_pmap_from_target: Error: pmap:0x%x could not find policy instance", pmap.handle);
    return false;
  }
  if (kel_delete_policy_instance(instance) != 0) {
    TRACE_ERROR("(ERR): remove_pmap_from_target: Error: pmap:%s could not delete policy instance", name_of(pmap));
    return false;
  }
  return true;
}

}  // namespace

TargetPmap *zar::find_active(const zar_target &target, const zar_pmap *pmap) {
  return find<TargetPmap>(target.active_pmaps, [pmap](const TargetPmap &link) { return link.pmap == pmap; });
}

uint32_t zar::associate_target_and_policy(uint32_t clid, zar_target *target, zar_pmap *pmap) {
  TargetPmap *link = link_to_pmap(clid, *target, pmap);
  if (!link) return kNoMemory;
  link->counterpart = link_to_target(*pmap, target);
  if (!link->counterpart) {
    disassociate_target_and_policy(pmap, target);
    return kNoMemory;
  }
  TRACE_INFO("(info):  association between target:0x%lu, policy:%s success", target->target_info->target_id,
             name_of(*pmap));

  // The instance is not kept: it is found again by its key.
  void *instance = nullptr;
  zar_map_info key = instance_key(*pmap);
  if (kel_create_policy_instance(&instance, target->handle, clid, &key) != 0) {
    disassociate_target_and_policy(pmap, target);
    TRACE_ERROR("(ERR): Error: Could not create policy instance, target into policy-map:%s", name_of(*pmap));
    return kFailed;
  }
  zar_invoke_action_handler(pmap, target, kYes);
  return kSuccess;
}

uint32_t zar::disassociate_target_and_policy(zar_pmap *pmap, zar_target *target) {
  if (!target_info_given("disassociate_target_and_policy", target->target_info)) return kNo;
  unlink_both_ways(*pmap, *target);
  if (!delete_instance(*pmap, target->handle)) return kNo;
  zar_invoke_action_handler(pmap, target, kNo);
  return kYes;
}

void zar::part_for_good(zar_pmap *pmap, zar_target *target) {
  bool broken = !target->target_info;
  disassociate_target_and_policy(pmap, target);
  if (!broken) return;
  const Links links = links_of(*pmap, target);
  drop_from_pmap(*pmap, links);
  drop_from_target(*target, links);
}
