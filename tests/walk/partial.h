// What operations return and leave behind if a platform request fails. Without a line in this table they return 37 or
// 38, and the repository is as before the call.
#pragma once

#include <cstdint>
#include <vector>

#include "tests/walk/calls/operations.h"

namespace walk {

struct Partial {
  calls::Op op;
  std::vector<uint64_t> answers;  // what a call with a failed request may return
  bool changes;                   // whether it may leave another state than it found
  const char *reason;
};

const std::vector<Partial> &partial_states();
// The operation's line, or NULL.
const Partial *partial_state_of(calls::Op op);

}  // namespace walk
