// What a sub-command is to the main program.
#pragma once

#include <memory>
#include <string_view>
#include <vector>

#include <CLI/CLI.hpp>

namespace tool {

class Command {
 public:
  virtual ~Command() = default;

  // Adds the sub-command with its options. The options' values land in this object.
  virtual void declare(CLI::App &program) = 0;
  // Runs it, once the command line was read. Answers an exit code.
  virtual int run() = 0;

  bool was_asked_for() const { return app_ && app_->parsed(); }

 protected:
  CLI::App *app_ = nullptr;
};

// Takes one of these words; of another one the word is told that was probably meant.
CLI::Validator one_of(std::vector<std::string> words);

// The names of all sub-commands, good as long as the program.
std::vector<std::string_view> command_names(const CLI::App &program);
// NULL when there is no such sub-command.
const CLI::App *find_command(const CLI::App &program, std::string_view name);

std::unique_ptr<Command> make_check_command();
std::unique_ptr<Command> make_config_command();
std::unique_ptr<Command> make_diff_command();
std::unique_ptr<Command> make_explain_command();
std::unique_ptr<Command> make_graph_command();
std::unique_ptr<Command> make_help_command();
std::unique_ptr<Command> make_lint_command();
std::unique_ptr<Command> make_run_command();
std::unique_ptr<Command> make_schema_command();
std::unique_ptr<Command> make_shell_command();
std::unique_ptr<Command> make_show_command();
std::unique_ptr<Command> make_test_command();

}  // namespace tool
