// zar run --events: plays a stream of events, and of targets that come and go, on the repository of a policy file.
#pragma once

#include <cstdint>
#include <string>

#include "simulator/policy/model.h"

namespace command {

inline constexpr uint32_t kMostJobs = 64;

struct StreamWishes {
  std::string events{};  // a file, or "-"
  bool jsonl = false;
  bool no_results = false;
  bool strict = false;
  uint32_t jobs = 1;  // processes that share the targets; 0: one for each processor
};

// Returns the exit code. The targets of the file change with the stream.
int run_stream(simulator::PolicyFile &file, const StreamWishes &wishes);

}  // namespace command
