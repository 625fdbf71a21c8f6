// The kinds of objects in a policy file, for what is done with each kind alike.
#pragma once

#include <string_view>
#include <vector>

#include "tool/policy/model.h"

namespace tool {

enum class ObjectKind : uint8_t { client, domain, class_map, parameter_map, policy, target };

// Calls 'each' with the list of a kind's objects. Clients and domains are no objects that can be shown.
template <class Each>
void with_shown_objects(const PolicyFile &file, ObjectKind kind, Each each) {
  switch (kind) {
    case ObjectKind::class_map:
      return each(file.class_maps);
    case ObjectKind::parameter_map:
      return each(file.parameter_maps);
    case ObjectKind::policy:
      return each(file.policy_maps);
    case ObjectKind::target:
      return each(file.targets);
    case ObjectKind::client:
    case ObjectKind::domain:
      return;
  }
}

template <class Each>
void with_objects(const PolicyFile &file, ObjectKind kind, Each each) {
  if (kind == ObjectKind::client) return each(file.clients);
  if (kind == ObjectKind::domain) return each(file.domains);
  with_shown_objects(file, kind, each);
}

// Good as long as the file.
std::vector<std::string_view> names_of(const PolicyFile &file, ObjectKind kind);

}  // namespace tool
