// The counts of a stream.
#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <string>
#include <vector>

#include "simulator/stream/player.h"
#include "simulator/text/tone.h"

namespace simulator::stream {

// What one line counts as.
struct Counted {
  enum class As : uint8_t { event, added, deleted, bad };

  As as = As::bad;
  engine::Verdict verdict = engine::Verdict::none;
  bool stopped = false;
  std::span<const uint32_t> rules{};  // that ran, by number
};
Counted counted(const Played &played);

struct Totals {
  explicit Totals(size_t n_rules) : rules(n_rules) {}

  void count(const Counted &line);

  size_t events = 0;
  size_t added = 0;
  size_t deleted = 0;
  size_t bad = 0;
  size_t stopped = 0;                // events that a limit stopped
  std::array<size_t, 3> verdicts{};  // by engine::Verdict
  std::vector<size_t> rules;         // by the number of the rule: how often it ran
};

// For people, several lines.
std::string text_of(const Totals &totals, const Rules &rules, Colours colours);

}  // namespace simulator::stream
