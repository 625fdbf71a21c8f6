// Compare functions that change the searched list, and free functions that use what is being freed.
#include <functional>
#include <string>
#include <vector>

#include "lifecycle/lines.h"
#include "support/reentry.h"

using namespace rig;

namespace {

constexpr uint32_t kUntouched = 0xabcd;

// ---- Searches

struct Searching : Lifecycle {
  const uint32_t voice = cmap("voice");
  const uint32_t under = rule(event_in(pmap("gold"), 1), voice);
  uint32_t out = kUntouched;

  void drop_filter(uint32_t filter) const {
    EXPECT_EQ(zar_remove_filter_from_class(voice, filter), 0U);
    EXPECT_EQ(zar_delete_filter(filter), 0U);
  }
  void drop_action(uint32_t action) const {
    EXPECT_EQ(zar_remove_action_from_class_action(under, action), 0U);
    EXPECT_EQ(zar_delete_action(action), 0U);
  }
};

TEST_F(Searching, ForAFilterFindsTheOneAfterThoseThatTheCompareFunctionDeletes) {
  const uint32_t first = filter_in(voice, "first"), second = filter_in(voice, "second");
  const uint32_t third = filter_in(voice, "third"), sought = filter_in(voice, "sought");
  once_inside(data_of_filter(first), [&] {
    drop_filter(second);
    drop_filter(third);
  });
  const zar_filter_context context = filter_context("context", "sought");
  EXPECT_EQ(zar_retrieve_filter(voice, &context, 0, &out), 0U);
  EXPECT_EQ(out, sought);
  EXPECT_CALLS("compare first context", "compare sought context");
}

TEST_F(Searching, ForAFilterComparesEachThatStaysThoughEarlierOnesAreDeleted) {
  const uint32_t first = filter_in(voice, "first"), second = filter_in(voice, "second");
  const uint32_t sought = filter_in(voice, "sought");
  once_inside(data_of_filter(second), [&] { drop_filter(first); });
  const zar_filter_context context = filter_context("context", "sought");
  EXPECT_EQ(zar_retrieve_filter(voice, &context, 0, &out), 0U);
  EXPECT_EQ(out, sought);
  EXPECT_CALLS("compare first context", "compare second context", "compare sought context");
}

TEST_F(Searching, ForAFilterGivesNoneThatItsCompareFunctionRemoves) {
  const uint32_t taken = filter(text("sought"));
  add_filter(voice, taken);
  once_inside(data_of_filter(taken), [&] { EXPECT_EQ(zar_remove_filter_from_class(voice, taken), 0U); });
  const zar_filter_context context = filter_context("context", "sought");
  EXPECT_EQ(zar_retrieve_filter(voice, &context, 0, &out), 0U);
  EXPECT_EQ(out, 0U);

  add_filter(voice, taken);
  const uint32_t stays = filter_in(voice, "another", 0);
  data_of_filter(stays).value = "sought";
  once_inside(data_of_filter(taken), [&] { EXPECT_EQ(zar_remove_filter_from_class(voice, taken), 0U); });
  EXPECT_EQ(zar_retrieve_filter(voice, &context, 0, &out), 0U);
  EXPECT_EQ(out, stays);
  EXPECT_EQ(zar_delete_filter(taken), 0U);
}

TEST_F(Searching, ForAnActionFindsTheOneAfterThoseThatTheCompareFunctionDeletes) {
  const uint32_t first = action_in(under, "first", 1), second = action_in(under, "second", 2);
  const uint32_t third = action_in(under, "third", 3), sought = action_in(under, "sought", 4);
  once_inside(data_of_action(first), [&] {
    drop_action(second);
    drop_action(third);
  });
  const zar_action_context context = action_context("context", "sought");
  EXPECT_EQ(zar_retrieve_action(under, &context, &out), 0U);
  EXPECT_EQ(out, sought);
  EXPECT_CALLS("compare first context", "compare sought context");
}

TEST_F(Searching, ForAnActionGivesNoneThatItsCompareFunctionRemoves) {
  const uint32_t taken = action_in(under, "sought");
  once_inside(data_of_action(taken), [&] { EXPECT_EQ(zar_remove_action_from_class_action(under, taken), 0U); });
  const zar_action_context context = action_context("context", "sought");
  EXPECT_EQ(zar_retrieve_action(under, &context, &out), 0U);
  EXPECT_EQ(out, 0U);
  EXPECT_EQ(zar_delete_action(taken), 0U);
}

// ---- Leaves that are being freed

struct Freeing : Lifecycle {
  const uint32_t voice = cmap("voice"), video = cmap("video");
  const uint32_t gold = stored_pmap("gold"), silver = stored_pmap("silver");
  const uint32_t start = event_in(gold, 1, "start"), stop = event_in(gold, 2, "stop");
  const uint32_t first = rule(start, voice, 1), second = rule(start, video, 2);
  const uint32_t permit = action_in(first, "permit"), drop = action_in(second, "drop");
  uint32_t out = kUntouched;
  bool reached = false;

