// The explanation of an event as a tree that a person reads.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "simulator/explanation/explanation.h"
#include "simulator/text/tone.h"

namespace simulator {

// How much of an explanation to show.
enum class Level : uint8_t {
  decision,  // what decided, what changed, and if nothing matched, why
  rules,     // every policy-map and rule that was tried, every action that ran
  filters,   // also every filter that was asked
};

// "decision", "rules" or "filters".
std::optional<Level> parse_level(std::string_view word);

// A line for each step; each begins with the step's position in the policy file. Lines are wrapped at 'width' columns;
// 0 is no limit. Where that leaves little room, the path of the file stands above the lines instead of in each.
std::string explanation_text(const EventExplanation &explanation, const PolicyFile &file, const Step &step, Level level,
                             Colours colours, size_t width = 0);

}  // namespace simulator
