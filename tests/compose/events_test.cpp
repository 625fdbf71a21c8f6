// Events in policy-maps and class-actions under events: their order, and finding them.
#include "composition.h"
#include "support/lines.h"

using namespace rig;

namespace {

using runtime::Service;

constexpr uint32_t kRuleTag = 0x3e00049;

struct Events : Composition {
  const uint32_t gold = pmap("gold");
  const uint32_t silver = pmap("silver");
  const uint32_t plain = pmap("plain", {.type = 2});
  const uint32_t voice = cmap("voice");
  const uint32_t video = cmap("video");

  static Line not_control(const char *name) {
    return error("(ERR): %s: Error: Policy map has to be CONTROL type", name);
  }
  static Line no_rule_place(const char *name) {
    return error("(ERR): %s: Error: input class action handle cannot be NULL", name);
  }
};

// ---- A class-action under an event

struct AddClass : Events {
  const uint32_t free_event = event(1);
  uint32_t out = 77;

  // Of a class-action that goes behind another one, under an event without a policy-map.
  static Lines added(uint32_t rule, uint32_t cmap, uint32_t event) {
    return {info("(info): %s: class-action tuple created, hdl:0x%x", "create_class_action_tuple", rule),
            info("(info): %s: added class:0x%x to event:0x%x", "add_class_to_event", cmap, event)};
  }
  static Lines added_as_first(uint32_t rule, uint32_t cmap, uint32_t event) {
    Lines lines = added(rule, cmap, event);
    lines.insert(lines.begin() + 1, info("(info): %s: class-action:0x%p adding to event:0x%x as first entry",
                                         "add_class_to_event", at<zar_class_action>(rule), event));
    return lines;
  }
};

TEST_F(AddClass, CreatesAClassActionForTheClassMap) {
  EXPECT_EQ(zar_add_class_to_event(free_event, voice, 3, 9, &out), 0U);
  EXPECT_EQ(take_trace(), added_as_first(out, voice, free_event));
  EXPECT_CALLS();
  EXPECT_EQ(rules_of(free_event), Handles{out});
  const auto *record = at<zar_class_action>(out);
  EXPECT_EQ(record->handle, out);
  EXPECT_EQ(record->class_num, 9);
  EXPECT_EQ(record->exec_criteria, 3U);
  EXPECT_EQ(record->cmap, at<zar_cmap>(voice));
  EXPECT_EQ(actions_of(out), Handles{});
}

TEST_F(AddClass, ToAnEventWithoutAPolicyMapMakesNoReference) {
  rule(free_event, voice);
  EXPECT_EQ(pmap_refs_of(voice), Handles{});
  EXPECT_EQ(records_taken(kPmapRefTag), 0U);
  EXPECT_EQ(records_taken(kCmapRefTag), 0U);
}

TEST_F(AddClass, ToAnEventOfAPolicyMapMakesTheReferencesBeforeItReports) {
  add_event(gold, free_event);
  EXPECT_EQ(zar_add_class_to_event(free_event, voice, 0, 1, &out), 0U);
  Lines expected = added_as_first(out, voice, free_event);
  const Line reported = expected.back();
  expected.pop_back();
  EXPECT_TRACED(expected, references_added(gold, voice), reported);
  EXPECT_EQ(cmap_refs_of(gold), (std::vector<std::pair<uint32_t, uint32_t>>{{voice, 1}}));
  EXPECT_EQ(pmap_refs_of(voice), Handles{gold});
}

TEST_F(AddClass, StoresTheExecCriteriaWith0AsTheDefault2) {
  const std::map<uint32_t, uint32_t> stored_as{{0, 2}, {1, 1}, {2, 2}, {3, 3}};
  for (const auto &[given, stored] : stored_as)
    EXPECT_EQ(at<zar_class_action>(rule(free_event, voice, 1, given))->exec_criteria, stored) << given;
}

TEST_F(AddClass, KeepsTheLow8BitsOfTheClassNumber) {
  const uint32_t seven = rule(free_event, voice, 7);
  const uint32_t number_two = rule(free_event, voice, 258);
  EXPECT_EQ(at<zar_class_action>(number_two)->class_num, 2);
  EXPECT_EQ(rules_of(free_event), (Handles{number_two, seven})) << "ordered by what is kept";
}

TEST_F(AddClass, DoesNotMindAClassMapThatIsThereAlready) {
  const uint32_t first = rule(free_event, voice, 1);
  EXPECT_EQ(zar_add_class_to_event(free_event, voice, 0, 1, &out), 0U);
  EXPECT_EQ(take_trace(), added(out, voice, free_event));
  EXPECT_EQ(rules_of(free_event), (Handles{first, out}));
}

TEST_F(AddClass, Keeps5259As2559AndPuts1AtTheHead) {
  const uint32_t five = rule(free_event, voice, 5);
  const uint32_t number_two = rule(free_event, video, 2);
  const uint32_t five_too = rule(free_event, video, 5);
  const uint32_t nine = rule(free_event, voice, 9);
  EXPECT_EQ(rules_of(free_event), (Handles{number_two, five, five_too, nine}));
  EXPECT_EQ(zar_add_class_to_event(free_event, voice, 0, 1, &out), 0U);
  EXPECT_EQ(take_trace(), added_as_first(out, voice, free_event));
  EXPECT_EQ(rules_of(free_event), (Handles{out, number_two, five, five_too, nine}));
}

// Every sequence of four class numbers of three, so that every order and every tie is among them.
TEST_F(AddClass, OrdersByClassNumberAndThenByOrderOfAddition) {
  for (uint32_t sequence = 0; sequence < 3 * 3 * 3 * 3; ++sequence) {
    SCOPED_TRACE(sequence);
    const uint32_t list = event(2);
    std::vector<std::pair<uint32_t, uint32_t>> expected;  // number and handle
    uint32_t numbers = sequence;
    for (int i = 0; i < 4; ++i, numbers /= 3) {
      const uint32_t number = numbers % 3;
      forget_trace();
      EXPECT_EQ(zar_add_class_to_event(list, voice, 0, number, &out), 0U);
      const bool first = expected.empty() || expected.front().first > number;
      EXPECT_EQ(take_trace(), first ? added_as_first(out, voice, list) : added(out, voice, list));
      expected.emplace_back(number, out);
      std::stable_sort(expected.begin(), expected.end(), [](auto &a, auto &b) { return a.first < b.first; });
      Handles handles;
      for (const auto &[ignored, handle] : expected)
        handles.push_back(handle);
      ASSERT_EQ(rules_of(list), handles);
    }
    zar_delete_event(list);
  }
}

TEST_F(AddClass, NeedsAnEventBeforeAnythingElse) {
  expect_each_refused(39, Kind::event, {no_event("add_class_to_event")},
                      [&](uint32_t handle) { return zar_add_class_to_event(handle, voice, 0, 1, &out); });
  EXPECT_REFUSED(39, zar_add_class_to_event(0, 0, 4, 1, nullptr));
  EXPECT_TRACED(invalid_handle(), no_event("add_class_to_event"));
  EXPECT_EQ(out, 77U);
}

TEST_F(AddClass, RefusesExecCriteriaFrom4On) {
  for (const uint32_t criteria : {4U, 5U, 256U, 0xffffffffU}) {
    EXPECT_REFUSED(39, zar_add_class_to_event(free_event, voice, criteria, 1, &out));
    EXPECT_TRACED(error("(ERR): %s: Error: invalid action exec criteria", "create_class_action_tuple"));
  }
  EXPECT_EQ(out, 77U);
}

TEST_F(AddClass, NeedsAnOutPlaceForTheHandle) {
  watch_requests();
  EXPECT_REFUSED(39, zar_add_class_to_event(free_event, voice, 0, 1, nullptr));
  EXPECT_TRACED(no_rule_place("create_class_action_tuple"));
  EXPECT_REQUESTS();
}

TEST_F(AddClass, TracesEveryFaultOfTheClassAction) {
  EXPECT_REFUSED(39, zar_add_class_to_event(free_event, 0, 4, 1, nullptr));
  EXPECT_TRACED(invalid_handle(), no_cmap("create_class_action_tuple"),
                error("(ERR): %s: Error: invalid action exec criteria", "create_class_action_tuple"),
                no_rule_place("create_class_action_tuple"));
}

TEST_F(AddClass, MakesItsPoolsWhenTheyAreFirstNeeded) {
  NEEDS_FRESH_PROCESS();
  watch_requests();
  zar_add_class_to_event(free_event, voice, 0, 1, &out);
  EXPECT_REQUESTS("pool 0x3e00049 of 56", "record 0x3e00049 of 56", "id 0x3e00023");
  add_event(gold, free_event);
  EXPECT_REQUESTS("pool 0x3e0003f of 24", "record 0x3e0003f of 24", "pool 0x3e0003e of 16", "record 0x3e0003e of 16");
  zar_add_class_to_event(free_event, video, 0, 1, &out);
  EXPECT_REQUESTS("record 0x3e00049 of 56", "id 0x3e00023", "record 0x3e0003f of 24", "record 0x3e0003e of 16");
  EXPECT_EQ(pool_of(kRuleTag), "56 bytes, 30 per chunk, flags 0x111");
  EXPECT_EQ(pool_of(kPmapRefTag), "24 bytes, 30 per chunk, flags 0x111");
  EXPECT_EQ(pool_of(kCmapRefTag), "16 bytes, 30 per chunk, flags 0x111");
}

TEST_F(AddClass, WithoutARecordIsOutOfMemory) {
  rule(free_event, video);
  runtime::fail_request(Service::record, 1);
  EXPECT_REFUSED(38, zar_add_class_to_event(free_event, voice, 0, 1, &out));
  EXPECT_TRACED(error("(ERR): %s: memory alloc for class action failed", "create_class_action_tuple"));
  EXPECT_EQ(out, 77U);
}

TEST_F(AddClass, WithoutAPoolIsOutOfMemoryUntilThePoolCanBeMade) {
  NEEDS_FRESH_PROCESS();
  runtime::fail_request(Service::pool, 1);
  EXPECT_REFUSED(38, zar_add_class_to_event(free_event, voice, 0, 1, &out));
  EXPECT_TRACED(error("(ERR): %s: memory alloc for class action failed", "create_class_action_tuple"));
  EXPECT_EQ(zar_add_class_to_event(free_event, voice, 0, 1, &out), 0U);
}

TEST_F(AddClass, WithoutAHandleFreesTheRecord) {
  runtime::fail_request(Service::id, 1);
  EXPECT_REFUSED(37, zar_add_class_to_event(free_event, voice, 0, 1, &out));
  EXPECT_TRACED(error("(ERR): %s: Could not create id for class action", "create_class_action_tuple"));
  EXPECT_EQ(out, 77U);
}

TEST_F(AddClass, FailsWhenTheNewHandleIsLost) {
  NEEDS_TRACE();
  rule(event(1), voice);  // the pool is there
  forget_trace();
  const std::string before = everything();
  lose_record_after("(info): create_class_action_tuple: class-action tuple created");
  EXPECT_EQ(zar_add_class_to_event(free_event, voice, 0, 1, &out), 37U);
  EXPECT_EQ(everything(), before) << "the record is freed";
  const Lines lines = take_trace();
  ASSERT_EQ(lines.size(), 2U);
  EXPECT_EQ(lines[1], error("(ERR): ZAR Found NULL context with handle [0x%x]\n", out));
  EXPECT_EQ(rules_of(free_event), Handles{});
}

TEST_F(AddClass, ReturnsALostHandleAnyway) {
  NEEDS_TRACE();
  lose_record_after("(info): create_class_action_tuple: class-action tuple created");
  EXPECT_EQ(zar_add_class_to_event(free_event, voice, 0, 1, &out), 37U);
  EXPECT_NE(out, 0U);
  EXPECT_NE(out, 77U) << "it was written";
  EXPECT_FALSE(live(out)) << "it means nothing";
}

TEST_F(AddClass, WorksOnRecordsOfTheCallersOwn) {
  zar_cmap own_class{};
  own_class.handle = zar_handle_alloc(&own_class);
  zar_event_tuple own_event{};
  own_event.handle = zar_handle_alloc(&own_event);
  queue_init(&own_event.class_actions, 0);
  EXPECT_EQ(zar_add_class_to_event(own_event.handle, own_class.handle, 0, 1, &out), 0U);
  EXPECT_EQ(rules_of(own_event.handle), Handles{out});
  EXPECT_EQ(zar_get_cmap_from_class_action(out), own_class.handle);
}

// ---- An event in a policy-map

struct AddEvent : Events {
  static Lines added(uint32_t event, uint32_t pmap, const Lines &references = {}) {
    return lines(
        info("(info): %s: Added event tuple:0x%x, to pmap:0x%x success", "add_event", event, pmap), references,
        info("(info): %s: updated references between event tuple:0x%x, and pmap:0x%x", "add_event", event, pmap));
  }
};

TEST_F(AddEvent, PutsItAtTheEndAndNamesItsOwner) {
  const Handles three{event(3), event(1), event(2)};
  watch_requests();
  for (const uint32_t each : three) {
    EXPECT_EQ(zar_add_event(gold, each), 0U);
    EXPECT_EQ(take_trace(), added(each, gold));
    EXPECT_EQ(at<zar_event_tuple>(each)->pmap, at<zar_pmap>(gold));
  }
  EXPECT_EQ(events_of(gold), three);
  EXPECT_REQUESTS();
  EXPECT_CALLS();
}

TEST_F(AddEvent, CatchesUpTheReferencesOfItsClassActionsInListOrder) {
  const uint32_t late = event(1);
  rule(late, voice, 3);
  rule(late, video, 2);
  rule(late, voice, 1);
  EXPECT_EQ(zar_add_event(gold, late), 0U);
  EXPECT_EQ(take_trace(), added(late, gold,
                                lines(references_added(gold, voice), references_added(gold, video),
                                      references_counted(gold, voice))));
  EXPECT_EQ(cmap_refs_of(gold), (std::vector<std::pair<uint32_t, uint32_t>>{{voice, 2}, {video, 1}}));
  EXPECT_EQ(pmap_refs_of(voice), Handles{gold});
  EXPECT_EQ(pmap_refs_of(video), Handles{gold});
}

TEST_F(AddEvent, NeedsAControlPolicyMap) {
  const uint32_t started = event(1);
  EXPECT_REFUSED(39, zar_add_event(plain, started));
  EXPECT_TRACED(not_control("add_event"));
}

TEST_F(AddEvent, TracesBothBadHandles) {
  EXPECT_REFUSED(39, zar_add_event(voice, voice));
  EXPECT_TRACED(another_kind(voice), no_pmap("add_event"), another_kind(voice), no_event("add_event"));
  EXPECT_REFUSED(39, zar_add_event(plain, 0));
  EXPECT_TRACED(not_control("add_event"), invalid_handle(), no_event("add_event"));
}

TEST_F(AddEvent, NeedsAnEventWithItsContext) {
  const uint32_t hollow = event(1);
  lose_event_context(hollow);
  EXPECT_REFUSED(39, zar_add_event(gold, hollow));
  EXPECT_TRACED(no_event_context("add_event"));
  EXPECT_REFUSED(39, zar_add_event(0, hollow));
  EXPECT_TRACED(invalid_handle(), no_pmap("add_event"), no_event_context("add_event"));
}

TEST_F(AddEvent, RefusesASecondEventOfAnId) {
  event_in(gold, 1);
  event_in(gold, 2);
  const uint32_t second = event(2);
  rule(second, voice);
  EXPECT_REFUSED(39, zar_add_event(gold, second));
  EXPECT_TRACED(error("(ERR): %s: Error: Event tuple already present in pmap, eventid:%d", "add_event", 2));
  EXPECT_EQ(at<zar_event_tuple>(second)->pmap, nullptr);
}

TEST_F(AddEvent, RefusesTheSameEventAgainAsPresent) {
  const uint32_t started = event_in(gold, 1);
  EXPECT_REFUSED(39, zar_add_event(gold, started));
  EXPECT_TRACED(error("(ERR): %s: Error: Event tuple already present in pmap, eventid:%d", "add_event", 1));
}

TEST_F(AddEvent, RefusesAnEventOfAnotherPolicyMapBeforeItLooksForTheId) {
  const uint32_t started = event_in(gold, 7);
  EXPECT_REFUSED(39, zar_add_event(silver, started));
  EXPECT_TRACED(error("(ERR): %s: Error: Event tuple already belongs to a pmap, eventid:%d", "add_event", 7));
  event_in(silver, 7);
  EXPECT_REFUSED(39, zar_add_event(silver, started));
  EXPECT_TRACED(error("(ERR): %s: Error: Event tuple already belongs to a pmap, eventid:%d", "add_event", 7));
}

TEST_F(AddEvent, ChecksTheOwnerOnlyAfterTypeAndContext) {
  const uint32_t started = event_in(gold, 1);
  EXPECT_REFUSED(39, zar_add_event(plain, started));
  EXPECT_TRACED(not_control("add_event"));
  lose_event_context(started);
  EXPECT_REFUSED(39, zar_add_event(silver, started));
  EXPECT_TRACED(no_event_context("add_event"));
}

TEST_F(AddEvent, SkipsListedEventsWithoutAContext) {
  const uint32_t hollow = event_in(gold, 1);
  const uint32_t hollow_too = event_in(gold, 2);
  lose_event_context(hollow);
  lose_event_context(hollow_too);
  const uint32_t started = event(1);
  EXPECT_EQ(zar_add_event(gold, started), 0U);
  EXPECT_TRACED(no_event_context("add_event"), no_event_context("add_event"), added(started, gold));
  EXPECT_EQ(events_of(gold), (Handles{hollow, hollow_too, started}));
}

TEST_F(AddEvent, AcceptsTheIdAgainOnceItsEventIsDeleted) {
  zar_delete_event(event_in(gold, 1));
  const uint32_t again = event(1);
  EXPECT_EQ(zar_add_event(gold, again), 0U);
  EXPECT_EQ(events_of(gold), Handles{again});
}

// ---- Finding an event

struct RetrieveEvent : Events {
  const zar_event_context one_sought = event_context(1);
  uint32_t out = 77;