  // What the free function of 'action' tries.
  void while_freed(uint32_t action, const std::function<void()> &act) {
    once_inside(data_of_action(action), [this, act] {
      reached = true;
      act();
    });
  }
  void TearDown() override {
    EXPECT_TRUE(reached);
    Lifecycle::TearDown();
  }
};

TEST_F(Freeing, AnActionItIsRefusedEverywhere) {
  const uint32_t other = rule(stop, voice);
  while_freed(drop, [&] {
    EXPECT_EQ(zar_add_action_to_rule(other, drop), 39U);
    EXPECT_EQ(zar_delete_action(drop), 39U);
    EXPECT_EQ(zar_get_action_num(drop), 0U);
    EXPECT_EQ(zar_get_action_nvgen_str(drop, 0), nullptr);
  });
  EXPECT_EQ(zar_remove_action_from_class_action(second, drop), 0U);
  EXPECT_EQ(zar_delete_action(drop), 0U);
  EXPECT_EQ(actions_of(other), Handles{});
  EXPECT_FALSE(live(drop));
}

TEST_F(Freeing, AFilterItIsRefusedEverywhere) {
  const uint32_t port = filter("port");
  once_inside(data_of_filter(port), [&] {
    reached = true;
    EXPECT_EQ(zar_add_filter_to_class(voice, port), 39U);
    EXPECT_EQ(zar_delete_filter(port), 39U);
    EXPECT_EQ(zar_get_filter_nvgen_str(port), nullptr);
  });
  EXPECT_EQ(zar_delete_filter(port), 0U);
  EXPECT_EQ(filters_of(voice), Handles{});
  EXPECT_FALSE(live(port));
}

TEST_F(Freeing, ARuleItTakesNoMoreActions) {
  const uint32_t more = action("more");
  while_freed(permit, [&] {
    EXPECT_EQ(zar_add_action_to_rule(first, more), 39U);
    EXPECT_EQ(zar_retrieve_action_num_in_class_action(first, 1, &out), 39U);
    const zar_event_context context = event_context(1);
    EXPECT_EQ(zar_remove_class_from_policy(gold, &context, voice, 1), 0U) << "it is not under the event any more";
  });
  const zar_event_context context = event_context(1);
  EXPECT_EQ(zar_remove_class_from_policy(gold, &context, voice, 1), 0U);
  EXPECT_EQ(rules_of(start), Handles{second});
  EXPECT_FALSE(live(first));
  EXPECT_TRUE(live(more));
  EXPECT_EQ(cmap_refs_of(gold), (std::vector<std::pair<uint32_t, uint32_t>>{{video, 1}}));
  note(Kind::action, more);
}

TEST_F(Freeing, AnEventItIsNotFoundUnderItsHandle) {
  while_freed(permit, [&] {
    EXPECT_EQ(zar_get_event_id(start), 0U);
    EXPECT_EQ(zar_get_event_name(start), nullptr);
    EXPECT_EQ(zar_event_get_match_criteria(start), 0U);
    EXPECT_EQ(zar_delete_event(start), 39U);
    EXPECT_EQ(zar_add_event(silver, start), 39U);
    EXPECT_EQ(zar_add_event(gold, start), 39U);
    EXPECT_EQ(zar_add_class_to_event(start, voice, 0, 3, &out), 39U);
  });
  EXPECT_EQ(zar_delete_event(start), 0U);
  EXPECT_EQ(events_of(gold), Handles{stop});
  EXPECT_EQ(events_of(silver), Handles{});
  EXPECT_FALSE(live(start));
  EXPECT_CALLS("free permit", "free drop");
}

TEST_F(Freeing, AnEventItsRecordHasNoContext) {
  const auto *record = at<zar_event_tuple>(start);
  while_freed(permit, [&] { EXPECT_EQ(record->event_context, nullptr); });
  EXPECT_EQ(zar_delete_event(start), 0U);
}

TEST_F(Freeing, AnEventAnotherOfTheSameIdMayTakeItsPlace) {
  uint32_t next = 0;
  while_freed(permit, [&] { next = event_in(gold, 1, "again"); });
  EXPECT_EQ(zar_delete_event(start), 0U);
  EXPECT_EQ(events_of(gold), (Handles{stop, next}));
}

TEST_F(Freeing, AnEventItsPolicyMayGo) {
  const size_t pmap_refs = records_out(kPmapRefTag), cmap_refs = records_out(kCmapRefTag);
  while_freed(permit, [&] { EXPECT_EQ(zar_delete_stored_policy(one, gold), 0U); });
  EXPECT_EQ(zar_delete_event(start), 0U);
  EXPECT_FALSE(live(gold));
  EXPECT_EQ(pmap_refs_of(voice), Handles{});
  EXPECT_EQ(pmap_refs_of(video), Handles{});
  EXPECT_EQ(records_out(kPmapRefTag), pmap_refs - 2);
  EXPECT_EQ(records_out(kCmapRefTag), cmap_refs - 2);
  EXPECT_EQ(zar_delete_class(video), 0U) << "nothing refers to it";
  EXPECT_CALLS("free permit", "free drop");
}

TEST_F(Freeing, AnEventItsSiblingMayGo) {
  const uint32_t last = event_in(gold, 3);
  while_freed(permit, [&] { EXPECT_EQ(zar_delete_event(stop), 0U); });
  EXPECT_EQ(zar_delete_stored_policy(one, gold), 0U);
  for (const uint32_t each : {start, stop, last, gold})
    EXPECT_FALSE(live(each));
}

}  // namespace
