// zar diff: the changes in a policy file, and the decisions that differ.
#include "runner.h"
#include "scratch_file.h"

namespace {

using test::expect_golden;
using test::Result;
using test::run_zar;
using test::ScratchFile;

constexpr const char *kOld = "tests/command/policies/diff-old.yaml";
constexpr const char *kNew = "tests/command/policies/diff-new.yaml";

TEST(Diff, TellsWhatChanged) {
  const Result result = run_zar({"diff", kOld, kNew});
  EXPECT_EQ(result.code, 1);
  EXPECT_EQ(result.err, "");
  expect_golden("diff/objects.out", result.out);
}

TEST(Diff, TellsTheSameTheOtherWayRound) {
  const Result result = run_zar({"diff", kNew, kOld});
  EXPECT_EQ(result.code, 1);
  expect_golden("diff/objects-reversed.out", result.out);
}

TEST(Diff, ReplaysAScenarioOnBothSides) {
  const Result result = run_zar({"diff", kOld, kNew, "--replay", kOld});
  EXPECT_EQ(result.code, 1);
  EXPECT_EQ(result.err, "");
  expect_golden("diff/replay.out", result.out);
}

TEST(Diff, WritesJson) {
  const Result result = run_zar({"diff", kOld, kNew, "--replay", kOld, "--json"});
  EXPECT_EQ(result.code, 1);
  expect_golden("diff/replay.json.out", result.out);
}

TEST(Diff, ExplainsAnEventThatIsNotThereOnOneSide) {
  const Result result = run_zar(
      {"diff", "examples/broadband.yaml", "examples/guest-network.yaml", "--replay", "examples/broadband.yaml"});
  EXPECT_EQ(result.code, 1);
  EXPECT_NE(result.out.find("\n7 of 7 events differ\n  7 in possible\n"), std::string::npos) << result.out;
  EXPECT_NE(result.out.find("\n  possible: yes -> no policy-map handles the event session-start\n"), std::string::npos);
  EXPECT_TRUE(
      result.out.ends_with("in examples/guest-network.yaml\n  no policy-map handles the event session-start\n"));
}

// A file with one rule, under the given names.
std::string small(const std::string &class_map, const std::string &target, const std::string &rest) {
  return "domains: {d: }\n"
         "class-maps: {" +
         class_map +
         ": {filters: [{attribute: service, equals: gold}]}}\n"
         "policy-maps: {p: {events: {start: {rules: [{number: 10, class: " +
         class_map +
         ", actions: [permit]}]}}}}\n"
         "targets: {" +
         target + ": {policies: [p], attributes: {service: gold}}}\n" + rest;
}

TEST(Diff, RefusesAScenarioThatFitsNeitherFile) {
  for (const char *json : {"", "--json"}) {
    std::vector<std::string> line = {"diff", "examples/broadband.yaml", "examples/broadband.yaml", "--replay",
                                     "examples/guest-network.yaml"};
    if (*json) line.emplace_back(json);
    const Result result = run_zar(line);
    EXPECT_EQ(result.code, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(
        result.err,
        "zar: examples/guest-network.yaml: the scenario fits neither file: none of its 8 events can be raised; the "
        "first, associate at 00:53:00:aa:01:01: no policy-map handles the event associate in "
        "examples/broadband.yaml, and no policy-map handles the event associate in examples/broadband.yaml\n");
  }
}

TEST(Diff, RefusesAReplayOfNothing) {
  const ScratchFile file(small("gold", "t", ""));
  const Result result = run_zar({"diff", file.path(), file.path(), "--replay", file.path()});
  EXPECT_EQ(result.code, 2);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "zar: " + file.path() + ": there is no scenario to replay\n");
}

TEST(Diff, CountsEventsThatNeitherSideKnows) {
  const ScratchFile old_file(small("gold", "t", ""), "old.yaml");
  const std::string two_targets =
      "domains: {d: }\npolicy-maps: {p: {events: {start: {rules: []}}}}\n"
      "targets: {t: {policies: [p]}, u: {policies: [p]}}\n"
      "scenario: [{event: start, target: t}, {event: start, target: u}]\n";
  const Result result = run_zar({"diff", old_file.path(), old_file.path(), "--replay", "-"}, two_targets);
  EXPECT_EQ(result.code, 0) << result.err;
  EXPECT_EQ(result.out, "0 added, 0 removed, 0 changed\n0 of 2 events differ\n  1 can be raised on neither side\n");
}

TEST(Diff, FindsWhatWasRenamed) {
  const std::string scenario = "scenario: [{event: start, target: t}]\n";
  const ScratchFile before(small("gold", "t", scenario), "old.yaml");
  const ScratchFile after(small("premium", "line-1", ""), "new.yaml");
  const Result result = run_zar({"diff", before.path(), after.path(), "--replay", before.path()});
  EXPECT_EQ(result.code, 1);
  EXPECT_EQ(result.out, "renamed " + before.path() + ":2 -> " + after.path() + ":2: class-map gold -> premium\n" +
                            "renamed " + before.path() + ":4 -> " + after.path() + ":4: target t -> line-1\n" +
                            "0 added, 0 removed, 0 changed, 2 renamed\n0 of 1 events differ\n");
  const Result back = run_zar({"diff", after.path(), before.path(), "--replay", before.path()});
  EXPECT_EQ(back.code, 1);
  EXPECT_NE(back.out.find(": class-map premium -> gold\n"), std::string::npos) << back.out;
  EXPECT_NE(back.out.find("\n0 of 1 events differ\n"), std::string::npos) << back.out;
}

// Everything that has a name, in terms of the given names.
std::string everything(const std::string &client, const std::string &domain, const std::string &class_map,
                       const std::string &map, const std::string &event, const std::string &policy,
                       const std::string &target) {
  return "clients: {" + client + ": {database: own}}\n" + "domains: {" + domain + ": {owner: " + client + "}}\n" +
         "class-maps: {" + class_map + ": {domain: " + domain + ", match: any}}\n" + "parameter-maps: {" + map +
         ": {statements: [{index: 1, filters: [{attribute: a, present: true}], actions: [{raise: " + event +
         "}, {apply: " + map + "}]}]}}\n" + "policy-maps: {" + policy + ": {events: {" + event +
         ": {rules: [{number: 1, class: " + class_map + ", actions: [{raise: " + event + "}]}]}}}}\n" + "targets: {" +
         target + ": {client: " + client + ", policies: [" + policy + "]}}\n" + "scenario: [{event: " + event +
         ", target: " + target + "}]\n";
}

TEST(Diff, FindsWhatWasRenamedTogether) {
  const ScratchFile before(everything("c", "d", "always", "m", "e", "p", "t"), "old.yaml");
  const ScratchFile after(everything("c2", "d2", "always2", "m2", "e2", "p2", "t2"), "new.yaml");
  for (const ScratchFile *scenario : {&before, &after}) {
    const Result result = run_zar({"diff", before.path(), after.path(), "--replay", scenario->path()});
    EXPECT_EQ(result.code, 1);
    EXPECT_TRUE(result.out.ends_with("\n0 added, 0 removed, 0 changed, 7 renamed\n0 of 1 events differ\n"))
        << result.out;
    for (const char *rename : {"client c -> c2", "domain d -> d2", "class-map always -> always2",
                               "parameter-map m -> m2", "event e -> e2", "policy-map p -> p2", "target t -> t2"}) {
      EXPECT_NE(result.out.find(std::string(": ") + rename + "\n"), std::string::npos) << rename << "\n" << result.out;
    }
  }
}

TEST(Diff, DoesNotCallItARenameWhenTheContentsAreOther) {
  const ScratchFile before(small("gold", "t", ""), "old.yaml");
  std::string text = small("premium", "t", "");
  text.replace(text.find("equals: gold"), 12, "prefix: gold");
  const Result result = run_zar({"diff", before.path(), "-"}, text);
  EXPECT_EQ(result.code, 1);
  EXPECT_TRUE(result.out.ends_with("\n1 added, 1 removed, 1 changed\n")) << result.out;
}

TEST(Diff, DoesNotGuessWhichOfTwoEqualObjectsWasRenamed) {
  const ScratchFile before("domains: {d: }\nclass-maps: {a: , b: }\n", "old.yaml");
  const Result result = run_zar({"diff", before.path(), "-"}, "domains: {d: }\nclass-maps: {c: , e: }\n");
  EXPECT_TRUE(result.out.ends_with("\n2 added, 2 removed, 0 changed\n")) << result.out;
}

// A parameter-map whose statements have the given indices.
std::string statements(const std::string &first, const std::string &second) {
  return "parameter-maps:\n"
         "  m:\n"
         "    statements:\n"
         "      - {index: " +
         first + ", filters: [{attribute: a, equals: 1}], actions: [permit]}\n" + "      - {index: " + second +
         ", filters: [{attribute: a, present: true}], actions: [deny]}\n";
}

TEST(Diff, FindsStatementsThatWereRenumbered) {
  const ScratchFile before(statements("10", "20"), "old.yaml");
  const Result result = run_zar({"diff", before.path(), "-"}, statements("10", "30"));
  EXPECT_EQ(result.code, 1);
  EXPECT_EQ(result.out, "renamed " + before.path() +
                            ":5 -> <stdin>:5: statement m/20 -> m/30\n"
                            "0 added, 0 removed, 0 changed, 1 renamed\n");
}

TEST(Diff, CallsStatementsChangedThatOvertakeOthers) {
  const ScratchFile before(statements("10", "20"), "old.yaml");
  const Result result = run_zar({"diff", before.path(), "-"}, statements("30", "20"));
  EXPECT_EQ(result.code, 1);
  EXPECT_EQ(result.out, "changed " + before.path() +
                            ":4 -> <stdin>:4: statement m/10\n"
                            "  index: 10 -> 30\n"
                            "0 added, 0 removed, 1 changed\n");
}

TEST(Diff, FindsNothingBetweenAFileAndItself) {
  for (const char *name : {"broadband", "guest-network", "interface-qos"}) {
    const std::string path = std::string("examples/") + name + ".yaml";
    const Result result = run_zar({"diff", path, path, "--replay", path});
    EXPECT_EQ(result.code, 0);
    EXPECT_TRUE(result.out.starts_with("0 added, 0 removed, 0 changed\n0 of ")) << result.out;
  }
}

// A file with the given filters of one class-map and the given rules.
std::string policy(const std::string &filters, const std::string &rules) {
  return "domains: {d: }\n"
         "class-maps:\n"
         "  a: {filters: [" +
         filters +
         "]}\n"
         "  b: {}\n"
         "policy-maps: {p: {events: {e: {rules: [" +
         rules +
         "]}}}}\n"
         "targets: {t: {policies: [p]}}\n"
         "scenario: [{event: e, target: t}]\n";
}

TEST(Diff, DoesNotCountWhatDecidesNothing) {
  const std::string text = policy("{attribute: x, equals: 1}, {attribute: y, range: {max: 5}}",
                                  "{number: 1, class: a, actions: [permit, {log: hello}]}, "
                                  "{number: 2, class: b, actions: []}");
  const std::string same =
      "# A remark.\n\n" + policy("{attribute: y, range: {max: 5}, no-match: false}, {equals: '1', attribute: x}",
                                 "{number: 2, class: b, execute: stop-on-failure, actions: []}, "
                                 "{number: 1, class: a, actions: [{permit: , number: 3}, {log: hello, number: 200}]}");
  const ScratchFile file(text);
  const Result result = run_zar({"diff", file.path(), "-", "--replay", file.path()}, same);
  EXPECT_EQ(result.code, 0) << result.err;
  EXPECT_EQ(result.out, "0 added, 0 removed, 0 changed\n0 of 1 events differ\n");
}

TEST(Diff, TellsWhatRulesDecideThatChangedPlaces) {
  const ScratchFile file(
      policy("", "{number: 1, class: a, actions: [permit]}, {number: 2, class: b, actions: [deny]}"));
  const Result result =
      run_zar({"diff", file.path(), "-", "--replay", file.path()},
              policy("", "{number: 2, class: a, actions: [permit]}, {number: 1, class: b, actions: [deny]}"));
  EXPECT_EQ(result.code, 1);
  EXPECT_NE(result.out.find("  verdict: deny -> permit\n  rules: p/e a, p/e b -> p/e b, p/e a\n"), std::string::npos)
      << result.out;
}

TEST(Diff, RefusesBadFilesAllAtOnce) {
  const Result result = run_zar({"diff", "/nowhere", "/nowhere-else"});
  EXPECT_EQ(result.code, 65);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err,
            "/nowhere: error: cannot be opened: No such file or directory\n  expected: a policy file\n"
            "/nowhere-else: error: cannot be opened: No such file or directory\n  expected: a policy file\n");
  EXPECT_EQ(run_zar({"diff", kOld, kNew, "--replay", "/nowhere"}).code, 65);
  EXPECT_EQ(run_zar({"diff", kOld}).code, 2);
}

