#include "support/faults.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

namespace rig {
namespace {

constexpr int kNoFault = 0;
constexpr int kFailed = 1;
constexpr int kFaultHit = 10;
// No scenario comes near this; a clock that never runs out is a fault in itself.
constexpr uint64_t kMostFaultPoints = 20000;
// A scenario that fails in any case would fail at every point.
constexpr int kMostFailures = 3;

const char *to_text(runtime::Fault mode) {
  return mode == runtime::Fault::once ? "once" : "from then on";
}

int failed_parts() {
  const ::testing::TestResult *result = ::testing::UnitTest::GetInstance()->current_test_info()->result();
  int failed = 0;
  for (int i = 0; i < result->total_part_count(); ++i)
    failed += result->GetTestPartResult(i).failed() ? 1 : 0;
  return failed;
}

[[noreturn]] void run_as_child(const std::function<void(FaultClock &)> &scenario, uint64_t nth, runtime::Fault mode) {
  const int failed_before = failed_parts();
  FaultClock clock(nth, mode);
  scenario(clock);
  if (!runtime::complaints().empty()) ADD_FAILURE() << "misuse of the runtime: " << runtime::complaints().front();
  const bool failed = failed_parts() > failed_before;
  if (failed) {
    std::printf("... with request %lu failing %s: %s, tag 0x%x, %zu bytes, \"%s\"\n", static_cast<unsigned long>(nth),
                to_text(mode), clock.hit() ? to_string(clock.failed().service) : "none failed", clock.failed().tag,
                clock.failed().size, clock.failed().text.c_str());
  }
  std::fflush(nullptr);
  // Not _exit: the leak check and the coverage counters are written on the ordinary way out.
  std::exit(failed ? kFailed : clock.hit() ? kFaultHit : kNoFault);
}

int run_in_child(const std::function<void(FaultClock &)> &scenario, uint64_t nth, runtime::Fault mode) {
  std::fflush(nullptr);
  const pid_t child = fork();
  if (child == 0) run_as_child(scenario, nth, mode);
  int status = 0;
  if (child < 0 || waitpid(child, &status, 0) != child) {
    ADD_FAILURE() << "no child process";
    return kNoFault;
  }
  if (WIFEXITED(status)) return WEXITSTATUS(status);
  ADD_FAILURE() << "signal " << WTERMSIG(status) << " with request " << nth << " failing " << to_text(mode);
  return kFailed;
}

uint32_t run_all(const std::function<void(FaultClock &)> &scenario, runtime::Fault mode) {
  uint32_t points = 0;
  int failures = 0;
  for (uint64_t nth = 1; nth <= kMostFaultPoints; ++nth) {
    const int outcome = run_in_child(scenario, nth, mode);
    if (outcome == kNoFault) return points;
    ++points;
    if (outcome != kFaultHit && ++failures > kMostFailures) {
      ADD_FAILURE() << "the scenario failed too often; the points from " << nth << " on were left out";
      return points;
    }
    EXPECT_EQ(outcome, kFaultHit) << "the scenario failed with request " << nth << " failing " << to_text(mode);
  }
  ADD_FAILURE() << "the scenario still meets faults after " << kMostFaultPoints;
  return points;
}

}  // namespace

FaultClock::FaultClock(uint64_t nth, runtime::Fault mode) : nth_(nth), mode_(mode) {}

void FaultClock::start() {
  runtime::record_requests(true);
  requests_before_ = runtime::fallible_requests();
  if (!hit_) runtime::fail_request(nth_ - passed_, mode_);
  if (hit_ && mode_ == runtime::Fault::from_then_on) runtime::fail_request(1, mode_);
}

void FaultClock::stop() {
  runtime::clear_faults();
  runtime::record_requests(false);
  passed_ += runtime::fallible_requests() - requests_before_;
  for (const runtime::Request &request : runtime::recorded_requests()) {
    if (hit_ || !request.failed) continue;
    hit_ = true;
    failed_ = request;
  }
}

uint32_t for_each_fault(const std::function<void(FaultClock &)> &scenario) {
  const uint32_t once = run_all(scenario, runtime::Fault::once);
  const uint32_t onwards = run_all(scenario, runtime::Fault::from_then_on);
  EXPECT_GT(once, 0U) << "the scenario meets no fallible request: its faults prove nothing";
  EXPECT_GT(onwards, 0U);
  std::printf("[  FAULTS  ] %u fault points once, %u from then on\n", once, onwards);
  ::testing::Test::RecordProperty("fault_points", static_cast<int>(once));
  return once;
}

}  // namespace rig
