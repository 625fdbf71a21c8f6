// Converts texts that a person types, on a command line or in a session, or that a program sends, to steps. Errors go to
// 'complaints', with the name that was probably meant.
#pragma once

#include <optional>
#include <string>

#include "simulator/policy/model.h"
#include "simulator/text/text.h"

namespace simulator {

// "NAME@TARGET" as a step of a scenario; nothing when the file has no such event or target.
std::optional<Step> parse_event(const std::string &text, const PolicyFile &file, Complaints &complaints);
// The same for the two names.
std::optional<Step> make_step(std::string event, std::string target, const PolicyFile &file, Complaints &complaints);

// Adds "ATTRIBUTE=VALUE" to what a step sets, or an attribute's name to what it clears. False when the file has no such
// attribute, since setting an attribute that nothing tests can only be a mistake, and when no file could hold the value.
bool parse_set(const std::string &text, const PolicyFile &file, Step &step, Complaints &complaints);
// The same for the attribute and its value.
bool add_set(std::string attribute, std::string value, const PolicyFile &file, Step &step, Complaints &complaints);
bool parse_clear(const std::string &text, const PolicyFile &file, Step &step, Complaints &complaints);

}  // namespace simulator
