// zar test: the tests in policy files, their failures, and their coverage.
#include "runner.h"
#include "scratch_file.h"

namespace {

using test::expect_golden;
using test::Result;
using test::run_zar;
using test::ScratchFile;

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

// Three failures put a port into quarantine.
constexpr const char *kPorts = R"(domains: {d: }
class-maps:
  always: {}
  too-many: {filters: [{attribute: failures, range: {min: 3}}]}
policy-maps:
  p:
    events:
      login-failed:
        rules:
          - {number: 10, class: always, actions: [{count: failures}]}
          - {number: 20, class: too-many, actions: [{set: {vlan: quarantine}}, deny]}
targets:
  port-1: {policies: [p]}
  port-2: {policies: [p], attributes: {failures: 2}}
)";

TEST(Tests, OfSeveralStepsKeepTheState) {
  const Result result = run_zar({"test", "-"}, std::string(kPorts) + R"(
tests:
  - name: three failed logins, then quarantine
    steps:
      - {event: login-failed, target: port-1, expect: {attributes: {failures: 1, vlan: }, verdict: none}}
      - {event: login-failed, target: port-1}
      - {event: login-failed, target: port-2, expect: {attributes: {failures: 3, vlan: quarantine}}}
      - {event: login-failed, target: port-1, expect: {rules: [always, too-many], attributes: {failures: 3}}}
      - {event: login-failed, target: port-1, clear: [failures], expect: {attributes: {vlan: quarantine, failures: 1}}}
  - {name: each test begins anew, event: login-failed, target: port-1, expect: {attributes: {failures: 1, vlan: }}}
  - name: on all its targets
    steps:
      - {event: login-failed, target: port-1}
      - {event: login-failed, target: port-2, expect: {attributes: {failures: 3}}}
)");
  EXPECT_EQ(result.code, 0) << result.out << result.err;
  EXPECT_TRUE(result.out.starts_with("ok    <stdin>:17: three failed logins, then quarantine\n")) << result.out;
  EXPECT_NE(result.out.find("<stdin>: 3 passed, 0 failed\ncoverage: 100%, 3 of 3\n"), std::string::npos) << result.out;
}

constexpr const char *kFailingSteps = R"(tests:
  - name: two failed logins
    steps:
      - {event: login-failed, target: port-1}
      - {event: login-failed, target: port-1, expect: {attributes: {failures: 3}}}
      - {event: login-failed, target: port-1, expect: {attributes: {failures: 4}}}
)";

TEST(Tests, EndWithTheFirstStepThatFails) {
  const Result result = run_zar({"test", "-"}, std::string(kPorts) + kFailingSteps);
  EXPECT_EQ(result.code, 1);
  EXPECT_TRUE(
      result.out.starts_with("FAIL  <stdin>:16: two failed logins\n"
                             "  step 2, <stdin>:19: login-failed at port-1; 1 more was not run\n"
                             "  attribute failures\n"
                             "    expected: 3\n"
                             "    actual:   2\n"
                             "  explanation\n"
                             "    <stdin>:13  login-failed at port-1: none\n"))
      << result.out;
  EXPECT_EQ(result.out.find("actual:   3"), std::string::npos) << result.out;
  const Result json = run_zar({"test", "-", "--json"}, std::string(kPorts) + kFailingSteps);
  EXPECT_NE(json.out.find("          \"step\": 2,\n          \"explanation\": {"), std::string::npos) << json.out;
}

TEST(Tests, FailWhenALimitStopsTheEvent) {
  const Result result = run_zar({"test", "-"}, R"(domains: {d: }
class-maps: {c: }
policy-maps: {p: {events: {e: {rules: [{number: 1, class: c, actions: [{raise: e}]}]}}}}
targets: {t: {policies: [p]}}
tests: [{event: e, target: t, expect: {verdict: none}}]
)");
  EXPECT_EQ(result.code, 1);
  EXPECT_NE(result.out.find("  limit\n"
                            "    expected: an event that ends by itself\n"
                            "    actual:   more than 16 events are nested: raise e is refused\n"),
            std::string::npos)
      << result.out;
}

TEST(Tests, CanStandInAFileOfTheirOwn) {
  const ScratchFile policy(kPorts);
  const ScratchFile tests(kFailingSteps, "tests.yaml");
  const Result result = run_zar({"test", policy.path(), "--with", tests.path()});
  EXPECT_EQ(result.code, 1);
  EXPECT_EQ(result.err, "");
  EXPECT_TRUE(result.out.starts_with("FAIL  " + tests.path() +
                                     ":2: two failed logins\n"
                                     "  step 2, " +
                                     tests.path() + ":5: login-failed at port-1; "))
      << result.out;
  EXPECT_NE(result.out.find(policy.path() + ": 0 passed, 1 failed\n"), std::string::npos) << result.out;
  const Result twice = run_zar({"test", policy.path(), policy.path(), "--with", "-"}, kFailingSteps);
  EXPECT_NE(twice.out.find("all files: 0 passed, 2 failed\n"), std::string::npos) << twice.out;
  const Result json = run_zar({"test", policy.path(), "--with", tests.path(), "--json"});
  EXPECT_NE(json.out.find("      \"sources\": [\n        \"" + tests.path() + "\"\n      ],\n"), std::string::npos);
  EXPECT_NE(json.out.find("          \"source\": 1,\n"), std::string::npos) << json.out;
}

