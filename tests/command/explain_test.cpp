// zar explain: the complete paths of events.
#include <algorithm>

#include "runner.h"

namespace {

using test::expect_golden;
using test::Result;
using test::run_zar;

struct Case {
  std::string name;
  std::vector<std::string> arguments;
};

// How the test framework prints a case.
void PrintTo(const Case &given, std::ostream *out) {
  *out << given.name;
}

class Explain : public testing::TestWithParam<Case> {};

TEST_P(Explain, TellsThePath) {
  std::vector<std::string> arguments = {"explain"};
  arguments.insert(arguments.end(), GetParam().arguments.begin(), GetParam().arguments.end());
  const Result result = run_zar(arguments);
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.err, "");
  expect_golden("explain/" + GetParam().name + ".out", result.out);
}

constexpr const char *kPaths = "tests/command/policies/paths.yaml";
constexpr const char *kBroadband = "examples/broadband.yaml";

INSTANTIATE_TEST_SUITE_P(
    All, Explain,
    testing::Values(
        Case{"raised-and-denied", {kBroadband, "--event", "session-start@line-0103"}},
        Case{"raised-and-applied", {kBroadband, "--event", "session-start@line-0101", "--level", "filters"}},
        Case{"decision", {kBroadband, "--event", "session-start@line-0103", "--level", "decision"}},
        Case{"what-if", {kBroadband, "--event", "session-start@line-0103", "--set", "unpaid-months=0"}},
        Case{"last-of-first", {kPaths, "--event", "start@t", "--set", "age=17"}},
        Case{"nothing-matched", {kPaths, "--event", "start@t", "--set", "age=17", "--set", "region=north"}},
        Case{"nothing-matched-filters", {kPaths, "--event", "start@t", "--clear", "region", "--level", "filters"}},
        Case{"nothing-matched-decision",
             {kPaths, "--event", "start@t", "--set", "age=17", "--set", "region=north", "--level", "decision"}},
        Case{"first-of-any", {kPaths, "--event", "start@t", "--set", "service=two words", "--level", "filters"}},
        Case{"none-holds", {kPaths, "--event", "start@u", "--set", "region=west", "--level", "filters"}},
        Case{"no-statement", {kPaths, "--event", "apply@t", "--set", "age=30", "--level", "filters"}},
        Case{"statement-raises", {kPaths, "--event", "apply@t"}},
        Case{"empty-parameter-map", {kPaths, "--event", "apply-empty@t"}},
        Case{"stop-on-success", {kPaths, "--event", "deeper@t"}}, Case{"hopeless", {kPaths, "--event", "hopeless@t"}},
        Case{"no-rules", {kPaths, "--event", "empty@t"}}, Case{"unhandled", {kPaths, "--event", "other@t"}},
        Case{"unhandled-decision", {kPaths, "--event", "other@t", "--level", "decision"}},
        Case{"json", {kPaths, "--event", "apply@t", "--level", "filters", "--json"}},
        Case{"json-nothing-matched",
             {kPaths, "--event", "start@t", "--set", "age=17", "--set", "region=north", "--json"}},
        Case{"json-decision", {kBroadband, "--event", "session-start@line-0103", "--level", "decision", "--json"}}),
    [](const auto &parameter) {
      std::string name = parameter.param.name;
      std::replace(name.begin(), name.end(), '-', '_');
      return name;
    });

TEST(Explain, StartsFromTheAttributesOfTheFile) {
  const Result result = run_zar({"explain", kBroadband, "--event", "volume-update@line-0102", "--level", "decision"});
  EXPECT_NE(result.out.find("volume-left is 20"), std::string::npos) << result.out;
}

TEST(Explain, ClearsBeforeItSets) {
  const Result result =
      run_zar({"explain", kPaths, "--event", "start@t", "--set", "service=silver", "--clear", "service"});
  EXPECT_NE(result.out.find("service equals silver holds: service is silver"), std::string::npos) << result.out;
}

TEST(Explain, ReadsStandardInput) {
  const Result result = run_zar({"explain", "-", "--event", "e@t", "--level", "decision"}, R"(
domains: {d: }
class-maps: {c: }
policy-maps: {p: {events: {e: {rules: [{number: 1, class: c, actions: [permit]}]}}}}
targets: {t: {policies: [p]}}
)");
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.out,
            "<stdin>:5  e at t: permit\n"
            "<stdin>:4    rule p/e/1, class-map c: ran\n"
            "<stdin>:4    decided by action 1 permit of rule p/e/1\n");
}

TEST(Explain, EndsWithEventsThatRaiseThemselves) {
  const Result result = run_zar({"explain", kPaths, "--event", "loop@t"});
  EXPECT_EQ(result.code, 0);
  EXPECT_NE(result.out.find("rounds: 15 -> 16"), std::string::npos);
  EXPECT_NE(result.out.find("raise loop, refused: nested too deep or too often, failed"), std::string::npos)
      << result.out;
}

TEST(Explain, TellsAllThatIsWrongWithTheCommandLine) {
  const Result result =
      run_zar({"explain", kPaths, "--event", "strat@t", "--set", "servce=x", "--set", "service", "--clear", "quality"});
  EXPECT_EQ(result.code, 2);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err,
            "zar: there is no event 'strat'; did you mean 'start'?\n"
            "zar: there is no attribute 'quality'\n"
            "zar: there is no attribute 'servce'; did you mean 'service'?\n"
            "zar: 'service' sets nothing: expected ATTRIBUTE=VALUE\n");
  EXPECT_EQ(run_zar({"explain", kPaths}).code, 2);
  EXPECT_EQ(run_zar({"explain", kPaths, "--event", "start@t", "--level", "all"}).code, 2);
}

TEST(Explain, RefusesABadFile) {
  const Result result = run_zar({"explain", "-", "--event", "e@t"}, "clients: 7\n");
  EXPECT_EQ(result.code, 65);
  EXPECT_EQ(result.out, "");
}

}  // namespace
