#include "command/effort.h"

#include <algorithm>
#include <chrono>
#include <ctime>

using simulator::prove::Clock;
using simulator::prove::Patience;

namespace command {

// The computing time of the process, so that an answer does not depend on what else the machine does.
simulator::lint::MayGoOn for_seconds(uint32_t seconds) {
  const std::clock_t end = std::clock() + static_cast<std::clock_t>(seconds) * CLOCKS_PER_SEC;
  return [end] { return std::clock() < end; };
}

// What is left of the seconds, from each call on.
Clock clock_for(uint32_t seconds) {
  return [seconds]() -> Patience {
    using std::chrono::steady_clock;
    const steady_clock::time_point end = steady_clock::now() + std::chrono::seconds(seconds);
    return [end] {
      const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - steady_clock::now()).count();
      return static_cast<uint32_t>(std::max<long long>(left, 0));
    };
  };
}

}  // namespace command
