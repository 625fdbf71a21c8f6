// zar config: the repository alone is enough to write its whole configuration.
#include <algorithm>
#include <filesystem>
#include <limits>

#include "runner.h"
#include "simulator/inventory/read.h"
#include "simulator/policy/parse_text.h"
#include "simulator/policy/write.h"
#include "simulator/repository/repository.h"

namespace {

using test::expect_golden;
using test::Result;
using test::run_zar;

constexpr const char *kHard = "tests/command/policies/config.yaml";

// The examples and the policy files of the tests, by their paths from the root of the project.
std::vector<std::string> policy_files() {
  std::vector<std::string> paths;
  for (const std::string folder : {"examples", "tests/command/policies"}) {
    for (const auto &entry : std::filesystem::directory_iterator(std::string(ZAR_SOURCE_DIR) + "/" + folder)) {
      if (entry.path().extension() == ".yaml") paths.push_back(folder + "/" + entry.path().filename().string());
    }
  }
  std::sort(paths.begin(), paths.end());
  return paths;
}

class Config : public testing::TestWithParam<std::string> {};

TEST_P(Config, GivesTheSameTextAgainOnceItIsLoaded) {
  const Result first = run_zar({"config", GetParam()});
  ASSERT_EQ(first.code, 0) << first.err;
  EXPECT_EQ(first.err, "");
  const Result second = run_zar({"config", "-"}, first.out);
  EXPECT_EQ(second.code, 0) << second.err;
  EXPECT_EQ(second.out, first.out);
}

TEST_P(Config, MakesAnEqualRepositoryThatDecidesTheSame) {
  const Result config = run_zar({"config", GetParam()});
  std::vector<std::string> line = {"diff", GetParam(), "-"};
  const bool has_scenario = !run_zar({"run", GetParam(), "--summary"}).out.empty();
  if (has_scenario) line.insert(line.end(), {"--replay", GetParam()});
  const Result diff = run_zar(line, config.out);
  EXPECT_EQ(diff.code, 0) << diff.out << diff.err;
  EXPECT_TRUE(diff.out.starts_with("0 added, 0 removed, 0 changed\n")) << diff.out;
}

// The objects are compared above; this compares the order of those for which order matters.
TEST_P(Config, KeepsTheIdsOfEventsAndTheOrderOfTargets) {
  simulator::Diagnostics diagnostics;
  const simulator::Source source = simulator::Source::read(std::string(ZAR_SOURCE_DIR) + "/" + GetParam(), diagnostics);
  const std::optional<simulator::PolicyFile> file = simulator::load(source, diagnostics);
  ASSERT_TRUE(file.has_value());
  simulator::Repository repository(*file);
  ASSERT_TRUE(repository.build());
  simulator::Complaints problems;
  const std::optional<simulator::PolicyFile> running = simulator::inventory::read(repository, problems);
  ASSERT_TRUE(running.has_value()) << problems.front();

  EXPECT_EQ(running->events, file->events);
  EXPECT_EQ(test::load_good(write_objects(*running)).events, file->events);
  ASSERT_EQ(running->targets.size(), file->targets.size());
  for (size_t at = 0; at < file->targets.size(); ++at)
    EXPECT_EQ(running->targets[at].name.value, file->targets[at].name.value);
}

INSTANTIATE_TEST_SUITE_P(OfGoodFiles, Config, testing::ValuesIn(policy_files()), [](const auto &parameter) {
  std::string name = parameter.param;
  const auto is_in_no_name = [](unsigned char character) { return !std::isalnum(character); };
  std::replace_if(name.begin(), name.end(), is_in_no_name, '_');
  return name;
});

TEST(Config, IsAPolicyFile) {
  expect_golden("config/broadband.out", run_zar({"config", "examples/broadband.yaml"}).out);
  expect_golden("config/hard.out", run_zar({"config", kHard}).out);
}

TEST(Config, IsGivenAsDataToo) {
  const Result result = run_zar({"config", kHard, "--json"});
  EXPECT_EQ(result.code, 0);
  expect_golden("config/hard.json.out", result.out);
}

TEST(Config, OfNothingIsAFileThatLoads) {
  const Result result = run_zar({"config", "-"}, "targets: {}\n");
  EXPECT_EQ(result.code, 0) << result.err;
  EXPECT_EQ(result.out, "{}\n");
  EXPECT_EQ(run_zar({"config", "-"}, result.out).out, "{}\n");
}

// The repository keeps only one of two equal filters of a statement.
TEST(Config, HasWhatTheRepositoryKeepsRatherThanWhatTheFileSaid) {
  const Result result = run_zar({"config", "-"},
                                "parameter-maps: {m: {statements: [{index: 1, filters: "
                                "[{attribute: a, equals: x}, {attribute: a, equals: x}], actions: []}]}}\n");
  EXPECT_EQ(result.out,
            "parameter-maps:\n"
            "  m:\n"
            "    statements:\n"
            "      - index: 1\n"
            "        filters:\n"
            "          - {attribute: a, equals: x}\n"
            "        actions: []\n");
}

TEST(Config, DoesNotDependOnTheOrderInWhichAFileHasItsMaps) {
  const std::string front =
      "domains: {d: }\n"
      "class-maps: {b: {filters: [{attribute: y, present: true}, {attribute: x, present: true}]}, a: }\n"
      "policy-maps: {p: {events: {e: {rules: [";
  const std::string one = "{number: 1, class: a, actions: [permit]}";
  const std::string two = "{number: 2, class: b, actions: []}";
  const std::string back = "]}}}}\ntargets: {t: {policies: [p], attributes: {y: 1, x: 2}}}\n";
  const Result result = run_zar({"config", "-"}, front + one + ", " + two + back);
  EXPECT_EQ(result.code, 0) << result.err;
  EXPECT_EQ(run_zar({"config", "-"}, front + two + ", " + one + back).out, result.out);
}

TEST(Config, LeavesOutTheScenarioAndTheTests) {
  const std::string text = run_zar({"config", "examples/guest-network.yaml"}).out;
  EXPECT_EQ(text.find("scenario"), std::string::npos);
  EXPECT_EQ(text.find("tests"), std::string::npos);
  EXPECT_EQ(text.find("too many tries"), std::string::npos);
  // The attributes are those of the file, not those after the scenario.
  EXPECT_NE(text.find("      ssid: guest-lobby\n"), std::string::npos) << text;
  EXPECT_EQ(text.find("roams: 1"), std::string::npos);
}

TEST(Config, RefusesABadFile) {
  const Result result = run_zar({"config", "-"}, "clients: 7\n");
  EXPECT_EQ(result.code, 65);
  EXPECT_EQ(result.out, "");
  EXPECT_TRUE(result.err.starts_with("<stdin>:1:10: error: ")) << result.err;
  EXPECT_EQ(run_zar({"config"}).code, 2);
  EXPECT_EQ(run_zar({"config", kHard, "more"}).code, 2);
}

// ---- From texts back to the model ---------------------------------------------------------------------------------------------

TEST(FilterTexts, AreReadAsTheyWereWritten) {
  constexpr int64_t kLowest = std::numeric_limits<int64_t>::min();
  constexpr int64_t kHighest = std::numeric_limits<int64_t>::max();
  for (const char *text :
       {"a equals b", "a equals \"\"", "a prefix \"two words\"", "a regex ^x|y$", "a regex \"a\\\\\\\"\\n\\x01\"",
        "a present", "a range 1..2", "a range -5..", "a range ..-5", "a range ..", "a equals ü"}) {
    const std::optional<simulator::Filter> filter = simulator::parse_filter(text);
    ASSERT_TRUE(filter.has_value()) << text;
    EXPECT_EQ(to_string(*filter), text);
  }
  const std::optional<simulator::Filter> open = simulator::parse_filter("a range 7..");
  EXPECT_EQ(open->low, 7);
  EXPECT_EQ(open->high, kHighest);
  EXPECT_EQ(simulator::parse_filter("a range ..7")->low, kLowest);
  EXPECT_EQ(simulator::parse_filter("a equals \"x \\\"y\\\\\\n\\x7f\"")->text, "x \"y\\\n\x7f");
}

TEST(ActionTexts, AreReadAsTheyWereWritten) {
  for (const char *text : {"set a b", "set a \"\"", "set a \"b c\"", "clear a", "count a", "log \"\"", "log \"a b\"",
                           "permit", "deny", "raise e", "apply m"}) {
    const std::optional<simulator::Action> action = simulator::parse_action(text);
    ASSERT_TRUE(action.has_value()) << text;
    EXPECT_EQ(to_string(*action), text);
  }
  EXPECT_EQ(simulator::parse_action("set a \"b c\"")->text, "b c");
  EXPECT_EQ(simulator::parse_action("set a \"b c\"")->subject.value, "a");
}

TEST(Texts, ThatNobodyWroteAreRefused) {
  for (const char *text : {"", "a", "a is b", "a equals", "a equals two words", "a equals \"open", "a equals \"x\" y",
                           "a equals \"\\q\"", "a equals \"\\x4\"", "a equals \"\\xzz\"", "a present x", "a range 5",
                           "a range x..", "a range 1..2x", " equals b"})
    EXPECT_FALSE(simulator::parse_filter(text).has_value()) << text;
  for (const char *text : {"", "sing", "set a", "set", "log a", "log", "clear", "clear a b", "permit x", "raise "})
    EXPECT_FALSE(simulator::parse_action(text).has_value()) << text;
}

}  // namespace
