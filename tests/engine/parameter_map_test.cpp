// Parameter-maps: which statement applies, and what its actions do.
//
// The filters here are texts: a statement's filter is a prefix, an offered value a whole text, and a filter holds for a
// value that begins with it.
#include "engine_fixture.h"

#include <array>

#include "platform/engine.h"
#include "platform/runtime.h"

namespace {

using engine::Applied;
using test::ScriptedAction;

struct Text {
  bool is_value;
  bool inverted;
  const char *text;  // NULL: the subscriber has no such value
};

void keep(void *, void *) {}
uint32_t never(void *, void *) {
  return 0;
}
char *describe(void *data) {
  return bstrdup_named(static_cast<Text *>(data)->text, 0x7e57);
}

uint32_t compare(void *stored, void *other) {
  const Text &filter = *static_cast<Text *>(stored);
  const Text &given = *static_cast<Text *>(other);
  if (!given.is_value) return filter.text == given.text;
  const bool holds = given.text && std::string_view(given.text).starts_with(filter.text);
  return holds != given.inverted;
}

zar_filter_context context_of(Text &text) {
  return {&text, keep, never, describe, compare};
}

class ParameterMaps : public test::EngineTest {
 protected:
  static constexpr uint8_t kService = 0;
  static constexpr uint8_t kRegion = 1;

  uint32_t parameter_map(const char *name) {
    uint32_t map = 0;
    EXPECT_DONE(kel_create_subscriber_parameter_map(name, 1, &map));
    return map;
  }

  void filter_of(uint32_t map, uint32_t index, uint8_t type, const char *text, uint8_t no_match = 0) {
    const zar_filter_context context = context_of(texts_.emplace_back(Text{false, false, text}));
    EXPECT_DONE(zar_pmtr_create_or_add_filter(map, &context, no_match, 0, 0, index, 0, type));
  }

  void action_of(uint32_t map, uint32_t index, uint32_t number, ScriptedAction &made) {
    const zar_action_context context = context_of_action(made);
    EXPECT_DONE(zar_create_action(&context, number, 0, &made.handle));
    EXPECT_DONE(zar_add_action_to_pmtr_map_rule(map, index, made.handle));
  }

  // Applies a map to a subscriber of these values, from within an event.
  Applied apply(uint32_t map, const char *service, const char *region) {
    Applied applied = Applied::no_map;
    within_an_event([&](Run &run) { applied = run.apply(map, offer(service, region)); });
    return applied;
  }

  void within_an_event(std::function<void(Run &)> body) {
    const uint32_t pmap = policy("policy-" + std::to_string(++policies_));
    ScriptedAction &carrier = action("apply", [&](Run &run) {
      body(run);
      return 0u;
    });
    rule(event(pmap, 1), 1, {&carrier});
    engine::raise_event(target(pmap), 1);
  }

  std::span<const engine::OfferedValue> offer(const char *service, const char *region) {
    values_ = {Text{true, false, service}, Text{true, true, service}, Text{true, false, region},
               Text{true, true, region}};
    offered_ = {engine::OfferedValue{kService, context_of(values_[0]), context_of(values_[1])},
                engine::OfferedValue{kRegion, context_of(values_[2]), context_of(values_[3])}};
    return offered_;
  }

 private:
  static zar_action_context context_of_action(ScriptedAction &made) { return EngineTest::context_of(made); }
  static zar_filter_context context_of(Text &text) { return ::context_of(text); }

