// Steps from texts that a person gives one at a time, on a command line or in a session. What is wrong with one goes to
// 'complaints', with the name that was probably meant.
#pragma once

#include <optional>
#include <string>

#include "simulator/policy/model.h"
#include "simulator/text/text.h"

namespace simulator {

// "NAME@TARGET" as a step of a scenario; nothing when it is none of the file's.
std::optional<Step> parse_event(const std::string &text, const PolicyFile &file, Complaints &complaints);

// Adds "ATTRIBUTE=VALUE" to what a step sets, an attribute's name to what it clears. False when the file has no such
// attribute: setting what nothing asks for can only be a mistake.
bool parse_set(const std::string &text, const PolicyFile &file, Step &step, Complaints &complaints);
bool parse_clear(const std::string &text, const PolicyFile &file, Step &step, Complaints &complaints);

}  // namespace simulator
