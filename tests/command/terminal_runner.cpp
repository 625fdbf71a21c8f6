#include "terminal_runner.h"

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>

namespace test {

namespace {

[[noreturn]] void become_zar(const std::vector<std::string> &arguments, const Terminal::Setup &setup) {
  std::vector<std::string> words = {"zar"};
  words.insert(words.end(), arguments.begin(), arguments.end());
  std::vector<char *> argv;
  for (std::string &word : words)
    argv.push_back(word.data());
  argv.push_back(nullptr);

  unsetenv("NO_COLOR");
  // Without a folder for it, sessions keep no history.
  unsetenv("XDG_STATE_HOME");
  unsetenv("HOME");
  unsetenv("COLUMNS");
  setenv("TERM", setup.kind.c_str(), 1);
  for (const std::string &variable : setup.environment) {
    const size_t equals = variable.find('=');
    setenv(variable.substr(0, equals).c_str(), variable.substr(equals + 1).c_str(), 1);
  }
  if (setup.output_elsewhere) dup2(open("/dev/null", O_WRONLY), STDOUT_FILENO);
  if (chdir(ZAR_SOURCE_DIR) == 0) execv(ZAR_BINARY, argv.data());
  std::_Exit(127);
}

// Empty if pseudo-terminals are available.
std::string why_there_is_no_terminal() {
  int master = -1;
  int slave = -1;
  if (openpty(&master, &slave, nullptr, nullptr, nullptr) != 0) return std::strerror(errno);
  close(slave);
  close(master);
  return {};
}

}  // namespace

void AtATerminal::SetUp() {
  const std::string reason = why_there_is_no_terminal();
  if (reason.empty()) return;
  if (std::getenv("ZAR_TESTS_WITHOUT_TERMINALS")) GTEST_SKIP() << "there are no pseudo-terminals: " << reason;
  FAIL() << "this test needs a pseudo-terminal, and the system gives none: " << reason
         << "\nMount them, as root: mount -t devpts devpts /dev/pts"
         << "\nOr set ZAR_TESTS_WITHOUT_TERMINALS=on to skip the tests that need one.";
}

Terminal::Terminal(const std::vector<std::string> &arguments, const Setup &setup) {
  winsize size{};
  size.ws_row = 50;
  size.ws_col = setup.columns;
  child_ = forkpty(&master_, nullptr, nullptr, &size);
  if (child_ == 0) become_zar(arguments, setup);
}

Terminal::~Terminal() {
  if (master_ >= 0) close(master_);
  if (child_ > 0) waitpid(child_, nullptr, 0);
}

void Terminal::type(const std::string &keys) const {
  EXPECT_EQ(write(master_, keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
}

// False at the end, and if nothing comes for longer than even a slow machine with sanitizers needs.
bool Terminal::read_more() {
  pollfd wait{master_, POLLIN, 0};
  if (poll(&wait, 1, 60'000) != 1) return false;
  char buffer[4096];
  const ssize_t got = read(master_, buffer, sizeof buffer);
  if (got <= 0) return false;
  for (const char character : std::string_view(buffer, static_cast<size_t>(got))) {
    if (character == '\n' && shown_.ends_with('\r')) shown_.pop_back();
    shown_ += character;
  }
  return true;
}

std::string Terminal::read_until(const std::string &text) {
  size_t found = shown_.find(text, seen_);
  while (found == std::string::npos) {
    if (!read_more()) {
      ADD_FAILURE() << "'" << text << "' never came: " << shown_.substr(seen_);
      return {};
    }
    found = shown_.find(text, seen_);
  }
  const size_t from = seen_;
  seen_ = found + text.size();
  return shown_.substr(from, seen_ - from);
}

std::string Terminal::read_to_end() {
  while (read_more()) {
  }
  seen_ = shown_.size();
  return shown_;
}

bool Terminal::is_stopped() const {
  int status = 0;
  return waitpid(child_, &status, WUNTRACED) == child_ && WIFSTOPPED(status);
}

void Terminal::resume() const {
  kill(child_, SIGCONT);
}

int Terminal::code() {
  read_to_end();
  int status = 0;
  const pid_t ended = waitpid(child_, &status, 0);
  child_ = -1;
  return ended > 0 && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace test
