// The complete output of zar for the examples.
#include "runner.h"
#include "scratch_file.h"

namespace {

using test::expect_golden;
using test::Result;
using test::run_zar;

class Examples : public testing::TestWithParam<const char *> {};

TEST_P(Examples, RunAsTheyAlwaysDid) {
  const std::string name = GetParam();
  const Result result = run_zar({"run", "examples/" + name + ".yaml"});
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.err, "");
  expect_golden(name + ".out", result.out);
}

TEST_P(Examples, AreGood) {
  const std::string path = "examples/" + std::string(GetParam()) + ".yaml";
  const Result result = run_zar({"check", path});
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.err, "");
  EXPECT_TRUE(result.out.starts_with(path + ": good: ")) << result.out;
}

INSTANTIATE_TEST_SUITE_P(All, Examples, testing::Values("broadband", "guest-network", "interface-qos"),
                         [](const auto &parameter) {
                           std::string name = parameter.param;
                           std::erase(name, '-');
                           return name;
                         });

TEST(Check, SaysWhatIsInAFile) {
  EXPECT_EQ(run_zar({"check", "examples/broadband.yaml"}).out,
            "examples/broadband.yaml: good: 2 policy-maps, 6 class-maps, 1 parameter-map, 3 targets\n");
}

TEST(Check, TakesSeveralFiles) {
  const Result result = run_zar({"check", "examples/broadband.yaml", "examples/interface-qos.yaml"});
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.out,
            "examples/broadband.yaml: good: 2 policy-maps, 6 class-maps, 1 parameter-map, 3 targets\n"
            "examples/interface-qos.yaml: good: 2 policy-maps, 7 class-maps, 0 parameter-maps, 1 target\n");
}

TEST(Check, OfSeveralFilesFailsWhenOneIsBad) {
  const Result result = run_zar({"check", "examples/broadband.yaml", "-"}, "clients: 7\n");
  EXPECT_EQ(result.code, 65);
  EXPECT_EQ(result.out, "examples/broadband.yaml: good: 2 policy-maps, 6 class-maps, 1 parameter-map, 3 targets\n");
  EXPECT_TRUE(result.err.starts_with("<stdin>:1:10: error: ")) << result.err;
}

TEST(Check, WritesAnObjectOfAllThatItFinds) {
  const Result result = run_zar({"check", "-", "--json"}, "clients: {a: {databse: own}}\n");
  EXPECT_EQ(result.code, 65);
  EXPECT_EQ(result.err, "");
  expect_golden("check/bad.json.out", result.out);
  const Result several = run_zar({"check", "examples/broadband.yaml", "-", "--json"}, std::string(17 << 20, '#'));
  EXPECT_EQ(several.code, 65);
  EXPECT_EQ(several.err, "");
  expect_golden("check/several.json.out", several.out);
}

TEST(Run, WritesAnObjectOfAllThatHappens) {
  const std::vector<std::string> arguments = {
      "run", "tests/command/policies/paths.yaml", "--event", "start@t", "--event", "other@t", "--json"};
  const Result result = run_zar(arguments);
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.err, "");
  expect_golden("run/two-events.json.out", result.out);
}

TEST(Run, OfNoEventsIsAnObjectToo) {
  EXPECT_EQ(run_zar({"run", "-", "--json"}, "domains: {d: }\n").out,
            "{\n"
            "  \"schema_version\": 1,\n"
            "  \"command\": \"run\",\n"
            "  \"files\": [\n"
            "    {\n"
            "      \"file\": \"<stdin>\",\n"
            "      \"sources\": [],\n"
            "      \"events\": []\n"
            "    }\n"
            "  ],\n"
            "  \"bad_files\": [],\n"
            "  \"file_errors\": []\n"
            "}\n");
}

TEST(Run, TakesSeveralFilesEachByItself) {
  const std::string text = "domains: {d: }\n";
  const Result result = run_zar({"run", "examples/broadband.yaml", "-", "examples/interface-qos.yaml"}, text);
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.out, "file examples/broadband.yaml\n\n" + run_zar({"run", "examples/broadband.yaml"}).out +
                            "\nfile -\n\n" + run_zar({"run", "-"}, text).out +
                            "\nfile examples/interface-qos.yaml\n\n" +
                            run_zar({"run", "examples/interface-qos.yaml"}).out);
}

TEST(Run, GoesOnBehindABadFile) {
  const Result result = run_zar({"run", "/nowhere", "-", "--json"}, "domains: {d: }\n");
  EXPECT_EQ(result.code, 65);
  EXPECT_EQ(result.err, "");
  EXPECT_NE(result.out.find("\"files\": [\n    {\n      \"file\": \"<stdin>\",\n"), std::string::npos) << result.out;
  EXPECT_NE(result.out.find("  \"bad_files\": [\n    \"/nowhere\"\n  ],\n"), std::string::npos) << result.out;
  EXPECT_NE(result.out.find("\"message\": \"cannot be opened: No such file or directory\""), std::string::npos)
      << result.out;
}

