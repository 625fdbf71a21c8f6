// From the texts of filters and actions back to the model: what to_string writes, these read.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "simulator/policy/model.h"

namespace simulator {

// The text that as_word or quoted wrote; nothing when they did not write this.
std::optional<std::string> parse_word(std::string_view word);

// A filter or an action without its position, and with what its text does not have (no-match, number, precedence) as it is by
// default. A pattern is not compiled. Nothing when to_string did not write this.
std::optional<Filter> parse_filter(std::string_view text);
std::optional<Action> parse_action(std::string_view text);

}  // namespace simulator
