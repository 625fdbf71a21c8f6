// The faults that can be proven in a policy file that loads.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "simulator/policy/model.h"
#include "simulator/reasoning/effort.h"
#include "simulator/reasoning/inputs.h"
#include "simulator/text/text.h"

namespace simulator::lint {

using reasoning::Input;
using reasoning::MayGoOn;

enum class Kind : uint8_t {
  shadowed_rule,          // in a match-first event, earlier rules take everything that its class-map matches
  impossible_class,       // no attributes make the class-map match
  unused_class,           // no rule uses it
  unused_parameter_map,   // no action that anything could reach applies it
  inactive_policy,        // it is active on no target of the file
  unraised_event,         // the scenario, the tests and the actions that they can reach never raise it
  unreachable_statement,  // earlier statements take everything that it matches, or it can never match
  raise_loop,             // an event raises itself until the engine refuses
  similar_attributes,     // two attributes are written almost alike, and one of them looks misspelt
  ignored_denial,         // a rule or its event goes on after the denial of an event that the rule raised
  unreachable_action,     // an earlier action always ends the rule
  overruled_decision,     // a later decision always replaces it
  not_a_number,           // a value that no range can match, or that a count starts anew
  unused_ignore,          // a comment that ignores nothing
  undecided,              // a question that was not answered
};

const char *to_string(Kind kind);
// The words for all kinds.
std::vector<std::string_view> kind_names();

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

// A finding that a comment of the file ignores.
struct IgnoredFinding {
  Finding finding;
  std::string reason{};
  Position comment{};
};

struct Findings {
  std::vector<Finding> all{};             // in the order of their positions
  bool complete = true;                   // false: something was not decided
  std::vector<IgnoredFinding> ignored{};  // in the same order
  Complaints problems{};                  // what should never happen: of the repository on which findings are played
};

// Looks for all kinds of findings. 'may_go_on' is asked whether there is time for questions that are hard to answer.
Findings find_all(const PolicyFile &file, const MayGoOn &may_go_on);

}  // namespace simulator::lint
