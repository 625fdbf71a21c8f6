// What handlers, free functions and removal callbacks do while policy-maps, class-maps and targets are deactivated and
// deleted.
#include <algorithm>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "lifecycle/lines.h"
#include "support/reentry.h"

using namespace rig;

namespace {

// ---- Deactivation of everything on a target

struct DeactivatingAll : Lifecycle {
  const uint32_t gold = stored_pmap("gold"), silver = stored_pmap("silver"), bronze = stored_pmap("bronze");
  const uint32_t iron = stored_pmap("iron");
  const uint32_t permit = action_in(rule(event_in(gold, 1), cmap("voice")), "permit");
  const uint32_t drop = action_in(rule(event_in(silver, 1), cmap("video")), "drop");
  const uint32_t interface = target(gold, 7);

  DeactivatingAll() {
    activate(silver, interface);
    activate(bronze, interface);
  }
  uint32_t deactivate_all() const { return zar_deactivate_any_policy_for_target(one, interface); }
};

TEST_F(DeactivatingAll, LeavesWhatAHandlerActivatesDuringTheCall) {
  once_inside(data_of_action(permit), [this] { activate(iron, interface); });
  EXPECT_EQ(deactivate_all(), 0U);
  EXPECT_EQ(active_on(interface), Handles{iron});
}

TEST_F(DeactivatingAll, LeavesThePolicyOfTheHandlerWhenThatActivatesItAgain) {
  once_inside(data_of_action(permit), [this] { activate(gold, interface); });
  EXPECT_EQ(deactivate_all(), 0U);
  EXPECT_EQ(active_on(interface), Handles{gold}) << "whether or not its link has the memory of the old one";
}

TEST_F(DeactivatingAll, LeavesWhatAHandlerDeactivatesAndActivatesAgain) {
  once_inside(data_of_action(permit), [this] {
    const zar_map_info info = map_info("bronze");
    EXPECT_EQ(zar_deactivate_policy_by_name(one, interface, &info), 0U);
    activate(bronze, interface);
  });
  EXPECT_EQ(deactivate_all(), 0U);
  EXPECT_EQ(active_on(interface), Handles{bronze});
}

TEST_F(DeactivatingAll, LeavesWhatTheLastHandlerActivates) {
  once_inside(data_of_action(drop), [this] {
    const zar_map_info info = map_info("bronze");
    EXPECT_EQ(zar_deactivate_policy_by_name(one, interface, &info), 0U);
    activate(iron, interface);
    activate(gold, interface);
  });
  EXPECT_EQ(deactivate_all(), 0U);
  EXPECT_EQ(active_on(interface), (Handles{iron, gold}));
}

TEST_F(DeactivatingAll, SkipsAPolicyThatAHandlerDeletes) {
  once_inside(data_of_action(permit), [this] { EXPECT_EQ(zar_delete_stored_policy(one, silver), 0U); });
  EXPECT_EQ(deactivate_all(), 0U);
  EXPECT_EQ(active_on(interface), Handles{});
  EXPECT_TRUE(engine().instances().empty());
}

TEST_F(DeactivatingAll, SkipsATargetThatAHandlerDeletes) {
  const uint32_t second = target(gold, 8), third = target(gold, 9);
  once_inside(data_of_action(permit), [this, second] { drop_target(one, second); });
  EXPECT_EQ(zar_deactivate_policy_by_handle_from_all_targets(one, gold), 0U);
  EXPECT_EQ(targets_of(gold), Handles{});
  EXPECT_EQ(active_on(third), Handles{});
  const std::vector<std::string> calls = take_calls();
  EXPECT_EQ(std::count(calls.begin(), calls.end(), "notify removed permit [9]"), 1);
}

TEST_F(DeactivatingAll, LeavesATargetWhereAHandlerActivatesAgain) {
  const uint32_t second = target(gold, 8);
  once_inside(data_of_action(permit), [this] { activate(gold, interface); });
  EXPECT_EQ(zar_deactivate_policy_by_handle_from_all_targets(one, gold), 0U);
  EXPECT_EQ(targets_of(gold), Handles{interface});
  EXPECT_EQ(active_on(second), Handles{});
}

TEST_F(DeactivatingAll, DuringTheDeletionOfATargetIsNotEndedByASecondDeletion) {
  uint32_t inner = 0;
  once_inside(data_of_action(permit), [this, &inner] { inner = zar_delete_target(interface); });
  drop_target(one, interface);
  EXPECT_EQ(inner, 39U);
  EXPECT_FALSE(live(interface));
  for (const uint32_t each : {gold, silver, bronze})
    EXPECT_EQ(targets_of(each), Handles{});
}

TEST_F(DeactivatingAll, DuringTheDeletionOfATargetKeepsItsRecordOutOfTheTrees) {
  uint32_t inserted = 1;
  once_inside(data_of_action(permit),
              [this, &inserted] { inserted = zar_avl_insert_target_client_db(db, at<zar_target>(interface)); });
  drop_target(one, interface);
  EXPECT_EQ(inserted, 0U);
  EXPECT_EQ(zar_destroy_database(db), 0U) << "its trees hold no deleted record";
  for (const uint32_t each : {gold, silver, bronze, iron})
    note(Kind::pmap, each);
  for (const uint32_t each : {permit, drop})
    note(Kind::action, each);
}

// ---- The end of policy-maps

struct Ending : Lifecycle {
  const uint32_t voice = stored_cmap("voice");
  const uint32_t gold = stored_pmap("gold");
  const Handles events{event_in(gold, 1), event_in(gold, 2), event_in(gold, 3)};
  const uint32_t permit = action_in(rule(events[0], voice), "permit");
  const uint32_t interface = target(stored_pmap("silver"), 7);
  const zar_map_info gold_info = map_info("gold");
};

TEST_F(Ending, OfAPolicyTakesEachEventThoughAFreeFunctionDeletesTheNext) {
  once_inside(data_of_action(permit), [this] { EXPECT_EQ(zar_delete_event(events[1]), 0U); });
  EXPECT_EQ(zar_delete_stored_policy(one, gold), 0U);
  for (const uint32_t each : events)
    EXPECT_FALSE(live(each));
  EXPECT_EQ(pmap_refs_of(voice), Handles{});
}

TEST_F(Ending, OfAPolicyTakesEachEventThoughAFreeFunctionDeletesAllOthers) {
  once_inside(data_of_action(permit), [this] {
    EXPECT_EQ(zar_delete_event(events[2]), 0U);
    EXPECT_EQ(zar_delete_event(events[1]), 0U);
  });
  EXPECT_EQ(zar_delete_stored_policy(one, gold), 0U);
  for (const uint32_t each : events)
    EXPECT_FALSE(live(each));
}

TEST_F(Ending, OfAPolicyHidesItFromCallbacksDuringTheCall) {
  const uint32_t more = event(9);
  once_inside(data_of_action(permit), [this, more] {
    EXPECT_EQ(zar_delete_policy(gold), 39U);
    EXPECT_EQ(zar_delete_stored_policy(one, gold), 39U);
    EXPECT_EQ(zar_store_policy(one, gold), 39U);
    EXPECT_EQ(zar_add_event(gold, more), 39U);
    EXPECT_EQ(zar_activate_policy(one, gold, interface), 39U);
    EXPECT_EQ(zar_get_pmap_name(gold), nullptr);
  });
  EXPECT_EQ(zar_delete_stored_policy(one, gold), 0U);
  EXPECT_FALSE(live(gold));
  EXPECT_EQ(pmaps_in(db).size(), 1U);
  EXPECT_EQ(active_on(interface).size(), 1U);
  note(Kind::event, more);
}

TEST_F(Ending, OfAPolicyKeepsItsRecordOutOfTheTrees) {
  auto *record = at<zar_pmap>(gold);
  once_inside(data_of_action(permit), [this, record] { EXPECT_EQ(zar_avl_insert_pmap(db, record), 0U); });
  EXPECT_EQ(zar_delete_stored_policy(one, gold), 0U);
  EXPECT_EQ(pmaps_in(db).size(), 1U);
}

TEST_F(Ending, OfTheBuiltInPolicyLeavesTheEventsThatAreAddedDuringTheCall) {
  const uint32_t built_in = stored_pmap("BUILTIN_AUTOCONF_POLICY", {.domain = "subscriber"});
  const uint32_t first = event_in(built_in, 1), second = event_in(built_in, 2);
  uint32_t added = 0;
  once_inside(data_of_action(action_in(rule(first, voice), "drop")), [&] {
    EXPECT_EQ(zar_delete_event(second), 0U);
    added = event_in(built_in, 3);
  });
  zar_delete_autoconf_policy();
  EXPECT_EQ(events_of(built_in), Handles{added});
}

TEST_F(Ending, OfAClassHidesItFromCallbacksDuringTheCall) {
  const uint32_t video = stored_cmap("video");
  const uint32_t port = filter_in(video, "port"), host = filter_in(video, "host");
  const uint32_t more = filter("more");
  uint32_t out = 0;
  once_inside(data_of_filter(port), [&] {
    EXPECT_EQ(zar_delete_class(video), 39U);
    EXPECT_EQ(zar_delete_stored_class(one, video), 39U);
    EXPECT_EQ(zar_store_class(one, video), 39U);
    EXPECT_EQ(zar_add_filter_to_class(video, more), 39U);
    EXPECT_EQ(zar_add_class_to_event(events[0], video, 0, 2, &out), 39U);
  });
  EXPECT_EQ(zar_delete_stored_class(one, video), 0U);
  for (const uint32_t each : {video, port, host})
    EXPECT_FALSE(live(each));
  EXPECT_EQ(cmaps_in(db), Handles{voice});
  EXPECT_EQ(rules_of(events[0]).size(), 1U);
  EXPECT_CALLS("free port", "free host");
  EXPECT_EQ(zar_delete_filter(more), 0U);
}

// ---- The removal callback

struct Removal : Ending {
  const Handles targets{target(gold, 1), target(gold, 2), target(gold, 3)};
  zar_db *const other_db = database();
  const uint32_t other = client("other", other_db);