  static Line present(uint32_t id) {
    return info("(info): %s: Event tuple present in pmap, eventid:%d", "retrieve_event", id);
  }
  static Line absent(uint32_t id) {
    return info("(info): %s: Event tuple not present in pmap for eventid:%d", "retrieve_event", id);
  }
};

TEST_F(RetrieveEvent, FindsItByItsId) {
  event_in(gold, 2);
  const uint32_t started = event_in(gold, 1);
  EXPECT_REFUSED(0, zar_retrieve_event(gold, &one_sought, &out));
  EXPECT_TRACED(present(1));
  EXPECT_EQ(out, started);
  EXPECT_CALLS();
}

TEST_F(RetrieveEvent, ComparesTheWholeId) {
  const uint32_t highest = event_in(gold, 0xffffff01);
  zar_event_context sought = event_context(0xffffff01);
  EXPECT_EQ(zar_retrieve_event(gold, &sought, &out), 0U);
  EXPECT_EQ(out, highest);
  EXPECT_EQ(zar_retrieve_event(gold, &one_sought, &out), 0U);
  EXPECT_EQ(out, 0U);
  EXPECT_TRACED(present(0xffffff01), absent(1));
}

TEST_F(RetrieveEvent, Returns0WhenThereIsNone) {
  EXPECT_EQ(zar_retrieve_event(gold, &one_sought, &out), 0U);
  EXPECT_EQ(out, 0U);
  EXPECT_TRACED(absent(1));
  event_in(gold, 2);
  out = 77;
  EXPECT_EQ(zar_retrieve_event(gold, &one_sought, &out), 0U);
  EXPECT_EQ(out, 0U);
  EXPECT_TRACED(absent(1));
}

TEST_F(RetrieveEvent, SkipsEventsWithoutAContext) {
  lose_event_context(event_in(gold, 1));
  const uint32_t started = event_in(gold, 1);
  EXPECT_EQ(zar_retrieve_event(gold, &one_sought, &out), 0U);
  EXPECT_EQ(out, started);
  EXPECT_TRACED(no_event_context("retrieve_event"), present(1));
}

TEST_F(RetrieveEvent, NeedsAControlPolicyMap) {
  EXPECT_REFUSED(39, zar_retrieve_event(plain, &one_sought, &out));
  EXPECT_TRACED(not_control("retrieve_event"));
  EXPECT_EQ(out, 77U);
}

TEST_F(RetrieveEvent, NeedsAnOutPlaceForTheHandle) {
  event_in(gold, 1);
  EXPECT_REFUSED(39, zar_retrieve_event(gold, &one_sought, nullptr));
  EXPECT_TRACED(error("(ERR): %s: Error: input event tuple handle cannot be NULL", "retrieve_event"));
}

TEST_F(RetrieveEvent, NeedsAContext) {
  EXPECT_REFUSED(39, zar_retrieve_event(gold, nullptr, &out));
  EXPECT_TRACED(error("(ERR): %s: Error: Event context input cannot be NULL", "retrieve_event"));
  EXPECT_EQ(out, 77U);
}

TEST_F(RetrieveEvent, TracesEveryFault) {
  EXPECT_REFUSED(39, zar_retrieve_event(0, nullptr, nullptr));
  EXPECT_TRACED(invalid_handle(), no_pmap("retrieve_event"),
                error("(ERR): %s: Error: input event tuple handle cannot be NULL", "retrieve_event"),
                error("(ERR): %s: Error: Event context input cannot be NULL", "retrieve_event"));
  EXPECT_REFUSED(39, zar_retrieve_event(plain, &one_sought, nullptr));
  EXPECT_TRACED(not_control("retrieve_event"),
                error("(ERR): %s: Error: input event tuple handle cannot be NULL", "retrieve_event"));
}

// ---- Finding the class-action of a class-map

struct RetrieveClassAction : Events {
  const uint32_t started = event_in(gold, 7);
  uint32_t out = 77;

