#include "command/effort.h"

#include <ctime>

namespace command {

// The computing time of the process, so that an answer does not depend on what else the machine does.
simulator::lint::MayGoOn for_seconds(uint32_t seconds) {
  const std::clock_t end = std::clock() + static_cast<std::clock_t>(seconds) * CLOCKS_PER_SEC;
  return [end] { return std::clock() < end; };
}

}  // namespace command
