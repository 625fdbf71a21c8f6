// What lint proves about class-maps and statements, compared with a search through all values that matter.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "policy.h"
#include "simulator/lint/findings.h"
#include "simulator/lint/prover.h"
#include "simulator/lint/render.h"

namespace {

using simulator::ClassMap;
using simulator::PolicyFile;
using simulator::lint::Findings;
using simulator::lint::InputAnswer;
using simulator::lint::Prover;
using simulator::reasoning::Can;
using simulator::reasoning::Effort;
using simulator::reasoning::Formula;
using simulator::reasoning::Input;
using simulator::reasoning::matches;
using simulator::reasoning::Value;
using test::load_good;

bool yes() {
  return true;
}

// Random filters on random values, with a brute-force search through many values as the model. What lint calls
// impossible must have no value there; what it calls possible must come with a value that works.
class Soundness : public testing::TestWithParam<unsigned> {
 protected:
  int pick_number(int low, int high) { return std::uniform_int_distribution<int>(low, high)(random_); }
  std::string pick(const std::vector<std::string> &from) {
    return from[static_cast<size_t>(pick_number(0, static_cast<int>(from.size()) - 1))];
  }
  std::string random_filter(const std::string &attribute, bool may_negate = true) {
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
                                                    "regex: '^-?0'",
                                                    "regex: 'a|1'",
                                                    "regex: '^.?$'",
                                                    "present: true",
                                                    "range: {min: 0}",
                                                    "range: {max: 0}",
                                                    "range: {min: 1, max: 9}",
                                                    "range: {min: 10, max: 19}",
                                                    "range: {min: 12, max: 12}",
                                                    "range: {min: -9223372036854775808}",
                                                    "range: {max: -1}",
                                                    "range: {min: 100, max: 119}"};
    const bool no_match = may_negate && pick_number(0, 2) == 0;
    return "{attribute: " + attribute + ", " + pick(kTests) + (no_match ? ", no-match: true}" : "}");
  }
  std::string random_class() {
    const int count = pick_number(0, 4);
    std::string filters;
    for (int at = 0; at < count; ++at)
      filters += (at == 0 ? "" : ", ") + random_filter(pick({"a", "b"}));
    return "{match: " + pick({"all", "any", "none"}) + ", filters: [" + filters + "]}";
  }
  std::string random_statement(int index) {
    std::string filters;
    for (const char *attribute : {"a", "b"}) {
      // A statement has at least one filter.
      const int count = pick_number(attribute[0] == 'a' ? 1 : 0, 2);
      for (int at = 0; at < count; ++at)
        filters += (filters.empty() ? "" : ", ") + random_filter(attribute, count == 1);
    }
    return "{index: " + std::to_string(index) + ", filters: [" + filters + "], actions: []}";
  }
  // Every value that the tests above distinguish, and more.
  static std::vector<Value> values() {
    std::vector<Value> all = {std::nullopt,
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
                              "12b",
                              "1b",
                              "0x",
                              "0b",
                              "00b",
                              "00x",
                              "-0b",
                              "-0x",
                              "-b",
                              "-x",
                              "a1",
                              "-a",
                              "xa",
                              "xb",
                              "xx",
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

  // Asks whether 'one' can match while 'other' does not, and checks the answer.
  template <class Part>
  Can check_two(Prover &prover, const Part &one, const Part &other) {
    const InputAnswer answer = prover.find_input({prover.claim(one), ~prover.claim(other)});
    const auto does_it = [&](const Input &input) { return matches(one, input) && !matches(other, input); };
    if (answer.can == Can::possible) {
      EXPECT_TRUE(does_it(answer.input));
    } else if (answer.can == Can::impossible) {
      for (const Value &a : values()) {
        for (const Value &b : values())
          EXPECT_FALSE(does_it({{"a", a}, {"b", b}})) << "a: " << a.value_or("-") << " b: " << b.value_or("-");
      }
    }
    return answer.can;
  }

  std::mt19937 random_{GetParam()};
};

// The questions of a round share one prover, so that what it has learnt is used again.
TEST_P(Soundness, OfWhatIsClaimedAboutTwoClassMaps) {
  int claimed = 0;
  for (int round = 0; round < 30; ++round) {
    std::string classes;
    for (int number = 0; number < 6; ++number)
      classes += "  c" + std::to_string(number) + ": " + random_class() + "\n";
    const PolicyFile file = load_good("domains: {d: }\nclass-maps:\n" + classes);
    Effort effort(yes);
    Prover prover(file, effort);
    for (size_t one = 0; one < file.class_maps.size(); ++one) {
      const Can can = check_two(prover, file.class_maps[one], file.class_maps[(one + 1) % file.class_maps.size()]);
      EXPECT_NE(can, Can::unknown) << "seed " << GetParam() << "\n" << classes;
      claimed += can == Can::impossible ? 1 : 0;
    }
  }
  EXPECT_GT(claimed, 20) << "seed " << GetParam();
}

TEST_P(Soundness, OfWhatIsClaimedAboutTwoStatements) {
  int claimed = 0;
  for (int round = 0; round < 100; ++round) {
    const std::string statements = random_statement(1) + ", " + random_statement(2);
    const PolicyFile file = load_good("domains: {d: }\nparameter-maps: {m: {statements: [" + statements + "]}}\n");
    Effort effort(yes);
    Prover prover(file, effort);
    const std::vector<simulator::Statement> &of_map = file.parameter_maps.at(0).statements;
    const Can can = check_two(prover, of_map.at(0), of_map.at(1));
    EXPECT_NE(can, Can::unknown) << "seed " << GetParam() << "\n" << statements;
    claimed += can == Can::impossible ? 1 : 0;
  }
  EXPECT_GT(claimed, 5) << "seed " << GetParam();
}

INSTANTIATE_TEST_SUITE_P(Seeds, Soundness, testing::Range(0u, 6u));

// Every attribute is present or absent and nothing else matters, so all inputs can be tried.
class Presence : public testing::TestWithParam<unsigned> {
 protected:
  static constexpr unsigned kAttributes = 7;

  static Input input_of(unsigned chosen) {
    Input input;
    for (unsigned at = 0; at < kAttributes; ++at)
      input["a" + std::to_string(at)] = (chosen >> at & 1U) != 0 ? Value("x") : std::nullopt;
    return input;
  }
  // Whether the last class-map matches and none before it does.
  static bool is_reached(const PolicyFile &file, size_t last, const Input &input) {
    const auto matches_it = [&](const ClassMap &map) { return matches(map, input); };
    const auto end = file.class_maps.begin() + static_cast<std::ptrdiff_t>(last);
    return matches_it(file.class_maps[last]) && std::none_of(file.class_maps.begin(), end, matches_it);
  }
  // What is found names only attributes that matter: others may have any value.
  static bool holds_whatever_the_rest_is(const PolicyFile &file, size_t last, const Input &found) {
    for (unsigned chosen = 0; chosen < 1U << kAttributes; ++chosen) {
      Input input = found;
      input.merge(input_of(chosen));
      if (!is_reached(file, last, input)) return false;
    }
    return true;
  }
};

TEST_P(Presence, IsDecidedExactly) {
  std::mt19937 random(GetParam());
  const auto below = [&](unsigned limit) { return std::uniform_int_distribution<unsigned>(0, limit - 1)(random); };
  std::string classes;
  for (int number = 0; number < 24; ++number) {
    std::string filters;
    for (unsigned at = 0; at < 3; ++at) {
      filters += (at == 0 ? "" : ", ") + ("{attribute: a" + std::to_string(below(kAttributes))) +
                 ", present: true, no-match: " + (below(2) == 0 ? "true}" : "false}");
    }
    const char *match = below(3) == 0 ? "any" : below(2) == 0 ? "all" : "none";
    classes += "  c" + std::to_string(number) + ": {match: " + match + ", filters: [" + filters + "]}\n";
  }
  const PolicyFile file = load_good("domains: {d: }\nclass-maps:\n" + classes);
  Effort effort(yes);
  Prover prover(file, effort);
  int possible = 0;
  for (size_t last = 0; last < file.class_maps.size(); ++last) {
    std::vector<Formula> claims = {prover.claim(file.class_maps[last])};
    for (size_t earlier = 0; earlier < last; ++earlier)
      claims.push_back(~prover.claim(file.class_maps[earlier]));
    bool exists = false;
    for (unsigned chosen = 0; chosen < 1U << kAttributes && !exists; ++chosen)
      exists = is_reached(file, last, input_of(chosen));
    const InputAnswer answer = prover.find_input(claims);
    EXPECT_EQ(answer.can, exists ? Can::possible : Can::impossible) << "rule " << last << "\n" << classes;
    possible += exists ? 1 : 0;
    if (answer.can == Can::possible) {
      EXPECT_TRUE(holds_whatever_the_rest_is(file, last, answer.input)) << "rule " << last << "\n" << classes;
    }
    // The smallest conflict cannot be true, but without any one of its claims it can.
    if (answer.can != Can::impossible) continue;
    const std::vector<Formula> conflict = prover.smallest(claims);
    EXPECT_EQ(prover.can_hold(conflict), Can::impossible);
    for (size_t left_out = 0; left_out < conflict.size(); ++left_out) {
      std::vector<Formula> others = conflict;
      others.erase(others.begin() + static_cast<std::ptrdiff_t>(left_out));
      EXPECT_EQ(prover.can_hold(others), Can::possible) << "rule " << last << "\n" << classes;
    }
  }
  EXPECT_GT(possible, 0);
  EXPECT_LT(possible, 24);
}

INSTANTIATE_TEST_SUITE_P(Seeds, Presence, testing::Range(0u, 20u));

// The other direction: the prover is useful only if it rarely answers 'unknown'.
TEST(Completeness, OfWhatIsKnownAboutOneAttribute) {
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
      {"{attribute: a, prefix: '-9223372036854775809'}, {attribute: a, range: {max: 0}}", Can::impossible},
      {"{attribute: a, regex: '^.{19}$'}, {attribute: a, range: {min: 9223372036854775807}}", Can::possible},
      {"{attribute: a, prefix: ab}, {attribute: a, prefix: a, no-match: true}", Can::impossible},
      {"{attribute: a, prefix: a}, {attribute: a, prefix: ab, no-match: true}", Can::possible},
      {"{attribute: a, equals: 7}, {attribute: a, range: {min: 8}}", Can::impossible},
      {"{attribute: a, equals: ab}, {attribute: a, regex: '^b'}", Can::impossible},
      {"{attribute: a, regex: '^q'}", Can::possible},
      {"{attribute: a, regex: '^[a-f]+$'}, {attribute: a, regex: '^[g-z]'}", Can::impossible},
      {"{attribute: a, regex: '^[a-f]+$'}, {attribute: a, regex: '^[g-z]*$'}", Can::impossible},
      {"{attribute: a, regex: '^[a-f]*$'}, {attribute: a, regex: '^[g-z]*$'}", Can::possible},
      {"{attribute: a, regex: '^([0-9]{1,3}\\.){3}[0-9]{1,3}$'}, {attribute: a, prefix: 192.168.}", Can::possible},
      {"{attribute: a, regex: '^([0-9]{1,3}\\.){3}[0-9]{1,3}$'}, {attribute: a, prefix: 192.1688.}", Can::impossible},
      {"{attribute: a, regex: '^[0-9]{3}$'}, {attribute: a, range: {min: 1000}}", Can::impossible},
      {"{attribute: a, regex: '^[0-9]{4}$'}, {attribute: a, range: {min: 1000}}, "
       "{attribute: a, regex: '[02468]$', no-match: true}, {attribute: a, regex: '[13579]$', no-match: true}",
       Can::impossible},
      {"{attribute: a, regex: '(?i)^dsl'}, {attribute: a, regex: '^[A-Z]*$'}", Can::possible},
      {"{attribute: a, regex: '(?i)^dsl'}, {attribute: a, prefix: fibre}", Can::impossible},
      {"{attribute: a, regex: '\\bx\\b'}, {attribute: a, regex: '^\\w+$'}, {attribute: a, equals: x, no-match: true}",
       Can::impossible},
      {"{attribute: a, present: true}, {attribute: a, regex: '^.*$', no-match: true}", Can::possible},
      {"{attribute: a, present: true}, {attribute: a, regex: '(?s)^.*$', no-match: true}", Can::impossible},
      {"{attribute: a, regex: '^é$'}, {attribute: a, regex: '^.$'}", Can::possible},
      {"{attribute: a, regex: '^é$'}, {attribute: a, regex: '^..$'}", Can::impossible},
      {"{attribute: a, regex: '[^\\x00-\\x{10FFFF}]'}", Can::impossible},
      {"{attribute: a, regex: '', no-match: true}", Can::possible},
      {"{attribute: a, regex: '', no-match: true}, {attribute: a, present: true}", Can::impossible},
      {"{attribute: a, regex: '^\\pL\\pN$'}", Can::unknown},
      {"{attribute: a, regex: '^\\pL\\pN$'}, {attribute: a, regex: '^\\pL\\pN$', no-match: true}", Can::impossible},
      {"{attribute: a, regex: '^\\pL\\pN$'}, {attribute: a, present: true, no-match: true}", Can::impossible},
      {"{attribute: a, regex: '^\\pL\\pN$'}, {attribute: b, equals: x}, {attribute: b, equals: y}", Can::impossible},
  };
  for (const Case &given : cases) {
    const PolicyFile file = load_good("domains: {d: }\nclass-maps: {c: {filters: [" + given.filters + "]}}\n");
    ASSERT_EQ(file.class_maps.size(), 1u);
    Effort effort(yes);
    Prover prover(file, effort);
    EXPECT_EQ(static_cast<int>(prover.find_input({prover.claim(file.class_maps[0])}).can), static_cast<int>(given.can))
        << given.filters;
  }
}

TEST(Completeness, ReachesStatementsThatNeedOneOfTwoValues) {
  const PolicyFile file = load_good(R"(
domains: {d: }
parameter-maps:
  m:
    statements:
      - {index: 1, filters: [{attribute: a, equals: x}, {attribute: b, equals: x}], actions: []}
      - {index: 2, filters: [{attribute: a, equals: x}, {attribute: a, equals: y}, {attribute: b, equals: x}, {attribute: b, equals: y}], actions: []}
)");
  Effort effort(yes);
  Prover prover(file, effort);
  const auto &statements = file.parameter_maps.at(0).statements;
  EXPECT_EQ(prover.find_input({prover.claim(statements.at(1)), ~prover.claim(statements.at(0))}).can, Can::possible);
  EXPECT_EQ(prover.find_input({prover.claim(statements.at(0)), ~prover.claim(statements.at(1))}).can, Can::impossible);
}

// ---- Large files ----------------------------------------------------------------------------------------------------------

// A filter of each kind on one of some attributes; some of them lie within others.
std::string mixed_filter(std::mt19937 &random) {
  const auto below = [&](int limit) { return std::uniform_int_distribution<int>(0, limit - 1)(random); };
  const auto text = [](int number) { return std::to_string(number); };
  const std::string negation = below(4) == 0 ? ", no-match: true}" : "}";
  switch (below(6)) {
    case 0:
      return "{attribute: service, equals: s" + text(below(40)) + negation;
    case 1:
      return "{attribute: circuit, prefix: olt-" + text(below(30)) + negation;
    case 2: {
      const int low = below(4000);
      return "{attribute: vlan, range: {min: " + text(low) + ", max: " + text(low + below(300)) + "}" + negation;
    }
    case 3:
      return "{attribute: mac, regex: '^" + text(below(10)) + "[0-9a-f]:.*" + text(below(10)) + "$'" + negation;
    case 4:
      return "{attribute: unpaid, range: {min: " + text(below(12)) + "}" + negation;
    default:
      return "{attribute: flag" + text(below(12)) + ", present: true" + negation;
  }
}

std::string mixed_rules(int events, int rules) {
  std::mt19937 random(7);
  std::string classes;
  std::string policy;
  for (int event = 0; event < events; ++event) {
    policy += "      e" + std::to_string(event) + ":\n        match: first\n        rules:\n";
    for (int rule = 1; rule <= rules; ++rule) {
      const std::string name = "c" + std::to_string(event) + "-" + std::to_string(rule);
      const char *match = rule % 5 == 0 ? "any" : rule % 7 == 0 ? "none" : "all";
      classes += "  " + name + ": {match: " + match + ", filters: [" + mixed_filter(random) + ", " +
                 mixed_filter(random) + ", " + mixed_filter(random) + "]}\n";
      policy += "          - {number: " + std::to_string(rule) + ", class: " + name + ", actions: []}\n";
    }
  }
  return "domains: {d: }\nclass-maps:\n" + classes + "policy-maps:\n  p:\n    events:\n" + policy;
}

TEST(LargeFiles, OfFiveHundredMixedRulesAreDecidedCompletely) {
  const PolicyFile file = load_good(mixed_rules(2, 250));
  const Findings findings = simulator::lint::find_all(file, yes);
  EXPECT_TRUE(findings.complete);
  EXPECT_TRUE(findings.problems.empty());
}

TEST(LargeFiles, GiveTheSameFindingsAgainInTheSameProcess) {
  const PolicyFile file = load_good(mixed_rules(1, 150));
  const auto text_of = [&](const Findings &findings) {
    std::string text;
    for (const simulator::lint::Finding &finding : findings.all)
      text += simulator::lint::json_of_finding(finding).dump() + "\n";
    return text;
  };
  const std::string first = text_of(simulator::lint::find_all(file, yes));
  EXPECT_NE(first, "");
  EXPECT_EQ(text_of(simulator::lint::find_all(file, yes)), first);
}

// ---- Effort ---------------------------------------------------------------------------------------------------------------

TEST(EffortOfSearches, IsAskedForOnlyBeyondWhatEveryQuestionMayCost) {
  int asked = 0;
  Effort effort([&] { return ++asked < 3; });
  effort.begin_question();
  for (int step = 0; step < 10'000; ++step)
    ASSERT_TRUE(effort.step());
  EXPECT_EQ(asked, 0);
  for (int step = 0; step < 20'000; ++step)
    ASSERT_TRUE(effort.step());
  EXPECT_EQ(asked, 2);
  EXPECT_FALSE(effort.step());
  EXPECT_TRUE(effort.over());
  EXPECT_FALSE(effort.step());
  EXPECT_EQ(asked, 3);
}

TEST(EffortOfSearches, LeavesALittleForEasyQuestionsWhenItIsOver) {
  Effort effort([] { return false; });
  uint64_t steps = 0;
  for (int question = 0; question < 1000; ++question) {
    effort.begin_question();
    while (effort.step())
      ++steps;
  }
  EXPECT_EQ(steps, 10'000u + 1'000'000u);
}

}  // namespace
