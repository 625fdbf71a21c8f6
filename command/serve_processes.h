// The processes that zar serve has started and that have not ended yet.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <map>

namespace command {

class ServeProcesses {
 public:
  using Clock = std::chrono::steady_clock;

  // Also takes over the processes that these leave behind when they end.
  ServeProcesses();
  // Ends all of them, those that are expected to end when their time is over, and waits until nothing is left.
  ~ServeProcesses();
  ServeProcesses(const ServeProcesses &) = delete;
  ServeProcesses &operator=(const ServeProcesses &) = delete;

  void started(pid_t process) { running_[process] = Clock::time_point::max(); }
  // Sends a signal unless the process has ended.
  void send(pid_t process, int signal) const;
  // The process is asked to end by other means; if it has not by then, it is killed.
  void expect_end(pid_t process, Clock::time_point by);
  // Forgets those that have ended, and kills those that should have. Returns when to do this again at the latest.
  Clock::time_point tidy();

 private:
  void reap();

  std::map<pid_t, Clock::time_point> running_;  // with the time by which each has to end
};

}  // namespace command
