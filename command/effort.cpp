#include "command/effort.h"

#include <chrono>

namespace command {

simulator::lint::MayGoOn for_seconds(uint32_t seconds) {
  using Clock = std::chrono::steady_clock;
  const Clock::time_point end = Clock::now() + std::chrono::seconds(seconds);
  return [end] { return Clock::now() < end; };
}

}  // namespace command
