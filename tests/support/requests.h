// The library's requests to the platform runtime, as lines in order:
//   id table 0x3e00023 "ZAR PMAP HANDLE IDs"     pool 0x3e00037 of 152       record 0x3e00037 of 152
//   id 0x3e00023                                 pool "NAME" of 104          record of 104 (of a named pool)
//   block 0x3e00004 of 48                        duplicate 0x3e00034 "one"   text 0x3e00038 "gold"
//   tree init    tree insert    queue entry      (and " failed" after one that was refused)
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

namespace rig {

// Starts to record, and forgets earlier requests.
void watch_requests();
// The requests since the last call.
std::vector<std::string> take_requests();
// The texts removed since the last call, as: 0x3e00038 "gold"
std::vector<std::string> take_text_removals();

// The tags of the pools of references: of policy-maps to their class-maps, and back.
constexpr uint32_t kPmapRefTag = 0x3e0003f;
constexpr uint32_t kCmapRefTag = 0x3e0003e;

// How a pool was created, and how many of its records are in use: "152 bytes, 20 per chunk, flags 0x111"; empty: no
// such pool.
std::string pool_of(uint32_t tag);
std::string pool_of(const std::string &name);
// Records of the pool in use.
size_t records_out(uint32_t tag);
// Live blocks of a tag.
size_t blocks_out(uint32_t tag);

}  // namespace rig

#define EXPECT_REQUESTS(...) EXPECT_EQ(::rig::take_requests(), (std::vector<std::string>{__VA_ARGS__}))
#define EXPECT_TEXT_REMOVALS(...) EXPECT_EQ(::rig::take_text_removals(), (std::vector<std::string>{__VA_ARGS__}))
