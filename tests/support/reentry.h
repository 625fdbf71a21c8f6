// Callbacks that call back into the library.
#pragma once

#include <functional>
#include <utility>

#include "support/callbacks.h"
#include "support/trace.h"

namespace rig {

// 'act' runs inside the next call of a function that has this data, once; it leaves no trace and no calls in the logs.
inline void once_inside(Data &data, std::function<void()> act) {
  data.on_call = [act = std::move(act), done = false]() mutable {
    if (std::exchange(done, true)) return;
    const Quiet quiet;
    act();
  };
}

}  // namespace rig
