// zar shell: a session on a live repository.
#include <unistd.h>

#include <iostream>
#include <sstream>

#include "tool/command.h"
#include "tool/exit_codes.h"
#include "tool/json_output.h"
#include "tool/policy/text.h"
#include "tool/report.h"
#include "tool/shell/commands.h"
#include "tool/shell/completion.h"
#include "tool/shell/editor.h"
#include "tool/trace_levels.h"

namespace tool {

namespace {

using shell::Result;
using shell::Session;

// A person can mend what went wrong.
void talk(Session &session) {
  std::cout << "help tells about the commands; TAB completes; quit ends the session\n" << std::flush;
  shell::Editor editor([&](const std::string &before) { return shell::complete(session, before); });
  size_t number = 0;
  while (const std::optional<std::string> line = editor.read()) {
    if (run(session, *line, ++number) == Result::quit) return;
    std::cout.flush();
  }
}

// What a command prints, and what it explains, become an object.
Result run_to_json(Session &session, const std::string &line, size_t number, JsonStream &commands) {
  Json explanation;
  session.explain_to(&explanation);
  const std::ostringstream output;
  std::streambuf *out = std::cout.rdbuf(output.rdbuf());
  const Result result = run(session, line, number);
  std::cout.rdbuf(out);
  session.explain_to(nullptr);

  Json entry;
  entry["line"] = number;
  entry["command"] = line;
  entry["done"] = result != Result::failed;
  entry["output"] = output.str();
  entry["explanation"] = std::move(explanation);
  commands.add(entry);
  return result;
}

// A program that writes commands does not read what comes of them: the first that fails is the last.
int follow(Session &session, JsonStream *commands) {
  size_t number = 0;
  for (std::string line; std::getline(std::cin, line);) {
    complain_from(text_of("<stdin>:", ++number));
    const Result result = commands ? run_to_json(session, line, number, *commands) : shell::run(session, line, number);
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
  const char *name() const override { return "shell"; }
  const char *summary() const override { return "Work on a live repository"; }

  void declare(Options &options) override {
    options.argument("FILE", path_, "A policy file to begin with");
    options.flag("--json", json_, "Write one JSON object: what comes of each command");
    options.epilogue(
        "Reads commands: load, create, delete, activate, deactivate, raise, explain, set, unset,\n"
        "show, clear, trace, quit; help tells about each. At a terminal lines can be edited,\n"
        "called back, and completed with TAB, and a command that fails ends nothing. From a pipe\n"
        "the first command that fails ends the session; its line is told. With --json lines\n"
        "are read as from a pipe.\n"
        "Exit code 0: good; 65: the file is bad, or a command from a pipe failed.\n\n"
        "Examples:\n"
        "  zar shell examples/broadband.yaml\n"
        "  echo 'raise session-start@line-0101' | zar shell examples/broadband.yaml\n"
        "  zar shell --json < commands.txt");
  }

  int run() override {
    if (path_ == "-") {
      complain("standard input is for commands");
      return kUsage;
    }
    Session session;
    int code = session.begin() ? kSuccess : kInternal;
    if (code == kSuccess && path_ && !session.load(*path_)) code = kBadFile;
    if (code == kSuccess) code = converse(session);
    complain_from("zar");
    // What a session takes down at its end is not what somebody wanted to see, and would hide why it ended.
    show_trace({});
    const int end = session.end();
    return end != kSuccess ? end : code;
  }

 private:
  int converse(Session &session) const {
    if (json_) return follow_in_json(session);
    if (isatty(STDIN_FILENO) != 1) return follow(session, nullptr);
    talk(session);
    return kSuccess;
  }

  int follow_in_json(Session &session) const {
    Json head = begin_json("shell");
    head["file"] = path_ ? Json(*path_) : Json(nullptr);
    JsonStream commands(std::cout, head, "commands");
    const int code = follow(session, &commands);
    Json tail;
    tail["sources"] = session.file().more_paths;
    commands.end(tail);
    return code;
  }

  std::optional<std::string> path_;
  bool json_ = false;
};

}  // namespace

std::unique_ptr<Command> make_shell_command() {
  return std::make_unique<ShellCommand>();
}

}  // namespace tool