// ---- Streams ------------------------------------------------------------------------------------------------------------------

constexpr const char *kDiffStream = "tests/command/policies/diff.jsonl";

TEST(DiffOfAStream, IsATableOfDecisions) {
  const Result result = run_zar({"diff", kOld, kNew, "--replay", kDiffStream});
  // The target of line 8 is gone on both sides.
  EXPECT_EQ(result.code, 65);
  EXPECT_EQ(result.err, std::string(kDiffStream) + ":8: error: there is no target 'w'\n");
  expect_golden("diff/stream.out", result.out.substr(result.out.find(" lines differ\n") - 6));
}

TEST(DiffOfAStream, CanBeJson) {
  const Result result = run_zar({"diff", kOld, kNew, "--replay", kDiffStream, "--json"});
  EXPECT_EQ(result.code, 65);
  expect_golden("diff/stream.json.out", result.out.substr(result.out.find("\"replay\"")));
}

TEST(DiffOfAStream, OfAFileWithItselfShowsNothing) {
  const Result result = run_zar({"diff", kNew, kNew, "--replay", kDiffStream});
  EXPECT_EQ(result.code, 65);
  EXPECT_NE(result.out.find("\n0 of 7 lines differ\n"), std::string::npos) << result.out;
  const ScratchFile good("{\"event\": \"start\", \"target\": \"t\"}\n", "good.jsonl");
  EXPECT_EQ(run_zar({"diff", kNew, kNew, "--replay", good.path()}).code, 0);
}

