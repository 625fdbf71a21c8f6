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

// Reports what should never happen. Returns its exit code. If memory ran out, this is all that it says: everything else
// follows from that.
int report_internal(const simulator::Complaints &problems);

// "zar: out of memory". Returns its exit code.
int report_out_of_memory();

// From now on the process ends with this message and code as soon as the C++ library gets no memory. An exception could
// not do it: the library calls back into code that allocates, and no exception may pass through the library.
void end_when_out_of_memory();

// Gives a file for results this text, whole, or complains and leaves it as it was. Returns the exit code.
int write_result(const std::string &path, std::string_view text);

// Does the work on one of several files. An exception is reported and costs only this file.
//
// The files share the process, which has one repository at a time. A process per file would also survive a file that
// crashes the simulator; but such a crash is a defect of the simulator, and going on after it would hide it.
int work_on_one(const std::function<int()> &work);

// Takes the repository down and reports its problems. Returns the exit code for them.
int finish(simulator::Repository &repository);

}  // namespace command
