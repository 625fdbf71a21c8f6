// Deleting actions, filters and events by handle.
#include "composition.h"
#include "support/lines.h"

using namespace rig;

namespace {

using Counts = std::vector<std::pair<uint32_t, uint32_t>>;

constexpr uint32_t kActionTag = 0x3e00044;
constexpr uint32_t kFilterTag = 0x3e00041;
constexpr uint32_t kEventTag = 0x3e00043;
constexpr uint32_t kEventContextTag = 0x3e0004a;

// ---- Actions

struct DeleteAction : Composition {
  static Line counted(uint32_t action, uint32_t count) {
    return info("(info): action:0x%x reference count:%d", action, count);
  }
  static Line deleted(uint32_t action) { return info("(info): %s: deleted action:0x%x", "delete_action", action); }
};

TEST_F(DeleteAction, FreesTheDataTheHandleAndTheRecord) {
  const auto before = everything();
  const uint32_t permit = action("permit");
  EXPECT_EQ(zar_delete_action(permit), 0U);
  EXPECT_TRACED(action_freed(permit), deleted(permit));
  EXPECT_CALLS("free permit");
  EXPECT_FALSE(live(permit));
  EXPECT_EQ(records_taken(kActionTag), 0U);
  EXPECT_EQ(everything(), before);
}

TEST_F(DeleteAction, HeldByTwoRulesLeavesItInBoth) {
  breaks_invariants("a list gets an action without a reference of its own");
  const uint32_t started = event(1);
  const uint32_t voice = rule(started, cmap("voice"));
  const uint32_t video = rule(started, cmap("video"));
  const uint32_t permit = action_in(voice, "permit");
  zar_increment_action(at<zar_action>(permit));
  add_action(video, permit);
  EXPECT_EQ(zar_delete_action(permit), 0U);
  EXPECT_TRACED(counted(permit, 1), deleted(permit));
  EXPECT_CALLS();
  EXPECT_EQ(at<zar_action>(permit)->ref_count, 1U);
  EXPECT_EQ(actions_of(voice), Handles{permit});
  EXPECT_EQ(actions_of(video), Handles{permit});

  // The second would leave dangling entries in the rules, so it is removed from them first.
  zar_remove_action_from_class_action(voice, permit);
  zar_remove_action_from_class_action(video, permit);
  EXPECT_EQ(zar_delete_action(permit), 0U);
  EXPECT_TRACED(action_freed(permit), deleted(permit));
  EXPECT_CALLS("free permit");
  EXPECT_FALSE(live(permit));
}

TEST_F(DeleteAction, OfARecordThatHasLostItsHandleFreesWhatItHolds) {
  breaks_invariants("the record of an action does not name its handle");
  const uint32_t permit = action("permit");
  zar_action *record = at<zar_action>(permit);
  record->handle = 0;
  zar_free_action(record);
  EXPECT_CALLS("free permit");
  EXPECT_EQ(records_taken(kActionTag), 0U);
  take_trace();
  zar_handle_release(permit);
}

TEST_F(DeleteAction, OfADeletedOneIsRefused) {
  const uint32_t permit = action("permit");
  zar_delete_action(permit);
  forget_trace();
  EXPECT_REFUSED(39, zar_delete_action(permit));
  EXPECT_TRACED(destroyed_already(permit),
                error("(ERR): %s: Error: action:0x%x is already NULL", "delete_action", permit));
  EXPECT_CALLS("free permit");
}

TEST_F(DeleteAction, MayDeleteAnotherOneFromItsFreeFunction) {
  const auto before = everything();
  const uint32_t permit = action("permit");
  const uint32_t drop = action("drop");
  data_of_action(permit).on_call = [&] { EXPECT_EQ(zar_delete_action(drop), 0U); };
  EXPECT_EQ(zar_delete_action(permit), 0U);
  EXPECT_CALLS("free permit", "free drop");
  EXPECT_EQ(everything(), before);
}

// ---- Filters

struct DeleteFilter : Composition {
  static Line freed(uint32_t filter) { return info("(info): Free filter:0x%x successful", filter); }
  static Line deleted(uint32_t filter) { return info("(info): %s: deleted filter:0x%x", "delete_filter", filter); }
};

TEST_F(DeleteFilter, FreesTheDataTheHandleAndTheRecord) {
  const auto before = everything();
  const uint32_t port = filter("port");
  EXPECT_EQ(zar_delete_filter(port), 0U);
  EXPECT_TRACED(freed(port), deleted(port));
  EXPECT_CALLS("free port");
  EXPECT_FALSE(live(port));
  EXPECT_EQ(records_taken(kFilterTag), 0U);
  EXPECT_EQ(everything(), before);
}

TEST_F(DeleteFilter, ReportsAfterTheRecordIsFreed) {
  NEEDS_TRACE();
  const uint32_t port = filter("port");
  bool handle_there = false;
  size_t records_there = 0;
  data_of_filter(port).on_call = [&] {
    handle_there = live(port);
    records_there = records_taken(kFilterTag);
  };
  bool handle_there_later = true;
  size_t records_there_later = 9;
  when_traced(freed(port), [&] {
    handle_there_later = live(port);
    records_there_later = records_taken(kFilterTag);
  });
  zar_delete_filter(port);
  EXPECT_TRUE(handle_there);
  EXPECT_EQ(records_there, 1U);
  EXPECT_FALSE(handle_there_later);
  EXPECT_EQ(records_there_later, 0U);
}

TEST_F(DeleteFilter, LeavesDataWithoutAFreeFunction) {
  const uint32_t port = filter("port");
  at<zar_filter>(port)->filter_free_fn = nullptr;
  EXPECT_EQ(zar_delete_filter(port), 0U);
  EXPECT_TRACED(freed(port), deleted(port));
  EXPECT_CALLS();
  EXPECT_FALSE(live(port));
}

TEST_F(DeleteFilter, FreesTheFilterOfAnExpressionInTheSamePool) {
  const auto before = everything();
  const zar_filter_context context = filter_context("expression");
  uint32_t expression = 0;
  ASSERT_EQ(zar_pmtr_create_filter(&context, &expression, 0, 1, 2, 3), 0U);
  forget_trace();
  EXPECT_EQ(zar_delete_filter(expression), 0U);
  EXPECT_TRACED(freed(expression), deleted(expression));
  EXPECT_EQ(everything(), before);
}

TEST_F(DeleteFilter, TwiceIsRefusedTheSecondTime) {
  const uint32_t port = filter("port");
  zar_delete_filter(port);
  forget_trace();
  EXPECT_REFUSED(39, zar_delete_filter(port));
  EXPECT_TRACED(destroyed_already(port), error("(ERR): %s: Error: filter:0x%x is already NULL", "delete_filter", port));
  EXPECT_CALLS("free port");
}

// ---- Events

struct DeleteEvent : Composition {
  const uint32_t gold = pmap("gold");
  const uint32_t voice = cmap("voice");
  const uint32_t video = cmap("video");

