// Texts of editors: positions in UTF-16, edits, and what may stand at a place.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "simulator/editing/analysis.h"
#include "simulator/editing/grammar.h"
#include "simulator/editing/manual.h"
#include "simulator/editing/place.h"
#include "simulator/editing/study.h"
#include "simulator/editing/text.h"
#include "simulator/text/text.h"

namespace {

using namespace simulator::editing;
using simulator::concat;

TEST(Points, CountUtf16UnitsAndAllEndsOfLines) {
  // Four characters of 1, 2, 3 and 4 bytes; the last one has two units.
  const Text text("a\xc3\xa9\xe6\xbc\xa2\xf0\x9f\x99\x82z\r\nb\rc\n");
  EXPECT_EQ(text.offset_of({0, 3}), 6U);
  EXPECT_EQ(text.offset_of({0, 5}), 10U);
  EXPECT_EQ(text.offset_of({0, 6}), 11U);
  EXPECT_EQ(text.offset_of({1, 0}), 13U);
  EXPECT_EQ(text.offset_of({2, 0}), 15U);
  EXPECT_EQ(text.offset_of({3, 0}), 17U);
  EXPECT_EQ(text.point_of(10), (Point{0, 5}));
  EXPECT_EQ(text.point_of(15), (Point{2, 0}));
  EXPECT_EQ(text.point_of(17), (Point{3, 0}));
}

TEST(Points, OutsideOfTheTextAreMovedIntoIt) {
  const Text text("ab\r\nc");
  EXPECT_EQ(text.offset_of({0, 99}), 2U) << "the end of the line is before what ends it";
  EXPECT_EQ(text.offset_of({1, 99}), 5U);
  EXPECT_EQ(text.offset_of({99, 0}), 5U);
  EXPECT_EQ(text.point_of(99), (Point{1, 1}));
  const Text astral("\xf0\x9f\x99\x82");
  EXPECT_EQ(astral.offset_of({0, 1}), 0U) << "between the two units of a character";
  EXPECT_EQ(astral.offset_of({0, 2}), 4U);
}

TEST(Points, ExistInAnEmptyText) {
  Text text;
  EXPECT_EQ(text.offset_of({0, 0}), 0U);
  EXPECT_EQ(text.offset_of({7, 7}), 0U);
  EXPECT_EQ(text.point_of(0), Point{});
  EXPECT_EQ(text.line_at(0), Span{});
  text.replace({3, 4}, {5, 6}, "x");
  EXPECT_EQ(text.bytes(), "x");
}

TEST(Points, LeadToTheirOffsetsAndBack) {
  const Text text("k\xc3\xa9y: \xf0\x9f\x99\x82\r\n\r\n  \xe6\xbc\xa2\rz");
  for (size_t offset = 0; offset <= text.bytes().size(); ++offset) {
    const bool in_character =
        offset < text.bytes().size() && (static_cast<unsigned char>(text.bytes()[offset]) & 0xc0U) == 0x80;
    const bool in_line_end = offset > 0 && text.bytes()[offset - 1] == '\r' && text.bytes()[offset] == '\n';
    if (in_character || in_line_end) continue;
    EXPECT_EQ(text.offset_of(text.point_of(offset)), offset);
  }
}

TEST(Texts, AreReplacedEvenFromBackToFront) {
  Text text("one two three");
  text.replace({0, 8}, {0, 4}, "X ");
  EXPECT_EQ(text.bytes(), "one two X three");
  text.replace({0, 0}, {0, 8}, "");
  EXPECT_EQ(text.bytes(), "X three");
}

TEST(Edits, ApplyInAnyOrder) {
  EXPECT_EQ(edited("abcdef", {{{4, 5}, "E!"}, {{0, 0}, ">"}, {{1, 3}, ""}}), ">adE!f");
}

TEST(Differences, AreWholeLinesAndMakeOneTextOfTheOther) {
  std::mt19937 random(7);
  const auto any_text = [&] {
    std::string text;
    for (size_t left = random() % 8; left > 0; --left)
      text += "ab\n"[random() % 3];
    return text;
  };
  for (int round = 0; round < 20'000; ++round) {
    const std::string before = any_text();
    const std::string after = any_text();
    const Edit edit = difference(before, after);
    ASSERT_EQ(edited(before, {edit}), after) << before << "->" << after;
    ASSERT_TRUE(edit.span.begin == 0 || before[edit.span.begin - 1] == '\n');
    if (before == after) {
      ASSERT_EQ(edit.text, "") << before;
    }
  }
}

// The schema and the grammar are the same file; the table of names must not miss one, nor name what is not there.
TEST(Grammar, KnowsWhatEachNameNames) {
  const Shape &file = file_shape();
  ASSERT_NE(file.find("policy-maps"), nullptr);
  const Shape &policy = *file.find("policy-maps")->value->any_value;
  const Shape &event = *policy.find("events")->value->any_value;
  const Shape &rule = *event.find("rules")->value->item;
  EXPECT_EQ(file.find("policy-maps")->value->key_kind, Kind::policy_map);
  EXPECT_EQ(policy.find("events")->value->key_kind, Kind::event);
  EXPECT_EQ(rule.name, "rule");
  EXPECT_EQ(rule.find("class")->value->kind, Kind::class_map);
  EXPECT_EQ(rule.find("number")->value->kind, Kind::none);
  EXPECT_EQ(rule.find("actions")->value->item->find("raise")->value->kind, Kind::event);
  EXPECT_EQ(rule.find("actions")->value->item->words, (std::vector<std::string>{"permit", "deny"}));
  EXPECT_EQ(event.find("match")->value->words, (std::vector<std::string>{"all", "first"}));
}

void expect_manual(const Shape &shape, size_t &keys) {
  for (const Shape::Key &key : shape.keys) {
    ++keys;
    EXPECT_NE(manual_of(shape, key), "") << shape.name << "." << key.word;
    expect_manual(*key.value, keys);
  }
  if (shape.item) expect_manual(*shape.item, keys);
  if (shape.any_value) expect_manual(*shape.any_value, keys);
}

TEST(Manual, HasATextForEveryKey) {
  size_t keys = 0;
  expect_manual(file_shape(), keys);
  EXPECT_GT(keys, 100U);
}

TEST(Places, DoNotDependOnTheRestOfTheText) {
  const std::string front = "class-maps: {c: {}}\npolicy-maps:\n  p:\n    events:\n      e:\n        rules:\n";
  for (const char *broken : {"", "          - {number: 1, class: [[[\n", "\t- x: :\n", "}}}\n"}) {
    const std::string text = concat(front, broken, "          - {number: 2, class: ");
    const std::optional<Place> place = place_at(text, text.size());
    ASSERT_TRUE(place) << broken;
    EXPECT_EQ(place->shape->kind, Kind::class_map) << broken;
    EXPECT_TRUE(place->in_brackets);
  }
}

TEST(Places, KnowTheOtherKeys) {
  const std::string text = "scenario:\n  - event: e\n    set:\n      a: b\n    ta";
  const std::optional<Place> place = place_at(text, text.size());
  ASSERT_TRUE(place);
  EXPECT_TRUE(place->is_key);
  EXPECT_EQ(place->shape->name, "step");
  EXPECT_EQ(place->present, (std::vector<std::string>{"event", "set"}));
  EXPECT_EQ(text.substr(place->word.begin, place->word.size()), "ta");
}

// Whatever is cut off, the analysis ends and reports something.
TEST(Analyses, ExistForEveryPartOfAFile) {
  const std::string whole =
      "domains: {d: }\nclass-maps:\n  c: {filters: [{attribute: a, equals: \"x\"}]}\npolicy-maps:\n  p:\n    events:\n"
      "      e:\n        rules:\n          - number: 1\n            class: c\n            actions: [permit]\n";
  ASSERT_TRUE(analyse("f", whole, std::nullopt).file);
  for (size_t length = 0; length < whole.size(); ++length) {
    const Analysis analysis = analyse("f", whole.substr(0, length), length);
    EXPECT_TRUE(analysis.file || !analysis.problems.empty()) << length;
    for (const Problem &problem : analysis.problems)
      EXPECT_LE(problem.span.end, length);
  }
}

TEST(Studies, SurviveTheWayThroughJson) {
  Checked checked{.problems = {{.span = {1, 2},
                                .severity = Severity::warning,
                                .code = "k",
                                .message = "m",
                                .suggestion = "s",
                                .related = {{{3, 4}, "r"}}}},
                  .is_valid = true};
  checked.names[static_cast<size_t>(Kind::event)] = {"e"};
  EXPECT_EQ(json_of(checked_of(json_of(checked))), json_of(checked));
  const Studied studied{.problems = checked.problems,
                        .decisions = {{1, "d"}},
                        .rules = {{2, "r"}},
                        .events = {{3, "e"}},
                        .steps = {{4, "s"}},
                        .tests = {{5, "t"}},
                        .remarks = {"x"}};
  EXPECT_EQ(json_of(studied_of(json_of(studied))), json_of(studied));
}

}  // namespace
