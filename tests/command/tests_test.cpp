// zar test: the tests in policy files, their failures, and their coverage.
#include "runner.h"

namespace {

using test::expect_golden;
using test::Result;
using test::run_zar;

constexpr const char *kFailing = "tests/command/policies/failing.yaml";

class ExampleTests : public testing::TestWithParam<const char *> {};

TEST_P(ExampleTests, Pass) {
  const std::string name = GetParam();
  const Result result = run_zar({"test", "examples/" + name + ".yaml"});
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.err, "");
  expect_golden("test/" + name + ".out", result.out);
}

INSTANTIATE_TEST_SUITE_P(All, ExampleTests, testing::Values("broadband", "guest-network", "interface-qos"),
                         [](const auto &parameter) {
                           std::string name = parameter.param;
                           std::erase(name, '-');
                           return name;
                         });

TEST(Tests, ThatFailAreExplained) {
  const Result result = run_zar({"test", kFailing});
  EXPECT_EQ(result.code, 1);
  EXPECT_EQ(result.err, "");
  expect_golden("test/failing.out", result.out);
}

TEST(Tests, ThatFailAreExplainedInJson) {
  const Result result = run_zar({"test", kFailing, "--json"});
  EXPECT_EQ(result.code, 1);
  expect_golden("test/failing.json.out", result.out);
}

TEST(Tests, OfSeveralFilesAreSummedUp) {
  const Result result = run_zar({"test", "examples/broadband.yaml", kFailing, "/nowhere"});
  EXPECT_EQ(result.code, 65);
  EXPECT_NE(result.out.find("all files: 16 passed, 4 failed\n"), std::string::npos) << result.out;
  EXPECT_TRUE(result.err.starts_with("/nowhere: error: cannot be opened")) << result.err;
  const Result one = run_zar({"test", kFailing});
  EXPECT_NE(result.out.find(one.out), std::string::npos) << "as when the file is alone";
}

TEST(Tests, CanAskForCoverage) {
  EXPECT_EQ(run_zar({"test", "examples/interface-qos.yaml", "--min-coverage", "94"}).code, 0);
  const Result result = run_zar({"test", "examples/interface-qos.yaml", "--min-coverage", "95"});
  EXPECT_EQ(result.code, 1);
  EXPECT_EQ(result.err, "zar: examples/interface-qos.yaml: 94% covered, 95% wanted\n");
  EXPECT_EQ(run_zar({"test", kFailing, "--min-coverage", "101"}).code, 2);
}

TEST(Tests, ThatAreNotThereCannotPass) {
  const Result result = run_zar({"test", "-"}, "domains: {d: }\n");
  EXPECT_EQ(result.code, 1);
  EXPECT_EQ(result.err, "zar: <stdin>: the file has no tests\n");
}

// A file with one target and the given section of tests, on line 6.
std::string with_tests(const std::string &tests) {
  return "domains: {d: }\n"
         "class-maps: {gold: {filters: [{attribute: service, equals: gold}]}}\n"
         "policy-maps: {p: {events: {start: {rules: [{number: 10, class: gold, actions: [{set: {rate: 1}}]}]}}}}\n"
         "targets: {t: {policies: [p]}}\n"
         "tests:\n" +
         tests + "\n";
}

struct Bad {
  std::string name;
  std::string tests;
  std::string errors;
};

// How the test framework prints a case.
void PrintTo(const Bad &bad, std::ostream *out) {
  *out << bad.name;
}

class BadTests : public testing::TestWithParam<Bad> {};

TEST_P(BadTests, AreErrorsOfTheFile) {
  for (const char *command : {"check", "test"}) {
    const Result result = run_zar({command, "-"}, with_tests(GetParam().tests));
    EXPECT_EQ(result.code, 65);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, GetParam().errors);
  }
}

