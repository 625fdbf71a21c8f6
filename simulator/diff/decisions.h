// What two policy files decide differently when the same scenario is replayed on both.
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

// What of a decision can be different, in the order of telling.
inline constexpr const char *kAspects[] = {"possible", "verdict", "attributes", "log", "rules"};

struct DifferentEvent {
  size_t number;  // in the scenario, from 0
  std::vector<std::string> aspects;
};

struct Replayed {
  std::vector<DifferentEvent> different;
  size_t impossible = 0;  // events that can be raised on neither side, and so decide nothing
  Decided first_before{};
  Decided first_after{};
  ReplayedStep before{};  // the first that is decided differently
  ReplayedStep after{};
};

// Nothing when anything went wrong with a repository of one of the files; 'problems' then says what.
std::optional<Replayed> compare_replays(const Files &files, const std::vector<Step> &steps, Complaints &problems);

}  // namespace simulator::diff
