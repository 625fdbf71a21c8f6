// Saves what a session holds as a policy file.
#pragma once

#include <string>

#include "simulator/session/session.h"

namespace simulator::session {

// Writes the running configuration and returns a line about it. A file is overwritten only if the session has loaded or
// saved it, it has not changed since, and nothing in it would be lost; 'force' overwrites any file. On failure
// 'complaints' says why, and the file is as it was.
std::string save_to(Session &session, const std::string &path, bool force, Complaints &complaints);

}  // namespace simulator::session
