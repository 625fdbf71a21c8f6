// A function that takes turns with its runner, on its own stack.
#pragma once

#include <ucontext.h>

#include <cstddef>
#include <functional>
#include <memory>

namespace walk {

class Fiber {
 public:
  explicit Fiber(std::function<void(Fiber &)> body);
  // A body that still waits is unwound: its wait() throws.
  ~Fiber();
  Fiber(const Fiber &) = delete;
  Fiber &operator=(const Fiber &) = delete;

  // Lets the body continue until it waits or ends.
  void resume();
  // Returns to the runner. Only the body calls it.
  void wait();
  bool ended() const { return ended_; }

 private:
  static void enter(unsigned high, unsigned low);
  void run();

  std::function<void(Fiber &)> body_;
  std::unique_ptr<std::byte[]> stack_;
  ucontext_t own_{};
  ucontext_t other_{};
  bool ended_ = false;
  bool unwinding_ = false;
  // AddressSanitizer's data for the two stacks, and valgrind's id for this one.
  void *own_shadow_ = nullptr;
  void *other_shadow_ = nullptr;
  const void *other_stack_ = nullptr;
  size_t other_size_ = 0;
  unsigned registered_ = 0;
};

}  // namespace walk
