// What operations return and leave behind if a platform request fails. Without a line in this table they return 37 or
// 38, and the repository is as before the call.
#pragma once

#include <cstdint>
#include <vector>

#include "host/runtime/control.h"
#include "tests/walk/calls/operations.h"
#include "tests/walk/model/model.h"

namespace walk {

// A call that ended after a failed request, and the model as it was before the call.
struct Aftermath {
  model::Model &model;
  const calls::Call &call;
  const calls::Arguments &arguments;
  model::Seen &seen;
  const runtime::Inventory &before;
};

// A state that a call may leave. 'apply' changes the model accordingly, and lets 'seen' fail if the call returned or
// wrote something else than this state implies.
struct LeftState {
  const char *what;
  void (*apply)(const Aftermath &aftermath);
  bool all_called = false;  // whether everything is called as the model predicts, apart from what notifications lack
};

struct Partial {
  calls::Op op;
  std::vector<uint64_t> answers;  // what a call with a failed request may return
  std::vector<LeftState> left;    // the states that it may leave; if none is listed, only the state that it found
  const char *reason;
};

const std::vector<Partial> &partial_states();
// The operation's line, or NULL.
const Partial *partial_state_of(calls::Op op);

}  // namespace walk