TEST(Files, CanOnlyOnceBeStandardInput) {
  const std::vector<std::vector<std::string>> lines = {
      {"check", "-", "-"}, {"diff", "-", "-"}, {"run", "-", "-"}, {"test", "-", "examples/broadband.yaml", "-"}};
  for (const std::vector<std::string> &line : lines) {
    const Result result = run_zar(line, "domains: {d: }\n");
    EXPECT_EQ(result.code, 2);
    EXPECT_EQ(result.err, "zar: standard input can be only one of the files\n");
  }
}

// The output without listings, which are the same as in the complete runs.
std::string events_of(const Result &result) {
  return result.out.substr(0, result.out.find("\nPolicy-maps"));
}

TEST(Run, RaisesTheEventsGivenInsteadOfTheScenario) {
  const Result result = run_zar({"run", "examples/guest-network.yaml", "--event", "roam@00:53:00:aa:01:01", "--event",
                                 "associate@00:53:00:aa:01:01"});
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(events_of(result),
            "[1] roam at 00:53:00:aa:01:01\n"
            "  policy-map guest-access, event roam match-all\n"
            "    rule 10, class-map guest-ssid match-all\n"
            "      1 count roams (was absent, now 1)\n"
            "  verdict: none\n"
            "[2] associate at 00:53:00:aa:01:01\n"
            "  policy-map guest-access, event associate match-first\n"
            "    rule 30, class-map fresh-visitor match-none\n"
            "      1 set acl portal-only (was absent)\n"
            "      2 set rate-kbps 512 (was absent)\n"
            "      3 permit\n"
            "  verdict: permit\n");
}

TEST(Run, ReadsStandardInput) {
  const Result result = run_zar({"run", "-"}, "domains: {d: }\n");
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.err, "");
}

TEST(Run, ShowsTheLibrarysMessagesWhenAsked) {
  const Result errors = run_zar({"run", "examples/broadband.yaml", "--trace", "error"});
  EXPECT_EQ(errors.err, "") << "a good file gives the library nothing to complain about";
  const Result all = run_zar({"run", "examples/broadband.yaml", "--trace", "info"});
  EXPECT_NE(all.err.find("(info): create_policy: successful, pmap:0x"), std::string::npos);
  EXPECT_EQ(all.err.find("(ERR)"), std::string::npos);
  EXPECT_EQ(all.out, errors.out);
}

TEST(Run, TellsOfAnEventThatNoActivePolicyHandles) {
  const Result result = run_zar({"run", "-"}, R"(
domains: {d: }
class-maps: {c: }
policy-maps:
  one: {events: {start: {rules: [{number: 1, class: c, actions: [permit]}]}}}
  other: {events: {stop: {rules: []}}}
targets:
  t: {policies: [one]}
scenario:
  - {event: stop, target: t}
)");
  EXPECT_EQ(events_of(result),
            "[1] stop at t\n"
            "  no active policy-map handles the event\n"
            "  verdict: none\n");
}

TEST(Run, TellsWhatTheScenarioChangesBeforeAnEvent) {
  const Result result = run_zar({"run", "-"}, R"(
domains: {d: }
class-maps:
  c: {filters: [{attribute: a, equals: two words}]}
policy-maps:
  p: {events: {e: {rules: [{number: 1, class: c, actions: [permit]}]}}}
targets:
  t: {policies: [p], attributes: {b: 1}}
scenario:
  - {event: e, target: t, set: {a: two words}, clear: [b]}
)");
  EXPECT_EQ(events_of(result),
            "[1] e at t\n"
            "  given: no b\n"
            "  given: a \"two words\"\n"
            "  policy-map p, event e match-all\n"
            "    rule 1, class-map c match-all\n"
            "      1 permit\n"
            "  verdict: permit\n");
}

TEST(Run, EndsEventsThatRaiseThemselves) {
  const Result result = run_zar({"run", "-"}, R"(
domains: {d: }
class-maps: {c: }
policy-maps:
  p: {events: {e: {rules: [{number: 1, class: c, actions: [{raise: e}]}]}}}
targets:
  t: {policies: [p]}
scenario:
  - {event: e, target: t}
)");
  EXPECT_EQ(result.code, 1);
  EXPECT_EQ(result.err, "");
  EXPECT_TRUE(
      events_of(result).ends_with("  and 5 more events and parameter-maps\n  verdict: none\n  error: <stdin>:5: more "
                                  "than 16 events are nested: raise e is refused\n"))
      << events_of(result);
  const Result json = run_zar({"run", "tests/command/policies/paths.yaml", "--event", "loop@t", "--json"});
  EXPECT_EQ(json.code, 1);
  EXPECT_NE(json.out.find("\"message\": \"more than 16 events are nested: raise loop is refused\""), std::string::npos);
}

