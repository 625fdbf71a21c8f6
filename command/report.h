// The messages on standard error that all sub-commands share.
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

// Sets what complaints begin with from now on, instead of "zar".
void complain_from(std::string from);

// Prints the errors of a policy file.
void report(const simulator::Diagnostics &diagnostics, const simulator::Source &source);

// Reports what should never happen. Returns its exit code.
int report_internal(const simulator::Complaints &problems);

// Does the work on one of several files. An exception is reported and costs only this file.
//
// The files share the process, which has one repository at a time. A process per file would also survive a file that
// crashes the simulator; but such a crash is a defect of the simulator, and going on after it would hide it.
int work_on_one(const std::function<int()> &work);

// Takes the repository down and reports its problems. Returns the exit code for them.
int finish(simulator::Repository &repository);

}  // namespace command
