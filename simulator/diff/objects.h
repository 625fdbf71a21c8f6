// What is different between two policy files, object by object.
//
// Only what has a meaning counts: not where something stands, not the order of the filters of a class-map, not how actions
// are numbered as long as their order is the same. A rule is known by its number, or by its class-map where its number is
// gone; so a rule that was only numbered anew is one that changed.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "simulator/policy/model.h"

namespace simulator::diff {

struct Property {
  std::string name;
  std::vector<std::string> values;
  bool is_list = false;
  bool ordered = false;  // of a list: whether the order has a meaning

  bool operator==(const Property &) const = default;
};

struct Object {
  std::string kind;
  std::string name;
  std::string second_name;  // another one to know it by; may be empty
  Position position;
  std::vector<Property> properties;  // in a fixed order for each kind
};

// Everything in a file that a repository is built of, each kind together.
std::vector<Object> objects_of(const PolicyFile &file);

struct Difference {
  std::string property;
  std::vector<std::string> before{};  // of a list: what is gone, or all of it when only the order is another
  std::vector<std::string> after{};
  bool is_list = false;
  bool reordered = false;
};

struct ObjectChange {
  std::optional<Object> before{};  // nothing: added
  std::optional<Object> after{};   // nothing: removed
  std::vector<Difference> differences{};
};

std::vector<ObjectChange> compare(const PolicyFile &before, const PolicyFile &after);

}  // namespace simulator::diff
