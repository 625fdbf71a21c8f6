// Runs the command in a pseudo-terminal, as a person would.
#pragma once

#include <gtest/gtest.h>
#include <sys/types.h>

#include <string>
#include <vector>

namespace test {

// A test at a pseudo-terminal. It fails at once on a machine that gives none; with ZAR_TESTS_WITHOUT_TERMINALS in the
// environment, where somebody has said that they know, it is skipped.
class AtATerminal : public testing::Test {
 protected:
  void SetUp() override;
};

class Terminal {
 public:
  struct Setup {
    std::vector<std::string> environment{};  // NAME=VALUE
    std::string kind = "xterm";     // what TERM is; a dumb one keeps the codes of line editing out of the output
    bool output_elsewhere = false;  // standard output goes to a file
  };

  // Starts zar in the root of the project.
  explicit Terminal(const std::vector<std::string> &arguments) : Terminal(arguments, Setup{}) {}
  Terminal(const std::vector<std::string> &arguments, const Setup &setup);
  ~Terminal();
  Terminal(const Terminal &) = delete;
  Terminal &operator=(const Terminal &) = delete;

  // Types keys.
  void type(const std::string &keys) const;
  // Reads until the command has shown this text, after all that was read before; gives what it read. A text that never
  // comes fails the test.
  std::string read_until(const std::string &text);
  // Reads to the end; gives all that was shown since the start, line ends as in files.
  std::string read_to_end();
  // Waits until it stops or ends.
  bool is_stopped() const;
  // Continues what has stopped.
  void resume() const;
  // Waits for the end and gives the exit code, -1 when a signal ended it.
  int code();

 private:
  bool read_more();

  pid_t child_ = -1;
  int master_ = -1;
  std::string shown_;
  size_t seen_ = 0;
};

}  // namespace test
