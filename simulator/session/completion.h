// The possible continuations of a word of a command.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "simulator/session/session.h"

namespace simulator::session {

struct Completion {
  std::vector<std::string> candidates;  // what the unfinished word can become, sorted
  std::string insertion;                // how they all continue; with a blank at the end if there is only one
};

// 'before' is the line up to the cursor.
Completion complete(const Session &session, const std::string &before);

// What a word stands for on a command line about a policy file.
enum class Meaning : uint8_t { event_at_target, attribute, assignment, name };

// What 'word' can become, sorted: an event with its target (first the event, then its target), an attribute, the
// assignment of an attribute, or the name of an object of the kind.
std::vector<std::string> candidates(const PolicyFile &file, Meaning meaning, ObjectKind kind, const std::string &word);

}  // namespace simulator::session
