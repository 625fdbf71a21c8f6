// zar help: describes the command, or one of its sub-commands.
#include <iostream>

#include "command/exit_codes.h"
#include "command/program.h"
#include "command/report.h"
#include "simulator/text/text.h"

using namespace simulator;

namespace command {

namespace {

class HelpCommand final : public Command {
 public:
  explicit HelpCommand(const Program &program) : program_(program) {}

  const char *name() const override { return "help"; }
  const char *summary() const override { return "Show the help of a command"; }

  void declare(Options &options) override {
    options.argument("COMMAND", name_, "The command; without one, all of them are listed");
    options.epilogue(
        "Shows the same as COMMAND --help.\n\n"
        "Examples:\n"
        "  zar help\n"
        "  zar help explain");
  }

  int run() override {
    const std::optional<std::string> help = name_ ? program_.help_of(*name_) : program_.help();
    if (!help) {
      complain(no_such("command", *name_, program_.command_names()));
      return kUsage;
    }
    std::cout << *help;
    return kSuccess;
  }

 private:
  const Program &program_;
  std::optional<std::string> name_;
};

}  // namespace

std::unique_ptr<Command> make_help_command(const Program &program) {
  return std::make_unique<HelpCommand>(program);
}

}  // namespace command
