// The kinds of objects in a policy file, for code that treats all kinds alike.
#pragma once

#include <span>
#include <string_view>
#include <vector>

#include "simulator/policy/model.h"

namespace simulator {

enum class ObjectKind : uint8_t { client, domain, class_map, parameter_map, policy, target };

// The names of a kind.
struct KindWord {
  ObjectKind kind;
  std::string_view word;     // in commands
  std::string_view title;    // in sentences
  std::string_view section;  // in a policy file
};
// Maps and targets, which can be shown and deleted, follow the clients and domains.
inline constexpr KindWord kKinds[] = {{ObjectKind::client, "client", "client", "clients"},
                                      {ObjectKind::domain, "domain", "domain", "domains"},
                                      {ObjectKind::class_map, "class", "class-map", "class-maps"},
                                      {ObjectKind::parameter_map, "parameter-map", "parameter-map", "parameter-maps"},
                                      {ObjectKind::policy, "policy", "policy-map", "policy-maps"},
                                      {ObjectKind::target, "target", "target", "targets"}};
inline constexpr std::span<const KindWord> kMapKinds = std::span(kKinds).subspan(2);

// NULL when there is no such kind.
const KindWord *find_kind(std::string_view word);
const KindWord &word_of(ObjectKind kind);

// Calls 'each' with the list of a kind's objects. Clients and domains cannot be shown and have no list.
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

// Valid as long as the file.
std::vector<std::string_view> names_of(const PolicyFile &file, ObjectKind kind);

}  // namespace simulator
