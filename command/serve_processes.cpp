#include "command/serve_processes.h"

#include <sys/prctl.h>
#include <sys/wait.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <thread>

namespace command {

namespace {

constexpr std::chrono::milliseconds kPoll{2};

}  // namespace

ServeProcesses::ServeProcesses() {
  prctl(PR_SET_CHILD_SUBREAPER, 1);
}

ServeProcesses::~ServeProcesses() {
  for (auto &[process, by] : running_) {
    if (by == Clock::time_point::max()) by = Clock::now();
  }
  while (!running_.empty()) {
    tidy();
    std::this_thread::sleep_for(kPoll);
  }
  while (waitpid(-1, nullptr, 0) > 0 || errno == EINTR) {
  }
}

// A process that was not waited for keeps its number.
void ServeProcesses::send(pid_t process, int signal) const {
  if (running_.contains(process)) kill(process, signal);
}

void ServeProcesses::expect_end(pid_t process, Clock::time_point by) {
  if (running_.contains(process)) running_[process] = by;
}

void ServeProcesses::reap() {
  for (pid_t ended = waitpid(-1, nullptr, WNOHANG); ended > 0; ended = waitpid(-1, nullptr, WNOHANG))
    running_.erase(ended);
}

ServeProcesses::Clock::time_point ServeProcesses::tidy() {
  reap();
  Clock::time_point next = Clock::time_point::max();
  for (auto &[process, by] : running_) {
    if (by <= Clock::now()) {
      kill(process, SIGKILL);
      by = Clock::time_point::max();
    }
    next = std::min(next, by);
  }
  return next;
}

}  // namespace command
