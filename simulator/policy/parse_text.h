// Converts the texts of filters and actions back to the model: it reads what to_string writes.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "simulator/policy/model.h"

namespace simulator {

// The text that as_word or quoted was given; nothing when neither wrote this.
std::optional<std::string> parse_word(std::string_view word);

// A filter or an action without its position; what its text does not contain (no-match, number, precedence) has its
// default. Patterns are not compiled. Nothing when to_string did not write this.
std::optional<Filter> parse_filter(std::string_view text);
std::optional<Action> parse_action(std::string_view text);

}  // namespace simulator
