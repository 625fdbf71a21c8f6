// The differences between two policy files, object by object.
//
// Only differences with a meaning count: not positions, not the order of the filters of a class-map, not the numbers of
// actions if their order is the same, not references to an object that was renamed. A rule is identified by its number,
// or by its class-map when no rule has its number any more; so a rule that was only renumbered is reported as changed. A
// statement is identified by its index, or by its contents; one that was renumbered is reported as renamed if the order
// of the statements is the same, or else as changed.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "simulator/diff/renames.h"
#include "simulator/policy/model.h"

namespace simulator::diff {

struct Property {
  std::string name;
  std::vector<std::string> values;
  bool is_list = false;
  bool ordered = false;  // for a list: whether the order has a meaning

  bool operator==(const Property &) const = default;
};

struct Object {
  std::string kind;
  std::string name;
  std::string second_name;  // another name to identify it by; may be empty
  Position position;
  std::vector<Property> properties;  // in a fixed order for each kind
  std::string map{};                 // of a statement: the parameter-map
  std::string index{};               // of a statement
};

// Everything in a file that a repository is built from, grouped by kind.
std::vector<Object> objects_of(const PolicyFile &file);

struct Difference {
  std::string property;
  std::vector<std::string> before{};  // of a list: the removed items, or all of them if only the order differs
  std::vector<std::string> after{};
  bool is_list = false;
  bool reordered = false;
};

struct ObjectChange {
  std::optional<Object> before{};         // nothing: added
  std::optional<Object> after{};          // nothing: removed
  std::vector<Difference> differences{};  // none between two objects: renamed
};

// What was renamed comes first.
std::vector<ObjectChange> compare(const PolicyFile &before, const PolicyFile &after, const Renames &renames);

}  // namespace simulator::diff
