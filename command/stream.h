// zar run --events: plays a stream of events, and of targets that come and go, on the repository of a policy file.
#pragma once

#include <string>

#include "simulator/policy/model.h"

namespace command {

struct StreamWishes {
  std::string events{};  // a file, or "-"
  bool jsonl = false;
  bool no_results = false;
  bool strict = false;
};

// Returns the exit code. The targets of the file change with the stream.
int run_stream(simulator::PolicyFile &file, const StreamWishes &wishes);

}  // namespace command
