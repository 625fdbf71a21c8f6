// zar lint: it finds faults, and every claim it makes is true.
#include <nlohmann/json.hpp>

#include <random>

#include "runner.h"
#include "simulator/lint/findings.h"

namespace {

using simulator::lint::Can;
using simulator::lint::matches;
using simulator::lint::that_does_not_match;
using simulator::lint::that_matches;
using test::expect_golden;
using test::load_good;
using test::Result;
using test::run_zar;

constexpr const char *kLint = "tests/command/policies/lint.yaml";

TEST(Lint, FindsSomethingOfEverything) {
  const Result result = run_zar({"lint", kLint});
  EXPECT_EQ(result.code, 1);
  EXPECT_EQ(result.err, "");
  expect_golden("lint/lint.out", result.out);
}

TEST(Lint, WritesJson) {
  const Result result = run_zar({"lint", kLint, "--json"});
  EXPECT_EQ(result.code, 1);
  expect_golden("lint/lint.json.out", result.out);
}

TEST(Lint, IsContentWithAGoodFile) {
  for (const char *name : {"guest-network", "interface-qos"}) {
    const Result result = run_zar({"lint", std::string("examples/") + name + ".yaml"});
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.out + result.err, "");
  }
}

TEST(Lint, TellsOfAClassMapThatNoRuleHas) {
  const Result result = run_zar({"lint", "examples/broadband.yaml"});
  EXPECT_EQ(result.code, 1);
  EXPECT_EQ(result.out,
            "examples/broadband.yaml:29:3: unused-class: class-map authorised is not used: no rule has it\n"
            "  29 |   authorised:\n"
            "     |   ^\n");
}

TEST(Lint, RefusesABadFile) {
  EXPECT_EQ(run_zar({"lint", "-"}, "clients: 7\n").code, 65);
}

TEST(Lint, TakesSeveralFilesAndEndsWithTheWorstCode) {
  const std::string found = run_zar({"lint", kLint}).out;
  const Result two = run_zar({"lint", "examples/guest-network.yaml", kLint});
  EXPECT_EQ(two.code, 1);
  EXPECT_EQ(two.out, found);
  const Result three = run_zar({"lint", "/nowhere", kLint, "examples/guest-network.yaml"});
  EXPECT_EQ(three.code, 65);
  EXPECT_EQ(three.out, found);
  EXPECT_TRUE(three.err.starts_with("/nowhere: error: cannot be opened")) << three.err;
  EXPECT_EQ(run_zar({"lint", "examples/guest-network.yaml", "examples/interface-qos.yaml"}).code, 0);
  EXPECT_EQ(run_zar({"lint", "-", "-"}, "{}\n").code, 2);
}

TEST(Lint, ListsSeveralFilesInItsObject) {
  const auto one = nlohmann::ordered_json::parse(run_zar({"lint", kLint, "--json"}).out);
  const Result result = run_zar({"lint", kLint, "/nowhere", "examples/guest-network.yaml", "--json"});
  EXPECT_EQ(result.code, 65);
  EXPECT_EQ(result.err, "");
  const auto several = nlohmann::ordered_json::parse(result.out);
  ASSERT_EQ(several["files"].size(), 2u);
  EXPECT_EQ(several["files"][0]["findings"], one["findings"]);
  EXPECT_EQ(several["files"][1]["findings"], nlohmann::ordered_json::array());
  EXPECT_EQ(several["file_errors"][0]["file"], "/nowhere");
}

// Lint knows nothing about anything outside the file.
TEST(Lint, SaysNothingOfPoliciesInAFileWithoutTargetsOrEvents) {
  const Result result = run_zar({"lint", "-"}, R"(
domains: {d: }
class-maps: {c: }
policy-maps: {p: {events: {e: {rules: [{number: 1, class: c, actions: []}]}}}}
)");
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.out, "");
}

// The explanation of a finding's example shows what the finding claims.
TEST(Lint, GivesExamplesThatShowTheShadow) {
  const Result result = run_zar({"explain", kLint, "--event", "ages@t", "--set", "age=40", "--level", "decision"});
  EXPECT_NE(result.out.find("rule p/ages/2, class-map adult: ran"), std::string::npos) << result.out;
}

