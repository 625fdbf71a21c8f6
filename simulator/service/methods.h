// The methods of the protocol: one table for checking requests, doing them, and describing them.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "simulator/service/parameters.h"
#include "simulator/text/json.h"

namespace simulator::service {

class Service;

// The number of the protocol that these methods make up. It grows with every change that could break a client.
inline constexpr int kProtocol = 1;

// Where the work on a request is done; service.h says why.
enum class Place : uint8_t { here, apart, anew };

struct Method {
  std::string_view name;
  std::string_view help;  // a phrase that says what it does
  std::vector<Parameter> parameters;
  Place place;
  bool needs_policy;
  // Returns the result. Throws messages::Failure, or Interrupted.
  Json (*action)(Service &service, const Json &params);
};

// In the order in which documents list them.
std::span<const Method> methods();
// NULL when there is no such method.
const Method *find_method(std::string_view name);

// A line for each: its name, its parameters (in brackets if they may be left out), and what it does.
std::string describe_methods();

}  // namespace simulator::service
