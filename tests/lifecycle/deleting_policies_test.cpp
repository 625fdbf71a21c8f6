// The deletion of policy-maps: unstored ones by handle, stored ones by handle and by name, and the built-in one, which is
// emptied instead.
#include <algorithm>
#include <cstdio>
#include <utility>

#include "lifecycle/lines.h"
#include "platform/runtime.h"

using namespace rig;

namespace {

constexpr const char *kGold = "gold:d1:1";
constexpr const char *kBuiltIn = "BUILTIN_AUTOCONF_POLICY";
constexpr uint32_t kPmapPool = 0x3e00037, kPmapKey = 0x3e00039, kRulePool = 0x3e00049;

Line deleting_event(const char *operation, uint32_t event) {
  return info("(info): %s: Deleting event tuple:0x%x", operation, event);
}
Line removed_event(uint32_t event) {
  return info("(info): %s: Removed event tuple:0x%x", "delete_event", event);
}
// An event that has no class-actions.
Lines bare_event_deleted(const char *operation, uint32_t event) {
  return {deleting_event(operation, event), removed_event(event)};
}
Line deleted(uint32_t pmap) {
  return info("(info): %s: successfully deleted pmap:0x%x", "delete_policy", pmap);
}
Line action_count(uint32_t action, uint32_t count) {
  return info("(info): action:0x%x reference count:%d", action, count);
}
Line action_freed(uint32_t action) {
  return info("(info): action:0x%x chunk freed", action);
}
Line rule_freed(uint32_t rule) {
  return info("(info): class-action:0x%x freed", rule);
}

// ---- Unstored policy-maps

struct DeletingPolicies : Lifecycle {
  // What one reference less says; afterwards there are 'left'. To be asked while both records live.
  static Lines reference_removed(uint32_t pmap_handle, uint32_t cmap_handle, uint32_t left) {
    const zar_pmap *pmap = at<zar_pmap>(pmap_handle);
    const zar_cmap *cmap = at<zar_cmap>(cmap_handle);
    return lines(
        info("(info): removing references between pmap:0x%x, cmap:0x%x", pmap_handle, cmap_handle),
        info("(info): removing reference: cmap:0x%p already refered by pmap:0x%p, decrementing ref count", cmap, pmap),
        left == 0 ? info("(info): remove reference: pmap:0x%p refered by cmap:0x%p, removing", pmap, cmap)
                  : info("(info): remove reference: no need to remove pmap:0x%p from cmap:0x%p", pmap, cmap));
  }
  static Line removing_rule(uint32_t rule) {
    return info("(info): %s: Removing class-action tuple:0x%x", "delete_event", rule);
  }
};

TEST_F(DeletingPolicies, FreeHandleTextsKeyAndRecord) {
  const std::string before = everything();
  const size_t records = records_out(kPmapPool), keys = blocks_out(kPmapKey);
  const uint32_t gold = pmap("gold");
  watch_requests();
  EXPECT_EQ(zar_delete_policy(gold), 0U);
  EXPECT_TRACED(deleted(gold));
  EXPECT_TEXT_REMOVALS("0x38 \"gold\"", "0x33 \"d1\"");
  EXPECT_REQUESTS();
  EXPECT_CALLS();
  EXPECT_FALSE(live(gold));
  EXPECT_EQ(records_out(kPmapPool), records);
  EXPECT_EQ(blocks_out(kPmapKey), keys);
  EXPECT_EQ(everything(), before);
}

TEST_F(DeletingPolicies, AreOfEitherType) {
  const std::string before = everything();
  const uint32_t gold = pmap("gold", {.type = 2});
  EXPECT_EQ(zar_delete_policy(gold), 0U);
  EXPECT_TRACED(deleted(gold));
  EXPECT_EQ(everything(), before);
}

TEST_F(DeletingPolicies, LeaveThoseOfTheSameTextsAlone) {
  const uint32_t gold = pmap("gold");
  const std::string before = everything();
  EXPECT_EQ(zar_delete_policy(pmap("gold")), 0U);
  EXPECT_EQ(everything(), before);
  EXPECT_STREQ(zar_get_pmap_name(gold), "gold");
}

TEST_F(DeletingPolicies, NeedAPolicy) {
  for (const auto &[what, handle, look_up] : wrong_handles(cmap("voice"))) {
    EXPECT_REFUSED(39U, zar_delete_policy(handle));
    EXPECT_TRACED(look_up, no_pmap(" "), look_up, no_pmap("delete_policy"));
  }
}

TEST_F(DeletingPolicies, WorkOnlyOnce) {
  const uint32_t gold = pmap("gold");
  EXPECT_EQ(zar_delete_policy(gold), 0U);
  forget_trace();
  EXPECT_REFUSED(39U, zar_delete_policy(gold));
  EXPECT_TRACED(destroyed_already(gold), no_pmap(" "), destroyed_already(gold), no_pmap("delete_policy"));
}

TEST_F(DeletingPolicies, TakeTheirEventsWithThem) {
  const uint32_t voice = cmap("voice");
  const std::string before = everything();
  const uint32_t gold = pmap("gold");
  const uint32_t start = event_in(gold, 1, "start");
  const uint32_t stop = event_in(gold, 2, "stop");
  const uint32_t first = rule(start, voice);
  const uint32_t second = rule(stop, voice);
  const uint32_t permit = action_in(first, "permit");
  const Lines one_left = reference_removed(gold, voice, 1), none_left = reference_removed(gold, voice, 0);
  watch_requests();

  EXPECT_EQ(zar_delete_policy(gold), 0U);
  EXPECT_TRACED(deleting_event("delete_policy", start), removing_rule(first), one_left, action_count(permit, 0),
                action_freed(permit), rule_freed(first), removed_event(start), deleting_event("delete_policy", stop),
                removing_rule(second), none_left, rule_freed(second), removed_event(stop), deleted(gold));
  EXPECT_TEXT_REMOVALS("0x3e0003d \"start\"", "0x3e0003d \"stop\"", "0x38 \"gold\"", "0x33 \"d1\"");
  EXPECT_REQUESTS();
  EXPECT_CALLS("free permit");
  EXPECT_EQ(everything(), before);
}

TEST_F(DeletingPolicies, LeaveASharedActionToItsOtherHolder) {
  const uint32_t gold = pmap("gold");
  const uint32_t first = rule(event_in(gold, 1), cmap("voice"));
  const uint32_t permit = action_in(first, "permit");
  zar_increment_action(at<zar_action>(permit));
  EXPECT_EQ(zar_delete_policy(gold), 0U);
  EXPECT_CALLS();
  EXPECT_TRUE(live(permit));
  EXPECT_EQ(at<zar_action>(permit)->ref_count, 1U);
}

TEST_F(DeletingPolicies, AreDeactivatedAfterTheirEventsAreDeleted) {
  const uint32_t gold = pmap("gold");
  const uint32_t start = event_in(gold, 1);
  action_in(rule(start, cmap("voice")), "permit");
  const uint32_t first = target(gold, 1), second = target(gold, 2);
  hear_removals(one);

  EXPECT_EQ(zar_delete_policy(gold), 0U);
  // Neither the handlers nor the client are notified of the deactivation.
  EXPECT_CALLS("free permit", instance_sought(first, kGold), instance_deleted(first, kGold),
               instance_sought(second, kGold), instance_deleted(second, kGold));
  NEEDS_TRACE();
  Lines trace = take_trace();
  const auto events_end = std::find(trace.begin(), trace.end(), removed_event(start));
  ASSERT_NE(events_end, trace.end());
  EXPECT_EQ(Lines(events_end + 1, trace.end()), lines(unlinked("gold"), unlinked("gold"), deleted(gold)));
  EXPECT_EQ(active_on(first), Handles{});
  EXPECT_EQ(active_on(second), Handles{});
  EXPECT_FALSE(live(gold));
  EXPECT_EQ(targets_in(db), (Handles{first, second})) << "targets without policies stay";
  EXPECT_TRUE(engine().instances().empty());
}

TEST_F(DeletingPolicies, LeaveTheOthersOnTheTargetActive) {
  const uint32_t gold = pmap("gold"), silver = pmap("silver"), bronze = pmap("bronze");
  const uint32_t interface = target(silver);
  activate(gold, interface);
  activate(bronze, interface);
  EXPECT_EQ(zar_delete_policy(gold), 0U);
  EXPECT_EQ(active_on(interface), (Handles{silver, bronze}));
  EXPECT_EQ(targets_of(silver), Handles{interface});
}

TEST_F(DeletingPolicies, AreDeletedWhateverTheEngineReturns) {
  for (const bool find_fails : {true, false}) {
    const uint32_t gold = pmap("gold");
    const uint32_t first = target(gold, 1), second = target(gold, 2);
    engine().find_status = find_fails ? 1 : 0;
    engine().delete_status = find_fails ? 0 : 1;
    EXPECT_EQ(zar_delete_policy(gold), 0U);
    const Line failure = find_fails ? instance_not_found(gold) : instance_not_deleted("gold");
    EXPECT_TRACED(unlinked("gold"), failure, unlinked("gold"), failure, deleted(gold));
    if (find_fails) {
      EXPECT_CALLS(instance_sought(first, kGold), instance_sought(second, kGold));
    } else {
      EXPECT_CALLS(instance_sought(first, kGold), instance_deleted(first, kGold), instance_sought(second, kGold),
                   instance_deleted(second, kGold));
    }
    EXPECT_FALSE(live(gold));
    EXPECT_EQ(active_on(first), Handles{});
    EXPECT_EQ(active_on(second), Handles{});
    drop_target(one, first);
    drop_target(one, second);
  }
}

TEST_F(DeletingPolicies, StayInTheTreeWhichIsNotChecked) {
  breaks_invariants("what stands in a tree is deleted");
  const uint32_t gold = stored_pmap("gold");
  const void *record = at<zar_pmap>(gold);
  EXPECT_EQ(zar_delete_policy(gold), 0U);
  EXPECT_TRACED(deleted(gold));
  EXPECT_EQ(static_cast<const void *>(db->pmap_tree->top.parent), record) << "the tree holds a deleted record";
  // This tree must not be read any more.
  db->pmap_tree->top.parent = nullptr;
}

TEST_F(DeletingPolicies, DropATargetThatHasLostItsInformation) {
  const size_t records_before = runtime::inventory().records;
  const uint32_t gold = pmap("gold");
  const uint32_t broken = target(gold, 1), sound = target(gold, 2);
  zar_target_info *target_info = std::exchange(at<zar_target>(broken)->target_info, nullptr);
  EXPECT_EQ(zar_delete_policy(gold), 0U);
  EXPECT_ERRORS(no_target_info("disassociate_target_and_policy"));
  EXPECT_CALLS(instance_sought(sound, kGold), instance_deleted(sound, kGold));
  EXPECT_FALSE(live(gold));
  EXPECT_EQ(runtime::inventory().records, records_before + 2) << "only the targets are left";
  EXPECT_EQ(active_on(broken), Handles{});
  EXPECT_EQ(active_on(sound), Handles{});
  at<zar_target>(broken)->target_info = target_info;
  drop_target(one, broken);
}

// ---- Policy-maps that are not CONTROL

TEST_F(DeletingPolicies, ReleaseClassActionsWithoutAnEvent) {
  const size_t rules = records_out(kRulePool);
  const uint32_t gold = stored_pmap("gold", {.type = 2});
  stored_cmap("voice", {.type = 2});
  stored_cmap("video", {.type = 2});
  const uint32_t first = plain_rule("gold", "voice"), second = plain_rule("gold", "video");
  const uint32_t permit = action_in(first, "permit"), deny = action_in(first, "deny", 2);
  const uint32_t interface = target(gold);

  EXPECT_EQ(zar_delete_stored_policy(one, gold), 0U);
  EXPECT_TRACED(own_database("delete_stored_policy"), unlinked("gold"), deleting_event("delete_policy", first),
                action_count(permit, 0), action_freed(permit), action_count(deny, 0), action_freed(deny),
                rule_freed(first), deleting_event("delete_policy", second), rule_freed(second), deleted(gold));
  EXPECT_CALLS(instance_sought(interface, "gold:d1:2"), instance_deleted(interface, "gold:d1:2"), "free permit",
               "free deny");
  for (const uint32_t gone : {gold, first, second, permit, deny})
    EXPECT_FALSE(live(gone));
  EXPECT_EQ(records_out(kRulePool), rules);
  EXPECT_EQ(cmaps_in(db).size(), 2U);
}

TEST_F(DeletingPolicies, ReleaseClassActionsOfAnUnstoredOne) {
  const uint32_t gold = stored_pmap("gold", {.type = 2});
  stored_cmap("voice", {.type = 2});
  const uint32_t first = plain_rule("gold", "voice");
  zar_pmap *taken_out = nullptr;
  ASSERT_NE(zar_avl_delete_pmap(db, at<zar_pmap>(gold), &taken_out), 0U);
  forget_trace();
  EXPECT_EQ(zar_delete_policy(gold), 0U);
  EXPECT_TRACED(deleting_event("delete_policy", first), rule_freed(first), deleted(gold));
  EXPECT_FALSE(live(first));
}

TEST_F(DeletingPolicies, RefuseAClassActionAsAnEvent) {
  stored_pmap("gold", {.type = 2});
  stored_cmap("voice", {.type = 2});
  const uint32_t first = plain_rule("gold", "voice");
  EXPECT_REFUSED(39U, zar_delete_event(first));
  EXPECT_TRACED(another_kind(first),
                error("(ERR): %s: input event class action handle context cannot be NULL", "delete_event"));
}

// ---- Stored policy-maps, by name and by handle

enum class By { name, handle };

const char *to_text(By by) {
  return by == By::name ? "ByName" : "ByHandle";
}
[[maybe_unused]] void PrintTo(By by, std::ostream *out) {
  *out << to_text(by);
}

struct DeletingStoredPolicies : DeletingPolicies, ::testing::WithParamInterface<By> {
  static bool by_name() { return GetParam() == By::name; }
  static const char *operation() { return by_name() ? "delete_stored_policy_by_name" : "delete_stored_policy"; }
  static uint32_t delete_stored(uint32_t clid, uint32_t pmap, const char *name, const MapOptions &options = {}) {
    const zar_map_info info = map_info(name, options);
    return by_name() ? zar_delete_stored_policy_by_name(clid, &info) : zar_delete_stored_policy(clid, pmap);
  }
  static Line avl_delete_failed() {
    return by_name() ? error("(ERR): Error: avl delete failed")
                     : error("(ERR): %s: Error: avl delete failed", "delete_stored_policy");
  }
  // Which targets the callback was called for.
  static Handles reported() {
    Handles out;
    for (const std::string &call : calls()) {
      unsigned target_handle = 0, pmap_handle = 0;
      if (std::sscanf(call.c_str(), "removed target:0x%x pmap:0x%x", &target_handle, &pmap_handle) == 2)
        out.push_back(target_handle);
    }
    return out;
  }
};
INSTANTIATE_TEST_SUITE_P(, DeletingStoredPolicies, ::testing::Values(By::name, By::handle),
                         [](const auto &param) { return to_text(param.param); });

TEST_P(DeletingStoredPolicies, RemovesThemFromTheTreeAndFreesThem) {
  const uint32_t silver = stored_pmap("silver"), bronze = stored_pmap("bronze");
  const std::string before = everything();
  const uint32_t gold = stored_pmap("gold");
  EXPECT_EQ(delete_stored(one, gold, "gold"), 0U);
  EXPECT_TRACED(own_database(operation()), deleted(gold));
  EXPECT_CALLS();
  EXPECT_EQ(pmaps_in(db), (Handles{bronze, silver}));
  EXPECT_EQ(everything(), before);
  EXPECT_FALSE(live(gold));
}

TEST_P(DeletingStoredPolicies, WorksInTheDatabaseOfTheClient) {
  const uint32_t gold = stored_pmap("gold");
  zar_db *other_db = database();
  const uint32_t three = client("three", other_db);
  const uint32_t other_gold = stored_pmap("gold", {.clid = three});

  EXPECT_EQ(delete_stored(three, other_gold, "gold"), 0U);
  EXPECT_EQ(pmaps_in(other_db), Handles{});
  EXPECT_EQ(pmaps_in(db), Handles{gold});
  forget_trace();
  EXPECT_EQ(delete_stored(two, gold, "gold"), 0U) << "client two works in the default database";
  EXPECT_TRACED(default_database(operation()), deleted(gold));
  EXPECT_EQ(pmaps_in(db), Handles{});
}

TEST_P(DeletingStoredPolicies, NeedsAValidClient) {
  const uint32_t gold = stored_pmap("gold");
  for (const uint32_t clid : {0U, 3U, 0xffffffffU}) {
    EXPECT_REFUSED(39U, delete_stored(clid, gold, "gold"));
    EXPECT_TRACED(wrong_clid(operation(), clid));
  }
}

TEST_P(DeletingStoredPolicies, NeedsADatabase) {
  const uint32_t gold = stored_pmap("gold");
  zar_clients_info[0]->status = 0;
  EXPECT_REFUSED(37U, delete_stored(one, gold, "gold"));
  EXPECT_TRACED(inactive_client(operation(), one));
  zar_clients_info[0]->status = 1;

  zar_clients_info[0]->database = nullptr;
  EXPECT_REFUSED(37U, delete_stored(two, gold, "gold"));
  EXPECT_TRACED(no_default_database());
  zar_clients_info[0]->database = db;

  zar_client_data *client_two = std::exchange(zar_clients_info[1], nullptr);
  EXPECT_REFUSED(37U, delete_stored(two, gold, "gold"));
  EXPECT_TRACED(missing_client(operation(), two));
  zar_clients_info[1] = client_two;
}

TEST_P(DeletingStoredPolicies, NeedsAStoredOne) {
  stored_pmap("silver");
  const uint32_t gold = pmap("gold");
  hear_removals(one);
  target(gold);
  EXPECT_REFUSED(41U, delete_stored(one, gold, "gold"));
  EXPECT_TRACED(own_database(operation()), error("(ERR): PMAP avl: delete failed, hash str:%s", kGold),
                avl_delete_failed());
  EXPECT_CALLS();
}

TEST_P(DeletingStoredPolicies, FailsWithTheTree) {
  const uint32_t gold = stored_pmap("gold");
  hear_removals(one);
  target(gold);
  const std::string before = everything();
  runtime::fail_next_tree_delete();
  EXPECT_EQ(delete_stored(one, gold, "gold"), 41U);
  EXPECT_EQ(everything(), before);
  EXPECT_TRACED(own_database(operation()), error("(ERR): PMAP avl: delete failed, hash str:%s", kGold),
                avl_delete_failed());
  EXPECT_CALLS();
}

TEST_P(DeletingStoredPolicies, FailsWithoutATree) {
  const uint32_t gold = stored_pmap("gold");
  avl_tree *tree = std::exchange(db->pmap_tree, nullptr);
  EXPECT_EQ(delete_stored(one, gold, "gold"), 41U);
  NEEDS_TRACE();
  ASSERT_FALSE(traced().empty());
  EXPECT_EQ(traced().back(), avl_delete_failed());
  EXPECT_EQ(take_errors().size(), 2U);
  db->pmap_tree = tree;
  EXPECT_EQ(pmaps_in(db), Handles{gold});
}

TEST_P(DeletingStoredPolicies, NotifiesTheClientOfEachTargetOnceItIsDeactivated) {
  const uint32_t gold = stored_pmap("gold");
  const uint32_t start = event_in(gold, 1);
  action_in(rule(start, cmap("voice")), "permit");
  const uint32_t first = target(gold, 7), second = target(gold, 8);
  hear_removals(one);
  on_policy_removed = [&](uint32_t target_handle, uint32_t pmap_handle) {
    EXPECT_EQ(pmap_handle, gold);
    EXPECT_EQ(active_on(target_handle), Handles{});
    EXPECT_EQ(targets_of(gold), target_handle == first ? Handles{second} : Handles{});
    EXPECT_EQ(engine().instances().size(), target_handle == first ? 1U : 0U);
    EXPECT_EQ(events_of(gold), Handles{start}) << "events go last";
    EXPECT_EQ(pmaps_in(db), Handles{}) << "it is out of the tree first";
  };

  EXPECT_EQ(delete_stored(one, gold, "gold"), 0U);
  EXPECT_CALLS(instance_sought(first, kGold), instance_deleted(first, kGold), "notify removed permit [7]",
               removal(first, gold), instance_sought(second, kGold), instance_deleted(second, kGold),
               "notify removed permit [8]", removal(second, gold), "free permit");
  NEEDS_TRACE();
  Lines trace = take_trace();
  ASSERT_GT(trace.size(), 6U);
  EXPECT_EQ(Lines(trace.begin(), trace.begin() + 6), lines(own_database(operation()), unlinked("gold"),
                                                           unlinked("gold"), deleting_event("delete_policy", start)));
  EXPECT_EQ(trace.back(), deleted(gold));
  EXPECT_FALSE(live(gold));
  EXPECT_EQ(targets_in(db), (Handles{first, second}));
}

TEST_P(DeletingStoredPolicies, NotifiesNoOtherClient) {
  const uint32_t gold = stored_pmap("gold");
  const uint32_t interface = target(gold);
  hear_removals(one);
  EXPECT_EQ(delete_stored(two, gold, "gold"), 0U);
  EXPECT_CALLS(instance_sought(interface, kGold), instance_deleted(interface, kGold));
}

TEST_P(DeletingStoredPolicies, NotifiesTheClientEvenWhenTheEngineFails) {
  hear_removals(one);
  for (const bool find_fails : {true, false}) {
    const uint32_t gold = stored_pmap("gold");
    const uint32_t interface = target(gold);
    engine().find_status = find_fails ? 1 : 0;
    engine().delete_status = find_fails ? 0 : 1;
    EXPECT_EQ(delete_stored(one, gold, "gold"), 0U);
    EXPECT_TRACED(own_database(operation()), unlinked("gold"),
                  find_fails ? instance_not_found(gold) : instance_not_deleted("gold"), deleted(gold));
    EXPECT_EQ(reported(), Handles{interface});
    take_calls();
    EXPECT_FALSE(live(gold));
    EXPECT_EQ(active_on(interface), Handles{});
    drop_target(one, interface);
  }
}

TEST_P(DeletingStoredPolicies, DropsATargetThatHasLostItsInformation) {
  const uint32_t gold = stored_pmap("gold");
  const uint32_t broken = target(gold, 1), sound = target(gold, 2);
  zar_target_info *target_info = std::exchange(at<zar_target>(broken)->target_info, nullptr);
  hear_removals(one);
  EXPECT_EQ(delete_stored(one, gold, "gold"), 0U);
  NEEDS_TRACE();
  const Lines errors = take_errors();
  EXPECT_FALSE(errors.empty());
  for (const Line &line : errors)
    EXPECT_EQ(line, no_target_info("disassociate_target_and_policy"));
  EXPECT_CALLS(removal(broken, gold), instance_sought(sound, kGold), instance_deleted(sound, kGold),
               removal(sound, gold));
  EXPECT_FALSE(live(gold));
  EXPECT_EQ(active_on(broken), Handles{});
  at<zar_target>(broken)->target_info = target_info;
  drop_target(one, broken);
}

// ---- What callbacks do during the deletion

TEST_P(DeletingStoredPolicies, ReportsNoTargetThatTheCallbackHasDeleted) {
  // Each of three targets deletes each.
  for (size_t deleting = 0; deleting < 3; ++deleting) {
    for (size_t victim = 0; victim < 3; ++victim) {
      SCOPED_TRACE(text("%zu deletes %zu", deleting, victim));
      const uint32_t gold = stored_pmap("gold");
      const Handles targets{target(gold, 1), target(gold, 2), target(gold, 3)};
      hear_removals(one);
      on_policy_removed = [&](uint32_t target_handle, uint32_t) {
        if (target_handle == targets[deleting]) drop_target(one, targets[victim]);
      };
      EXPECT_EQ(delete_stored(one, gold, "gold"), 0U);
      Handles expected = targets;
      if (victim > deleting) expected.erase(expected.begin() + static_cast<std::ptrdiff_t>(victim));
      EXPECT_EQ(reported(), expected);
      EXPECT_FALSE(live(gold));
      EXPECT_FALSE(live(targets[victim]));
      EXPECT_TRUE(engine().instances().empty());
      on_policy_removed = nullptr;
      for (const uint32_t left : targets_in(db)) {
        EXPECT_EQ(active_on(left), Handles{});
        drop_target(one, left);
      }
      take_calls();
      forget_trace();
    }
  }
}

TEST_P(DeletingStoredPolicies, ReportsNoTargetOnWhichTheCallbackHasDeactivatedIt) {
  const uint32_t gold = stored_pmap("gold");
  const Handles targets{target(gold, 1), target(gold, 2), target(gold, 3)};
  hear_removals(one);
  on_policy_removed = [&](uint32_t target_handle, uint32_t) {
    const Quiet quiet;
    if (target_handle != targets[0]) return;
    EXPECT_EQ(zar_deactivate_any_policy_for_target(one, targets[1]), 0U);
  };
  EXPECT_EQ(delete_stored(one, gold, "gold"), 0U);
  EXPECT_EQ(reported(), (Handles{targets[0], targets[2]}));
  EXPECT_TRUE(engine().instances().empty());
}

TEST_P(DeletingStoredPolicies, ReportsOneTargetWhenTheCallbackDeletesAll) {
  const uint32_t gold = stored_pmap("gold");
  const Handles targets{target(gold, 1), target(gold, 2), target(gold, 3)};
  hear_removals(one);
  on_policy_removed = [&](uint32_t, uint32_t) {
    for (const uint32_t each : targets)
      drop_target(one, each);
  };
  EXPECT_EQ(delete_stored(one, gold, "gold"), 0U);
  EXPECT_EQ(reported(), Handles{targets[0]});
  EXPECT_FALSE(live(gold));
  EXPECT_EQ(targets_in(db), Handles{});
}

TEST_P(DeletingStoredPolicies, EndsWith39WhenTheCallbackDeletesThePolicy) {
  const std::string before = everything();
  const uint32_t gold = stored_pmap("gold");
  event_in(gold, 1);
  const uint32_t first = target(gold, 1), second = target(gold, 2);
  hear_removals(one);
  on_policy_removed = [&](uint32_t, uint32_t pmap_handle) {
    const Quiet quiet;
    EXPECT_EQ(zar_delete_policy(pmap_handle), 0U);
  };
  EXPECT_EQ(delete_stored(one, gold, "gold"), 39U);
  EXPECT_EQ(reported(), Handles{first}) << "the second is off the policy-map's list already";
  EXPECT_TRUE(engine().instances().empty());
  EXPECT_EQ(active_on(second), Handles{});
  on_policy_removed = nullptr;
  drop_target(one, first);
  drop_target(one, second);
  zar_client_register_target_policy_removal_vector(one, nullptr);
  EXPECT_EQ(everything(), before);
}

TEST_P(DeletingStoredPolicies, FindsItselfUnstoredInTheCallback) {
  const uint32_t gold = stored_pmap("gold");
  const uint32_t interface = target(gold);
  hear_removals(one);
  uint32_t inner = 0;
  on_policy_removed = [&](uint32_t, uint32_t) {
    const Quiet quiet;
    inner = delete_stored(one, gold, "gold");
  };
  EXPECT_EQ(delete_stored(one, gold, "gold"), 0U);
  EXPECT_EQ(inner, 41U);
  EXPECT_EQ(reported(), Handles{interface});
  EXPECT_FALSE(live(gold));
}

TEST_P(DeletingStoredPolicies, DeactivatesAgainWhatTheCallbackActivates) {
  const uint32_t gold = stored_pmap("gold");
  const uint32_t interface = target(gold);
  hear_removals(one);
  on_policy_removed = [&](uint32_t target_handle, uint32_t pmap_handle) {
    const Quiet quiet;
    EXPECT_EQ(zar_activate_policy(one, pmap_handle, target_handle), 0U);
  };
  EXPECT_EQ(delete_stored(one, gold, "gold"), 0U);
  EXPECT_EQ(reported(), Handles{interface});
  EXPECT_FALSE(live(gold));
  EXPECT_EQ(active_on(interface), Handles{});
  EXPECT_TRUE(engine().instances().empty());
}

TEST_P(DeletingStoredPolicies, LeavesNoPairBehindWhenTheCallbackActivatesOnce) {
  const uint32_t gold = stored_pmap("gold");
  const Handles targets{target(gold, 1), target(gold, 2), target(gold, 3)};
  hear_removals(one);
  bool activated = false;
  on_policy_removed = [&](uint32_t target_handle, uint32_t pmap_handle) {
    if (std::exchange(activated, true)) return;
    const Quiet quiet;
    EXPECT_EQ(zar_activate_policy(one, pmap_handle, target_handle), 0U);
  };
  EXPECT_EQ(delete_stored(one, gold, "gold"), 0U);
  const Handles passed = reported();
  for (const uint32_t each : targets) {
    EXPECT_NE(std::find(passed.begin(), passed.end(), each), passed.end());
    EXPECT_EQ(active_on(each), Handles{});
  }
  EXPECT_FALSE(live(gold));
  EXPECT_TRUE(engine().instances().empty());
}

TEST_P(DeletingStoredPolicies, EndsThoughTheCallbackActivatesEveryTime) {
  const uint32_t gold = stored_pmap("gold");
  const Handles targets{target(gold, 1), target(gold, 2), target(gold, 3)};
  hear_removals(one);
  on_policy_removed = [&](uint32_t target_handle, uint32_t pmap_handle) {
    const Quiet quiet;
    EXPECT_EQ(zar_activate_policy(one, pmap_handle, target_handle), 0U);
  };
  EXPECT_EQ(delete_stored(one, gold, "gold"), 0U);
  EXPECT_FALSE(live(gold));
  for (const uint32_t each : targets)
    EXPECT_EQ(active_on(each), Handles{});
  EXPECT_TRUE(engine().instances().empty());
}

TEST_P(DeletingStoredPolicies, SurvivesAHandlerThatDeactivatesTheOtherTargets) {
  const uint32_t gold = stored_pmap("gold");
  const uint32_t permit = action_in(rule(event_in(gold, 1), cmap("voice")), "permit");
  const Handles targets{target(gold, 1), target(gold, 2), target(gold, 3)};
  hear_removals(one);
  bool deactivated = false;
  data_of_action(permit).on_call = [&] {
    if (std::exchange(deactivated, true)) return;
    const Quiet quiet;
    EXPECT_EQ(zar_deactivate_policy_by_handle_from_all_targets(one, gold), 0U);
  };
  EXPECT_EQ(delete_stored(one, gold, "gold"), 0U);
  EXPECT_TRUE(deactivated);
  ASSERT_FALSE(reported().empty());
  EXPECT_EQ(reported().front(), targets[0]);
  EXPECT_FALSE(live(gold));
  for (const uint32_t each : targets)
    EXPECT_EQ(active_on(each), Handles{});
  EXPECT_TRUE(engine().instances().empty());
}

// ---- By name alone

struct DeletingPoliciesByName : DeletingPolicies {};

TEST_F(DeletingPoliciesByName, NeedAName) {
  const char *name = "delete_stored_policy_by_name";
  stored_pmap("gold");
  for (const uint32_t clid : {one, 9U}) {
    const Lines about_clid = clid == one ? Lines{} : Lines{wrong_clid(name, clid)};
    EXPECT_REFUSED(39U, zar_delete_stored_policy_by_name(clid, nullptr));
    EXPECT_TRACED(about_clid, no_map_info(name));

    const zar_map_info empty{nullptr, 3, nullptr, 0};
    EXPECT_REFUSED(39U, zar_delete_stored_policy_by_name(clid, &empty));
    EXPECT_TRACED(
        about_clid, error("(ERR): %s: domain from input map info cannot be NULL", name),
        error("(ERR): %s: map name from input map info cannot be NULL", name),
        error("(ERR): %s: domain type:%d from input map info is invalid expected range: %d - %d", name, 3, 1, 2));
  }
}

TEST_F(DeletingPoliciesByName, GoByNameDomainAndType) {
  const uint32_t gold = stored_pmap("gold");
  for (const MapOptions &other : {MapOptions{.domain = "d2"}, MapOptions{.type = 2}}) {
    const zar_map_info info = map_info("gold", other);
    EXPECT_REFUSED(41U, zar_delete_stored_policy_by_name(one, &info));
  }
  EXPECT_EQ(pmaps_in(db), Handles{gold});
}

TEST_F(DeletingPoliciesByName, FindALongNameByItsCutKey) {
  const std::string name(120, 'n');
  const uint32_t longest = stored_pmap(name.c_str());
  const std::string same_key = std::string(99, 'n') + "other";
  const zar_map_info info = map_info(same_key.c_str());
  EXPECT_EQ(zar_delete_stored_policy_by_name(one, &info), 0U);
  EXPECT_FALSE(live(longest));
}

TEST_F(DeletingPoliciesByName, DeleteTheOneWhoseKeyTheirsExtends) {
  const uint32_t gold = stored_pmap("gold");
  const zar_map_info info = map_info("gold:d1", {.domain = "1"});
  EXPECT_EQ(zar_delete_stored_policy_by_name(one, &info), 0U);
  EXPECT_FALSE(live(gold));
  EXPECT_EQ(pmaps_in(db), Handles{});
}

TEST_F(DeletingPoliciesByName, UnlinkARecordOfAnotherKindAndRefuseIt) {
  const uint32_t voice = cmap("voice"), values = pmtr_map("values");
  const std::string before = everything();
  ASSERT_EQ(zar_store_policy(one, voice), 0U);
  ASSERT_EQ(zar_store_policy(one, values), 0U);
  hear_removals(one);
  const zar_map_info voice_info = map_info("voice");
  EXPECT_EQ(zar_delete_stored_policy_by_name(one, &voice_info), 39U);
  const zar_map_info values_info = map_info("values", {.domain = "subscriber"});
  EXPECT_EQ(zar_delete_stored_policy_by_name(one, &values_info), 39U);
  EXPECT_CALLS();
  EXPECT_EQ(pmaps_in(db), Handles{});
  zar_client_register_target_policy_removal_vector(one, nullptr);
  EXPECT_EQ(everything(), before);
  EXPECT_EQ(zar_delete_class(voice), 0U) << "it is whole";
}

// ---- By handle alone

struct DeletingPoliciesByHandle : DeletingPolicies {};

TEST_F(DeletingPoliciesByHandle, NeedAPolicy) {
  for (const uint32_t clid : {one, 9U}) {
    const Lines about_clid = clid == one ? Lines{} : Lines{wrong_clid("delete_stored_policy", clid)};
    for (const auto &[what, handle, look_up] : wrong_handles(cmap("voice"))) {
      EXPECT_REFUSED(39U, zar_delete_stored_policy(clid, handle));
      EXPECT_TRACED(about_clid, look_up, no_pmap("delete_stored_policy"));
    }
  }
}

TEST_F(DeletingPoliciesByHandle, DeleteExactlyThatRecord) {
  const uint32_t gold = stored_pmap("gold");
  const uint32_t twin = pmap("gold");
  target(twin);
  hear_removals(one);
  EXPECT_REFUSED(41U, zar_delete_stored_policy(one, twin));
  NEEDS_TRACE();
  EXPECT_EQ(traced().back(), error("(ERR): %s: Error: avl delete failed", "delete_stored_policy"));
  EXPECT_CALLS();
  EXPECT_EQ(pmaps_in(db), Handles{gold});
}

TEST_F(DeletingPoliciesByHandle, DeleteExactlyThatRecordAmongKeysThatCompareEqual) {
  // Keys compare over their common length, so the shorter equals both longer ones, which differ.
  const uint32_t first = stored_pmap("gold:d1", {.domain = "1a"});
  const uint32_t second = stored_pmap("gold:d1", {.domain = "1b"});
  const uint32_t shorter = pmap("gold");
  EXPECT_REFUSED(41U, zar_delete_stored_policy(one, shorter));
  EXPECT_EQ(zar_delete_stored_policy(one, second), 0U);
  EXPECT_EQ(pmaps_in(db), Handles{first});
}

TEST_F(DeletingPolicies, MayHaveLostTheirKeys) {
  const uint32_t gold = pmap("gold");
  bfree_named(std::exchange(at<zar_pmap>(gold)->hash_str, nullptr));
  EXPECT_EQ(zar_delete_policy(gold), 0U);
  EXPECT_FALSE(live(gold));
}

TEST_F(DeletingPoliciesByHandle, LookInNoOtherDatabase) {
  const uint32_t gold = stored_pmap("gold");
  zar_db *other_db = database();
  const uint32_t three = client("three", other_db);
  const uint32_t other_gold = stored_pmap("gold", {.clid = three});
  EXPECT_REFUSED(41U, zar_delete_stored_policy(three, gold));
  EXPECT_REFUSED(41U, zar_delete_stored_policy(one, other_gold));
  EXPECT_EQ(pmaps_in(db), Handles{gold});
  EXPECT_EQ(pmaps_in(other_db), Handles{other_gold});
}

TEST_F(DeletingPoliciesByHandle, LeaveTheTreeOfClassesAlone) {
  const uint32_t gold = pmap("gold");
  ASSERT_EQ(zar_store_class(one, gold), 0U);
  EXPECT_REFUSED(41U, zar_delete_stored_policy(one, gold));
  EXPECT_EQ(cmaps_in(db), Handles{gold});
}

// ---- The built-in policy-map

struct BuiltIn : DeletingPolicies {
  static constexpr MapOptions kSubscriber{.domain = "subscriber"};
  static constexpr const char *kKey = "BUILTIN_AUTOCONF_POLICY:subscriber:1";
  static constexpr const char *kName = "delete_autoconf_policy";

