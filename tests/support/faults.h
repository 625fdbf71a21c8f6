// The fault clock: a scenario runs once for every fallible platform request that it makes, and that request fails.
#pragma once

#include <cstdint>
#include <functional>
#include <type_traits>

#include "host/runtime/control.h"

namespace rig {

class FaultClock {
 public:
  FaultClock(uint64_t nth, runtime::Fault mode);

  // Runs 'act' with the clock running and returns its result. Outside of it no request fails. May be called several
  // times; the requests are numbered consecutively.
  template <typename Act>
  auto during(Act &&act) {
    start();
    if constexpr (std::is_void_v<decltype(act())>) {
      act();
      stop();
    } else {
      auto result = act();
      stop();
      return result;
    }
  }

  // Whether a request has failed so far, and the first that did.
  bool hit() const { return hit_; }
  const runtime::Request &failed() const { return failed_; }
  bool failed_in(runtime::Service service) const { return hit_ && failed_.service == service; }
  bool failed_in(runtime::Service service, uint32_t tag) const { return failed_in(service) && failed_.tag == tag; }
  runtime::Fault mode() const { return mode_; }

 private:
  void start();
  void stop();

  uint64_t nth_;
  runtime::Fault mode_;
  uint64_t passed_ = 0;  // requests made while the clock ran
  uint64_t requests_before_ = 0;
  bool hit_ = false;
  runtime::Request failed_;
};

// Runs 'scenario' in its own process with the first request failing, then with the second, and so on until none fails;
// first once, then from that request on. Prints the number of fault points and expects it to be above zero. The
// scenario creates its own World. Returns the number of points at which a single request failed.
uint32_t for_each_fault(const std::function<void(FaultClock &)> &scenario);

}  // namespace rig