// Forty class-maps, and a target can avoid each with one of two attributes; but no value that does so is known.
TEST(Lint, AdmitsWhenThereWasTooMuchToProve) {
  std::string file = "domains: {d: }\nclass-maps:\n";
  std::string rules;
  for (int map = 0; map < 40; ++map) {
    const std::string number = std::to_string(map);
    file += "  c" + number + ": {filters: [{attribute: a" + number + ", regex: q+, no-match: true}, {attribute: b" +
            number + ", regex: q+, no-match: true}]}\n";
    rules += "          - {number: " + std::to_string(map + 1) + ", class: c" + number + ", actions: []}\n";
  }
  file += "  always: {}\npolicy-maps:\n  p:\n    events:\n      e:\n        match: first\n        rules:\n" + rules +
          "          - {number: 100, class: always, actions: []}\n";
  const Result result = run_zar({"lint", "-"}, file);
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "zar: <stdin>: too much to prove: there may be more\n");
}

// Chains and class-maps as large as the file.
TEST(Lint, EndsOnFilesThatWereMadeToBeHard) {
  std::string file = "domains: {d: }\nclass-maps:\n  c: {}\n  large:\n    filters:\n";
  for (int filter = 0; filter < 4000; ++filter)
    file += "    - {attribute: a, prefix: p" + std::to_string(filter) + ", no-match: true}\n";
  file += "policy-maps:\n  p:\n    events:\n";
  for (int event = 0; event < 5000; ++event) {
    file += "      e" + std::to_string(event) + ": {rules: [{number: 1, class: c, actions: [{raise: e" +
            std::to_string((event + 1) % 5000) + "}]}]}\n";
  }
  file += "targets: {t: {policies: [p]}}\nscenario: [{event: e0, target: t}]\n";
  const Result result = run_zar({"lint", "-"}, file);
  EXPECT_EQ(result.code, 1);
  EXPECT_EQ(result.out,
            "<stdin>:4:3: unused-class: class-map large is not used: no rule has it\n"
            "  4 |   large:\n"
            "    |   ^\n");
}

// Random filters on random values, with a brute-force search through many values as the model. What lint calls
// impossible must have no value there; what it calls possible must come with a value that works.
class Soundness : public testing::TestWithParam<unsigned> {
 protected:
  std::string pick(const std::vector<std::string> &from) {
    return from[std::uniform_int_distribution<size_t>(0, from.size() - 1)(random_)];
  }
  std::string random_filter(const std::string &attribute) {
    static const std::vector<std::string> kTests = {"equals: '1'",
                                                    "equals: '12'",
                                                    "equals: '012'",
                                                    "equals: ab",
                                                    "equals: ''",
                                                    "prefix: ''",
                                                    "prefix: a",
                                                    "prefix: ab",
                                                    "prefix: '1'",
                                                    "prefix: '0'",
                                                    "prefix: '-'",
                                                    "prefix: '-0'",
                                                    "prefix: '12'",
                                                    "prefix: '00'",
                                                    "regex: ''",
                                                    "regex: 'b$'",
                                                    "regex: '^[0-9]+$'",
                                                    "regex: 'a|1'",
                                                    "present: true",
                                                    "range: {min: 0}",
                                                    "range: {max: 0}",
                                                    "range: {min: 1, max: 9}",
                                                    "range: {min: 10, max: 19}",
                                                    "range: {min: 12, max: 12}",
                                                    "range: {min: -9223372036854775808}",
                                                    "range: {max: -1}",
                                                    "range: {min: 100, max: 119}"};
    const bool no_match = std::uniform_int_distribution<int>(0, 2)(random_) == 0;
    return "{attribute: " + attribute + ", " + pick(kTests) + (no_match ? ", no-match: true}" : "}");
  }
  std::string random_class() {
    const int count = std::uniform_int_distribution<int>(0, 4)(random_);
    std::string filters;
    for (int at = 0; at < count; ++at)
      filters += (at == 0 ? "" : ", ") + random_filter(pick({"a", "b"}));
    return "{match: " + pick({"all", "any", "none"}) + ", filters: [" + filters + "]}";
  }
  // Every value that the tests above distinguish, and more.
  static std::vector<std::optional<std::string>> values() {
    std::vector<std::optional<std::string>> all = {std::nullopt,
                                                   "",
                                                   "a",
                                                   "ab",
                                                   "abb",
                                                   "ac",
                                                   "b",
                                                   "x",
                                                   "-",
                                                   "1x",
                                                   "12x",
                                                   "0x",
                                                   "-0",
                                                   "-00",
                                                   "00",
                                                   "000",
                                                   "-5",
                                                   "-05",
                                                   "012",
                                                   "001",
                                                   "0100",
                                                   "120",
                                                   "0012",
                                                   "-9223372036854775808",
                                                   "9223372036854775807",
                                                   "9223372036854775808"};
    for (int number = -2; number <= 20; ++number)
      all.push_back(std::to_string(number));
    for (int number : {99, 100, 110, 119, 121, 130})
      all.push_back(std::to_string(number));
    return all;
  }

  Can check_two_class_maps();

