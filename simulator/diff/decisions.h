// The different decisions of two policy files when the same scenario is replayed on both.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "simulator/diff/replay.h"

namespace simulator::diff {

struct Files {
  const PolicyFile *before;
  const PolicyFile *after;
};

// The parts of a decision that can differ, in the order of the report.
inline constexpr const char *kAspects[] = {"possible", "verdict", "attributes", "log", "rules"};

struct DifferentEvent {
  size_t number;  // in the scenario, from 0
  std::vector<std::string> aspects;
};

struct Replayed {
  std::vector<DifferentEvent> different;
  size_t impossible = 0;  // events that can be raised on neither side, so that they decide nothing
  Decided first_before{};
  Decided first_after{};
  ReplayedStep before{};  // the first that is decided differently
  ReplayedStep after{};
};

// Nothing when anything goes wrong with a repository of one of the files; 'problems' then says what.
std::optional<Replayed> compare_replays(const Files &files, const std::vector<Step> &steps, Complaints &problems);

}  // namespace simulator::diff
