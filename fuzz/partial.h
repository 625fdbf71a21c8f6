// What operations answer and leave when a platform request fails within them. Without a line in this table it is 37 or 38,
// and the repository is as it was before the call.
#pragma once

#include <cstdint>
#include <vector>

#include "fuzz/calls/operations.h"

namespace fuzz {

struct Partial {
  calls::Op op;
  std::vector<uint64_t> answers;  // that a call with a failed request may give
  bool changes;                   // whether it may leave another state than it found
  const char *reason;
};

const std::vector<Partial> &partial_states();
// The line of the operation, or NULL.
const Partial *partial_state_of(calls::Op op);

}  // namespace fuzz
