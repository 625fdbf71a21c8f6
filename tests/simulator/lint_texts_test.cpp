// The automata of filters: they pass the texts that the filters themselves pass.
#include <gtest/gtest.h>

#include <random>

#include <re2/re2.h>

#include "simulator/policy/source.h"
#include "simulator/reasoning/regex_program.h"
#include "simulator/reasoning/text_tests.h"
#include "simulator/reasoning/values.h"

namespace {

using simulator::Filter;
using simulator::FilterKind;
using simulator::reasoning::Can;
using simulator::reasoning::compile_regex;
using simulator::reasoning::Effort;
using simulator::reasoning::find_text;
using simulator::reasoning::holds;
using simulator::reasoning::make_text_test;
using simulator::reasoning::TextAnswer;
using simulator::reasoning::TextTest;

Filter filter_of(FilterKind kind, const std::string &text) {
  Filter filter{.kind = kind, .text = text};
  if (kind != FilterKind::regex) return filter;
  RE2::Options options;
  options.set_log_errors(false);
  filter.pattern = std::make_shared<const RE2>(text, options);
  return filter;
}

Filter range(int64_t low, int64_t high) {
  return {.kind = FilterKind::range, .low = low, .high = high};
}

bool passes(TextTest &test, const std::string &text) {
  TextTest::State state = test.start();
  for (const char byte : text) {
    if (state == TextTest::kAlways || state == TextTest::kNever) break;
    state = test.step(state, static_cast<uint8_t>(byte));
  }
  if (state == TextTest::kAlways || state == TextTest::kNever) return state == TextTest::kAlways;
  return test.passes_at_end(state);
}

// How the test framework would print a text that is not printable is no use.
std::string shown(const std::string &text) {
  std::string all;
  for (const char byte : text)
    all += byte > ' ' && byte < 0x7f ? std::string(1, byte) : "<" + std::to_string(byte & 0xff) + ">";
  return all;
}

const std::vector<std::string> &letters() {
  static const std::vector<std::string> kLetters = {
      "a", "b", "c", "A",  "B",  "K",    "k",      "S",      "s",      "0",      "7",          "_",
      "-", ".", " ", "\n", "\t", "\x01", "\u00e9", "\u017f", "\u212a", "\u20ac", "\U0001f600", std::string(1, '\0')};
  return kLetters;
}

template <class Of>
const Of &pick(std::mt19937 &random, const std::vector<Of> &from) {
  return from[std::uniform_int_distribution<size_t>(0, from.size() - 1)(random)];
}

std::string random_text(std::mt19937 &random) {
  std::string text;
  const int length = std::uniform_int_distribution<int>(0, 6)(random);
  for (int at = 0; at < length; ++at)
    text += pick(random, letters());
  return text;
}

// An expression of everything that is compiled, nested at random.
std::string random_pattern(std::mt19937 &random, int depth) {
  static const std::vector<std::string> kLeaves = {"a",
                                                   "b",
                                                   "k",
                                                   "S",
                                                   "0",
                                                   "\\.",
                                                   ".",
                                                   "^",
                                                   "$",
                                                   "\\b",
                                                   "\\B",
                                                   "\\A",
                                                   "\\z",
                                                   "\\d",
                                                   "\\D",
                                                   "\\w",
                                                   "\\W",
                                                   "\\s",
                                                   "\\S",
                                                   "[abc]",
                                                   "[^ab]",
                                                   "[a-c0-9]",
                                                   "[^\\d]",
                                                   "[\\w-]",
                                                   "[[:alpha:]]",
                                                   "[[:^space:]]",
                                                   "[]a]",
                                                   "[^]a]",
                                                   "[a-]",
                                                   "é",
                                                   "[é-€]",
                                                   "[^é]",
                                                   "\\x61",
                                                   "\\x{20ac}",
                                                   "\\n",
                                                   "\\t",
                                                   "\\Qa.b\\E",
                                                   "\\141",
                                                   "",
                                                   "[\\x00-\\x1f]",
                                                   "😀",
                                                   "\\_"};
  static const std::vector<std::string> kRepetitions = {"*", "+", "?", "{2}", "{1,2}", "{2,}", "*?", "+?", "{0,1}?"};
  static const std::vector<std::string> kGroups = {"(", "(?:", "(?P<name>", "(?s:", "(?m:", "(?i:", "(?ms-i:"};
  if (depth == 0) return pick(random, kLeaves);
  const auto part = [&] { return random_pattern(random, depth - 1); };
  switch (std::uniform_int_distribution<int>(0, 5)(random)) {
    case 0:
      return part() + "|" + part();
    case 1:
      return "(?:" + part() + ")" + pick(random, kRepetitions);
    case 2:
      return pick(random, kGroups) + part() + ")" + part();
    case 3:
      return "(?i)" + part();
    default:
      return part() + part();
  }
}

class Expressions : public testing::TestWithParam<unsigned> {};

TEST_P(Expressions, MatchWhatTheEngineOfFiltersMatches) {
  std::mt19937 random(GetParam());
  int compiled = 0;
  int matched = 0;
  for (int round = 0; round < 400; ++round) {
    const std::string pattern = random_pattern(random, std::uniform_int_distribution<int>(0, 4)(random));
    const Filter filter = filter_of(FilterKind::regex, pattern);
    if (!filter.pattern->ok()) continue;
    const std::unique_ptr<TextTest> test = make_text_test(filter);
    if (!test) continue;
    ++compiled;
    for (int at = 0; at < 40; ++at) {
      const std::string text = random_text(random);
      const bool matches = RE2::PartialMatch(text, *filter.pattern);
      matched += matches ? 1 : 0;
      ASSERT_EQ(passes(*test, text), matches) << "seed " << GetParam() << ": " << pattern << " on " << shown(text);
    }
  }
  EXPECT_GT(compiled, 100);
  EXPECT_GT(matched, 1000);
}

INSTANTIATE_TEST_SUITE_P(Seeds, Expressions, testing::Range(0u, 10u));

TEST(Expression, IsNotCompiledWhereCharactersAreNotKnown) {
  for (const char *pattern :
       {"\\pL", "[\\p{Greek}]", "\\PN", "\\C", "(?i)é", "(?i)[à-ü]", "(?i)\\w", "(?i)[^[:^alpha:]]"})
    EXPECT_FALSE(compile_regex(pattern).has_value()) << pattern;
}

TEST(Expression, IsNotCompiledWhenItIsVeryLarge) {
  EXPECT_TRUE(compile_regex("[a-c]{1000}").has_value());
  EXPECT_FALSE(compile_regex("(?:[a-c]{500}){1000}").has_value());
}

TEST(Range, PassesTheNumbersWithinItsEndsAndNothingElse) {
  constexpr int64_t kLowest = std::numeric_limits<int64_t>::min();
  constexpr int64_t kHighest = std::numeric_limits<int64_t>::max();
  const std::vector<std::pair<int64_t, int64_t>> ends = {{0, 0},
                                                         {0, 9},
                                                         {5, 12},
                                                         {-3, 3},
                                                         {-12, -5},
                                                         {kLowest, -1},
                                                         {99, 1000},
                                                         {kLowest, kHighest},
                                                         {1, kHighest},
                                                         {kHighest, kHighest},
                                                         {kLowest, kLowest}};
  std::vector<std::string> texts = {"",
                                    "-",
                                    "+1",
                                    " 1",
                                    "1 ",
                                    "1.0",
                                    "x",
                                    "--1",
                                    "00",
                                    "-0",
                                    "-00",
                                    "007",
                                    "-007",
                                    "0012",
                                    "9223372036854775807",
                                    "9223372036854775808",
                                    "-9223372036854775808",
                                    "-9223372036854775809",
                                    "99999999999999999999",
                                    "09223372036854775807"};
  for (int number = -1100; number <= 1100; ++number)
    texts.push_back(std::to_string(number));
  for (const auto &[low, high] : ends) {
    const Filter filter = range(low, high);
    const std::unique_ptr<TextTest> test = make_text_test(filter);
    for (const std::string &text : texts)
      EXPECT_EQ(passes(*test, text), holds(filter, simulator::reasoning::Value(text)))
          << low << ".." << high << ": " << text;
  }
}

TEST(Texts, OfFiltersThatNameThemAreCompared) {
  for (const FilterKind kind : {FilterKind::equals, FilterKind::prefix, FilterKind::present}) {
    for (const char *of_filter : {"", "a", "ab"}) {
      const Filter filter = filter_of(kind, of_filter);
      const std::unique_ptr<TextTest> test = make_text_test(filter);
      for (const char *text : {"", "a", "ab", "abc", "b", "ba"})
        EXPECT_EQ(passes(*test, text), holds(filter, simulator::reasoning::Value(text))) << of_filter << " on " << text;
    }
  }
}

class Search : public testing::Test {
 protected:
  TextAnswer find(const std::vector<Filter> &to_pass, const std::vector<Filter> &not_to_pass) {
    std::vector<std::unique_ptr<TextTest>> tests;
    std::vector<simulator::reasoning::WantedTest> wanted;
    for (const auto &[filters, passes] : {std::pair(&to_pass, true), std::pair(&not_to_pass, false)}) {
      for (const Filter &filter : *filters) {
        tests.push_back(make_text_test(filter));
        wanted.push_back({tests.back().get(), passes});
      }
    }
    return find_text(wanted, effort_);
  }