  static Lines owner_is_default() {
    return {info("(info): no registered owner for domain:%s, using default", "subscriber")};
  }
  static Lines found() { return lines(owner_is_default(), found_policy(kKey)); }
  Lines not_found() const { return lines(owner_is_default(), found_no_policy(one, kBuiltIn)); }
};

TEST_F(BuiltIn, IsEmptiedInsteadOfDeleted) {
  const uint32_t built_in = stored_pmap(kBuiltIn, kSubscriber);
  const uint32_t interface = target(built_in);
  const uint32_t voice = cmap("voice");
  const std::string before = everything();
  const uint32_t start = event_in(built_in, 1), stop = event_in(built_in, 2);
  const uint32_t first = rule(stop, voice);
  action_in(first, "permit");
  const Lines reference_gone = reference_removed(built_in, voice, 0);
  const uint32_t permit = actions_of(first)[0];
  hear_removals(one);

  EXPECT_EQ(zar_delete_policy(built_in), 0U);
  EXPECT_TRACED(found(), bare_event_deleted(kName, start), deleting_event(kName, stop), removing_rule(first),
                reference_gone, action_count(permit, 0), action_freed(permit), rule_freed(first), removed_event(stop));
  EXPECT_CALLS("free permit");
  EXPECT_EQ(pmaps_in(db), Handles{built_in});
  EXPECT_EQ(active_on(interface), Handles{built_in});
  EXPECT_STREQ(zar_get_pmap_name(built_in), kBuiltIn);
  zar_client_register_target_policy_removal_vector(one, nullptr);
  EXPECT_EQ(everything(), before);
}

TEST_F(BuiltIn, IsEmptiedByItsOwnOperation) {
  const uint32_t built_in = stored_pmap(kBuiltIn, kSubscriber);
  const uint32_t start = event_in(built_in, 1), stop = event_in(built_in, 2);
  zar_delete_autoconf_policy();
  EXPECT_TRACED(found(), bare_event_deleted(kName, start), bare_event_deleted(kName, stop));
  EXPECT_EQ(events_of(built_in), Handles{});
  EXPECT_EQ(pmaps_in(db), Handles{built_in});
  const std::string before = everything();
  zar_delete_autoconf_policy();
  EXPECT_EQ(take_trace(), found());
  EXPECT_EQ(everything(), before);
}

TEST_F(BuiltIn, MayBeMissing) {
  const uint32_t gold = stored_pmap("gold");
  event_in(gold, 1);
  const std::string before = everything();
  zar_delete_autoconf_policy();
  EXPECT_EQ(take_trace(), not_found());
  EXPECT_EQ(everything(), before);
}

TEST_F(BuiltIn, IsSearchedForInTheDatabaseOfTheOwner) {
  zar_db *other_db = database();
  const uint32_t three = client("three", other_db);
  ASSERT_EQ(zar_register_domain(three, "subscriber"), 0U);
  const uint32_t default_one = stored_pmap(kBuiltIn, kSubscriber);
  const uint32_t owners = stored_pmap(kBuiltIn, {.domain = "subscriber", .clid = three});
  const uint32_t kept = event_in(default_one, 1), start = event_in(owners, 1);
  forget_trace();
  zar_delete_autoconf_policy();
  EXPECT_TRACED(info("(info): domain:%s, owner  client:%d", "subscriber", three), found_policy(kKey),
                bare_event_deleted(kName, start));
  EXPECT_EQ(events_of(default_one), Handles{kept});
  EXPECT_EQ(events_of(owners), Handles{});
}

TEST_F(BuiltIn, IsNotSearchedForOnBehalfOfAnInactiveOwner) {
  const uint32_t built_in = stored_pmap(kBuiltIn, kSubscriber);
  event_in(built_in, 1);
  zar_clients_info[0]->status = 0;
  const std::string before = everything();
  zar_delete_autoconf_policy();
  EXPECT_TRACED(owner_is_default(), inactive_client("retrieve_policy", one));
  EXPECT_EQ(everything(), before);
}

TEST_F(BuiltIn, IsNoRecordOfAnotherKind) {
  const uint32_t impostor = cmap(kBuiltIn, kSubscriber);
  ASSERT_EQ(zar_store_policy(one, impostor), 0U);
  forget_trace();
  const std::string before = everything();
  zar_delete_autoconf_policy();
  EXPECT_TRACED(found(), another_kind(impostor), no_pmap(kName));
  EXPECT_EQ(everything(), before);
}

TEST_F(BuiltIn, IsEmptiedOutsideTheTreeToo) {
  const uint32_t built_in = pmap(kBuiltIn, kSubscriber);
  const uint32_t start = event_in(built_in, 1), stop = event_in(built_in, 2);
  const uint32_t interface = target(built_in);
  EXPECT_EQ(zar_delete_policy(built_in), 0U);
  EXPECT_TRACED(not_found(), bare_event_deleted(kName, start), bare_event_deleted(kName, stop));
  EXPECT_CALLS();
  EXPECT_EQ(events_of(built_in), Handles{});
  EXPECT_EQ(active_on(interface), Handles{built_in});
}

TEST_F(BuiltIn, MayLoseItsHandleWhileItIsEmptied) {
  const uint32_t built_in = stored_pmap(kBuiltIn, kSubscriber);
  const uint32_t voice = cmap("voice");
  action_in(rule(event_in(built_in, 1), voice), "permit");
  data_of_action(actions_of(rules_of(events_of(built_in)[0])[0])[0]).on_call = [&] { zar_handle_release(built_in); };
  EXPECT_EQ(zar_delete_policy(built_in), 0U);
  EXPECT_ERRORS(destroyed_already(built_in));
  EXPECT_CALLS("free permit");
}

TEST_F(BuiltIn, InAnyDomainEmptiesBothItselfAndTheStoredOne) {
  const uint32_t stored = stored_pmap(kBuiltIn, kSubscriber);
  const uint32_t other = pmap(kBuiltIn);
  const uint32_t of_stored = event_in(stored, 1), of_other = event_in(other, 1);
  EXPECT_EQ(zar_delete_policy(other), 0U);
  EXPECT_TRACED(found(), bare_event_deleted(kName, of_stored), bare_event_deleted(kName, of_other));
  EXPECT_TRUE(live(stored));
  EXPECT_TRUE(live(other));
  EXPECT_EQ(events_of(stored), Handles{});
  EXPECT_EQ(events_of(other), Handles{});
}

TEST_F(BuiltIn, ThatIsNotControlLosesItsClassActions) {
  const size_t rules = records_out(kRulePool);
  const MapOptions other_kind{.domain = "subscriber", .type = 2};
  const uint32_t built_in = stored_pmap(kBuiltIn, other_kind);
  stored_cmap("voice", other_kind);
  const uint32_t first = plain_rule(kBuiltIn, "voice", other_kind);
  const uint32_t permit = action_in(first, "permit");
  EXPECT_EQ(zar_delete_policy(built_in), 0U);
  EXPECT_TRACED(not_found(), deleting_event(kName, first), action_count(permit, 0), action_freed(permit),
                rule_freed(first));
  EXPECT_CALLS("free permit");
  EXPECT_EQ(pmaps_in(db), Handles{built_in});
  EXPECT_EQ(plain_rules_of(built_in), Handles{});
  EXPECT_EQ(records_out(kRulePool), rules);
}

TEST_F(BuiltIn, IsKnownByItsWholeName) {
  for (const char *name : {"BUILTIN_AUTOCONF_POLICY1", "BUILTIN_AUTOCONF_POLIC", "builtin_autoconf_policy", ""}) {
    const uint32_t ordinary = pmap(name, kSubscriber);
    EXPECT_EQ(zar_delete_policy(ordinary), 0U);
    EXPECT_TRACED(deleted(ordinary));
    EXPECT_FALSE(live(ordinary)) << name;
  }
}

TEST_F(BuiltIn, IsKnownByItsNameWhenItWasUnhidden) {
  const uint32_t built_in = stored_pmap(kBuiltIn, kSubscriber);
  zar_unhide_policy(built_in);
  EXPECT_EQ(zar_delete_policy(built_in), 0U);
  EXPECT_TRUE(live(built_in));
}

TEST_P(DeletingStoredPolicies, RemovesTheBuiltInOneAndEmptiesIt) {
  const MapOptions subscriber{.domain = "subscriber"};
  const uint32_t built_in = stored_pmap(kBuiltIn, subscriber);
  const uint32_t start = event_in(built_in, 1);
  const uint32_t interface = target(built_in);
  hear_removals(one);
  EXPECT_EQ(delete_stored(one, built_in, kBuiltIn, subscriber), 0U);
  EXPECT_TRACED(own_database(operation()), unlinked(kBuiltIn),
                info("(info): no registered owner for domain:%s, using default", "subscriber"),
                found_no_policy(one, kBuiltIn), bare_event_deleted("delete_autoconf_policy", start));
  EXPECT_CALLS(instance_sought(interface, BuiltIn::kKey), instance_deleted(interface, BuiltIn::kKey),
               removal(interface, built_in));
  EXPECT_EQ(pmaps_in(db), Handles{});
  EXPECT_EQ(active_on(interface), Handles{});
  EXPECT_EQ(events_of(built_in), Handles{}) << "the record lives, empty";
  EXPECT_EQ(zar_store_policy(one, built_in), 0U) << "and can be stored again";
}

// ---- Small queries

struct PolicyQueries : Lifecycle {};

TEST_F(PolicyQueries, TheTargetCountIsNeverWritten) {
  const uint32_t gold = pmap("gold");
  EXPECT_EQ(zar_get_pmap_target_count(gold), 0U);
  target(gold, 1);
  target(gold, 2);
  EXPECT_EQ(zar_get_pmap_target_count(gold), 0U);
  at<zar_pmap>(gold)->target_count = 5;
  EXPECT_EQ(zar_get_pmap_target_count(gold), 5U);
  EXPECT_EQ(zar_deactivate_policy_by_handle_from_all_targets(one, gold), 0U);
  forget_trace();
  EXPECT_EQ(zar_get_pmap_target_count(gold), 5U);
  EXPECT_TRACED();
}

TEST_F(PolicyQueries, TheTargetCountOfAReusedRecordIs0) {
  const uint32_t gold = pmap("gold");
  at<zar_pmap>(gold)->target_count = 5;
  EXPECT_EQ(zar_delete_policy(gold), 0U);
  for (int i = 0; i < 20; ++i)
    EXPECT_EQ(zar_get_pmap_target_count(pmap("silver")), 0U);
}

TEST_F(PolicyQueries, TheNameIsTheInternedText) {
  const uint32_t gold = pmap("gold", {.type = 2});
  EXPECT_STREQ(zar_get_pmap_name(gold), "gold");
  EXPECT_TRACED();
}

// ---- Under faults: a deletion needs memory only to notify handlers, and succeeds without it.

TEST(DeletingPoliciesUnderFaults, SucceedsWithFewerHandlersNotified) {
  for_each_fault([](FaultClock &clock) {
    World world;
    const uint32_t voice = world.cmap("voice");
    const std::string before = world.everything();
    const uint32_t gold = world.stored_pmap("gold");
    const uint32_t first = world.rule(world.event_in(gold, 1), voice);
    world.action_in(first, "permit", 1);
    world.action_in(first, "deny", 2);
    const Handles targets{world.target(gold, 1), world.target(gold, 2)};
    free_target_lists();
    hear_removals(world.one);

    EXPECT_EQ(clock.during([&] { return zar_delete_stored_policy(world.one, gold); }), 0U);
    EXPECT_FALSE(World::live(gold));
    EXPECT_TRUE(engine().instances().empty());
    const std::vector<std::string> calls = take_calls();
    for (const uint32_t each : targets)
      EXPECT_EQ(std::count(calls.begin(), calls.end(), removal(each, gold)), 1);
    free_target_lists();
    for (const uint32_t each : targets)
      drop_target(world.one, each);
    zar_client_register_target_policy_removal_vector(world.one, nullptr);
    EXPECT_EQ(world.everything(), before);
  });
}

}  // namespace
