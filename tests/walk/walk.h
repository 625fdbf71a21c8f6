// Random walks over the whole interface: sequences of calls from a seed, and the shortest ones that go wrong.
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

// The same with clients whose functions call back: most calls say in which of the functions that the library calls they
// are made. The repository that most sessions begin with has lists of several elements.
std::vector<calls::Call> reentrant_calls(uint64_t seed, size_t count);

// How many calls were made in all, and within functions of clients by their depth.
struct Steps {
  uint64_t all = 0;
  std::array<uint64_t, Session::kDepth> within{};
};

// Makes the calls and deletes everything again; what went wrong, or nothing.
std::string run(const std::vector<calls::Call> &calls, const Options &options, Steps *steps = nullptr);

// The calls as they are made, and what goes wrong at the last.
std::string listed(const std::vector<calls::Call> &calls, Options options);

}  // namespace walk
