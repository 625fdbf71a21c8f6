// zar diff: the changes in a policy file, and the decisions that differ.
#include <cstdio>
#include <fstream>

#include "runner.h"

namespace {

using test::expect_golden;
using test::Result;
using test::run_zar;

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

TEST(Diff, TellsOfEventsThatNeitherSideKnows) {
  const Result result = run_zar(
      {"diff", "examples/broadband.yaml", "examples/broadband.yaml", "--replay", "examples/guest-network.yaml"});
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.out, "0 added, 0 removed, 0 changed\n0 of 8 events differ\n  8 can be raised on neither side\n");
}

TEST(Diff, FindsNothingBetweenAFileAndItself) {
  for (const char *name : {"broadband", "guest-network", "interface-qos"}) {
    const std::string path = std::string("examples/") + name + ".yaml";
    const Result result = run_zar({"diff", path, path, "--replay", path});
    EXPECT_EQ(result.code, 0);
    EXPECT_TRUE(result.out.starts_with("0 added, 0 removed, 0 changed\n0 of ")) << result.out;
  }
}

// A file that exists as long as this object.
class ScratchFile {
 public:
  explicit ScratchFile(const std::string &text)
      : path_(testing::TempDir() + "zar-" + testing::UnitTest::GetInstance()->current_test_info()->name() + ".yaml") {
    std::ofstream(path_, std::ios::binary) << text;
  }
  ~ScratchFile() { std::remove(path_.c_str()); }
  ScratchFile(const ScratchFile &) = delete;
  ScratchFile &operator=(const ScratchFile &) = delete;

  const std::string &path() const { return path_; }

 private:
  std::string path_;
};

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

}  // namespace
