// The possible continuations of a word of a command.
#pragma once

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

}  // namespace simulator::session
