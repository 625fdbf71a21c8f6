// Objects of the repository as JSON, without positions.
#pragma once

#include "simulator/policy/model.h"
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

}  // namespace simulator::inventory
