#include <cstring>

#include "objects/map_family.h"

using namespace zar;

const char *const builtin_autoconf_policy = "BUILTIN_AUTOCONF_POLICY";

const char *const zar_db_pmap_chunk_str = "ZAR DB pmap chunk";
const char *const zar_db_cmap_chunk_str = "ZAR DB cmap chunk";

namespace {

constexpr uint32_t kFirstDomainType = 1, kLastDomainType = 2;
constexpr uint32_t kFirstMatchCriteria = 1, kLastMatchCriteria = 3;

bool has_domain(const zar_map_info &info, const char *caller) {
  if (info.domain) return true;
  TRACE_ERROR("(ERR): %s: domain from input map info cannot be NULL", or_blank(caller));
  return false;
}

bool has_name(const zar_map_info &info, const char *caller) {
  if (info.map_name) return true;
  TRACE_ERROR("(ERR): %s: map name from input map info cannot be NULL", or_blank(caller));
  return false;
}

bool has_known_type(const zar_map_info &info, const char *caller) {
  if (info.domain_type >= kFirstDomainType && info.domain_type <= kLastDomainType) return true;
  TRACE_ERROR("(ERR): %s: domain type:%d from input map info is invalid expected range: %d - %d", or_blank(caller),
              info.domain_type, kFirstDomainType, kLastDomainType);
  return false;
}

bool valid_match_criteria(const char *name, uint32_t clid, uint32_t criteria) {
  if (criteria >= kFirstMatchCriteria && criteria <= kLastMatchCriteria) return true;
  TRACE_ERROR("(ERR): %s: clid:%d, class match criteria:%d is out of range, expected range: %d - %d \n", name, clid,
              criteria, kFirstMatchCriteria, kLastMatchCriteria);
  return false;
}

}  // namespace

uint32_t zar_verify_map_info(const zar_map_info *info, const char *caller) {
  if (!info) {
    TRACE_ERROR("(ERR): %s: input map info cannot be NULL", or_blank(caller));
    return kCheckFailed;
  }
  bool valid = has_domain(*info, caller);
  valid &= has_name(*info, caller);
  valid &= has_known_type(*info, caller);
  return valid ? kSuccess : kCheckFailed;
}

uint32_t zar_create_policy(uint32_t clid, const zar_map_info *info, uint32_t *pmap_out) {
  static constexpr char kName[] = "create_policy";
  bool valid = valid_clid(kName, clid);
  valid &= pmap_place_given(kName, pmap_out);
  valid &= zar_verify_map_info(info, kName) == kSuccess;
  if (!valid) return kInvalidArgument;

  auto fill = [](zar_pmap &) {};
  return create_map<PolicyMaps>(clid, *info, pmap_out, fill, [info](zar_pmap &pmap) {
    pmap.hidden = zar_is_autoconf_policy(info->map_name);
    make_empty(pmap.cmap_refs);
    make_empty(pmap.target_refs);
    make_empty(pmap.rule_list);
  });
}

uint32_t zar_create_class(uint32_t clid, const zar_map_info *info, uint32_t match_criteria, uint32_t *cmap_out) {
  static constexpr char kName[] = "create_class";
  bool valid = valid_clid(kName, clid);
  valid &= cmap_place_given(kName, clid, cmap_out);
  valid &= zar_verify_map_info(info, kName) == kSuccess;
  valid &= valid_match_criteria(kName, clid, match_criteria);
  if (!valid) return kInvalidArgument;

  auto fill = [match_criteria](zar_cmap &cmap) { cmap.match_criteria = match_criteria; };
  return create_map<ClassMaps>(clid, *info, cmap_out, fill, [info](zar_cmap &cmap) {
    cmap.hidden = info->hidden == 1;
    make_empty(cmap.pmap_refs);
    make_empty(cmap.filters);
  });
}

uint32_t zar_is_autoconf_policy(const char *name) {
  return name && std::strcmp(name, builtin_autoconf_policy) == 0 ? kYes : kNo;
}

uint32_t zar_store_policy(uint32_t clid, uint32_t pmap) {
  return store_map<PolicyMaps>(clid, pmap);
}

uint32_t zar_store_class(uint32_t clid, uint32_t cmap) {
  return store_map<ClassMaps>(clid, cmap);
}

uint32_t zar_retrieve_policy(uint32_t clid, const zar_map_info *info, uint32_t *pmap_out) {
  return retrieve_map<PolicyMaps>(clid, info, pmap_out);
}

uint32_t zar_retrieve_class(uint32_t clid, const zar_map_info *info, uint32_t *cmap_out) {
  return retrieve_map<ClassMaps>(clid, info, cmap_out);
}
