// Ctrl-C while a command of a session runs, or a stream.
#pragma once

namespace command {

// While one exists, Ctrl-C stops the operation under way instead of ending the process; otherwise it is ignored.
class Interruptible {
 public:
  Interruptible();
  ~Interruptible();
  Interruptible(const Interruptible &) = delete;
  Interruptible &operator=(const Interruptible &) = delete;
};

// Ends the process as Ctrl-C would have ended it, so that a shell sees why.
[[noreturn]] void end_as_interrupted();

}  // namespace command
