// What every sub-command says in the same way.
#pragma once

#include <string>
#include <string_view>

#include "tool/repository.h"

namespace tool {

// "zar: text", on standard error.
void complain(std::string_view text);

// What complaints begin with from now on, instead of "zar".
void complain_from(std::string from);

// Takes the repository down and reports its problems. Answers the exit code that they ask for.
int finish(Repository &repository);

}  // namespace tool
