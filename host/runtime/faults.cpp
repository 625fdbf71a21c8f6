#include <array>
#include <new>
#include <utility>

#include "host/runtime/monitor.h"

namespace runtime {

constinit Monitor monitor;

namespace {

// Counts down to the request that fails.
struct Schedule {
  uint64_t left = 0;  // 0: no schedule, or a single fault that has happened
  Fault mode = Fault::once;

  bool active() const { return left != 0; }

  bool strikes() {
    if (!active()) return false;
    if (left > 1) {
      --left;
      return false;
    }
    if (mode == Fault::once) left = 0;
    return true;
  }
};

struct Watch {
  Schedule any;
  std::array<Schedule, kServices> each;
  uint64_t injected = 0;
  std::vector<Request> requests;
  std::vector<TextRemoval> removals;
};

Watch &watch() {
  return immortal<Watch>();
}

Schedule &schedule_of(Service service) {
  return watch().each[static_cast<size_t>(service)];
}

void update_watching() {
  bool scheduled = watch().any.active();
  for (const Schedule &schedule : watch().each)
    scheduled |= schedule.active();
  monitor.watching = scheduled || monitor.recording;
}

void record(Service service, uint32_t tag, size_t size, std::string_view text, bool failed) {
  watch().requests.push_back({service, tag, size, std::string(text), failed});
}

}  // namespace

bool refused_by_watch(Service service, uint32_t tag, size_t size, std::string_view text) noexcept {
  // Both clocks count every request, whichever of them fires.
  bool any_strikes = watch().any.strikes();
  bool failed = schedule_of(service).strikes() || any_strikes;
  if (failed) ++watch().injected;
  monitor.struck = failed;
  try {
    if (monitor.recording) record(service, tag, size, text, failed);
  } catch (const std::bad_alloc &) {
    failed = true;
  }
  update_watching();
  return failed;
}

void note_out_of_memory() noexcept {
  if (!std::exchange(monitor.struck, false)) ++monitor.out_of_memory;
  if (monitor.recording && !watch().requests.empty()) watch().requests.back().failed = true;
}

void note_text_removal(std::string_view text, uint32_t tag) noexcept {
  if (!monitor.recording) return;
  try {
    watch().removals.push_back({std::string(text), tag});
  } catch (const std::bad_alloc &) {
    monitor.recording = false;  // an incomplete recording would mislead; an empty one does not
  }
}

uint64_t requests_out_of_memory() {
  return monitor.out_of_memory;
}

void record_requests(bool on) {
  if (on) {
    watch().requests.clear();
    watch().removals.clear();
  }
  monitor.recording = on;
  update_watching();
}

const std::vector<Request> &recorded_requests() {
  return watch().requests;
}

const std::vector<TextRemoval> &recorded_text_removals() {
  return watch().removals;
}

void fail_request(uint64_t nth, Fault mode) {
  watch().any = {nth, mode};
  update_watching();
}

void fail_request(Service service, uint64_t nth, Fault mode) {
  schedule_of(service) = {nth, mode};
  update_watching();
}

void clear_faults() {
  watch().any = {};
  watch().each = {};
  monitor.lose_next_pointer = false;
  monitor.fail_next_tree_delete = false;
  update_watching();
}

uint64_t fallible_requests() {
  uint64_t sum = granted_records();
  for (uint64_t requests : monitor.requests)
    sum += requests;
  return sum;
}

uint64_t fallible_requests(Service service) {
  uint64_t counted = monitor.requests[static_cast<size_t>(service)];
  return service == Service::record ? counted + granted_records() : counted;
}

uint64_t injected_faults() {
  return watch().injected;
}

void lose_next_pointer() {
  monitor.lose_next_pointer = true;
}

void fail_next_tree_delete() {
  monitor.fail_next_tree_delete = true;
}

}  // namespace runtime
