// The words for what happens in an event, shared by every renderer of an explanation.
#pragma once

#include <optional>
#include <string>

#include "simulator/explanation/explanation.h"

namespace simulator {

const char *to_string(engine::Verdict verdict);

// A value, or the word for an absent one.
std::string value_text(const std::optional<std::string> &value);
// What a filter answered, and for which value: "a equals 1 does not hold: a is absent".
std::string answer_text(const FilterExplanation &filter);
// "starts: absent -> 1".
std::string change_text(const Change &change);

}  // namespace simulator
