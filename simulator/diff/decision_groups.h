// The different decisions of two policy files as a table: events that changed in the same way are one row.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "simulator/diff/decisions.h"

namespace simulator::diff {

// Events of one name on targets with the same policy-maps whose decisions changed in the same way.
struct DecisionGroup {
  std::string event{};
  std::string targets{};  // their policy-maps
  std::string before{};   // the verdict, or why the event could not be raised
  std::string after{};
  std::vector<std::string> aspects{};
  size_t events = 0;
  size_t first = 0;  // the number of the first of them in the scenario, from 0
  // What happened in the first, on both sides; empty where it could not be raised, or if there are too many groups.
  std::string explained_before{};
  std::string explained_after{};
};

struct DecisionChanges {
  size_t events = 0;
  size_t different = 0;
  std::vector<DecisionGroup> groups{};  // in the order of their first events
};

// Replays the steps on both files. The first 'explained' groups get explanations. Nothing when anything goes wrong with a
// repository of one of the files; 'problems' then says what.
std::optional<DecisionChanges> group_decisions(const Files &files, const Renames &renames,
                                               const std::vector<Step> &steps, size_t explained, Complaints &problems);

}  // namespace simulator::diff
