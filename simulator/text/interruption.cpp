#include "simulator/text/interruption.h"

#include <atomic>

namespace simulator::interruption {

namespace {

std::atomic<bool> requested = false;
std::atomic<unsigned long> checks_before = 0;
static_assert(std::atomic<bool>::is_always_lock_free && std::atomic<unsigned long>::is_always_lock_free,
              "a signal handler stores them");
unsigned held_off = 0;

}  // namespace

void request(unsigned long after) noexcept {
  checks_before = after;
  requested = true;
}

void withdraw() noexcept {
  requested = false;
}

void check() {
  if (held_off != 0 || !requested.load(std::memory_order_relaxed)) return;
  if (checks_before == 0) throw Interrupted{};
  --checks_before;
}

HeldOff::HeldOff() {
  ++held_off;
}

HeldOff::~HeldOff() {
  --held_off;
}

}  // namespace simulator::interruption
