// Replays a scenario on a policy file, and compares what two files decide.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "simulator/policy/model.h"
#include "simulator/text/json.h"

namespace simulator::diff {

// What came of one event.
struct Decided {
  std::string impossible{};  // why the event could not be raised; then nothing else is there
  std::string verdict{};
  std::vector<std::string> rules{};  // that ran, each "POLICY/EVENT CLASS-MAP", as numbers alone decide nothing
  std::map<std::string, std::optional<std::string>> changed{};  // attributes with their new values; nothing: cleared
  std::vector<std::string> log{};

  bool operator==(const Decided &) const = default;
};

// Of every step of 'steps' on a repository of 'file', in a process of its own; nothing after it broke down there.
std::optional<std::vector<Decided>> replay(const PolicyFile &file, const std::vector<Step> &steps);

// How the step at 'number' (from 0) comes about.
struct Explanation {
  std::string text;
  Json json;  // null when the event cannot be raised
};
std::optional<Explanation> explain(const PolicyFile &file, const std::vector<Step> &steps, size_t number);

}  // namespace simulator::diff
