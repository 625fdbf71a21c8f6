// Shared by all services: the fault clock with the recording of requests, and the list of complaints.
//
// A fallible request costs one increment and one branch, which is never taken unless something is recorded or injected.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "host/runtime/control.h"

namespace runtime {

inline constexpr size_t kServices = static_cast<size_t>(Service::queue_cell) + 1;

struct Monitor {
  bool watching = false;  // requests are recorded, or a fault is scheduled
  bool recording = false;
  bool lose_next_pointer = false;
  bool fail_next_tree_delete = false;
  uint64_t requests[kServices] = {};  // for records: only those that were refused
  bool struck = false;                // a schedule made the last request fail
  uint64_t out_of_memory = 0;         // requests that were refused for lack of memory, not by a schedule
};
extern constinit Monitor monitor;

// The slow half of refused(): records the request and asks the schedules.
bool refused_by_watch(Service service, uint32_t tag, size_t size, std::string_view text) noexcept;

// Counts a fallible request. True if a schedule makes it fail: the service then refuses it.
inline bool refused(Service service, uint32_t tag = 0, size_t size = 0, std::string_view text = {}) noexcept {
  ++monitor.requests[static_cast<size_t>(service)];
  return monitor.watching && refused_by_watch(service, tag, size, text);
}

// Requests for records that were granted, over all pools.
uint64_t granted_records();

// The last counted request was refused for lack of memory.
void note_out_of_memory() noexcept;

void note_text_removal(std::string_view text, uint32_t tag) noexcept;

// Records misuse of a service by a caller.
[[gnu::format(printf, 1, 2)]] void complain(const char *format, ...) noexcept;

// State that is never destroyed, since services may be called until the process ends.
template <class State>
State &immortal() {
  static State *state = new State;
  return *state;
}

}  // namespace runtime