  std::deque<Text> texts_;
  std::array<Text, 4> values_{};
  std::array<engine::OfferedValue, 2> offered_{};
  int policies_ = 0;
};

TEST_F(ParameterMaps, ApplyTheFirstStatementThatMatchesInMapIndexOrder) {
  const uint32_t map = parameter_map("profiles");
  filter_of(map, 30, kService, "");
  filter_of(map, 10, kService, "gold");
  filter_of(map, 20, kService, "silver");
  action_of(map, 10, 1, action("ten"));
  action_of(map, 20, 1, action("twenty"));
  action_of(map, 30, 1, action("thirty"));

  EXPECT_EQ(apply(map, "silver", nullptr), Applied::done);
  EXPECT_EQ(ran, "apply twenty");
  EXPECT_EQ(apply(map, "iron", nullptr), Applied::done);
  EXPECT_EQ(ran, "apply twenty apply thirty");
}

TEST_F(ParameterMaps, RunTheActionsInActionNumberOrder) {
  const uint32_t map = parameter_map("profiles");
  filter_of(map, 10, kService, "gold");
  action_of(map, 10, 7, action("7"));
  action_of(map, 10, 2, action("2"));
  ScriptedAction &five = action("5");
  action_of(map, 10, 5, five);

  apply(map, "gold", nullptr);
  EXPECT_EQ(ran, "apply 2 5 7");
  EXPECT_EQ(five.record().executed_count, 1u);
}

TEST_F(ParameterMaps, RunAllActionsAndReportAFailure) {
  const uint32_t map = parameter_map("profiles");
  filter_of(map, 10, kService, "gold");
  action_of(map, 10, 1, action("bad", 1));
  action_of(map, 10, 2, action("good"));

  EXPECT_EQ(apply(map, "gold", nullptr), Applied::action_failed);
  EXPECT_EQ(ran, "apply bad good");
}

TEST_F(ParameterMaps, NeedEveryFilterTypeOfAStatement) {
  const uint32_t map = parameter_map("profiles");
  filter_of(map, 10, kService, "gold");
  filter_of(map, 10, kRegion, "north");

  EXPECT_EQ(apply(map, "gold", "north"), Applied::done);
  EXPECT_EQ(apply(map, "gold", "south"), Applied::no_statement);
  EXPECT_EQ(apply(map, "silver", "north"), Applied::no_statement);
  EXPECT_EQ(apply(map, "gold", nullptr), Applied::no_statement);
}

TEST_F(ParameterMaps, AskForNoOtherFilterTypes) {
  const uint32_t map = parameter_map("profiles");
  filter_of(map, 10, kService, "gold");
  EXPECT_EQ(apply(map, "gold", "anywhere"), Applied::done);
}

TEST_F(ParameterMaps, TakeFiltersOfOneTypeAsAlternatives) {
  const uint32_t map = parameter_map("profiles");
  filter_of(map, 10, kService, "gold");
  filter_of(map, 10, kService, "silver");
  EXPECT_EQ(apply(map, "gold", nullptr), Applied::done);
  EXPECT_EQ(apply(map, "silver", nullptr), Applied::done);
  EXPECT_EQ(apply(map, "iron", nullptr), Applied::no_statement);
}

TEST_F(ParameterMaps, InvertNoMatchFilters) {
  const uint32_t map = parameter_map("profiles");
  filter_of(map, 10, kService, "gold", 1);
  EXPECT_EQ(apply(map, "gold", nullptr), Applied::no_statement);
  EXPECT_EQ(apply(map, "silver", nullptr), Applied::done);
  EXPECT_EQ(apply(map, nullptr, nullptr), Applied::done);
}

TEST_F(ParameterMaps, WithoutAMatchingStatementDoNothing) {
  const uint32_t map = parameter_map("empty");
  EXPECT_EQ(apply(map, "gold", "north"), Applied::no_statement);
  EXPECT_EQ(ran, "apply");
}

TEST_F(ParameterMaps, ThatDoNotExistAreNotApplied) {
  const uint32_t map = parameter_map("profiles");
  const uint32_t gold = policy("gold");
  ASSERT_DONE(kel_delete_subscriber_parameter_map("profiles", 1));
  for (const uint32_t handle : {0U, ~0U, map, gold}) {
    EXPECT_EQ(apply(handle, "gold", nullptr), Applied::no_map) << handle;
  }
}

TEST_F(ParameterMaps, CanApplyEachOtherToABoundedDepth) {
  const uint32_t map = parameter_map("again");
  filter_of(map, 10, kService, "gold");
  size_t times = 0;
  action_of(map, 10, 1, action("", [&](Run &run) {
              ++times;
              return run.apply(map, offer("gold", nullptr)) == Applied::done ? 0u : 1u;
            }));
  EXPECT_EQ(apply(map, "gold", nullptr), Applied::action_failed);
  EXPECT_EQ(times, engine::kMaxDepth);
}

TEST_F(ParameterMaps, NotifyAnObserverOfEveryStatementUpToTheOneThatMatches) {
  struct Diary final : engine::Observer {
    std::string text;
    void statement_evaluated(const zar_pmtr_map &map, const zar_pmtr_map_stmt &statement, bool matches) override {
      text += std::string(zar_get_pmtr_map_name(map.handle)) + " " + std::to_string(statement.map_index) +
              (matches ? " yes; " : " no; ");
    }
  } diary;
  const uint32_t map = parameter_map("profiles");
  filter_of(map, 10, kService, "gold");
  filter_of(map, 20, kService, "silver");
  filter_of(map, 30, kService, "silver");
  engine::observe(&diary);
  apply(map, "silver", nullptr);
  EXPECT_EQ(diary.text, "profiles 10 no; profiles 20 yes; ");
}

}  // namespace
