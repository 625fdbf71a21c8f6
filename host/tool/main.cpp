// zar: the policy simulator.
#include <algorithm>
#include <cctype>
#include <iostream>

#include "tool/arguments.h"
#include "tool/command.h"
#include "tool/exit_codes.h"
#include "tool/policy/text.h"
#include "tool/report.h"

namespace {

using Commands = std::vector<std::unique_ptr<tool::Command>>;

Commands make_commands() {
  Commands commands;
  commands.push_back(tool::make_check_command());
  commands.push_back(tool::make_config_command());
  commands.push_back(tool::make_diff_command());
  commands.push_back(tool::make_explain_command());
  commands.push_back(tool::make_graph_command());
  commands.push_back(tool::make_help_command());
  commands.push_back(tool::make_lint_command());
  commands.push_back(tool::make_run_command());
  commands.push_back(tool::make_schema_command());
  commands.push_back(tool::make_shell_command());
  commands.push_back(tool::make_show_command());
  commands.push_back(tool::make_test_command());
  return commands;
}

// A misspelt sub-command reads to the parser like any argument too many.
bool is_unknown_command(const CLI::App &program, const std::string &word) {
  if (word.empty() || word[0] == '-') return false;
  return !tool::find_command(program, word);
}

int complain_about_command(const CLI::App &program, const std::string &word) {
  tool::complain_about_name("command", word, tool::command_names(program));
  std::cerr << "Run zar --help for the commands.\n";
  return tool::kUsage;
}

int complain_about_missing_command() {
  tool::complain("a command is missing");
  std::cerr << "Run zar --help for the commands.\n";
  return tool::kUsage;
}

// The command whose options the command line could give: the sub-command, if there is one.
const CLI::App &asked_for(const CLI::App &program) {
  const std::vector<const CLI::App *> parsed =
      program.get_subcommands([](const CLI::App *command) { return command->parsed(); });
  return parsed.empty() ? program : *parsed[0];
}

bool looks_like_option(const std::string &argument) {
  return argument.size() > 1 && argument[0] == '-' && !std::isdigit(argument[1]);
}

// The first argument that looks like an option and is none.
std::string unknown_option(const CLI::App &command, const std::vector<std::string> &arguments) {
  for (const std::string &argument : arguments) {
    if (argument == "--") break;
    std::string name = argument.substr(0, argument.find('='));
    if (looks_like_option(argument) && !command.get_option_no_throw(name)) return name;
  }
  return {};
}

void complain_about_option(const CLI::App &command, const std::string &name) {
  std::vector<std::string> names;
  for (const CLI::Option *option : command.get_options()) {
    for (const std::string &word : option->get_lnames())
      names.push_back("--" + word);
  }
  tool::complain_about_name("option", name, {names.begin(), names.end()});
}

int complain_about_arguments(const CLI::App &program, const CLI::ParseError &error,
                             const std::vector<std::string> &arguments) {
  const CLI::App &command = asked_for(program);
  const std::string option = unknown_option(command, arguments);
  if (!option.empty()) {
    complain_about_option(command, option);
  } else if (&command != &program && looks_like_option(arguments[0])) {
    tool::complain(tool::text_of("options stand behind the command: zar ", command.get_name(), " ", arguments[0]));
  } else {
    tool::complain(error.what());
  }
  std::cerr << "Run zar " << (&command == &program ? "" : command.get_name() + " ") << "--help for help.\n";
  return tool::kUsage;
}

// What could not be written was not done.
int written(int code) {
  std::cout.flush();
  if (std::cout) return code;
  tool::complain("standard output cannot be written");
  return tool::kInternal;
}

int run(const Commands &commands) {
  for (const auto &command : commands) {
    if (command->was_asked_for()) return command->run();
  }
  return tool::kUsage;
}

int run_program(int argc, char **argv) {
  CLI::App program("Knows what a policy will do before it runs on a router.", "zar");
  program.set_version_flag("--version", "zar " ZAR_VERSION);
  program.require_subcommand(1);
  program.footer(
      "Exit codes: 0 good, 1 the answer is no, 2 wrong usage, 65 bad policy file, 70 internal error.\n\n"
      "Examples:\n"
      "  zar run examples/broadband.yaml\n"
      "  zar help run");
  const Commands commands = make_commands();
  for (const auto &command : commands)
    command->declare(program);

  if (argc == 1) return complain_about_missing_command();
  if (is_unknown_command(program, argv[1])) return complain_about_command(program, argv[1]);
  try {
    program.parse(argc, argv);
  } catch (const CLI::Success &help) {
    return written(program.exit(help));
  } catch (const CLI::ParseError &error) {
    return complain_about_arguments(program, error, {argv + 1, argv + argc});
  }
  return written(run(commands));
}

}  // namespace

int main(int argc, char **argv) {
  std::ios::sync_with_stdio(false);
  try {
    return run_program(argc, argv);
  } catch (const std::exception &error) {
    tool::complain(tool::text_of("internal error: ", error.what()));
    return tool::kInternal;
  }
}
