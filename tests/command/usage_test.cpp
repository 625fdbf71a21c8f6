// The command line: help, version, and usage errors.
#include <sys/wait.h>

#include <cstdlib>
#include <sstream>

#include "runner.h"

namespace {

using test::Result;
using test::run_zar;

// The sub-commands in the help's list.
std::vector<std::string> commands() {
  std::istringstream help(run_zar({"--help"}).out);
  std::vector<std::string> names;
  bool listed = false;
  for (std::string line; std::getline(help, line);) {
    if (listed && line.starts_with("  ")) names.push_back(line.substr(2, line.find(' ', 2) - 2));
    listed = line == "Subcommands:" || (listed && !line.empty());
  }
  return names;
}

TEST(Help, IsPrintedWithTheExitCodes) {
  const Result result = run_zar({"--help"});
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.err, "");
  EXPECT_NE(result.out.find("65 bad policy file"), std::string::npos);
  EXPECT_NE(result.out.find("Examples:\n  zar run "), std::string::npos);
  EXPECT_GE(commands().size(), 7u) << result.out;
}

TEST(Help, OfEveryCommandHasExamples) {
  for (const std::string &command : commands()) {
    const Result result = run_zar({command, "--help"});
    EXPECT_EQ(result.code, 0);
    EXPECT_NE(result.out.find("Examples:\n  zar " + command), std::string::npos) << result.out;
  }
}

TEST(Help, IsACommandToo) {
  EXPECT_EQ(run_zar({"help"}).out, run_zar({"--help"}).out);
  for (const std::string &command : commands()) {
    const Result result = run_zar({"help", command});
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out, run_zar({command, "--help"}).out);
  }
}

TEST(Version, IsPrinted) {
  const Result result = run_zar({"--version"});
  EXPECT_EQ(result.code, 0);
  EXPECT_TRUE(result.out.starts_with("zar ")) << result.out;
}

struct Wrong {
  std::vector<std::string> arguments;
  std::string message;
};

// How the test framework prints a case.
void PrintTo(const Wrong &wrong, std::ostream *out) {
  *out << wrong.message.substr(0, wrong.message.find('\n'));
}

class WrongUsage : public testing::TestWithParam<Wrong> {};

TEST_P(WrongUsage, IsToldWithExitCode2) {
  const Result result = run_zar(GetParam().arguments);
  EXPECT_EQ(result.code, 2);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, GetParam().message);
}