TEST(DiffOfAStream, TakesTheOldNamesAndTheNewOnes) {
  const std::string rest = R"(
domains: {d: }
class-maps: {all: {}}
policy-maps: {POLICY: {events: {EVENT: {rules: [{number: 1, class: all, actions: [{set: {a: 1}}, permit]}]}}}}
targets: {TARGET: {policies: [POLICY], attributes: {a: 2}}}
)";
  const auto with = [&](const std::string &suffix) {
    std::string text = rest;
    for (const std::string name : {"POLICY", "EVENT", "TARGET"}) {
      for (size_t at = text.find(name); at != std::string::npos; at = text.find(name))
        text.replace(at, name.size(), std::string(1, static_cast<char>(name[0] + 'a' - 'A')) + suffix);
    }
    return text;
  };
  const ScratchFile before(with("-old"), "before.yaml");
  const ScratchFile after(with("-new"), "after.yaml");
  const ScratchFile stream(
      "{\"event\": \"e-old\", \"target\": \"t-new\"}\n"
      "{\"add-target\": \"x\", \"policies\": [\"p-new\"]}\n"
      "{\"event\": \"e-new\", \"target\": \"x\"}\n"
      "{\"delete-target\": \"t-old\"}\n",
      "events.jsonl");
  const Result result = run_zar({"diff", before.path(), after.path(), "--replay", stream.path()});
  EXPECT_NE(result.out.find("\n0 of 4 lines differ\n"), std::string::npos) << result.out << result.err;
  EXPECT_EQ(result.err, "");
}

TEST(DiffOfAStream, ThatIsMissingIsAnError) {
  const Result result = run_zar({"diff", kOld, kNew, "--replay", "/nowhere.jsonl"});
  EXPECT_EQ(result.code, 65);
  EXPECT_EQ(result.err, "/nowhere.jsonl: error: cannot be opened: No such file or directory\n");
}

}  // namespace
