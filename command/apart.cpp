#include "command/apart.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <stdexcept>
#include <string_view>

#include "simulator/text/interruption.h"

using namespace simulator;

namespace command {

namespace {

bool write_all(int to, std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = write(to, text.data(), text.size());
    if (written < 0 && errno != EINTR) return false;
    if (written > 0) text.remove_prefix(static_cast<size_t>(written));
  }
  return true;
}

// The process and the pipe from it.
class Helper {
 public:
  explicit Helper(const std::function<std::string()> &work) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe can be made");
    const pid_t parent = getpid();
    process_ = fork();
    if (process_ == 0) {
      end_with_parent(parent);
      close(ends[0]);
      std::_Exit(write_all(ends[1], work()) ? 0 : 1);
    }
    close(ends[1]);
    results_ = ends[0];
    if (process_ > 0) return;
    close(results_);
    throw std::runtime_error("no process can be started");
  }
  ~Helper() {
    close(results_);
    if (!has_ended_) kill(process_, SIGKILL);
    wait();
  }
  Helper(const Helper &) = delete;
  Helper &operator=(const Helper &) = delete;

  // Waits for more; false at the end.
  bool read_some(std::string &text, const sigset_t &while_waiting) const {
    pollfd watched = {results_, POLLIN, 0};
    if (ppoll(&watched, 1, nullptr, &while_waiting) < 0) return true;
    char buffer[65536];
    const ssize_t got = read(results_, buffer, sizeof buffer);
    if (got > 0) text.append(buffer, static_cast<size_t>(got));
    return got > 0 || (got < 0 && errno == EINTR);
  }

  // Whether it did all its work.
  bool has_ended_well() { return WIFEXITED(wait()) && WEXITSTATUS(status_) == 0; }

 private:
  int wait() {
    while (!has_ended_ && waitpid(process_, &status_, 0) < 0 && errno == EINTR) {
    }
    has_ended_ = true;
    return status_;
  }

  pid_t process_ = -1;
  int results_ = -1;
  int status_ = 0;
  bool has_ended_ = false;
};

// The signal comes only where the process waits, so that none is missed.
class HeldSignal {
 public:
  explicit HeldSignal(int signal) {
    sigset_t held;
    sigemptyset(&held);
    sigaddset(&held, signal);
    sigprocmask(SIG_BLOCK, &held, &before_);
  }
  ~HeldSignal() { sigprocmask(SIG_SETMASK, &before_, nullptr); }
  HeldSignal(const HeldSignal &) = delete;
  HeldSignal &operator=(const HeldSignal &) = delete;

  const sigset_t &before() const { return before_; }

 private:
  sigset_t before_{};
};

}  // namespace

std::optional<std::string> run_apart(const std::function<std::string()> &work, int signal) {
  const HeldSignal held(signal);
  Helper helper(work);
  std::string text;
  do {
    interruption::check();
  } while (helper.read_some(text, held.before()));
  if (!helper.has_ended_well()) return std::nullopt;
  return text;
}

void end_with_parent(pid_t parent) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  // It may have ended before the call.
  if (getppid() != parent) std::_Exit(1);
}

}  // namespace command
