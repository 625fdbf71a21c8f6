#include "command/effort.h"

#include <chrono>
#include <ctime>

using simulator::prove::Clock;
using simulator::reasoning::MayGoOn;

namespace command {

// The computing time of the process, so that an answer does not depend on what else the machine does.
MayGoOn for_seconds(uint32_t seconds) {
  const std::clock_t end = std::clock() + static_cast<std::clock_t>(seconds) * CLOCKS_PER_SEC;
  return [end] { return std::clock() < end; };
}

Clock clock_for(uint32_t seconds) {
  return [seconds]() -> MayGoOn {
    using std::chrono::steady_clock;
    const steady_clock::time_point end = steady_clock::now() + std::chrono::seconds(seconds);
    return [end] { return steady_clock::now() < end; };
  };
}

}  // namespace command
