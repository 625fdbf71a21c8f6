// Policy instances: one for each policy-map that is active on a target.
#include <memory>
#include <new>
#include <unordered_map>

#include "engine/records.h"
#include "platform/engine.h"

namespace {

// Identifies an instance. The texts belong to the creator of the key.
struct KeyView {
  uint32_t target = 0;
  uint32_t domain_type = 0;
  std::string_view map_name;
  std::string_view domain;

  bool operator==(const KeyView &) const = default;
};

struct HashKey {
  size_t operator()(const KeyView &key) const noexcept {
    size_t hash = std::hash<std::string_view>()(key.map_name);
    hash = hash * 31 + std::hash<std::string_view>()(key.domain);
    hash = hash * 31 + key.target;
    return hash * 31 + key.domain_type;
  }
};

struct Instance {
  std::string map_name;
  std::string domain;
  uint32_t target;
  uint32_t domain_type;
  uint32_t clid;

  Instance(uint32_t at, uint32_t by, const zar_map_info &key)
      : map_name(key.map_name), domain(key.domain), target(at), domain_type(key.domain_type), clid(by) {}
  KeyView key() const { return {target, domain_type, map_name, domain}; }
};

// The key of an entry is in its instance.
using Instances = std::unordered_map<KeyView, std::unique_ptr<Instance>, HashKey>;

Instances &instances() {
  static Instances all;
  return all;
}

bool usable(const zar_map_info *key) {
  return key && key->map_name && key->domain;
}

KeyView view(uint32_t target, const zar_map_info &key) {
  return {target, key.domain_type, key.map_name, key.domain};
}

}  // namespace

uint32_t kel_create_policy_instance(void **instance_out, uint32_t target, uint32_t clid, const zar_map_info *key) {
  if (!instance_out || !usable(key)) return 1;
  // The caller does not handle exceptions.
  try {
    auto instance = std::make_unique<Instance>(target, clid, *key);
    Instance *made = instance.get();
    if (!instances().try_emplace(made->key(), std::move(instance)).second) return 1;
    *instance_out = made;
    return 0;
  } catch (const std::bad_alloc &) {
    return 1;
  }
}

uint32_t kel_find_policy_instance(void **instance_out, uint32_t target, const zar_map_info *key) {
  if (!instance_out || !usable(key)) return 1;
  const auto found = instances().find(view(target, *key));
  if (found == instances().end()) return 1;
  *instance_out = found->second.get();
  return 0;
}

uint32_t kel_delete_policy_instance(void *instance) {
  if (!instance) return 1;
  const auto found = instances().find(static_cast<Instance *>(instance)->key());
  if (found == instances().end()) return 1;
  instances().erase(found);
  return 0;
}

size_t engine::live_instances() {
  return instances().size();
}