  static Line present(uint32_t event_id, uint32_t pmap) {
    return info("(info): %s: event:%d present in pmap:0x%x", "retrieve_class_action", event_id, pmap);
  }
  static Line found(uint32_t rule, uint32_t pmap, uint32_t event_id, uint32_t cmap) {
    return info("(info): %s: success, found class-action:0x%x in pmap:0x%x under event:%d with cmap:0x%x",
                "retrieve_class_action", rule, pmap, event_id, cmap);
  }
  static Line not_found(uint32_t pmap, uint32_t event_id) {
    return info("(info): %s: success, no class-action in pmap:0x%x under event:%d", "retrieve_class_action", pmap,
                event_id);
  }
  static Line no_matching_event(uint32_t event_id, uint32_t pmap) {
    return error("(ERR): %s: Error: no matching event:%d found in policy:0x%x", "retrieve_class_action", event_id,
                 pmap);
  }
};

TEST_F(RetrieveClassAction, ReturnsTheFirstOfTheClassMap) {
  rule(started, video, 1);
  const uint32_t first = rule(started, voice, 2);
  rule(started, voice, 3);
  EXPECT_REFUSED(0, zar_retrieve_class_action(gold, started, voice, &out));
  EXPECT_TRACED(present(7, gold), found(first, gold, 7, voice));
  EXPECT_EQ(out, first);
  EXPECT_CALLS();
}

TEST_F(RetrieveClassAction, Returns0WhenTheEventHasNone) {
  EXPECT_EQ(zar_retrieve_class_action(gold, started, voice, &out), 0U);
  EXPECT_TRACED(present(7, gold), not_found(gold, 7));
  EXPECT_EQ(out, 0U);
  rule(started, video);
  rule(event_in(gold, 8), voice);
  out = 77;
  EXPECT_EQ(zar_retrieve_class_action(gold, started, voice, &out), 0U);
  EXPECT_TRACED(present(7, gold), not_found(gold, 7));
  EXPECT_EQ(out, 0U);
}

TEST_F(RetrieveClassAction, GoesByTheIdOfTheEventAndNotByTheEvent) {
  const uint32_t of_gold = rule(started, voice);
  const uint32_t twin = event(7);
  rule(twin, voice);
  EXPECT_EQ(zar_retrieve_class_action(gold, twin, voice, &out), 0U);
  EXPECT_TRACED(present(7, gold), found(of_gold, gold, 7, voice));
  EXPECT_EQ(out, of_gold);
}

TEST_F(RetrieveClassAction, IsRefusedWhereThePolicyMapHasNoSuchEvent) {
  const uint32_t stranger = event(8);
  rule(stranger, voice);
  EXPECT_REFUSED(39, zar_retrieve_class_action(gold, stranger, voice, &out));
  EXPECT_TRACED(no_matching_event(8, gold));
  const uint32_t empty = pmap("empty");
  EXPECT_REFUSED(39, zar_retrieve_class_action(empty, started, voice, &out));
  EXPECT_TRACED(no_matching_event(7, empty));
  EXPECT_EQ(out, 77U);
}

TEST_F(RetrieveClassAction, SkipsEventsWithoutAContext) {
  const uint32_t twin = event(7);
  lose_event_context(started);
  EXPECT_REFUSED(39, zar_retrieve_class_action(gold, twin, voice, &out));
  EXPECT_TRACED(no_event_context("retrieve_class_action"), no_matching_event(7, gold));
  const uint32_t second = event_in(gold, 7);
  const uint32_t of_second = rule(second, voice);
  EXPECT_EQ(zar_retrieve_class_action(gold, twin, voice, &out), 0U);
  EXPECT_TRACED(no_event_context("retrieve_class_action"), present(7, gold), found(of_second, gold, 7, voice));
  EXPECT_EQ(out, of_second);
}

TEST_F(RetrieveClassAction, LeavesTheOutPlaceAloneOnAPolicyMapThatIsNotControl) {
  EXPECT_REFUSED(0, zar_retrieve_class_action(plain, started, voice, &out));
  EXPECT_REFUSED(0, zar_retrieve_class_action(plain, 0, voice, &out));
  EXPECT_TRACED();
  EXPECT_EQ(out, 77U);
}

TEST_F(RetrieveClassAction, NeedsAnOutPlaceAndAClassMapOnAPolicyMapThatIsNotControlToo) {
  EXPECT_REFUSED(39, zar_retrieve_class_action(plain, started, voice, nullptr));
  EXPECT_TRACED(no_rule_place("retrieve_class_action"));
  EXPECT_REFUSED(39, zar_retrieve_class_action(plain, started, 0, &out));
  EXPECT_TRACED(invalid_handle(), no_cmap("retrieve_class_action"));
}

TEST_F(RetrieveClassAction, NeedsAnEventWithItsContext) {
  const uint32_t hollow = event(7);
  lose_event_context(hollow);
  EXPECT_REFUSED(39, zar_retrieve_class_action(gold, hollow, voice, &out));
  EXPECT_TRACED(no_event_context("retrieve_class_action"));
  EXPECT_EQ(out, 77U);
}

TEST_F(RetrieveClassAction, NeedsAnOutPlaceForTheHandle) {
  EXPECT_REFUSED(39, zar_retrieve_class_action(gold, started, voice, nullptr));
  EXPECT_TRACED(no_rule_place("retrieve_class_action"));
}

TEST_F(RetrieveClassAction, TracesTheFaultsOfMapsAndPlaceBeforeTheEventIsChecked) {
  EXPECT_REFUSED(39, zar_retrieve_class_action(0, 0, started, nullptr));
  EXPECT_TRACED(invalid_handle(), no_pmap("retrieve_class_action"), another_kind(started),
                no_cmap("retrieve_class_action"), no_rule_place("retrieve_class_action"));
}

// ---- Finding a class-action by its number

struct RetrieveClassNum : Events {
  const uint32_t started = event(7);
  uint32_t out = 77;