  Effort effort_{[] { return true; }};
};

TEST_F(Search, FindsAShortReadableText) {
  EXPECT_EQ(find({filter_of(FilterKind::present, "")}, {}).text, "x");
  EXPECT_EQ(find({filter_of(FilterKind::prefix, "north")}, {filter_of(FilterKind::equals, "north")}).text, "northx");
  EXPECT_EQ(find({filter_of(FilterKind::regex, "^[^a-z0-9]$")}, {}).text, "A");
  EXPECT_EQ(find({filter_of(FilterKind::regex, "^[^\\x00-\\x7f]$")}, {}).text, "é");
  EXPECT_EQ(find({range(200, 300)}, {range(200, 299)}).text, "300");
}

TEST_F(Search, FindsTheEmptyTextIfThereIsNoOther) {
  const TextAnswer found = find({filter_of(FilterKind::regex, "^$")}, {});
  EXPECT_EQ(found.can, Can::possible);
  EXPECT_EQ(found.text, "");
  EXPECT_EQ(find({filter_of(FilterKind::regex, "^$")}, {filter_of(FilterKind::equals, "")}).can, Can::impossible);
}

// Values are UTF-8: no text passes only because of bytes that are none.
TEST_F(Search, FindsOnlyValidTexts) {
  EXPECT_EQ(find({filter_of(FilterKind::present, "")}, {filter_of(FilterKind::regex, "(?s)^.*$")}).can,
            Can::impossible);
  const TextAnswer line = find({filter_of(FilterKind::present, "")}, {filter_of(FilterKind::regex, "^.*$")});
  EXPECT_EQ(line.text, "\n");
  for (const char *pattern : {"^[\\x{80}-\\x{7ff}]$", "^[\\x{800}-\\x{ffff}]$", "^[\\x{10000}-\\x{10ffff}]$"})
    EXPECT_TRUE(RE2::FullMatch(find({filter_of(FilterKind::regex, pattern)}, {}).text, pattern)) << pattern;
}

TEST_F(Search, GivesUpWhenTheAutomataGrowTooLarge) {
  EXPECT_EQ(
      find({filter_of(FilterKind::regex, "^[ab]*a[ab]{40}$"), filter_of(FilterKind::regex, "^[ab]*b[ab]{40}$")}, {})
          .can,
      Can::unknown);
}

}  // namespace
