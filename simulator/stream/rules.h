// The rules of a policy file, numbered from 0 in the order of the file.
#pragma once

#include <cstddef>
#include <string>
#include <unordered_map>
#include <vector>

#include "simulator/policy/model.h"
#include "zar/records.h"

namespace simulator::stream {

struct RuleOfFile {
  const PolicyMap *policy;
  const EventRules *event;
  const Rule *rule;

  std::string name() const { return rule_name(*policy, *event, *rule); }
};

// Valid while the policy-maps of the file and of its repository stay as they are: neither side's records are looked up
// by name more than once.
class Rules {
 public:
  explicit Rules(const PolicyFile &file);

  size_t size() const { return rules_.size(); }
  const RuleOfFile &operator[](size_t number) const { return rules_[number]; }
  // The number of the rule that a record of the repository was made from.
  uint32_t number_of(const zar_pmap &pmap, const zar_event_tuple &tuple, const zar_class_action &record);

 private:
  std::vector<RuleOfFile> rules_;
  ByName<uint32_t> by_name_;
  std::unordered_map<const zar_class_action *, uint32_t> by_record_;
};

}  // namespace simulator::stream
