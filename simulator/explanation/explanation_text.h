// The explanation of an event as a tree that a person reads.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "simulator/explanation/explanation.h"
#include "simulator/text/tone.h"

namespace simulator {

// How much of an explanation is shown.
enum class Level : uint8_t {
  decision,  // what decided, what changed, and why nothing matched where nothing did
  rules,     // every policy-map and rule that was tried, every action that ran
  filters,   // every filter that was asked, too
};

// "decision", "rules" or "filters".
std::optional<Level> parse_level(std::string_view word);

// A line for each step; each begins with the position in the policy file that it comes from.
std::string explanation_text(const EventExplanation &explanation, const PolicyFile &file, const Step &step, Level level,
                             Colours colours);

}  // namespace simulator
