// The words for what happens in an event, as every renderer of an explanation has them.
#pragma once

#include <optional>
#include <string>

#include "simulator/explanation/explanation.h"

namespace simulator {

const char *to_string(engine::Verdict verdict);

// A value or its absence, as a word.
std::string value_text(const std::optional<std::string> &value);
// What a filter said, and of which value: "a equals 1 does not hold: a is absent".
std::string answer_text(const FilterExplanation &filter);
// "starts: absent -> 1".
std::string change_text(const Change &change);

}  // namespace simulator
