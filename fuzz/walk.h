// Random walks over the whole interface: sequences of calls from a seed, and the shortest ones that go wrong.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "fuzz/session.h"

namespace fuzz {

// The calls of one session, from its seed.
std::vector<calls::Call> random_calls(uint64_t seed, size_t count);

// Makes the calls and deletes everything again; what went wrong, or nothing.
std::string run(const std::vector<calls::Call> &calls, const Options &options, uint64_t *steps = nullptr);

// The calls as they are made, and what goes wrong at the last.
std::string told(const std::vector<calls::Call> &calls, Options options);

}  // namespace fuzz
