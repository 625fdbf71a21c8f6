// The tags of the blocks that the client allocates.
#pragma once

#include <cstdint>

namespace simulator::client {

inline constexpr uint32_t kFilterTextTag = 0x7a00001;
inline constexpr uint32_t kActionTextTag = 0x7a00002;

}  // namespace simulator::client
