// Steps into an operation where the library traces a line, to cause faults between two of its steps.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "host/runtime/control.h"
#include "support/trace.h"

namespace rig {

// Runs 'act' whenever the library traces a text with this beginning. The trace is captured as usual.
inline void whenever_traced(const std::string &beginning, std::function<void()> act) {
  runtime::trace_to([beginning, act = std::move(act)](const runtime::TraceLine &seen) {
    if (capture(seen) && traced().back().text.starts_with(beginning)) act();
  });
}

// What 'place' held at each line that the library traced during 'act', in order.
template <typename Value, typename Act>
std::vector<Value> values_when_traced(const Value &place, Act act) {
  std::vector<Value> values;
  whenever_traced("", [&place, &values] { values.push_back(place); });
  act();
  runtime::trace_to(capture);
  return values;
}

// Runs 'act' when the library traces 'line' for the 'nth' time from now on.
inline void when_traced(const Line &line, std::function<void()> act, int nth = 1) {
  const auto times = std::make_shared<int>(nth);  // the sink is copied for each line
  whenever_traced(line.text, [line, act = std::move(act), times] {
    if (traced().back() == line && --*times == 0) act();
  });
}

}  // namespace rig
