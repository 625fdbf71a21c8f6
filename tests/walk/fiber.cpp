#include "tests/walk/fiber.h"

#include <cstdint>
#include <utility>
#include <vector>

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define FIBER_ADDRESS_SANITIZER 1
#endif
#elif defined(__SANITIZE_ADDRESS__)
#define FIBER_ADDRESS_SANITIZER 1
#endif

#ifdef FIBER_ADDRESS_SANITIZER
#include <sanitizer/common_interface_defs.h>
#endif
#if __has_include(<valgrind/valgrind.h>)
#include <valgrind/valgrind.h>
#endif

namespace walk {
namespace {

constexpr size_t kStackSize = size_t{256} * 1024;

struct Unwound {};

// ---- What tools must know about a change of stacks

#ifdef FIBER_ADDRESS_SANITIZER
void leave_stack(void **shadow, const void *stack, size_t size) {
  __sanitizer_start_switch_fiber(shadow, stack, size);
}
void arrive_on_stack(void *shadow, const void **stack_left, size_t *size_left) {
  __sanitizer_finish_switch_fiber(shadow, stack_left, size_left);
}
#else
void leave_stack(void **, const void *, size_t) {}
void arrive_on_stack(void *, const void **, size_t *) {}
#endif

#ifdef VALGRIND_STACK_REGISTER
unsigned register_stack(std::byte *stack) {
  return VALGRIND_STACK_REGISTER(stack, stack + kStackSize);
}
void deregister_stack(unsigned number) {
  VALGRIND_STACK_DEREGISTER(number);
}
#else
unsigned register_stack(std::byte *) {
  return 0;
}
void deregister_stack(unsigned) {}
#endif

// Stacks are reused: there are many short sessions.
std::vector<std::unique_ptr<std::byte[]>> &spare_stacks() {
  static std::vector<std::unique_ptr<std::byte[]>> stacks;
  return stacks;
}

std::unique_ptr<std::byte[]> take_stack() {
  auto &spare = spare_stacks();
  if (spare.empty()) return std::make_unique_for_overwrite<std::byte[]>(kStackSize);
  std::unique_ptr<std::byte[]> stack = std::move(spare.back());
  spare.pop_back();
  return stack;
}

}  // namespace

Fiber::Fiber(std::function<void(Fiber &)> body) : body_(std::move(body)), stack_(take_stack()) {
  registered_ = register_stack(stack_.get());
  getcontext(&own_);
  own_.uc_stack.ss_sp = stack_.get();
  own_.uc_stack.ss_size = kStackSize;
  own_.uc_link = nullptr;
  // makecontext passes int values, so the address is split into two halves.
  const auto address = reinterpret_cast<uintptr_t>(this);
  makecontext(&own_, reinterpret_cast<void (*)()>(enter), 2, static_cast<unsigned>(address >> 32),
              static_cast<unsigned>(address));
}

Fiber::~Fiber() {
  unwinding_ = true;
  if (!ended_) resume();
  deregister_stack(registered_);
  spare_stacks().push_back(std::move(stack_));
}

void Fiber::resume() {
  leave_stack(&other_shadow_, stack_.get(), kStackSize);
  swapcontext(&other_, &own_);
  arrive_on_stack(other_shadow_, nullptr, nullptr);
}

void Fiber::wait() {
  leave_stack(&own_shadow_, other_stack_, other_size_);
  swapcontext(&own_, &other_);
  arrive_on_stack(own_shadow_, &other_stack_, &other_size_);
  if (unwinding_) throw Unwound();
}

void Fiber::enter(unsigned high, unsigned low) {
  reinterpret_cast<Fiber *>(static_cast<uintptr_t>(high) << 32 | low)->run();
}

void Fiber::run() {
  arrive_on_stack(nullptr, &other_stack_, &other_size_);
  try {
    if (!unwinding_) body_(*this);
  } catch (const Unwound &) {
    // The body is unwound.
  }
  ended_ = true;
  leave_stack(nullptr, other_stack_, other_size_);
  swapcontext(&own_, &other_);
}

}  // namespace walk
