// Objects of the repository as JSON, without positions.
#pragma once

#include <optional>
#include <string>

#include "simulator/inventory/relations.h"
#include "simulator/policy/kinds.h"
#include "simulator/text/json.h"

namespace simulator::inventory {

Json json_of(const Client &client);
Json json_of(const Domain &domain);
Json json_of(const ClassMap &map);
Json json_of(const PolicyMap &policy);
Json json_of(const ParameterMap &map);
Json json_of(const Target &target);

template <class Object>
Json json_of(const std::vector<Object> &objects) {
  Json list = Json::array();
  for (const Object &object : objects)
    list.push_back(json_of(object));
  return list;
}

// Adds the objects of a kind, or the one with the name, each with its users.
void add_objects(Json &list, const Relations &relations, ObjectKind kind, const std::optional<std::string> &name);

}  // namespace simulator::inventory
