// The clocks for searches that may take long: the simulator only asks whether it may go on, or how long.
#pragma once

#include <cstdint>

#include "simulator/prove/answer.h"
#include "simulator/reasoning/effort.h"

namespace command {

inline constexpr uint32_t kDefaultEffort = 10;  // seconds
inline constexpr uint32_t kMostEffort = 86'400;

// Yes, for this many seconds of computing time from now.
simulator::reasoning::MayGoOn for_seconds(uint32_t seconds);

// This many seconds for each question.
simulator::prove::Clock clock_for(uint32_t seconds);

}  // namespace command
