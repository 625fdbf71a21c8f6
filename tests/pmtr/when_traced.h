// Steps into an operation where the library traces a line: the way to faults that lie between two of its steps.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "host/runtime/control.h"
#include "support/trace.h"

namespace rig {

// Runs 'act' when the library traces 'line' for the 'nth' time from now on. The trace is captured as ever.
inline void when_traced(const Line &line, std::function<void()> act, int nth = 1) {
  const auto times = std::make_shared<int>(nth);  // the sink is copied for each line
  runtime::trace_to([line, act = std::move(act), times](const runtime::TraceLine &seen) {
    if (seen.format.find(" avl comp, ") != std::string::npos) return;
    traced().push_back({seen.level, seen.text});
    if (traced().back() == line && --*times == 0) act();
  });
}

}  // namespace rig
