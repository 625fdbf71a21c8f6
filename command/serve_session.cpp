#include "command/serve_session.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <stdexcept>

#include "command/apart.h"
#include "command/effort.h"
#include "command/exit_codes.h"
#include "command/report.h"
#include "simulator/text/interruption.h"
#include "simulator/text/text.h"

using namespace simulator;

namespace command {

namespace {

using service::Answered;
using service::Service;

constexpr std::string_view kInterruptedWord = "interrupted";
// Of the figures before a request, and of the code before a response.
constexpr size_t kMostHead = 4096;
// The time in which an idle session process ends by itself, and reports what it leaves behind.
constexpr std::chrono::seconds kToEnd{1};

// ---- In the new process -------------------------------------------------------------------------------------------------------

std::string line_of(const Answered &answered) {
  return concat(answered.code, " ", answered.text);
}

Answered answered_of(std::string_view line) {
  Answered answered;
  const size_t blank = std::min(line.find(' '), line.size());
  const char *const begin = line.data();
  std::from_chars(begin, begin + blank, answered.code);
  answered.text = line.substr(std::min(blank + 1, line.size()));
  return answered;
}

void set_signals() {
  struct sigaction action = {};
  action.sa_handler = [](int) { interruption::request(); };
  sigemptyset(&action.sa_mask);
  // Without SA_RESTART: reading a file that never comes has to end too.
  sigaction(SessionProcess::kInterrupt, &action, nullptr);
  // Ctrl-C goes to all processes of a terminal; the front decides when the others end.
  std::signal(SIGINT, SIG_IGN);
  std::signal(SIGTERM, SIG_DFL);
  std::signal(SIGCHLD, SIG_DFL);
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
}

// The standard streams are for the client of the front.
void let_go_of_standard_streams() {
  const int nothing = open("/dev/null", O_RDWR | O_CLOEXEC);
  if (nothing < 0) return;
  dup2(nothing, STDIN_FILENO);
  dup2(nothing, STDOUT_FILENO);
  close(nothing);
}

// Works on what comes through the channel until it is closed.
class Work {
 public:
  Work(int channel, const SessionProcess::Setup &setup, const Source *file)
      : channel_(channel),
        received_(setup.size_limit + kMostHead),
        file_(file),
        service_({setup.version, for_seconds, apart}) {}

  int run() {
    while (const std::optional<std::string> request = read()) {
      interruption::withdraw();
      if (!write(concat(respond(*request), "\n"))) break;
    }
    return report_internal(service_.end());
  }

 private:
  static std::optional<Answered> apart(const std::function<Answered()> &work) {
    const std::optional<std::string> line = run_apart([&] { return line_of(work()); }, SessionProcess::kInterrupt);
    if (!line) return std::nullopt;
    return answered_of(*line);
  }

  std::optional<std::string> read() {
    for (;;) {
      if (std::optional<messages::MessageLine> line = received_.next()) return std::move(line->text);
      char buffer[65536];
      const ssize_t got = ::read(channel_, buffer, sizeof buffer);
      if (got < 0 && errno == EINTR) continue;
      if (got <= 0) return std::nullopt;
      received_.append({buffer, static_cast<size_t>(got)});
    }
  }

  std::string respond(std::string_view request) {
    const size_t tab = request.find('\t');
    const Json figures = Json::parse(request.substr(0, tab), nullptr, false);
    try {
      if (file_) service_.load(*file_);
      file_ = nullptr;
      return line_of(service_.answer(request.substr(tab + 1), figures));
    } catch (const Interrupted &) {
      return std::string(kInterruptedWord);
    }
  }

  bool write(std::string_view text) const {
    while (!text.empty()) {
      const ssize_t written = ::write(channel_, text.data(), text.size());
      if (written < 0 && errno != EINTR) return false;
      if (written > 0) text.remove_prefix(static_cast<size_t>(written));
    }
    return true;
  }

  int channel_;
  messages::LineFramer received_;
  const Source *file_;  // to be loaded; NULL if there is none
  Service service_;
};

[[noreturn]] void live(int channel, pid_t parent, const SessionProcess::Setup &setup, const Source *file) {
  end_with_parent(parent);
  set_signals();
  let_go_of_standard_streams();
  setup.close_others();
  std::_Exit(work_on_one([&] { return Work(channel, setup, file).run(); }));
}

}  // namespace

// ---- In the front -------------------------------------------------------------------------------------------------------------

SessionProcess::SessionProcess(const Setup &setup, const Source *file)
    : processes_(setup.processes), received_(service::kMostAnswer + kMostHead) {
  int ends[2];
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0)
    throw std::runtime_error("no channel to a process can be made");
  const pid_t front = getpid();
  process_ = fork();
  if (process_ == 0) {
    close(ends[0]);
    live(ends[1], front, setup, file);
  }
  close(ends[1]);
  channel_ = ends[0];
  if (process_ < 0) {
    close(channel_);
    throw std::runtime_error("no process can be started");
  }
  fcntl(channel_, F_SETFL, O_NONBLOCK);
  processes_->started(process_);
}

SessionProcess::~SessionProcess() {
  close(channel_);
  processes_->expect_end(process_, ServeProcesses::Clock::now() + kToEnd);
}

void SessionProcess::send(std::string_view figures, std::string_view text) {
  to_send_ = concat(figures, "\t", text, "\n");
  send_some();
}

void SessionProcess::send_some() {
  const ssize_t written = ::send(channel_, to_send_.data(), to_send_.size(), MSG_NOSIGNAL);
  // If the process has gone, receive_some() finds out.
  if (written > 0) to_send_.erase(0, static_cast<size_t>(written));
  if (written < 0 && errno != EAGAIN && errno != EINTR) to_send_.clear();
  if (to_send_.empty()) to_send_.shrink_to_fit();
}

bool SessionProcess::receive_some() {
  char buffer[65536];
  const ssize_t got = recv(channel_, buffer, sizeof buffer, 0);
  if (got > 0) received_.append({buffer, static_cast<size_t>(got)});
  return got > 0 || (got < 0 && (errno == EAGAIN || errno == EINTR));
}

std::optional<SessionProcess::Answer> SessionProcess::take_answer() {
  const std::optional<messages::MessageLine> line = received_.next();
  if (!line) return std::nullopt;
  if (line->text == kInterruptedWord) return Answer{.is_interrupted = true};
  return Answer{.answered = answered_of(line->text)};
}

void SessionProcess::interrupt() const {
  processes_->send(process_, kInterrupt);
}

void SessionProcess::kill() const {
  processes_->send(process_, SIGKILL);
}

}  // namespace command
