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

// Those in which two results differ.
std::vector<std::string> aspects_of(const Decided &before, const Decided &after);

struct DifferentEvent {
  size_t number;  // in the scenario, from 0
  std::vector<std::string> aspects;
};

struct Replayed {
  std::vector<DifferentEvent> different;
  size_t impossible = 0;                // events that can be raised on neither side, so that they decide nothing
  std::string why_impossible_before{};  // the first of the scenario, if none can be raised on either side
  std::string why_impossible_after{};
  Decided first_before{};
  Decided first_after{};
  ReplayedStep before{};  // the first that is decided differently
  ReplayedStep after{};
};

// The steps can have the names of either file; renamed objects decide the same as before. Nothing when anything goes
// wrong with a repository of one of the files; 'problems' then says what.
std::optional<Replayed> compare_replays(const Files &files, const Renames &renames, const std::vector<Step> &steps,
                                        Complaints &problems);

}  // namespace simulator::diff