TEST(Tests, OfAnotherFileAreCheckedLikeThoseOfThePolicy) {
  const ScratchFile policy(kPorts);
  const auto errors_of = [&](const std::string &tests) {
    const Result result = run_zar({"test", policy.path(), "--with", "-"}, tests);
    EXPECT_EQ(result.code, 65);
    return result.err;
  };
  EXPECT_EQ(errors_of("tests: [{event: login-faild, target: port-1, expect: {verdict: none}}]\n"),
            "<stdin>:1:17: error: no policy-map handles the event 'login-faild'\n"
            "  1 | tests: [{event: login-faild, target: port-1, expect: {verdict: none}}]\n"
            "    |                 ^\n"
            "  expected: an event that a policy-map has under 'events'\n"
            "  did you mean 'login-failed'?\n");
  EXPECT_EQ(errors_of("targets: {}\n"),
            "<stdin>:1:1: error: unknown key 'targets' in a file of tests\n"
            "  1 | targets: {}\n"
            "    | ^\n"
            "  expected: one of the keys scenario, tests\n");
  const Result missing = run_zar({"test", policy.path(), "--with", "/nowhere"});
  EXPECT_EQ(missing.code, 65);
  EXPECT_EQ(missing.err, "/nowhere: error: cannot be opened: No such file or directory\n  expected: a policy file\n");
  EXPECT_EQ(run_zar({"test", "-", "--with", "-"}).code, 2);
}

TEST(Tests, CanBeChosenByName) {
  const Result one = run_zar({"test", kFailing, "--only", "fresh", "--only", "test 1"});
  EXPECT_EQ(one.code, 0);
  EXPECT_TRUE(
      one.out.starts_with("ok    tests/command/policies/failing.yaml:26: test 1\n"
                          "ok    tests/command/policies/failing.yaml:46: fresh\n"
                          "tests/command/policies/failing.yaml: 2 passed, 0 failed\n"))
      << one.out;
  const Result two = run_zar({"test", "examples/broadband.yaml", kFailing, "--only", "fresh"});
  EXPECT_EQ(two.code, 0) << "files without such a test are left out: " << two.err;
  EXPECT_TRUE(two.out.ends_with("all files: 1 passed, 0 failed\n")) << two.out;
  const Result wrong = run_zar({"test", kFailing, "--only", "frsh", "--only", "fresh"});
  EXPECT_EQ(wrong.code, 2);
  EXPECT_EQ(wrong.out, "");
  EXPECT_EQ(wrong.err, "zar: there is no test 'frsh'; did you mean 'fresh'?\n");
  const Result bad = run_zar({"test", kFailing, "/nowhere", "--only", "fresh"});
  EXPECT_EQ(bad.code, 65);
  EXPECT_NE(bad.out.find("1 passed, 0 failed\n"), std::string::npos) << bad.out;
}

TEST(Tests, OfAFileWithoutRulesCoverNothing) {
  const Result result = run_zar({"test", "-", "--min-coverage", "100"}, R"(domains: {d: }
policy-maps: {p: {events: {e: {rules: []}}}}
targets: {t: {policies: [p]}}
tests: [{event: e, target: t, expect: {verdict: none}}]
)");
  EXPECT_EQ(result.code, 0) << result.err;
  EXPECT_EQ(result.out,
            "ok    <stdin>:4: test 1\n"
            "<stdin>: 1 passed, 0 failed\n"
            "coverage: nothing to cover: the file has no rules, statements or filters\n");
}

TEST(Tests, ThatCannotBeWrittenAreAnInternalError) {
  const Result result = run_zar({"test", "examples/broadband.yaml", "--junit", "/nowhere/results.xml"});
  EXPECT_EQ(result.code, 70);
  EXPECT_EQ(result.err, "zar: /nowhere/results.xml cannot be written: No such file or directory\n");
  EXPECT_EQ(run_zar({"test", "examples/broadband.yaml", "--junit", "/dev/full"}).code, 70);
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
            "  expected: one of the keys name, event, target, set, clear, expect, steps\n"
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
        Bad{"NoStepExpectsAnything", "  - {steps: [{event: start, target: t}]}",
            "<stdin>:6:13: error: a test that expects nothing\n"
            "  6 |   - {steps: [{event: start, target: t}]}\n"
            "    |             ^\n"
            "  expected: the key expect in one of its steps\n"},
        Bad{"NoSteps", "  - {steps: }",
            "<stdin>:6:6: error: a test that expects nothing\n"
            "  6 |   - {steps: }\n"
            "    |      ^\n"
            "  expected: the key expect in one of its steps\n"},
        Bad{"StepsAndAnEvent", "  - {event: start, steps: [{event: start, target: t, expect: {rules: []}}]}",
            "<stdin>:6:13: error: a test with both 'steps' and 'event'\n"
            "  6 |   - {event: start, steps: [{event: start, target: t, expect: {rules: []}}]}\n"
            "    |             ^\n"
            "  expected: the key event in the steps\n"},
        Bad{"BadSteps", "  - {steps: [{event: strt, target: t, expect: {rules: [glod]}}, {target: t, name: x}]}",
            "<stdin>:6:22: error: no policy-map handles the event 'strt'\n"
            "  6 |   - {steps: [{event: strt, target: t, expect: {rules: [glod]}}, {target: t, name: x}]}\n"
            "    |                      ^\n"
            "  expected: an event that a policy-map has under 'events'\n"
            "  did you mean 'start'?\n"
            "<stdin>:6:56: error: there is no rule or class-map 'glod'\n"
            "  6 |   - {steps: [{event: strt, target: t, expect: {rules: [glod]}}, {target: t, name: x}]}\n"
            "    |                                                        ^\n"
            "  expected: POLICY/EVENT/NUMBER, or the name of a class-map of this file\n"
            "  did you mean 'gold'?\n"
            "<stdin>:6:77: error: unknown key 'name' in a step of a test\n"
            "  6 |   - {steps: [{event: strt, target: t, expect: {rules: [glod]}}, {target: t, name: x}]}\n"
            "    |                                                                             ^\n"
            "  expected: one of the keys event, target, set, clear, expect\n"},
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