  static Line rule_removed(uint32_t rule) {
    return info("(info): %s: Removing class-action tuple:0x%x", "delete_event", rule);
  }
  static Line rule_freed(uint32_t rule) { return info("(info): class-action:0x%x freed", rule); }
  static Line event_removed(uint32_t event) {
    return info("(info): %s: Removed event tuple:0x%x", "delete_event", event);
  }
};

TEST_F(DeleteEvent, FreesItsNameItsContextItsHandleAndItself) {
  const auto before = everything();
  const uint32_t started = event(1, "start");
  watch_requests();
  EXPECT_EQ(zar_delete_event(started), 0U);
  EXPECT_TRACED(event_removed(started));
  EXPECT_TEXT_REMOVALS("0x3e0003d \"start\"");
  EXPECT_REQUESTS();
  EXPECT_CALLS();
  EXPECT_FALSE(live(started));
  EXPECT_EQ(records_taken(kEventTag), 0U);
  EXPECT_EQ(records_taken(kEventContextTag), 0U);
  EXPECT_EQ(everything(), before);
}

TEST_F(DeleteEvent, RemovesItFromItsPolicyMap) {
  const uint32_t first = event_in(gold, 1);
  const uint32_t middle = event_in(gold, 2);
  const uint32_t last = event_in(gold, 3);
  EXPECT_EQ(zar_delete_event(middle), 0U);
  EXPECT_EQ(events_of(gold), (Handles{first, last}));
  EXPECT_EQ(zar_delete_event(last), 0U);
  EXPECT_EQ(events_of(gold), Handles{first});
  EXPECT_EQ(zar_delete_event(first), 0U);
  EXPECT_EQ(events_of(gold), Handles{});
}

TEST_F(DeleteEvent, TakesItsClassActionsWithTheirActionsFromTheHead) {
  const auto before = everything();
  const uint32_t started = event_in(gold, 1);
  const uint32_t second = rule(started, video, 2);
  const uint32_t first = rule(started, voice, 1);
  const uint32_t drop = action_in(first, "drop", 2);
  const uint32_t permit = action_in(first, "permit", 1);
  const uint32_t mark = action_in(second, "mark");
  EXPECT_EQ(zar_delete_event(started), 0U);
  EXPECT_TRACED(rule_removed(first), references_removed(gold, voice), action_freed(permit), action_freed(drop),
                rule_freed(first), rule_removed(second), references_removed(gold, video), action_freed(mark),
                rule_freed(second), event_removed(started));
  EXPECT_CALLS("free permit", "free drop", "free mark");
  EXPECT_FALSE(live(first));
  EXPECT_FALSE(live(second));
  EXPECT_EQ(everything(), before);
}

TEST_F(DeleteEvent, LowersTheReferencesByOneForEachClassAction) {
  const uint32_t started = event_in(gold, 1);
  const uint32_t first = rule(started, voice, 1);
  const uint32_t second = rule(started, voice, 2);
  EXPECT_EQ(cmap_refs_of(gold), (Counts{{voice, 2}}));
  EXPECT_EQ(zar_delete_event(started), 0U);
  EXPECT_TRACED(rule_removed(first), references_lowered(gold, voice), rule_freed(first), rule_removed(second),
                references_removed(gold, voice), rule_freed(second), event_removed(started));
  EXPECT_EQ(cmap_refs_of(gold), Counts{});
  EXPECT_EQ(pmap_refs_of(voice), Handles{});
}

TEST_F(DeleteEvent, LeavesTheReferencesOfOtherEvents) {
  const uint32_t started = event_in(gold, 1);
  rule(started, voice);
  const uint32_t kept = rule(event_in(gold, 2), voice);
  EXPECT_EQ(zar_delete_event(started), 0U);
  EXPECT_EQ(cmap_refs_of(gold), (Counts{{voice, 1}}));
  EXPECT_TRUE(live(kept));
}

TEST_F(DeleteEvent, OutsideAPolicyMapTouchesNoReferences) {
  rule(event_in(gold, 1), voice);
  const auto before = everything();
  const uint32_t free_event = event(1);
  const uint32_t first = rule(free_event, voice);
  const uint32_t permit = action_in(first, "permit");
  EXPECT_EQ(zar_delete_event(free_event), 0U);
  EXPECT_TRACED(rule_removed(first), action_freed(permit), rule_freed(first), event_removed(free_event));
  EXPECT_EQ(everything(), before) << "the references of the other event are as they were";
}

TEST_F(DeleteEvent, DropsOneReferenceOfASharedAction) {
  const uint32_t started = event(1);
  const uint32_t first = rule(started, voice);
  const uint32_t kept = rule(event(2), voice);
  const uint32_t permit = action_in(first, "permit");
  zar_increment_action(at<zar_action>(permit));
  add_action(kept, permit);
  EXPECT_EQ(zar_delete_event(started), 0U);
  EXPECT_TRACED(rule_removed(first), info("(info): action:0x%x reference count:%d", permit, 1), rule_freed(first),
                event_removed(started));
  EXPECT_CALLS();
  EXPECT_EQ(actions_of(kept), Handles{permit});
}

TEST_F(DeleteEvent, WithoutAContextHasNoNameToFree) {
  const uint32_t hollow = event_in(gold, 1);
  lose_event_context(hollow);
  watch_requests();
  EXPECT_EQ(zar_delete_event(hollow), 0U);
  EXPECT_TRACED(event_removed(hollow));
  EXPECT_TEXT_REMOVALS();
  EXPECT_EQ(events_of(gold), Handles{});
  EXPECT_EQ(records_taken(kEventContextTag), 1U);
}

TEST_F(DeleteEvent, ContinuesWhenItsReferencesAreMissing) {
  const uint32_t started = event_in(gold, 1);
  rule(event_in(gold, 2), video);
  runtime::fail_request(runtime::Service::record, 2);  // of the references; the class-action's own comes first
  const uint32_t first = rule(started, voice);
  EXPECT_EQ(zar_delete_event(started), 0U);
  EXPECT_TRACED(
      rule_removed(first), info("(info): removing references between pmap:0x%x, cmap:0x%x", gold, voice),
      error("(ERR): remove reference: cmap:0x%p not referred by pmap:0x%p", at<zar_cmap>(voice), at<zar_pmap>(gold)),
      rule_freed(first), event_removed(started));
  EXPECT_FALSE(live(started));
}

TEST_F(DeleteEvent, OfADeletedOneIsRefused) {
  const uint32_t started = event(1);
  zar_delete_event(started);
  forget_trace();
  EXPECT_REFUSED(39, zar_delete_event(started));
  EXPECT_TRACED(destroyed_already(started),
                error("(ERR): %s: input event class action handle context cannot be NULL", "delete_event"));
}

// All subsets of four events are deleted, and the others stay in order.
TEST_F(DeleteEvent, LeavesTheOthersInTheirOrderWhicheverAreDeleted) {
  for (unsigned going = 0; going < 16; ++going) {
    SCOPED_TRACE(going);
    Handles staying;
    Handles leaving;
    for (unsigned i = 0; i < 4; ++i) {
      const uint32_t each = event_in(gold, i);
      rule(each, voice);
      (going >> i & 1 ? leaving : staying).push_back(each);
    }
    for (const uint32_t each : leaving)
      EXPECT_EQ(zar_delete_event(each), 0U);
    EXPECT_EQ(events_of(gold), staying);
    const auto count = static_cast<uint32_t>(staying.size());
    EXPECT_EQ(cmap_refs_of(gold), count == 0 ? Counts{} : (Counts{{voice, count}}));
    for (const uint32_t each : staying)
      EXPECT_EQ(zar_delete_event(each), 0U);
  }
}

// ---- Faults

TEST(DeletingUnderFaults, FreesWhateverWasCreated) {
  NEEDS_TRACE();
  for_each_fault([](FaultClock &clock) {
    World world;
    const uint32_t gold = world.pmap("gold");
    const uint32_t voice = world.cmap("voice");
    const auto before = world.everything();
    const zar_event_context at_start = World::event_context(1);
    const zar_action_context permit_context = world.action_context("permit");
    const zar_filter_context port_context = world.filter_context("port");
    uint32_t started = 0;
    uint32_t first = 0;
    uint32_t permit = 0;
    uint32_t port = 0;
    const auto act = [&] {
      zar_create_event(&at_start, "start", &started);
      zar_add_event(gold, started);
      zar_add_class_to_event(started, voice, 0, 1, &first);
      zar_create_action(&permit_context, 1, 0, &permit);
      zar_increment_action(World::live(permit) ? World::at<zar_action>(permit) : nullptr);
      zar_add_action_to_rule(first, permit);
      zar_create_filter(&port_context, &port, 0);
      // Deleting asks for nothing, so it succeeds while every request fails.
      EXPECT_EQ(zar_delete_event(started), started == 0 ? 39U : 0U);
      EXPECT_EQ(zar_delete_filter(port), port == 0 ? 39U : 0U);
      EXPECT_EQ(zar_delete_action(permit), permit == 0 ? 39U : 0U);
    };
    clock.during(act);
    // The reference that no rule took over.
    if (World::live(permit)) zar_delete_action(permit);
    for (const Line &line : trace_history()) {
      // Making an event keeps its handle when there is no record for the event context.
      if (line == error("(ERR): create_event: memory alloc for event context failed")) return;
    }
    EXPECT_EQ(world.everything(), before);
  });
}

}  // namespace
