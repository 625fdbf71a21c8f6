// What every sub-command says in the same way, on standard error.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "simulator/policy/diagnostics.h"
#include "simulator/repository/repository.h"

namespace command {

// "zar: text".
void complain(std::string_view text);
void complain(const simulator::Complaints &complaints);

// What complaints begin with from now on, instead of "zar".
void complain_from(std::string from);

// What is wrong with a policy file.
void report(const simulator::Diagnostics &diagnostics, const simulator::Source &source);

// What should never happen. Answers the exit code that it asks for.
int report_internal(const simulator::Complaints &problems);

// Does the work on one of several files. What it throws is reported and costs this file alone.
//
// The files share the process, which has one repository after the other. A process for each would also survive a file that
// makes the simulator crash; but such a file is a defect of the simulator, and to go on after it would hide it.
int work_on_one(const std::function<int()> &work);

// Takes the repository down and reports its problems. Answers the exit code that they ask for.
int finish(simulator::Repository &repository);

}  // namespace command
