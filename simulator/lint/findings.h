// The faults that can be proven in a policy file that loads.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "simulator/lint/inputs.h"
#include "simulator/policy/model.h"

namespace simulator::lint {

enum class Kind : uint8_t {
  shadowed_rule,          // in a match-first event, earlier rules take everything that its class-map matches
  impossible_class,       // no attributes make the class-map match
  unused_class,           // no rule uses it
  unused_parameter_map,   // no action that anything could reach applies it
  inactive_policy,        // it is active on no target of the file
  unraised_event,         // the scenario, the tests and the actions that they can reach never raise it
  unreachable_statement,  // earlier statements take everything that it matches, or it can never match
};

const char *to_string(Kind kind);

// A part of the file that a finding is based on.
struct Reason {
  Position position{};
  std::string what{};
};

struct Finding {
  Kind kind;
  Position position{};
  std::string message{};
  std::vector<Reason> because{};
  std::optional<Input> input{};  // attributes that demonstrate it
};

struct Findings {
  std::vector<Finding> all{};  // in the order of their positions
  bool complete = true;        // false: some things were too hard to prove or disprove
};

Findings find_all(const PolicyFile &file);

}  // namespace simulator::lint
