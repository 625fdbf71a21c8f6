#include "command/study_process.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <stdexcept>
#include <thread>

#include "command/effort.h"
#include "command/json_output.h"

using namespace simulator;

namespace command {

namespace {

// From the check to the study. A person who is still typing presses the next key within this time, and then the study
// would be of no use.
constexpr std::chrono::milliseconds kQuiet{250};

bool write_line(int to, const Json &json) {
  const std::string line = concat(compact_text(json), "\n");
  for (size_t at = 0; at < line.size();) {
    const ssize_t written = write(to, line.data() + at, line.size() - at);
    if (written < 0 && errno != EINTR) return false;
    if (written > 0) at += static_cast<size_t>(written);
  }
  return true;
}

// In the new process: a line for the check, and one for the study if the text is valid.
bool work_on(const language_server::Order &order, uint32_t effort, int results) {
  const editing::Analysis analysis = editing::analyse(order.path, order.text, order.edited_at);
  if (!write_line(results, editing::json_of(editing::check(analysis)))) return false;
  if (!analysis.file) return true;
  std::this_thread::sleep_for(kQuiet);
  return write_line(results, editing::json_of(editing::study(order.text, *analysis.file, for_seconds(effort))));
}

}  // namespace

StudyProcess::StudyProcess(language_server::Order order, uint32_t effort) : order_(std::move(order)) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe can be made");
  process_ = fork();
  if (process_ < 0) throw std::runtime_error("no process can be started");
  if (process_ == 0) {
    std::signal(SIGINT, SIG_IGN);
    close(ends[0]);
    // The messages of the editor are not for this process.
    close(STDIN_FILENO);
    close(STDOUT_FILENO);
    std::_Exit(work_on(order_, effort, ends[1]) ? 0 : 1);
  }
  close(ends[1]);
  results_ = ends[0];
}

StudyProcess::~StudyProcess() {
  close(results_);
  kill(process_, SIGKILL);
  while (waitpid(process_, nullptr, 0) < 0 && errno == EINTR) {
  }
}

bool StudyProcess::receive(language_server::Server &server) {
  char buffer[65536];
  const ssize_t got = read(results_, buffer, sizeof buffer);
  if (got < 0 && errno == EINTR) return true;
  if (got <= 0) {
    if (!is_complete_) server.set_failed(order_, "the study of the text ended early");
    return false;
  }
  received_.append(buffer, static_cast<size_t>(got));
  for (size_t end = received_.find('\n'); end != std::string::npos; end = received_.find('\n')) {
    deliver(std::string_view(received_).substr(0, end), server);
    received_.erase(0, end + 1);
  }
  return true;
}

void StudyProcess::deliver(std::string_view line, language_server::Server &server) {
  const Json json = Json::parse(line);
  if (!json.contains("valid")) {
    is_complete_ = true;
    return server.set_studied(order_, editing::studied_of(json));
  }
  editing::Checked checked = editing::checked_of(json);
  is_complete_ = !checked.is_valid;
  server.set_checked(order_, std::move(checked));
}

}  // namespace command
