// Ctrl-C while a command of a session runs.
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

}  // namespace command
