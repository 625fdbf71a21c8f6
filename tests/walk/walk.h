// Random walks over the whole interface: makes sequences of calls from seeds, runs them, and lists their calls.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "tests/walk/session.h"

namespace walk {

// Calls that build a small repository in which everything is linked: both kinds of policy-maps active on a target, a
// class-map with a filter, actions that two rules share, a parameter-map with a statement.
std::vector<calls::Call> building_calls();

// The calls of one session, from its seed: an odd one begins with the repository above.
std::vector<calls::Call> random_calls(uint64_t seed, size_t count);

// The same with clients whose functions call back: most calls are made within a function of a client that the library
// calls. Half of the sessions begin with a repository whose lists have several elements.
std::vector<calls::Call> reentrant_calls(uint64_t seed, size_t count);

// How many calls were made in all, and how many within functions of clients, by depth.
struct Steps {
  uint64_t all = 0;
  std::array<uint64_t, Session::kDepth> within{};
};

// Makes the calls and deletes everything again. Returns what went wrong, or an empty text.
std::string run(const std::vector<calls::Call> &calls, const Options &options, Steps *steps = nullptr);

// Makes the calls. Returns a line for each, and one that says what went wrong at the last.
std::string listed(const std::vector<calls::Call> &calls, Options options);

}  // namespace walk