INSTANTIATE_TEST_SUITE_P(
    All, WrongUsage,
    testing::Values(
        Wrong{{}, "zar: a command is missing\nRun zar --help for the commands.\n"},
        Wrong{{"--json", "check", "f"},
              "zar: options stand behind the command: zar check --json\nRun zar check --help for help.\n"},
        Wrong{{"rnu"}, "zar: there is no command 'rnu'; did you mean 'run'?\nRun zar --help for the commands.\n"},
        Wrong{{"xyzzy"}, "zar: there is no command 'xyzzy'\nRun zar --help for the commands.\n"},
        Wrong{{"run"}, "zar: FILE is required\nRun zar run --help for help.\n"},
        Wrong{{"run", "--trce", "error", "f"},
              "zar: there is no option '--trce'; did you mean '--trace'?\nRun zar run --help for help.\n"},
        Wrong{{"explain", "f", "--even=e@t"},
              "zar: there is no option '--even'; did you mean '--event'?\nRun zar explain --help for help.\n"},
        Wrong{{"run", "f", "-x"}, "zar: there is no option '-x'\nRun zar run --help for help.\n"},
        Wrong{{"--vrsion"},
              "zar: there is no option '--vrsion'; did you mean '--version'?\nRun zar --help for help.\n"},
        Wrong{{"check", "f", "--min-coverage", "3"},
              "zar: there is no option '--min-coverage'\nRun zar check --help for help.\n"},
        Wrong{{"test", "f", "--min-coverage", "101"},
              "zar: --min-coverage: '101' is no whole number from 0 to 100\nRun zar test --help for help.\n"},
        Wrong{{"test", "f", "--min-coverage", "50.5"},
              "zar: --min-coverage: '50.5' is no whole number from 0 to 100\nRun zar test --help for help.\n"},
        Wrong{{"test", "f", "--min-coverage", "010"},
              "zar: --min-coverage: '010' is no whole number from 0 to 100\nRun zar test --help for help.\n"},
        Wrong{{"test", "f", "--min-coverage"},
              "zar: --min-coverage needs a value: 0 to 100\nRun zar test --help for help.\n"},
        Wrong{{"explain", "f", "--event", "e@t", "--level"},
              "zar: --level needs a value: one of decision, rules, filters\nRun zar explain --help for help.\n"},
        Wrong{{"explain", "f", "--event", "e@t", "--level="},
              "zar: --level needs a value: one of decision, rules, filters\nRun zar explain --help for help.\n"},
        Wrong{{"run", "f", "--event"}, "zar: --event needs a value: NAME@TARGET\nRun zar run --help for help.\n"},
        Wrong{{"run", "f", "--trace", "error", "--trace", "info"},
              "zar: --trace is given 2 times, not once\nRun zar run --help for help.\n"},
        Wrong{{"explain", "f"}, "zar: --event or --reach is required\nRun zar explain --help for help.\n"},
        Wrong{{"check", "f", "--format", "xml"},
              "zar: --format: 'xml' is none of text, json, sarif, github\nRun zar check --help for help.\n"},
        Wrong{{"lint", "f", "--json", "--format", "text"},
              "zar: --format and --json exclude each other\nRun zar lint --help for help.\n"},
        Wrong{{"check", "f", "--json=false"}, "zar: --json takes no value\nRun zar check --help for help.\n"},
        Wrong{{"show", "f", "--listing", "--json"},
              "zar: --listing and --json exclude each other\nRun zar show --help for help.\n"},
        Wrong{{"config", "f", "g"}, "zar: 'g' is one argument too many\nRun zar config --help for help.\n"},
        Wrong{{"config", "f", "--", "--x"}, "zar: '--x' is one argument too many\nRun zar config --help for help.\n"},
        Wrong{{""}, "zar: a command is missing\nRun zar --help for help.\n"},
        Wrong{{"help", "rnu"}, "zar: there is no command 'rnu'; did you mean 'run'?\n"},
        Wrong{{"run", "f", "--trace", "loud"},
              "zar: --trace: 'loud' is none of error, info\nRun zar run --help for help.\n"},
        Wrong{{"explain", "f", "--event", "e@t", "--level", "filter"},
              "zar: --level: 'filter' is none of decision, rules, filters; did you mean 'filters'?\n"
              "Run zar explain --help for help.\n"},
        Wrong{{"run", "examples/broadband.yaml", "--event", "session-start"},
              "zar: 'session-start' is no event: expected NAME@TARGET\n"},
        Wrong{{"run", "examples/broadband.yaml", "--event", "session-strt@line-0101"},
              "zar: there is no event 'session-strt'; did you mean 'session-start'?\n"},
        Wrong{{"run", "examples/broadband.yaml", "--event", "session-start@line-9999"},
              "zar: there is no target 'line-9999'\n"},
        Wrong{{"run", "examples/broadband.yaml", "--event", "a@b", "--event", "session-stop@line-101"},
              "zar: there is no event 'a'\nzar: there is no target 'line-101'; did you mean 'line-0101'?\n"}));

// If the output cannot be written, the command has failed.
TEST(Output, ThatCannotBeWrittenIsAnInternalError) {
  for (const std::string arguments :
       {"run examples/broadband.yaml", "check examples/broadband.yaml", "--help", "help"}) {
    const std::string line = std::string(ZAR_BINARY) + " " + arguments + " > /dev/full 2> /dev/null";
    const int status = std::system(("cd " ZAR_SOURCE_DIR " && " + line).c_str());
    EXPECT_EQ(WEXITSTATUS(status), 70) << line;
  }
}

TEST(Files, ThatCannotBeReadAreBadFiles) {
  const Result missing = run_zar({"run", "nowhere/policy.yaml"});
  EXPECT_EQ(missing.code, 65);
  EXPECT_EQ(missing.err,
            "nowhere/policy.yaml: error: cannot be opened: No such file or directory\n"
            "  expected: a policy file\n");
  const Result folder = run_zar({"check", "examples"});
  EXPECT_EQ(folder.code, 65);
  EXPECT_EQ(folder.err, "examples: error: cannot be read: Is a directory\n  expected: a policy file\n");
}

}  // namespace
