// Policy instances: one for each policy-map that is active on a target.
//
// A router may have 60,000 targets and a handful of policy-maps, so the texts of a policy-map's key are stored once, and
// an instance only refers to them.
#include <memory>
#include <new>
#include <unordered_map>
#include <unordered_set>

#include "engine/records.h"
#include "platform/engine.h"

namespace {

// Identifies a policy-map. The texts belong to the creator of the key.
struct PolicyKey {
  std::string_view map_name;
  std::string_view domain;
  uint32_t domain_type = 0;

  bool operator==(const PolicyKey &) const = default;
};

// By the name alone, which as a rule is unique.
struct HashPolicyKey {
  size_t operator()(const PolicyKey &key) const noexcept { return std::hash<std::string_view>()(key.map_name); }
};

// A policy-map that has instances.
struct Policy {
  std::string map_name;
  std::string domain;
  uint32_t domain_type;
  size_t n_instances = 0;

  explicit Policy(const zar_map_info &info)
      : map_name(info.map_name), domain(info.domain), domain_type(info.domain_type) {}
  PolicyKey key() const { return {map_name, domain, domain_type}; }
};

// The key of an entry is in its policy.
using Policies = std::unordered_map<PolicyKey, std::unique_ptr<Policy>, HashPolicyKey>;

Policies &policies() {
  static Policies all;
  return all;
}

struct Instance {
  Policy *policy;
  uint32_t target;

  bool operator==(const Instance &) const = default;
};

// Targets that are made one after the other have adjacent handles, buckets and, as a result, entries.
struct HashInstance {
  size_t operator()(const Instance &instance) const noexcept {
    return std::hash<const Policy *>()(instance.policy) * 0x9e3779b97f4a7c15u + instance.target;
  }
};
using Instances = std::unordered_set<Instance, HashInstance>;

Instances &instances() {
  static Instances all;
  return all;
}

bool usable(const zar_map_info *key) {
  return key && key->map_name && key->domain;
}

PolicyKey key_of(const zar_map_info &info) {
  return {info.map_name, info.domain, info.domain_type};
}

Policy *find_policy(const zar_map_info &info) {
  const auto found = policies().find(key_of(info));
  return found == policies().end() ? nullptr : found->second.get();
}

Policy &policy_of(const zar_map_info &info) {
  Policy *known = find_policy(info);
  if (known) return *known;
  auto policy = std::make_unique<Policy>(info);
  Policy &made = *policy;
  policies().try_emplace(made.key(), std::move(policy));
  return made;
}

void forget_if_unused(const Policy &policy) {
  if (policy.n_instances == 0) policies().erase(policy.key());
}

}  // namespace

uint32_t kel_create_policy_instance(void **instance_out, uint32_t target, uint32_t, const zar_map_info *key) {
  if (!instance_out || !usable(key)) return 1;
  // The caller does not handle exceptions.
  try {
    Policy &policy = policy_of(*key);
    const auto [made, is_new] = instances().insert({&policy, target});
    if (!is_new) return 1;
    ++policy.n_instances;
    *instance_out = const_cast<Instance *>(&*made);
    return 0;
  } catch (const std::bad_alloc &) {
    if (const Policy *policy = find_policy(*key)) forget_if_unused(*policy);
    return 1;
  }
}

uint32_t kel_find_policy_instance(void **instance_out, uint32_t target, const zar_map_info *key) {
  if (!instance_out || !usable(key)) return 1;
  Policy *policy = find_policy(*key);
  if (!policy) return 1;
  const auto found = instances().find({policy, target});
  if (found == instances().end()) return 1;
  *instance_out = const_cast<Instance *>(&*found);
  return 0;
}

uint32_t kel_delete_policy_instance(void *instance) {
  if (!instance) return 1;
  const auto found = instances().find(*static_cast<const Instance *>(instance));
  if (found == instances().end()) return 1;
  Policy &policy = *found->policy;
  instances().erase(found);
  --policy.n_instances;
  forget_if_unused(policy);
  return 0;
}

size_t engine::live_instances() {
  return instances().size();
}
