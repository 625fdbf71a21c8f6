// Replays a scenario on a policy file, and compares what two files decide.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "simulator/explanation/explanation.h"
#include "simulator/policy/model.h"
#include "simulator/text/text.h"

namespace simulator::diff {

// The result of one event.
struct Decided {
  std::string impossible{};  // why the event could not be raised; all else is then empty
  std::string verdict{};
  std::vector<std::string> rules{};  // that ran, each "POLICY/EVENT CLASS-MAP": numbers alone decide nothing
  std::map<std::string, std::optional<std::string>> changed{};  // attributes with their new values; nothing: cleared
  std::vector<std::string> log{};

  bool operator==(const Decided &) const = default;
};

// Replays every step of 'steps' on a repository of 'file' that it builds and takes down. Nothing when anything goes
// wrong with the repository; 'problems' then says what.
std::optional<std::vector<Decided>> replay(const PolicyFile &file, const std::vector<Step> &steps,
                                           Complaints &problems);

// The result of a step.
struct ReplayedStep {
  Step step;                       // the part that the file knows
  std::string impossible{};        // why the event could not be raised; all else is then empty
  EventExplanation explanation{};  // valid as long as the file
};
// The result of the step at 'number' (from 0), after all steps before it.
std::optional<ReplayedStep> replay_to(const PolicyFile &file, const std::vector<Step> &steps, size_t number,
                                      Complaints &problems);

}  // namespace simulator::diff
