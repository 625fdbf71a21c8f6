// What can be proven to be wrong with a policy file that loads.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "simulator/lint/inputs.h"
#include "simulator/policy/model.h"

namespace simulator::lint {

enum class Kind : uint8_t {
  shadowed_rule,          // in a match-first event, rules before it take all that its class-map matches
  impossible_class,       // no attributes make the class-map match
  unused_class,           // no rule has it
  unused_parameter_map,   // nothing applies it that anything could reach
  inactive_policy,        // no target of the file has it
  unraised_event,         // neither the scenario nor a test nor an action that they could reach raises it
  unreachable_statement,  // statements before it take all that it matches, or it can never match
};

const char *to_string(Kind kind);

// A part of the file that a finding follows from.
struct Reason {
  Position position{};
  std::string what{};
};

struct Finding {
  Kind kind;
  Position position{};
  std::string message{};
  std::vector<Reason> because{};
  std::optional<Input> input{};  // attributes that show it
};

struct Findings {
  std::vector<Finding> all{};  // in the order of their positions
  bool complete = true;        // false: some things were too hard to prove, one way or the other
};

Findings find_all(const PolicyFile &file);

}  // namespace simulator::lint
