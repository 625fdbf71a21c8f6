// The library's calls of the platform, in order and with the places that it passes. A test program that links with
// zar_test_platform gets wrappers of the runtime's services; each records its call and then passes it on. The lines:
//   id table 256 256 "ZAR PMAP HANDLE IDs" 0x3e00023                     id 0x3e00023          end id 0x30003
//   pool 152 20 0x111 0 0x3e00037    pool "NAME" 104 20 0x111 0 0        (size, per chunk, flags, what is reserved, tag)
//   record 0x3e00037    give back 0x3e00037    record "NAME"             (by the tag or the name of the pool)
//   tree insert TREE RECORD    tree delete TREE PROBE PLACE    tree first ROOT PLACE    tree next TREE CURRENT PLACE
//   tree empty TREE CONTEXT
//   queue init 0    append QUEUE ELEMENT    prepend QUEUE ELEMENT    insert QUEUE ELEMENT PREDECESSOR
//   unlink QUEUE ELEMENT    take QUEUE                                   (of the head)
//   text 0x3e00038 "gold"    drop text 0x3e00038 "gold"
//   block 0x3e00004 of 1 48    duplicate 0x3e00034 "one"    free 0x3e00034
//   copy 5 of 5 "gold"                                                   (as many characters, into as much room)
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "support/call_log.h"

namespace rig {

using PlatformCalls = std::vector<std::string>;

// Starts to record calls, and forgets earlier ones.
void watch_platform();
// The calls since the last look, in order. With beginnings: of those, the lines that start with one of them.
PlatformCalls take_platform_calls();
PlatformCalls take_platform_calls(const std::vector<std::string> &beginnings);
// Whether that very call was made since the last look; nothing is forgotten.
bool platform_was_called(const std::string &line);

// How often the library asked whether messages of this level are wanted, since the last look.
uint32_t take_level_tests(uint32_t level);

// Runs 'act' once, inside the next call whose line starts with 'beginning': after it was noted, before it is passed on.
void when_platform_called(const std::string &beginning, std::function<void()> act);

}  // namespace rig

#define EXPECT_PLATFORM_CALLS(...) EXPECT_EQ(::rig::take_platform_calls(), (::rig::PlatformCalls{__VA_ARGS__}))
