// Runs the command in a pseudo-terminal, as a person would.
#pragma once

#include <gtest/gtest.h>
#include <sys/types.h>

#include <cstdint>
#include <string>
#include <vector>

namespace test {

// A test at a pseudo-terminal. It fails at once on a machine without them, unless ZAR_TESTS_WITHOUT_TERMINALS is set in
// the environment to accept that; then it is skipped.
class AtATerminal : public testing::Test {
 protected:
  void SetUp() override;
};

class Terminal {
 public:
  struct Setup {
    std::vector<std::string> environment{};  // NAME=VALUE
    std::string kind = "xterm";              // the value of TERM; with a dumb one the output has no line-editing codes
    bool output_elsewhere = false;           // standard output does not go to the terminal
    uint16_t columns = 200;                  // wide enough that no line of most tests wraps
  };

  // Starts zar in the root of the project.
  explicit Terminal(const std::vector<std::string> &arguments) : Terminal(arguments, Setup{}) {}
  Terminal(const std::vector<std::string> &arguments, const Setup &setup);
  ~Terminal();
  Terminal(const Terminal &) = delete;
  Terminal &operator=(const Terminal &) = delete;

  // Types keys.
  void type(const std::string &keys) const;
  // Reads until the command has shown this text, after everything that was read before; returns what it read. The test
  // fails if the text never comes.
  std::string read_until(const std::string &text);
  // Reads to the end; returns everything shown since the start, with line ends as in files.
  std::string read_to_end();
  // Waits until the command stops or ends.
  bool is_stopped() const;
  // Continues the stopped command.
  void resume() const;
  // Waits for the end and returns the exit code, -1 if a signal ended the command.
  int code();

 private:
  bool read_more();

  pid_t child_ = -1;
  int master_ = -1;
  std::string shown_;
  size_t seen_ = 0;
};

}  // namespace test
