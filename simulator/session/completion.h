// What a word of a command can go on with.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "simulator/session/session.h"

namespace simulator::session {

struct Completion {
  std::vector<std::string> candidates;  // what the word under way can become, sorted
  std::string insertion;                // what all of them go on with; with the blank behind it where there is one only
};

// 'before' is the line up to the cursor.
Completion complete(const Session &session, const std::string &before);

}  // namespace simulator::session
