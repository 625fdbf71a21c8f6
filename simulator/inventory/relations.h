// Which objects of a repository use which.
#pragma once

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "simulator/policy/model.h"

namespace simulator::inventory {

// The name of a parameter-map's statement: "MAP/INDEX".
std::string statement_name(const ParameterMap &map, const Statement &statement);

class Relations {
 public:
  // 'file' must outlive the relations.
  explicit Relations(const PolicyFile &file);

  const PolicyFile &file() const { return *file_; }
  // The rules that use a class-map.
  const std::vector<std::string> &users_of_class(std::string_view name) const { return find(of_classes_, name); }
  // The rules and statements that apply a parameter-map.
  const std::vector<std::string> &users_of_parameter_map(std::string_view name) const { return find(of_maps_, name); }
  // The targets on which a policy-map is active.
  const std::vector<std::string> &targets_of_policy(std::string_view name) const { return find(of_policies_, name); }
  // The client whose own database holds the maps of a domain; empty for the default database.
  const std::string &database_of(std::string_view domain) const;

 private:
  using Users = std::unordered_map<std::string_view, std::vector<std::string>>;

  static const std::vector<std::string> &find(const Users &users, std::string_view name);
  void add_policy(const PolicyMap &policy);
  void add_appliers(const std::vector<Action> &actions, const std::string &applier);

  const PolicyFile *file_;
  Users of_classes_;
  Users of_maps_;
  Users of_policies_;
};

}  // namespace simulator::inventory
