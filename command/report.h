// What every sub-command says in the same way, on standard error.
#pragma once

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

// Takes the repository down and reports its problems. Answers the exit code that they ask for.
int finish(simulator::Repository &repository);

}  // namespace command
