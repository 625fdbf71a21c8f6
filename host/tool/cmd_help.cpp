// zar help: tells about the command, or about one of its sub-commands.
#include <iostream>

#include "tool/arguments.h"
#include "tool/exit_codes.h"
#include "tool/program.h"

namespace tool {

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
      complain_about_name("command", *name_, program_.command_names());
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

}  // namespace tool