  static Line found(uint32_t rule, uint32_t event, uint32_t number) {
    return info("(info): %s: success, found class-action:0x%x under event:0x%x with num:%d", "retrieve_class_num", rule,
                event, number);
  }
  static Line not_found(uint32_t event, uint32_t number) {
    return info("(info): %s: success, no class-action under event:0x%x with num:%d", "retrieve_class_num", event,
                number);
  }
};

TEST_F(RetrieveClassNum, ReturnsTheFirstOfTheNumber) {
  rule(started, voice, 1);
  const uint32_t first = rule(started, voice, 2);
  rule(started, video, 2);
  EXPECT_REFUSED(0, zar_retrieve_class_num_in_event(started, 2, &out));
  EXPECT_TRACED(found(first, started, 2));
  EXPECT_EQ(out, first);
}

TEST_F(RetrieveClassNum, Returns0WhenThereIsNone) {
  EXPECT_EQ(zar_retrieve_class_num_in_event(started, 0, &out), 0U);
  EXPECT_TRACED(not_found(started, 0));
  EXPECT_EQ(out, 0U);
  rule(started, voice, 1);
  out = 77;
  EXPECT_EQ(zar_retrieve_class_num_in_event(started, 2, &out), 0U);
  EXPECT_TRACED(not_found(started, 2));
  EXPECT_EQ(out, 0U);
}

TEST_F(RetrieveClassNum, NeverFindsANumberAbove255) {
  const uint32_t number_two = rule(started, voice, 258);
  const uint32_t highest = rule(started, voice, 255);
  EXPECT_EQ(zar_retrieve_class_num_in_event(started, 258, &out), 0U);
  EXPECT_EQ(out, 0U);
  EXPECT_TRACED(not_found(started, 258));
  EXPECT_EQ(zar_retrieve_class_num_in_event(started, 2, &out), 0U);
  EXPECT_EQ(out, number_two);
  EXPECT_EQ(zar_retrieve_class_num_in_event(started, 255, &out), 0U);
  EXPECT_EQ(out, highest);
}

TEST_F(RetrieveClassNum, NeedsAnOutPlaceForTheHandleBeforeAnythingElse) {
  const Lines complaints{no_rule_place("retrieve_class_num"),
                         error("(ERR): %s: Invalid class_action", "retrieve_class_num")};
  EXPECT_REFUSED(39, zar_retrieve_class_num_in_event(started, 1, nullptr));
  EXPECT_EQ(take_trace(), complaints);
  EXPECT_REFUSED(39, zar_retrieve_class_num_in_event(0, 1, nullptr));
  EXPECT_EQ(take_trace(), complaints);
}

// ---- The class-map of a class-action

struct CmapOfRule : Events {};

TEST_F(CmapOfRule, IsItsHandle) {
  const uint32_t first = rule(event(1), voice);
  EXPECT_EQ(zar_get_cmap_from_class_action(first), voice);
  EXPECT_TRACED();
}

TEST_F(CmapOfRule, IsAlsoGivenForPlainRules) {
  stored_pmap("plain-policy", {.type = 2});
  const uint32_t klass = stored_cmap("plain-class", {.type = 2});
  EXPECT_EQ(zar_get_cmap_from_class_action(plain_rule("plain-policy", "plain-class")), klass);
}

TEST_F(CmapOfRule, Is0WithoutOne) {
  const uint32_t first = rule(event(1), voice);
  at<zar_class_action>(first)->cmap = nullptr;
  EXPECT_EQ(zar_get_cmap_from_class_action(first), 0U);
  EXPECT_TRACED();
}

// ---- Faults

// The status that a failed request makes of adding a class: what only the references need is not reported.
uint32_t expected_status(const FaultClock &clock) {
  if (clock.failed_in(Service::id)) return 37;
  if (clock.failed_in(Service::pool, kRuleTag) || clock.failed_in(Service::record, kRuleTag)) return 38;
  return 0;
}

TEST(EventsUnderFaults, AClassIsAddedOrNothingIsLeft) {
  for_each_fault([](FaultClock &clock) {
    World world;
    const uint32_t gold = world.pmap("gold");
    const uint32_t voice = world.cmap("voice");
    const auto without_event = world.everything();
    const uint32_t started = world.event_in(gold, 1);
    const auto before = world.everything();
    uint32_t out = 77;
    const uint32_t status = clock.during([&] { return zar_add_class_to_event(started, voice, 0, 1, &out); });
    EXPECT_EQ(status, expected_status(clock));
    if (status != 0) {
      EXPECT_EQ(world.everything(), before);
      EXPECT_EQ(out, 77U);
      EXPECT_EQ(zar_add_class_to_event(started, voice, 0, 1, &out), 0U) << "the fault is over";
    }
    EXPECT_EQ(World::rules_of(started), Handles{out});
    EXPECT_EQ(zar_delete_event(started), 0U);
    EXPECT_EQ(world.everything(), without_event);
  });
}

TEST(EventsUnderFaults, AnEventIsAddedEvenWithoutItsReferences) {
  for_each_fault([](FaultClock &clock) {
    World world;
    const uint32_t gold = world.pmap("gold");
    const uint32_t voice = world.cmap("voice");
    const uint32_t video = world.cmap("video");
    const auto without_event = world.everything();
    const uint32_t started = world.event(1);
    world.rule(started, voice, 1);
    world.rule(started, video, 2);
    world.rule(started, voice, 3);
    EXPECT_EQ(clock.during([&] { return zar_add_event(gold, started); }), 0U);
    EXPECT_EQ(World::events_of(gold), Handles{started});
    EXPECT_EQ(zar_delete_event(started), 0U);
    EXPECT_EQ(world.everything(), without_event);
  });
}

}  // namespace
