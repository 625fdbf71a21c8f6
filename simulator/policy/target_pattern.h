// Events on several targets at once, as a person types them: "session-start@line-*".
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "simulator/policy/model.h"
#include "simulator/text/text.h"

namespace simulator {

// Whether the text is 'pattern', where each * stands for any characters, or none.
bool fits(std::string_view text, std::string_view pattern);

// Whether the target in "NAME@TARGET" is a pattern. No name contains a *.
bool has_pattern(std::string_view event);

// "NAME@TARGET" as steps: one, or with a pattern one for each target that fits, in the order of the file. Empty if
// anything is wrong; 'complaints' then says what.
std::vector<Step> parse_events(const std::string &text, const PolicyFile &file, Complaints &complaints);

}  // namespace simulator
