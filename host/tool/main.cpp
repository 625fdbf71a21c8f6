// zar: the policy simulator.
#include <exception>
#include <iostream>

#include "tool/exit_codes.h"
#include "tool/policy/text.h"
#include "tool/program.h"
#include "tool/report.h"

namespace {

void add_commands(tool::Program &program) {
  program.add(tool::make_check_command());
  program.add(tool::make_config_command());
  program.add(tool::make_diff_command());
  program.add(tool::make_explain_command());
  program.add(tool::make_graph_command());
  program.add(tool::make_help_command(program));
  program.add(tool::make_lint_command());
  program.add(tool::make_run_command());
  program.add(tool::make_schema_command());
  program.add(tool::make_shell_command());
  program.add(tool::make_show_command());
  program.add(tool::make_test_command());
}

int run_program(int argc, char **argv) {
  tool::Program program(
      "zar", "Knows what a policy will do before it runs on a router.", ZAR_VERSION,
      "Exit codes: 0 good, 1 the answer is no, 2 wrong usage, 65 bad policy file, 70 internal error.\n\n"
      "Examples:\n"
      "  zar run examples/broadband.yaml\n"
      "  zar help run");
  add_commands(program);
  return program.run(argc, argv);
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
