// The interface of a sub-command.
#pragma once

#include <memory>

#include "command/options.h"

namespace command {

class Program;

class Command {
 public:
  virtual ~Command() = default;

  virtual const char *name() const = 0;
  // One line about it for the list of commands.
  virtual const char *summary() const = 0;
  // Whether only programs call it, so that the list of commands leaves it out.
  virtual bool is_for_programs() const { return false; }
  virtual void declare(Options &options) = 0;
  // Runs it after the command line was read. Returns an exit code.
  virtual int run() = 0;
};

std::unique_ptr<Command> make_candidates_command();
std::unique_ptr<Command> make_check_command();
std::unique_ptr<Command> make_config_command();
std::unique_ptr<Command> make_diff_command();
std::unique_ptr<Command> make_explain_command();
std::unique_ptr<Command> make_fmt_command();
std::unique_ptr<Command> make_graph_command();
// Shows the help of 'program', which contains this command.
std::unique_ptr<Command> make_help_command(const Program &program);
std::unique_ptr<Command> make_lint_command();
// The language server, with the version that editors may ask for.
std::unique_ptr<Command> make_lsp_command(const char *version);
std::unique_ptr<Command> make_prove_command();
std::unique_ptr<Command> make_report_command();
std::unique_ptr<Command> make_run_command();
std::unique_ptr<Command> make_schema_command();
// The server, with the version that clients may ask for.
std::unique_ptr<Command> make_serve_command(const char *version);
std::unique_ptr<Command> make_shell_command();
std::unique_ptr<Command> make_show_command();
std::unique_ptr<Command> make_test_command();

}  // namespace command
