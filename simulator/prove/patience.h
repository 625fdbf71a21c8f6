// How long a question may take.
#pragma once

#include <cstdint>
#include <functional>

namespace simulator::prove {

// The milliseconds that are left. Nothing here reads a clock: the caller of the prover does.
using Patience = std::function<uint32_t()>;

}  // namespace simulator::prove
