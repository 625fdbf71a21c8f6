#include "simulator/text/interruption.h"

#include <atomic>

namespace simulator::interruption {

namespace {

std::atomic<bool> requested = false;
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler may store it");
unsigned held_off = 0;

}  // namespace

void request() noexcept {
  requested = true;
}

void withdraw() noexcept {
  requested = false;
}

void check() {
  if (held_off == 0 && requested.load(std::memory_order_relaxed)) throw Interrupted{};
}

HeldOff::HeldOff() {
  ++held_off;
}

HeldOff::~HeldOff() {
  --held_off;
}

}  // namespace simulator::interruption