constexpr const char *kBroadband = "examples/broadband.yaml";

TEST(Run, CanShowALineForEachEvent) {
  const Result result = run_zar({"run", kBroadband, "--summary"});
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.out,
            "1  session-start  line-0101  permit  service/session-start/10  examples/broadband.yaml:103\n"
            "2  session-start  line-0102  permit  service/session-start/10  examples/broadband.yaml:103\n"
            "3  session-start  line-0103  deny    service/session-start/20  examples/broadband.yaml:110\n"
            "4  volume-update  line-0102  none    -\n"
            "5  volume-update  line-0102  none    -\n"
            "6  session-start  line-0103  permit  service/session-start/10  examples/broadband.yaml:103\n"
            "7  session-stop   line-0101  none    -\n");
  const Result loop = run_zar({"run", "tests/command/policies/paths.yaml", "--event", "loop@t", "--summary"});
  EXPECT_EQ(loop.code, 1);
  EXPECT_EQ(loop.out, "1  loop  t  none    -  error: more than 16 events are nested: raise loop is refused\n");
}

TEST(Run, CanLeaveTheListingsOut) {
  const Result all = run_zar({"run", kBroadband});
  const Result result = run_zar({"run", kBroadband, "--no-listings"});
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.out, events_of(all));
  EXPECT_NE(result.out, all.out);
}

TEST(Run, RaisesAnEventOnAllTargetsThatFit) {
  const Result result = run_zar({"run", kBroadband, "--event", "volume-update@*02", "--event", "session-start@line-*",
                                 "--set", "unpaid-months=0", "--summary"});
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.out,
            "1  volume-update  line-0102  none    -\n"
            "2  session-start  line-0101  permit  service/session-start/10  examples/broadband.yaml:103\n"
            "3  session-start  line-0102  permit  service/session-start/10  examples/broadband.yaml:103\n"
            "4  session-start  line-0103  permit  service/session-start/10  examples/broadband.yaml:103\n");
}

TEST(Run, SetsAttributesBeforeTheFirstEventOfEachTarget) {
  const std::string file = R"(
domains: {d: }
class-maps: {c: }
policy-maps: {p: {events: {e: {rules: [{number: 1, class: c, actions: [{count: a}]}]}}}}
targets: {t: {policies: [p]}, u: {policies: [p]}}
scenario: [{event: e, target: t}, {event: e, target: t}, {event: e, target: u, clear: [a]}]
)";
  const Result result = run_zar({"run", "-", "--set", "a=7", "--no-listings"}, file);
  EXPECT_EQ(result.code, 0);
  EXPECT_NE(result.out.find("[1] e at t\n  given: a 7\n"), std::string::npos) << result.out;
  EXPECT_NE(result.out.find("count a (was 7, now 8)"), std::string::npos);
  EXPECT_NE(result.out.find("count a (was 8, now 9)"), std::string::npos) << "only before the first event";
  EXPECT_NE(result.out.find("[3] e at u\n  given: no a\n  policy-map"), std::string::npos) << "the event clears it";
  const Result wrong = run_zar({"run", "-", "--set", "b=7"}, file);
  EXPECT_EQ(wrong.code, 2);
  EXPECT_EQ(wrong.err, "zar: there is no attribute 'b'; did you mean 'a'?\n");
}

TEST(Run, TakesAScenarioFromAFileOfItsOwn) {
  const test::ScratchFile more("scenario: [{event: volume-update, target: line-0101}]\n", "more.yaml");
  const Result result = run_zar({"run", kBroadband, "--with", more.path(), "--summary"});
  EXPECT_EQ(result.code, 0);
  EXPECT_TRUE(result.out.ends_with("7  session-stop   line-0101  none    -\n8  volume-update  line-0101  none    -\n"))
      << result.out;
  const Result json = run_zar({"run", kBroadband, "--with", more.path(), "--json"});
  EXPECT_NE(json.out.find("\"sources\": [\n        \"" + more.path() + "\"\n      ]"), std::string::npos) << json.out;
  EXPECT_NE(
      json.out.find("\"number\": 8,\n          \"line\": 1,\n          \"column\": 12,\n          \"source\": 1,"),
      std::string::npos)
      << json.out;
}

}  // namespace
