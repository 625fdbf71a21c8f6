// zar: the policy simulator.
#include <iostream>

#include "tool/command.h"
#include "tool/exit_codes.h"
#include "tool/policy/text.h"
#include "tool/report.h"

namespace {

using Commands = std::vector<std::unique_ptr<tool::Command>>;

Commands make_commands() {
  Commands commands;
  commands.push_back(tool::make_check_command());
  commands.push_back(tool::make_diff_command());
  commands.push_back(tool::make_explain_command());
  commands.push_back(tool::make_lint_command());
  commands.push_back(tool::make_run_command());
  commands.push_back(tool::make_test_command());
  return commands;
}

// A misspelt sub-command reads to the parser like any argument too many.
bool is_unknown_command(const CLI::App &program, const std::string &word) {
  if (word.empty() || word[0] == '-') return false;
  const std::vector<const CLI::App *> commands = program.get_subcommands({});
  return std::none_of(commands.begin(), commands.end(), [&](const CLI::App *c) { return c->get_name() == word; });
}

int complain_about_command(const CLI::App &program, const std::string &word) {
  std::vector<std::string_view> names;
  const std::vector<const CLI::App *> commands = program.get_subcommands({});
  for (const CLI::App *command : commands)
    names.push_back(command->get_name());
  const std::string_view near = tool::nearest(word, names);
  tool::complain(tool::text_of("there is no command '", word, "'",
                               near.empty() ? "" : tool::text_of("; did you mean '", near, "'?")));
  std::cerr << "Run zar --help for the commands.\n";
  return tool::kUsage;
}

int complain_about_arguments(const CLI::App &program, const CLI::ParseError &error) {
  tool::complain(error.what());
  const std::vector<const CLI::App *> asked_for =
      program.get_subcommands([](const CLI::App *command) { return command->parsed(); });
  std::cerr << "Run zar " << (asked_for.empty() ? "" : asked_for[0]->get_name() + " ") << "--help for help.\n";
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
  program.footer("Exit codes: 0 good, 1 the answer is no, 2 wrong usage, 65 bad policy file, 70 internal error.");
  const Commands commands = make_commands();
  for (const auto &command : commands)
    command->declare(program);

  if (argc > 1 && is_unknown_command(program, argv[1])) return complain_about_command(program, argv[1]);
  try {
    program.parse(argc, argv);
  } catch (const CLI::Success &help) {
    return written(program.exit(help));
  } catch (const CLI::ParseError &error) {
    return complain_about_arguments(program, error);
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
