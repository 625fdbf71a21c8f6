// zar help: tells about the command, or about one of its sub-commands.
#include <iostream>

#include "tool/arguments.h"
#include "tool/command.h"
#include "tool/exit_codes.h"

namespace tool {

namespace {

class HelpCommand final : public Command {
 public:
  void declare(CLI::App &program) override {
    program_ = &program;
    app_ = program.add_subcommand("help", "Show the help of a command");
    app_->add_option("COMMAND", name_, "The command; without one, all of them are listed");
    app_->footer(
        "Shows the same as COMMAND --help.\n\n"
        "Examples:\n"
        "  zar help\n"
        "  zar help explain");
  }

  int run() override {
    if (name_.empty()) {
      std::cout << program_->get_formatter()->make_help(program_, program_->get_name(), CLI::AppFormatMode::Normal);
      return kSuccess;
    }
    const CLI::App *command = find_command(*program_, name_);
    if (!command) {
      complain_about_name("command", name_, command_names(*program_));
      return kUsage;
    }
    std::cout << command->help(program_->get_name());
    return kSuccess;
  }

 private:
  const CLI::App *program_ = nullptr;
  std::string name_;
};

}  // namespace

std::unique_ptr<Command> make_help_command() {
  return std::make_unique<HelpCommand>();
}

}  // namespace tool
