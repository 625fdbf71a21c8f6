// The commands on a session as a whole: going back, the files behind it, their scenarios and tests.
#pragma once

#include "simulator/session/commands.h"

namespace simulator::session {

void undo(const Call &call, Reply &reply);
void reload(const Call &call, Reply &reply);
void save(const Call &call, Reply &reply);
void compare_with_loaded(const Call &call, Reply &reply);
void run_loaded_scenario(const Call &call, Reply &reply);
void run_loaded_tests(const Call &call, Reply &reply);

// For commands: adds a complaint, and the command has failed.
void fail(Reply &reply, std::string complaint);

}  // namespace simulator::session