INSTANTIATE_TEST_SUITE_P(
    All, BadTests,
    testing::Values(
        Bad{"UnknownNames", "  - {event: strt, target: u, expect: {rules: [p/start/1, glod], attributes: {servce: }}}",
            "<stdin>:6:13: error: no policy-map handles the event 'strt'\n"
            "  6 |   - {event: strt, target: u, expect: {rules: [p/start/1, glod], attributes: {servce: }}}\n"
            "    |             ^\n"
            "  expected: an event that a policy-map has under 'events'\n"
            "  did you mean 'start'?\n"
            "<stdin>:6:27: error: target 'u' is used by test 'test 1', but not defined\n"
            "  6 |   - {event: strt, target: u, expect: {rules: [p/start/1, glod], attributes: {servce: }}}\n"
            "    |                           ^\n"
            "  expected: the name of a target of this file\n"
            "  did you mean 't'?\n"
            "<stdin>:6:47: error: there is no rule or class-map 'p/start/1'\n"
            "  6 |   - {event: strt, target: u, expect: {rules: [p/start/1, glod], attributes: {servce: }}}\n"
            "    |                                               ^\n"
            "  expected: POLICY/EVENT/NUMBER, or the name of a class-map of this file\n"
            "  did you mean 'p/start/10'?\n"
            "<stdin>:6:58: error: there is no rule or class-map 'glod'\n"
            "  6 |   - {event: strt, target: u, expect: {rules: [p/start/1, glod], attributes: {servce: }}}\n"
            "    |                                                          ^\n"
            "  expected: POLICY/EVENT/NUMBER, or the name of a class-map of this file\n"
            "  did you mean 'gold'?\n"
            "<stdin>:6:78: error: nothing in the file mentions the attribute 'servce'\n"
            "  6 |   - {event: strt, target: u, expect: {rules: [p/start/1, glod], attributes: {servce: }}}\n"
            "    |                                                                              ^\n"
            "  expected: an attribute that a filter, an action or a target has\n"
            "  did you mean 'service'?\n"},
        Bad{"UnknownKeys", "  - {evnt: start, target: t, expect: {verdct: deny}}",
            "<stdin>:6:6: error: unknown key 'evnt' in a test\n"
            "  6 |   - {evnt: start, target: t, expect: {verdct: deny}}\n"
            "    |      ^\n"
            "  expected: one of the keys name, event, target, set, clear, expect\n"
            "  did you mean 'event'?\n"
            "<stdin>:6:39: error: unknown key 'verdct' in what a test expects\n"
            "  6 |   - {evnt: start, target: t, expect: {verdct: deny}}\n"
            "    |                                       ^\n"
            "  expected: one of the keys rules, attributes, verdict, log\n"
            "  did you mean 'verdict'?\n"},
        Bad{"UnknownVerdict", "  - {event: start, target: t, expect: {verdict: permits}}",
            "<stdin>:6:49: error: 'permits' cannot be a verdict\n"
            "  6 |   - {event: start, target: t, expect: {verdict: permits}}\n"
            "    |                                                 ^\n"
            "  expected: one of permit, deny, none\n"
            "  did you mean 'permit'?\n"},
        Bad{"NoExpectation", "  - {event: start, target: t}",
            "<stdin>:6:5: error: a test has no 'expect'\n"
            "  6 |   - {event: start, target: t}\n"
            "    |     ^\n"
            "  expected: the key expect\n"},
        Bad{"EmptyExpectation", "  - {event: start, target: t, expect: {attributes: {}}}",
            "<stdin>:6:39: error: a test that expects nothing\n"
            "  6 |   - {event: start, target: t, expect: {attributes: {}}}\n"
            "    |                                       ^\n"
            "  expected: one of rules, attributes, verdict, log\n"},
        Bad{"WrongTypes", "  - {event: start, target: t, expect: {rules: gold, log: {a: b}, attributes: {rate: [1]}}}",
            "<stdin>:6:47: error: the list of rules is a single value\n"
            "  6 |   - {event: start, target: t, expect: {rules: gold, log: {a: b}, attributes: {rate: [1]}}}\n"
            "    |                                               ^\n"
            "  expected: a list\n"
            "<stdin>:6:58: error: the list of logged texts is a mapping\n"
            "  6 |   - {event: start, target: t, expect: {rules: gold, log: {a: b}, attributes: {rate: [1]}}}\n"
            "    |                                                          ^\n"
            "  expected: a list\n"
            "<stdin>:6:85: error: an attribute's value is a list\n"
            "  6 |   - {event: start, target: t, expect: {rules: gold, log: {a: b}, attributes: {rate: [1]}}}\n"
            "    |                                                                                     ^\n"
            "  expected: a single value\n"}),
    [](const auto &parameter) { return parameter.param.name; });

}  // namespace