  std::mt19937 random_{GetParam()};
};

// Returns the prover's answer to whether one class-map can match while the other does not.
Can Soundness::check_two_class_maps() {
  const simulator::PolicyFile file =
      load_good("domains: {d: }\nclass-maps:\n  one: " + random_class() + "\n  other: " + random_class() + "\n");
  const simulator::ClassMap &one = file.class_maps.at(0);
  const simulator::ClassMap &other = file.class_maps.at(1);
  std::vector<simulator::lint::Condition> conditions = that_matches(one);
  for (simulator::lint::Condition &condition : that_does_not_match(other))
    conditions.push_back(condition);
  simulator::lint::Prover prover(file);
  const simulator::lint::InputAnswer answer = prover.find_input(conditions);

  const auto does_it = [&](const simulator::lint::Input &input) {
    return matches(one, input) && !matches(other, input);
  };
  if (answer.can == Can::possible) {
    EXPECT_TRUE(does_it(answer.input));
  } else if (answer.can == Can::impossible) {
    for (const std::optional<std::string> &a : values()) {
      for (const std::optional<std::string> &b : values())
        EXPECT_FALSE(does_it({{"a", a}, {"b", b}})) << "a: " << a.value_or("-") << " b: " << b.value_or("-");
    }
  }
  return answer.can;
}

TEST_P(Soundness, OfWhatIsClaimedAboutTwoClassMaps) {
  int claimed = 0;
  for (int round = 0; round < 150; ++round)
    claimed += check_two_class_maps() == Can::impossible ? 1 : 0;
  EXPECT_GT(claimed, 20) << "seed " << GetParam();
}

INSTANTIATE_TEST_SUITE_P(Seeds, Soundness, testing::Range(0u, 4u));

// The other direction: the prover is useful only if it rarely answers 'unknown'.
TEST(Completeness, OfTheInferencesAboutNumbersAndPrefixes) {
  struct Case {
    std::string filters;
    Can can;
  };
  const std::vector<Case> cases = {
      {"{attribute: a, prefix: '-'}, {attribute: a, range: {min: 1}}", Can::impossible},
      {"{attribute: a, prefix: '-'}, {attribute: a, range: {min: 0}}", Can::possible},
      {"{attribute: a, prefix: '12'}, {attribute: a, range: {min: 121, max: 130}}", Can::possible},
      {"{attribute: a, prefix: '12'}, {attribute: a, range: {min: 130, max: 1199}}", Can::impossible},
      {"{attribute: a, prefix: '05'}, {attribute: a, range: {min: 5, max: 9}}", Can::possible},
      {"{attribute: a, prefix: '05'}, {attribute: a, range: {min: 6, max: 9}}", Can::impossible},
      {"{attribute: a, prefix: '5'}, {attribute: a, range: {max: 50}}, {attribute: a, equals: '5', no-match: true}",
       Can::possible},
      {"{attribute: a, prefix: '5'}, {attribute: a, range: {min: 0, max: 6}}, {attribute: a, equals: '5', no-match: "
       "true}",
       Can::impossible},
      {"{attribute: a, range: {min: 5, max: 5}}, {attribute: a, equals: '5', no-match: true}", Can::possible},
      {"{attribute: a, range: {min: 0, max: 9}}, {attribute: a, range: {min: 0, max: 5}, no-match: true}, "
       "{attribute: a, range: {min: 6, max: 9}, no-match: true}",
       Can::impossible},
      {"{attribute: a, prefix: '99999999999999999999'}, {attribute: a, range: {min: 0}}", Can::impossible},
      {"{attribute: a, prefix: '-9223372036854775808'}, {attribute: a, range: {max: 0}}", Can::possible},
      {"{attribute: a, prefix: ab}, {attribute: a, prefix: a, no-match: true}", Can::impossible},
      {"{attribute: a, prefix: a}, {attribute: a, prefix: ab, no-match: true}", Can::possible},
      {"{attribute: a, equals: 7}, {attribute: a, range: {min: 8}}", Can::impossible},
      {"{attribute: a, equals: ab}, {attribute: a, regex: '^b'}", Can::impossible},
      {"{attribute: a, regex: '^q'}", Can::unknown},
  };
  for (const Case &given : cases) {
    const simulator::PolicyFile file =
        load_good("domains: {d: }\nclass-maps: {c: {filters: [" + given.filters + "]}}\n");
    ASSERT_EQ(file.class_maps.size(), 1u);
    simulator::lint::Prover prover(file);
    EXPECT_EQ(static_cast<int>(prover.find_input(that_matches(file.class_maps[0])).can), static_cast<int>(given.can))
        << given.filters;
  }
}

}  // namespace
