// Lets someone stop a long operation, as Ctrl-C does.
//
// The request is process-wide and stands until it is withdrawn, like the signal that it usually comes from. Operations
// that can take long call check() between two steps; their callers restore what was changed up to there.
#pragma once

namespace simulator {

// Ends the operation.
struct Interrupted {};

namespace interruption {

// May be called from a signal handler. The next call of check() answers the request, or the first one after this many.
void request(unsigned long after = 0) noexcept;
void withdraw() noexcept;
// Throws Interrupted if there is a request and nothing holds it off.
void check();

// While one exists, requests wait: for work that restores something.
class HeldOff {
 public:
  HeldOff();
  ~HeldOff();
  HeldOff(const HeldOff &) = delete;
  HeldOff &operator=(const HeldOff &) = delete;
};

}  // namespace interruption

}  // namespace simulator
