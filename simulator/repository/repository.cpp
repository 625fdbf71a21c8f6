// Queries on a standing repository. build.cpp builds it and tear_down.cpp takes it down.
#include "simulator/repository/repository.h"

#include "engine/walk.h"
#include "platform/engine.h"

namespace simulator {

namespace {

constexpr uint32_t kControl = 1;  // the domain type of everything in a policy file

}  // namespace

const Repository *Repository::current = nullptr;

uint32_t Repository::clid_of(const std::optional<Name> &client) const {
  return client ? clid_by_name_.at(client->value) : kel_clid;
}

uint32_t Repository::clid_of_domain(const Name &domain) const {
  return clid_of(file_->find_domain(domain.value)->owner);
}

uint32_t Repository::owner_of(const std::string &domain) const {
  return clid_of_domain({domain, {}});
}

zar_map_info Repository::info_of(const PolicyMap &policy) {
  return {policy.domain.value.c_str(), kControl, policy.name.value.c_str(), 0};
}

zar_map_info Repository::info_of(const ClassMap &map) {
  return {map.domain.value.c_str(), kControl, map.name.value.c_str(), 0};
}

zar_map_info Repository::info_of(const BuiltMap &map) {
  return {map.domain.c_str(), kControl, map.name.c_str(), 0};
}

Repository::Extent Repository::extent() const {
  return {classes_.size(), parameter_maps_.size(), policies_.size(), targets_.size()};
}

std::vector<std::string> Repository::targets_of(const PolicyMap &policy) const {
  std::vector<std::string> names;
  const zar_map_info info = info_of(policy);
  uint32_t pmap = 0;
  if (zar_retrieve_policy(clid_of_domain(policy.domain), &info, &pmap) != 0 || pmap == 0) return names;
  const auto *record = static_cast<const zar_pmap *>(zar_handle_get_context(pmap));
  for (const zar_pmap_target_ref &reference : engine::Records<zar_pmap_target_ref>(record->target_refs))
    names.push_back(client::target_of(*reference.target).name);
  return names;
}

uint32_t Repository::target_handle(std::string_view name) const {
  const TargetRecord *target = targets_.find(name);
  return target ? target->handle : 0;
}

// In steps: what one reads for a name, the one before has requested for all. The searches do not depend on each other, so the
// processor waits for the memory of all at once.
void Repository::find_targets(std::span<const std::string_view> names, std::span<uint32_t> handles) const {
  for (const std::string_view name : names)
    targets_.prefetch_bucket(name);
  for (const std::string_view name : names)
    targets_.prefetch_object(name);
  for (size_t at = 0; at < names.size(); ++at)
    handles[at] = target_handle(names[at]);
}

void Repository::note_failure(uint32_t status, std::string_view operation, std::string_view object) {
  if (status == 0) return;
  problems_.push_back(concat(operation, " of '", object, "' failed with status ", status));
}

}  // namespace simulator
