#include "fuzz/walk.h"

#include <random>

namespace fuzz {

std::vector<calls::Call> random_calls(uint64_t seed, size_t count) {
  std::mt19937_64 random(seed);
  std::vector<calls::Call> made;
  made.reserve(count);
  while (made.size() < count) {
    std::array<uint8_t, calls::kMostBytes + 2> bytes{};
    for (uint8_t &byte : bytes)
      byte = static_cast<uint8_t>(random());
    made.push_back(calls::call_of(bytes));
  }
  return made;
}

std::string run(const std::vector<calls::Call> &calls, const Options &options, uint64_t *steps) {
  Session session(options);
  bool good = true;
  for (const calls::Call &call : calls)
    if (!(good = session.step(call))) break;
  if (good) session.finish();
  if (steps != nullptr) *steps += session.steps();
  return session.failure();
}

std::string told(const std::vector<calls::Call> &calls, Options options) {
  std::vector<std::string> lines;
  options.told = &lines;
  const std::string failure = run(calls, options);
  std::string text;
  for (const std::string &line : lines)
    text += "  " + line + '\n';
  return text + "  " + (failure.empty() ? "nothing goes wrong" : failure) + '\n';
}

}  // namespace fuzz
