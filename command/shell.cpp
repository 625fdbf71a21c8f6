// zar shell: a session on a live repository.
#include <unistd.h>

#include <iostream>

#include "command/command.h"
#include "command/editor.h"
#include "command/exit_codes.h"
#include "command/interrupts.h"
#include "command/json_output.h"
#include "command/report.h"
#include "command/saved_lines.h"
#include "command/terminal.h"
#include "command/trace_levels.h"
#include "runtime/control.h"
#include "simulator/explanation/explanation_json.h"
#include "simulator/explanation/outline.h"
#include "simulator/policy/diagnostics_json.h"
#include "simulator/session/commands.h"
#include "simulator/session/completion.h"

using namespace simulator;

namespace command {

namespace {

using session::Session;
using session::ShownEvent;
using session::Status;

std::string text_of_event(const ShownEvent &event, const PolicyFile &file) {
  if (event.rehearsed)
    return explanation_text(event.explanation, file, event.step, event.level, terminal::colours(terminal::Stream::out),
                            terminal::width());
  return concat(event.step.event.value, " at ", event.step.target.value, "\n",
                outline(event.explanation, file, terminal::colours(terminal::Stream::out)));
}

void report_rejected(const session::Trouble &trouble) {
  if (const std::optional<session::Trouble::Rejected> &rejected = trouble.rejected)
    report(rejected->diagnostics, rejected->source);
}

// The same as a list of the errors of a file, for JSON.
Json json_of_rejected(const session::Trouble &trouble) {
  Json errors = Json::array();
  if (const std::optional<session::Trouble::Rejected> &rejected = trouble.rejected)
    errors.push_back(file_errors_json(rejected->source.name(), rejected->diagnostics));
  return errors;
}

// What every line does, whether from a person or a program. If it failed for lack of memory, its complaints only follow
// from that.
session::Reply run_line(Session &session, const std::string &line, size_t number) {
  const uint64_t before = runtime::requests_out_of_memory();
  session::Reply reply = run(session, line, number);
  if (reply.trace_level) show_trace(*reply.trace_level);
  if (reply.status == Status::failed && runtime::requests_out_of_memory() != before) {
    report_out_of_memory();
    reply.trouble = {};
  }
  return reply;
}

session::Reply run_interruptibly(Session &session, const std::string &line, size_t number) {
  const Interruptible interruptible;
  return run_line(session, line, number);
}

// Messages of the library go to another stream; the flush makes them appear next to their command.
Status print(const Session &session, const session::Reply &reply) {
  std::cout << reply.output;
  if (reply.event) std::cout << text_of_event(*reply.event, session.file());
  std::cout.flush();
  report_rejected(reply.trouble);
  complain(reply.trouble.complaints);
  return reply.status;
}

// After an error a person can correct it and go on.
void talk(Session &session) {
  std::cout << "help explains the commands; TAB completes; quit ends the session\n" << std::flush;
  Editor editor([&](const std::string &before) { return session::complete(session, before); });
  SavedLines saved;
  for (const std::string &line : saved.read())
    editor.remember(line);
  size_t number = 0;
  while (const std::optional<std::string> line = editor.read()) {
    saved.add(*line);
    const session::Reply reply = run_interruptibly(session, *line, ++number);
    if (print(session, reply) == Status::quit) return;
  }
}

// Writes the output and the explanation of a command as an object.
Status add_line(Session &session, const std::string &line, size_t number, JsonStream &commands) {
  const session::Reply reply = run_line(session, line, number);
  complain(reply.trouble.complaints);
  Json entry;
  entry["line"] = number;
  entry["command"] = line;
  entry["done"] = reply.status != Status::failed;
  entry["output"] = reply.output;
  entry["file_errors"] = json_of_rejected(reply.trouble);
  entry["explanation"] = nullptr;
  if (const std::optional<ShownEvent> &event = reply.event)
    entry["explanation"] = explanation_json(event->explanation, session.file(), event->step, event->level);
  commands.add(entry);
  return reply.status;
}

// A program that writes commands does not read their results, so the first failed command ends the session.
int follow(Session &session, JsonStream *commands) {
  size_t number = 0;
  for (std::string line; std::getline(std::cin, line);) {
    complain_from(concat("<stdin>:", ++number));
    const Status status =
        commands ? add_line(session, line, number, *commands) : print(session, run_line(session, line, number));
    if (status == Status::quit) break;
    if (status == Status::failed) {
      complain("the session ends at this command");
      return runtime::requests_out_of_memory() == 0 ? kBadFile : kInternal;
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
        "Reads commands: load, reload, save, diff, run, test, create, delete, activate, deactivate,\n"
        "raise, explain, set, unset, undo, show, clear, trace, quit; help explains each. At a\n"
        "terminal lines can be edited, called back, also those of earlier sessions, and completed\n"
        "with TAB; Ctrl-C stops a long command, and a command that fails ends nothing. From a pipe\n"
        "the first command that fails ends the session; its line is shown. With --json lines\n"
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
    int code = begin(session);
    if (code == kSuccess) code = converse(session);
    complain_from("zar");
    // Messages from taking the repository down were not asked for, and would hide why the session ended.
    show_trace({});
    const int end = report_internal(session.end());
    return end != kSuccess ? end : code;
  }

 private:
  int begin(Session &session) const {
    session::Trouble trouble;
    int code = session.begin(trouble) ? kSuccess : kInternal;
    if (code == kSuccess && path_ && !session.load(*path_, trouble)) code = kBadFile;
    session.begin_undo_here();
    if (code != kSuccess && runtime::requests_out_of_memory() != 0) return report_out_of_memory();
    complain(trouble.complaints);
    if (!json_) {
      report_rejected(trouble);
    } else if (trouble.rejected) {
      print_json(std::cout, file_errors_object(name(), json_of_rejected(trouble)));
    }
    return code;
  }

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

}  // namespace command
