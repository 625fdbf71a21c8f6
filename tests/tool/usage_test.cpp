// The command line: help, version, and what is wrong with it.
#include "runner.h"

namespace {

using test::Result;
using test::run_zar;

TEST(Help, IsPrintedWithTheExitCodes) {
  const Result result = run_zar({"--help"});
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.err, "");
  EXPECT_NE(result.out.find("65 bad policy file"), std::string::npos);
  for (const char *command : {"check", "diff", "explain", "lint", "run", "test"})
    EXPECT_NE(result.out.find(command), std::string::npos) << command;
}

TEST(Help, OfEveryCommandHasExamples) {
  for (const char *command : {"check", "diff", "explain", "lint", "run", "test"}) {
    const Result result = run_zar({command, "--help"});
    EXPECT_EQ(result.code, 0);
    EXPECT_NE(result.out.find("Examples:\n  zar " + std::string(command)), std::string::npos) << result.out;
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

// What the test framework calls a case.
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
        Wrong{{}, "zar: A subcommand is required\nRun zar --help for help.\n"},
        Wrong{{"rnu"}, "zar: there is no command 'rnu'; did you mean 'run'?\nRun zar --help for the commands.\n"},
        Wrong{{"xyzzy"}, "zar: there is no command 'xyzzy'\nRun zar --help for the commands.\n"},
        Wrong{{"run"}, "zar: FILE is required\nRun zar run --help for help.\n"},
        Wrong{{"run", "--trce", "error", "f"},
              "zar: The following arguments were not expected: f --trce\nRun zar run --help for help.\n"},
        Wrong{{"run", "f", "--trace", "loud"},
              "zar: --trace: loud not in {error,info}\nRun zar run --help for help.\n"},
        Wrong{{"run", "examples/broadband.yaml", "--event", "session-start"},
              "zar: 'session-start' is no event: expected NAME@TARGET\n"},
        Wrong{{"run", "examples/broadband.yaml", "--event", "session-strt@line-0101"},
              "zar: there is no event 'session-strt'; did you mean 'session-start'?\n"},
        Wrong{{"run", "examples/broadband.yaml", "--event", "session-start@line-9999"},
              "zar: there is no target 'line-9999'\n"},
        Wrong{{"run", "examples/broadband.yaml", "--event", "a@b", "--event", "session-stop@line-101"},
              "zar: there is no event 'a'\nzar: there is no target 'line-101'; did you mean 'line-0101'?\n"}));

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
