// The ids of nodes.
#pragma once

#include <string>

#include "simulator/text/text.h"

namespace simulator::graph {

inline std::string id_of_target(const std::string &target) {
  return "target " + target;
}

inline std::string id_of_policy(const std::string &policy) {
  return "policy-map " + policy;
}

inline std::string id_of_event(const std::string &policy, const std::string &event) {
  return concat("event ", policy, "/", event);
}

inline std::string id_of_raised(const std::string &event) {
  return "raised " + event;
}

inline std::string id_of_rule(const std::string &name) {
  return "rule " + name;
}

inline std::string id_of_class(const std::string &name) {
  return "class-map " + name;
}

inline std::string id_of_parameter_map(const std::string &name) {
  return "parameter-map " + name;
}

inline std::string id_of_statement(const std::string &name) {
  return "statement " + name;
}

}  // namespace simulator::graph
