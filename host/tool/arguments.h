// What several sub-commands read from the command line. A wrong one is complained about, with the name that was probably
// meant.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tool/policy/model.h"

namespace tool {

void complain_about_name(std::string_view what, std::string_view name, const std::vector<std::string_view> &known);

// "NAME@TARGET" as a step of a scenario; nothing when it is none of the file's.
std::optional<Step> parse_event(const std::string &text, const PolicyFile &file);

// Adds "ATTRIBUTE=VALUE" to what a step sets, an attribute's name to what it clears. False when the file has no such
// attribute: setting what nothing asks for can only be a mistake.
bool parse_set(const std::string &text, const PolicyFile &file, Step &step);
bool parse_clear(const std::string &text, const PolicyFile &file, Step &step);

}  // namespace tool
