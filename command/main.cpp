// zar: the policy simulator.
#include <exception>
#include <iostream>
#include <new>

#include "command/exit_codes.h"
#include "command/program.h"
#include "command/report.h"
#include "simulator/text/text.h"

namespace {

void add_commands(command::Program &program) {
  program.add(command::make_candidates_command());
  program.add(command::make_check_command());
  program.add(command::make_config_command());
  program.add(command::make_diff_command());
  program.add(command::make_explain_command());
  program.add(command::make_fmt_command());
  program.add(command::make_graph_command());
  program.add(command::make_help_command(program));
  program.add(command::make_lint_command());
  program.add(command::make_lsp_command(ZAR_VERSION));
  program.add(command::make_prove_command());
  program.add(command::make_report_command());
  program.add(command::make_run_command());
  program.add(command::make_schema_command());
  program.add(command::make_serve_command(ZAR_VERSION));
  program.add(command::make_shell_command());
  program.add(command::make_show_command());
  program.add(command::make_test_command());
}

int run_program(int argc, char **argv) {
  command::Program program(
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
  command::end_when_out_of_memory();
  std::ios::sync_with_stdio(false);
  try {
    return run_program(argc, argv);
  } catch (const std::bad_alloc &) {
    return command::report_out_of_memory();
  } catch (const std::exception &error) {
    command::complain(simulator::concat("internal error: ", error.what()));
    return command::kInternal;
  }
}
