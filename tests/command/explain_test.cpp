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

size_t count_of(const std::string &text, const std::string &part) {
  size_t count = 0;
  for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
    ++count;
  return count;
}

TEST(Explain, SaysOnceThatALimitStoppedTheEvent) {
  const std::string error =
      "tests/command/policies/paths.yaml:44    error: more than 16 events are nested: raise loop is refused\n";
  for (const char *level : {"decision", "rules", "filters"}) {
    const Result result = run_zar({"explain", kPaths, "--event", "loop@t", "--level", level});
    EXPECT_EQ(result.code, 1);
    EXPECT_EQ(result.err, "");
    EXPECT_TRUE(result.out.ends_with(error)) << result.out;
    EXPECT_EQ(count_of(result.out, "error"), 1u);
    EXPECT_LT(count_of(result.out, "\n"), 80u) << "only a part is shown";
  }
  const Result decision = run_zar({"explain", kPaths, "--event", "loop@t", "--level", "decision"});
  EXPECT_NE(decision.out.find("    and 6 more rules that ran\n"), std::string::npos) << decision.out;
  EXPECT_NE(decision.out.find("    and 6 more changes\n"), std::string::npos) << decision.out;
  const Result json = run_zar({"explain", kPaths, "--event", "loop@t", "--level", "decision", "--json"});
  EXPECT_EQ(json.code, 1);
  EXPECT_NE(json.out.find("    \"error\": {\n"
                          "      \"message\": \"more than 16 events are nested: raise loop is refused\",\n"
                          "      \"refused\": 1,\n"
                          "      \"line\": 44,\n"),
            std::string::npos)
      << json.out;
}

// A file with an event 'e' on a target 't' and the given rules and parameter-maps.
std::string policy(const std::string &rules, const std::string &rest = "") {
  return "domains: {d: }\n"
         "class-maps: {always: , adult: {filters: [{attribute: age, range: {min: 18}}]}}\n"
         "policy-maps: {p: {events: {e: {rules: [" +
         rules +
         "]},\n"
         "  inner: {rules: [{number: 1, class: always, actions: [deny]}]}}}}\n"
         "targets: {t: {policies: [p]}}\n" +
         rest;
}

TEST(Explain, CountsWhatTheLimitsRefused) {
  const std::string twice = "{number: 1, class: always, execute: run-all, actions: [{raise: e}, {raise: e}]}";
  const Result events = run_zar({"explain", "-", "--event", "e@t"}, policy(twice));
  EXPECT_EQ(events.code, 1);
  EXPECT_NE(events.out.find("error: more than 16 events are nested: raise e is refused, and 1001 more\n"),
            std::string::npos)
      << events.out;
  EXPECT_LT(count_of(events.out, "\n"), 80u);

  const std::string map =
      "parameter-maps: {m: {statements: [{index: 1, filters: [{attribute: no, present: true, no-match: true}],\n"
      "  actions: [{apply: m}]}]}}\n";
  const Result maps =
      run_zar({"explain", "-", "--event", "e@t"}, policy("{number: 1, class: always, actions: [{apply: m}]}", map));
  EXPECT_EQ(maps.code, 1);
  EXPECT_NE(maps.out.find("error: more than 16 parameter-maps are nested: apply m is refused\n"), std::string::npos)
      << maps.out;

  std::string classes;
  std::string many;
  for (const std::string number : {"1", "2", "3", "4", "5"}) {
    classes += "c" + number + ": , ";
    many += "{number: " + number + ", class: c" + number + ", execute: run-all, actions: [";
    for (int action = 1; action <= 250; ++action)
      many += "{raise: inner}, ";
    many += "]}, ";
  }
  const Result wide =
      run_zar({"explain", "-", "--event", "e@t"},
              "domains: {d: }\nclass-maps: {" + classes + "}\npolicy-maps: {p: {events: {e: {rules: [" + many +
                  "]}, inner: {rules: [{number: 1, class: c1, actions: [deny]}]}}}}\n"
                  "targets: {t: {policies: [p]}}\n");
  EXPECT_EQ(wide.code, 1) << wide.err;
  EXPECT_TRUE(
      wide.out.ends_with("    and 990 more events and parameter-maps\n"
                         "<stdin>:3    error: more than 1000 events and parameter-maps come of one event: raise "
                         "inner is refused, and 249 more\n"))
      << wide.out;
  EXPECT_LT(count_of(wide.out, "\n"), 80u);
}

TEST(Explain, SaysThatTheVerdictOfARaisedEventIsItsOwn) {
  const std::string file = policy("{number: 1, class: always, actions: [permit, {raise: inner}]}");
  const Result rules = run_zar({"explain", "-", "--event", "e@t"}, file);
  EXPECT_EQ(rules.code, 0);
  EXPECT_TRUE(rules.out.starts_with("<stdin>:5  e at t: permit\n")) << rules.out;
  EXPECT_NE(rules.out.find("  event inner: deny, but that decides only this inner event\n"), std::string::npos)
      << rules.out;
  const Result decision = run_zar({"explain", "-", "--event", "e@t", "--level", "decision"}, file);
  EXPECT_NE(decision.out.find("<stdin>:3    event inner: deny, but that decides only this inner event\n"),
            std::string::npos)
      << decision.out;
  const Result same = run_zar({"explain", "-", "--event", "e@t", "--level", "decision"},
                              policy("{number: 1, class: always, execute: run-all, actions: [deny, {raise: inner}]}"));
  EXPECT_EQ(same.out.find("decides only"), std::string::npos) << "both are denied: " << same.out;
}

