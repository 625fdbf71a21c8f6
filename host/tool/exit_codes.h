// The exit codes of every sub-command.
#pragma once

namespace tool {

enum ExitCode : int {
  kSuccess = 0,
  kNo = 1,         // the answer is no
  kUsage = 2,      // the command line is wrong
  kBadFile = 65,   // a policy file is wrong or cannot be read
  kInternal = 70,  // the library refused what a good file asks for, or something was left behind
};

}  // namespace tool