  // Runs 'act' at the n-th removal, from 1.
  void at_removal(size_t number, const std::function<void()> &act) {
    hear_removals(one);
    on_policy_removed = [act, number, count = size_t{0}](uint32_t, uint32_t) mutable {
      if (++count != number) return;
      const Quiet quiet;
      act();
    };
  }
  void expect_gone() const {
    EXPECT_FALSE(live(gold));
    for (zar_db *each : {db, other_db}) {
      for (const Handles &maps : {pmaps_in(each), cmaps_in(each), pmtr_maps_in(each)})
        EXPECT_EQ(std::count(maps.begin(), maps.end(), gold), 0);
    }
    for (const uint32_t each : targets) {
      EXPECT_EQ(live(each) ? active_on(each) : Handles{}, Handles{});
    }
  }
};

TEST_F(Removal, MayStoreThePolicyAgainWhereItWas) {
  for (size_t number = 1; number <= 3; ++number) {
    const uint32_t gone = number == 1 ? gold : stored_pmap("gold");
    if (number > 1)
      for (const uint32_t each : targets)
        activate(gone, each);
    at_removal(number, [this, gone] { EXPECT_EQ(zar_store_policy(one, gone), 0U); });
    EXPECT_EQ(zar_delete_stored_policy(one, gone), 0U);
    EXPECT_FALSE(live(gone));
    EXPECT_EQ(pmaps_in(db).size(), 1U);
  }
  expect_gone();
}

TEST_F(Removal, MayStoreThePolicyInAnotherDatabase) {
  at_removal(2, [this] { EXPECT_EQ(zar_store_policy(other, gold), 0U); });
  EXPECT_EQ(zar_delete_stored_policy_by_name(one, &gold_info), 0U);
  expect_gone();
}

TEST_F(Removal, MayStoreThePolicyAmongTheMapsOfAnotherKind) {
  at_removal(1, [this] { EXPECT_EQ(zar_store_class(other, gold), 0U); });
  EXPECT_EQ(zar_delete_stored_policy(one, gold), 0U);
  expect_gone();
}

TEST_F(Removal, MayStoreThePolicyAndEmptyTheTree) {
  at_removal(1, [this] {
    EXPECT_EQ(zar_store_policy(other, gold), 0U);
    EXPECT_EQ(zar_avl_remove_pmap(other_db), 1U);
  });
  EXPECT_EQ(zar_delete_stored_policy(one, gold), 0U);
  expect_gone();
}

TEST_F(Removal, MayStoreThePolicyAndEmptyAnotherTree) {
  at_removal(1, [this] {
    EXPECT_EQ(zar_store_policy(one, gold), 0U);
    EXPECT_EQ(zar_avl_remove_pmap(other_db), 1U);
  });
  EXPECT_EQ(zar_delete_stored_policy(one, gold), 0U);
  expect_gone();
}

TEST_F(Removal, MayStoreThePolicyAndReplaceItByAnotherOneOfItsName) {
  uint32_t second = 0;
  at_removal(1, [this, &second] {
    EXPECT_EQ(zar_store_policy(one, gold), 0U);
    zar_pmap *removed = nullptr;
    EXPECT_EQ(zar_avl_delete_pmap(db, at<zar_pmap>(gold), &removed), 1U);
    second = stored_pmap("gold");
  });
  EXPECT_EQ(zar_delete_stored_policy(one, gold), 0U);
  expect_gone();
  const Handles stored = pmaps_in(db);
  EXPECT_EQ(std::count(stored.begin(), stored.end(), second), 1) << "the other one stays";
}

TEST_F(Removal, MayStoreAndDeleteThePolicy) {
  uint32_t inner = 77;
  at_removal(1, [this, &inner] {
    EXPECT_EQ(zar_store_policy(one, gold), 0U);
    inner = zar_delete_stored_policy(one, gold);
  });
  EXPECT_EQ(zar_delete_stored_policy(one, gold), 39U) << "there is none left to delete";
  EXPECT_EQ(inner, 0U);
  expect_gone();
}

TEST_F(Removal, MayAddEventsAndActivateAndDeactivate) {
  uint32_t added = 0;
  at_removal(1, [this, &added] {
    added = event_in(gold, 9);
    activate(gold, interface);
    EXPECT_EQ(zar_deactivate_any_policy_for_target(one, targets[1]), 0U);
    drop_target(one, targets[2]);
  });
  EXPECT_EQ(zar_delete_stored_policy(one, gold), 0U);
  expect_gone();
  EXPECT_FALSE(live(added));
  EXPECT_EQ(active_on(interface).size(), 1U);
}

TEST_F(Removal, LeavesTheBuiltInPolicyOutOfEveryTree) {
  const uint32_t built_in = stored_pmap("BUILTIN_AUTOCONF_POLICY", {.domain = "subscriber"});
  activate(built_in, interface);
  at_removal(1, [this, built_in] { EXPECT_EQ(zar_store_policy(one, built_in), 0U); });
  EXPECT_EQ(zar_delete_stored_policy(one, built_in), 0U);
  const Handles stored = pmaps_in(db);
  EXPECT_EQ(std::count(stored.begin(), stored.end(), built_in), 0);
  EXPECT_TRUE(live(built_in));
  note(Kind::pmap, built_in);
}

// ---- The end of a database

TEST_F(DeactivatingAll, DuringTheDeletionOfADatabaseMayDeleteOtherTargets) {
  const uint32_t second = target(gold, 8), third = target(silver, 9);
  once_inside(data_of_action(permit), [this, second, third] {
    drop_target(one, live(third) ? third : second);
    activate(iron, second);
  });
  EXPECT_EQ(zar_destroy_database(db), 0U);
  for (const uint32_t each : {interface, second, third})
    EXPECT_FALSE(live(each));
  for (const uint32_t each : {gold, silver, bronze, iron}) {
    EXPECT_EQ(targets_of(each), Handles{});
    note(Kind::pmap, each);
  }
  for (const uint32_t each : {permit, drop})
    note(Kind::action, each);
}

}  // namespace
