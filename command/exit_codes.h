// The exit codes of every sub-command.
#pragma once

namespace command {

enum ExitCode : int {
  kSuccess = 0,
  kNo = 1,         // the answer is no
  kUsage = 2,      // the command line is wrong
  kUndecided = 3,  // no answer was found
  kBadFile = 65,   // a policy file is wrong or cannot be read, or a session's command from a pipe failed
  // The library refused a good file, something was left behind, the output cannot be written, or memory ran out.
  kInternal = 70,
};

}  // namespace command