TEST(Explain, SaysWhyAValueIsInNoRange) {
  const std::string file = policy("{number: 1, class: adult, actions: [permit]}");
  const auto explained = [&](const std::string &age) {
    return run_zar({"explain", "-", "--event", "e@t", "--set", "age=" + age}, file).out;
  };
  const std::string front = "age range 18.. does not hold: age is ";
  for (const char *age : {"7.0", "+7", "1e3", "abc", "0x20"}) {
    EXPECT_NE(explained(age).find(front + age + ", which is not a whole number\n"), std::string::npos)
        << explained(age);
  }
  for (const char *age : {"99999999999999999999", "-99999999999999999999"}) {
    EXPECT_NE(explained(age).find(front + age + ", which is beyond 64 bits\n"), std::string::npos) << explained(age);
  }
  EXPECT_NE(explained("7").find(front + "7\n"), std::string::npos);
  EXPECT_NE(explained("18").find("age range 18.. holds: age is 18\n"), std::string::npos);
}

TEST(Explain, SaysWhyACountBeginsAnew) {
  const std::string file = policy("{number: 1, class: always, actions: [{count: age}]}");
  const Result text = run_zar({"explain", "-", "--event", "e@t", "--set", "age=abc"}, file);
  EXPECT_NE(text.out.find("count age, age: abc -> 1 (abc is not a whole number)\n"), std::string::npos) << text.out;
  const Result number = run_zar({"explain", "-", "--event", "e@t", "--set", "age=7"}, file);
  EXPECT_NE(number.out.find("count age, age: 7 -> 8\n"), std::string::npos) << number.out;
}

TEST(Explain, ShowsTheVerdictsOnManyTargets) {
  const Result result = run_zar({"explain", kBroadband, "--event", "session-start@*"});
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.out,
            "session-start at 3 targets\n"
            "permit  service/session-start/10, class-map always (examples/broadband.yaml:109)\n"
            "        2 targets: line-0101, line-0102\n"
            "deny    service/session-start/20, class-map unauthorised (examples/broadband.yaml:116)\n"
            "        1 target: line-0103\n");
  const Result some = run_zar({"explain", kBroadband, "--event", "volume-update@*-*2", "--set", "volume-left=9"});
  EXPECT_EQ(some.out,
            "volume-update at 1 target\n"
            "none    no rule matches\n"
            "        1 target: line-0102\n");
  const Result none = run_zar({"explain", kBroadband, "--event", "session-start@lime-*"});
  EXPECT_EQ(none.code, 2);
  EXPECT_EQ(none.err, "zar: no target of examples/broadband.yaml fits 'lime-*'\n");
  const Result wrong = run_zar({"explain", kBroadband, "--event", "session-strt@*"});
  EXPECT_EQ(wrong.code, 2);
  EXPECT_EQ(wrong.err, "zar: there is no event 'session-strt'; did you mean 'session-start'?\n");
}

TEST(Explain, GroupsTargetsByTheReasonForNoVerdict) {
  const Result result = run_zar({"explain", kPaths, "--event", "other@*"});
  EXPECT_EQ(result.out,
            "other at 2 targets\n"
            "none    no active policy-map handles the event\n"
            "        1 target: t\n"
            "none    no rule matches\n"
            "        1 target: u\n");
  const Result loop = run_zar({"explain", kPaths, "--event", "loop@*"});
  EXPECT_EQ(loop.code, 1);
  EXPECT_EQ(loop.out,
            "loop at 2 targets\n"
            "none    error: more than 16 events are nested: raise loop is refused\n"
            "        2 targets: t, u\n");
  const Result json = run_zar({"explain", kBroadband, "--event", "session-stop@*", "--json"});
  EXPECT_EQ(json.code, 0);
  EXPECT_NE(
      json.out.find("\"reason\": \"no rule that ran decides\",\n        \"targets\": [\n          \"line-0101\",\n"),
      std::string::npos)
      << json.out;
}

TEST(Explain, NamesTheFirstTenTargetsOfAGroup) {
  std::string targets;
  for (int number = 10; number < 23; ++number)
    targets += "  x" + std::to_string(number) + ": {policies: [p]}\n";
  const std::string file = "domains: {d: }\npolicy-maps: {p: {events: {e: {rules: []}}}}\ntargets:\n" + targets;
  const Result result = run_zar({"explain", "-", "--event", "e@x*"}, file);
  EXPECT_EQ(result.out,
            "e at 13 targets\n"
            "none    no rule matches\n"
            "        13 targets: x10, x11, x12, x13, x14, x15, x16, x17, x18, x19 and 3 more\n");
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
