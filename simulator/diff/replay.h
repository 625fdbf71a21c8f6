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

// What came of one event.
struct Decided {
  std::string impossible{};  // why the event could not be raised; then nothing else is there
  std::string verdict{};
  std::vector<std::string> rules{};  // that ran, each "POLICY/EVENT CLASS-MAP", as numbers alone decide nothing
  std::map<std::string, std::optional<std::string>> changed{};  // attributes with their new values; nothing: cleared
  std::vector<std::string> log{};

  bool operator==(const Decided &) const = default;
};

// Of every step of 'steps' on a repository of 'file' that is built for it and taken down. Nothing when anything went wrong
// with the repository; 'problems' then says what.
std::optional<std::vector<Decided>> replay(const PolicyFile &file, const std::vector<Step> &steps,
                                           Complaints &problems);

// How a step came about.
struct ReplayedStep {
  Step step;                       // what the file knows of it
  std::string impossible{};        // why the event could not be raised; then nothing else is there
  EventExplanation explanation{};  // good as long as the file
};
// The step at 'number' (from 0), after all before it.
std::optional<ReplayedStep> replay_to(const PolicyFile &file, const std::vector<Step> &steps, size_t number,
                                      Complaints &problems);

}  // namespace simulator::diff
