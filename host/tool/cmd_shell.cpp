// zar shell: a session on a live repository.
#include <unistd.h>

#include <iostream>

#include "tool/command.h"
#include "tool/exit_codes.h"
#include "tool/policy/text.h"
#include "tool/report.h"
#include "tool/shell/commands.h"
#include "tool/shell/completion.h"
#include "tool/shell/editor.h"

namespace tool {

namespace {

using shell::Result;
using shell::Session;

// A person can mend what went wrong.
void talk(Session &session) {
  shell::Editor editor([&](const std::string &before) { return shell::complete(session, before); });
  size_t number = 0;
  while (const std::optional<std::string> line = editor.read()) {
    if (run(session, *line, ++number) == Result::quit) return;
    std::cout.flush();
  }
}

// A program that writes commands does not read what comes of them: the first that fails is the last.
int follow(Session &session) {
  size_t number = 0;
  for (std::string line; std::getline(std::cin, line);) {
    complain_from(text_of("<stdin>:", ++number));
    const Result result = run(session, line, number);
    if (result == Result::quit) break;
    if (result == Result::failed) {
      complain("the session ends at this command");
      return kBadFile;
    }
  }
  return kSuccess;
}

class ShellCommand final : public Command {
 public:
  void declare(CLI::App &program) override {
    app_ = program.add_subcommand("shell", "Work on a live repository");
    app_->add_option("FILE", path_, "A policy file to begin with");
    app_->footer(
        "Reads commands: load, create, delete, activate, deactivate, raise, explain, set, unset,\n"
        "show, clear, trace, quit; help tells about each. At a terminal lines can be edited,\n"
        "called back, and completed with TAB, and a command that fails ends nothing. From a pipe\n"
        "the first command that fails ends the session; its line is told.\n"
        "Exit code 0: good; 65: the file is bad, or a command from a pipe failed.\n\n"
        "Examples:\n"
        "  zar shell examples/broadband.yaml\n"
        "  echo 'raise session-start@line-0101' | zar shell examples/broadband.yaml");
  }

  int run() override {
    if (path_ == "-") {
      complain("standard input is for commands");
      return kUsage;
    }
    Session session;
    int code = session.begin() ? kSuccess : kInternal;
    if (code == kSuccess && !path_.empty() && !session.load(path_)) code = kBadFile;
    if (code == kSuccess) code = converse(session);
    complain_from("zar");
    const int end = session.end();
    return end != kSuccess ? end : code;
  }

 private:
  static int converse(Session &session) {
    if (isatty(STDIN_FILENO) != 1) return follow(session);
    talk(session);
    return kSuccess;
  }

  std::string path_;
};

}  // namespace

std::unique_ptr<Command> make_shell_command() {
  return std::make_unique<ShellCommand>();
}

}  // namespace tool
