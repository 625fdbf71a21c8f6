// A debug build aborts the process if an operation leaves an impossible state behind, is called from a second thread or
// before zar_init, or if a client's function throws. Most tests damage one record and make an unrelated call.
#include <algorithm>
#include <array>
#include <stdexcept>
#include <thread>

#include "core/queue.h"
#include "support/repository.h"

using namespace rig;

namespace {

struct Invariants : Repository {
  // The end of the process and its message. The damage stays until the end of the test.
  template <typename Call>
  static void expect_end_of(Call call, const std::string &sentence) {
    EXPECT_DEATH(call(), sentence);
    breaks_invariants("a record is damaged");
  }
  // Only the process that ends has the damage.
  template <typename Damage>
  static void expect_end_after(Damage damage, const std::string &sentence) {
    EXPECT_DEATH((damage(), zar_handle_get_context(0)), "broke invariant " + sentence);
  }
  static void expect_end(const std::string &sentence) {
    expect_end_of([] { zar_handle_get_context(0); }, "zar: zar_handle_get_context broke invariant " + sentence);
  }
  static void expect_no_end() { EXPECT_EQ(zar_handle_get_context(0), nullptr); }

  template <typename Record>
  static Record *first_of(const queue_head &queue) {
    return zar::first<Record>(queue);
  }
  // A rule of class number 1 under an event of 'policy', and its class-map 'voice'.
  uint32_t policy = stored_pmap("policy");
  uint32_t start = event_in(policy, 7);
  uint32_t voice = stored_cmap("voice");
  uint32_t first_rule = rule(start, voice, 1);
};

// In a policy-map that is not CONTROL, and holds a rule for 'video'.
struct InvariantsOfOtherPolicyMaps : Invariants {
  static constexpr MapOptions kPlain = {.type = 2};

  InvariantsOfOtherPolicyMaps() {
    stored_cmap("video", kPlain);
    stored_cmap("audio", kPlain);
    plain_rule("plain", "video", kPlain);
  }

  uint32_t earlier = event(9);
  queue_head *rules = &at<zar_pmap>(stored_pmap("plain", kPlain))->rule_list;
  uint32_t later = event(10);
};

TEST_F(Invariants, HoldInARepositoryThatNobodyDamaged) {
  filter_in(voice, "f");
  action_in(first_rule, "a");
  target(policy);
  const uint32_t values = stored_pmtr_map("values");
  statement(values, 1);
  statement_action(values, 1, 1, "b");
  expect_no_end();
}

TEST_F(Invariants, AreLeftToTestsThatBreakThem) {
  breaks_invariants("a class-map changes its criteria");
  at<zar_cmap>(voice)->match_criteria = 3;
  expect_no_end();
}

TEST_F(Invariants, ReportWhichOperationBrokeThem) {
  at<zar_cmap>(voice)->match_criteria = 3;
  expect_end_of([&] { zar_get_cmap_if_hidden(voice); }, "zar: zar_get_cmap_if_hidden broke invariant 1 of zar_cmap");
}

// With 256 records and fewer there is a check after every operation; each 8 more let one more operation pass without one.
TEST_F(Invariants, ReportThatAnOperationBeforeMayHaveLeftThemBroken) {
  while (runtime::live_ids().size() < 263)
    event_in(policy, 100 + static_cast<uint32_t>(runtime::live_ids().size()));
  pmap("one more");                                                     // without a check
  expect_no_end();                                                      // with one
  auto *cmap = static_cast<zar_cmap *>(zar_handle_get_context(voice));  // without
  cmap->match_criteria = 3;
  expect_end(
      "1 of zar_cmap: a field of 0x[0-9a-f]+ that must never change has changed "
      "\\(or one of the 1 operations before it did\\)");
}

TEST_F(Invariants, AreCheckedWhereverARecordIs) {
  // Neither in a tree nor in another record.
  const uint32_t loose = pmap("loose");
  at<zar_pmap>(loose)->domain_type = 2;
  expect_end("1 of zar_pmap: a field of 0x[0-9a-f]+ that must never change has changed");
}

TEST_F(Invariants, AreNotRequiredOfCallersOwnRecords) {
  zar_action own = *at<zar_action>(action("a"));
  own.link = {};
  own.ref_count = 0;
  const uint32_t handle = zar_handle_alloc(&own);
  add_action(first_rule, handle);
  expect_no_end();
  zar_remove_action_from_class_action(first_rule, handle);
}

TEST_F(Invariants, OfClientsArePlacesByTheirIds) {
  zar_clients_info[1]->clid = 30;
  expect_end("1 of zar_client_data: entry 1 belongs to client 30");
  zar_clients_info[1]->clid = 2;
}

TEST_F(Invariants, OfClientsHoldForTheFirstClient) {
  zar_clients_info[0]->clid = 30;
  expect_end("1 of zar_client_data: entry 0 belongs to client 30");
  zar_clients_info[0]->clid = 1;
}

TEST_F(Invariants, OfClientsAreNoMoreThanTheTableHolds) {
  zar_allowed_max_clients = 1;
  expect_end("1 of zar_client_data: there are 2 clients in a table that has room for 1");
  zar_allowed_max_clients = 10;
}

TEST_F(Invariants, OfDomainsAreNoTwoClaimsOfOne) {
  zar_register_domain(1, "d1");
  zar_register_domain(1, "d2");
  char *claimed = first_of<zar_domain_entry>(zar_domain_list)->domain;
  claimed[1] = '2';
  expect_end("1 of zar_domain_entry: the domain 'd2' is claimed twice");
  claimed[1] = '1';
}

TEST_F(Invariants, OfDatabasesAreRecordsThatLive) {
  expect_end_of([&] { zar_delete_policy(policy); },
                "zar_delete_policy broke invariant 1 of zar_db: "
                "'pmap_tree' holds a record that was freed");
}

TEST_F(Invariants, OfDatabasesAreRecordsThatLiveOnEitherSideOfATree) {
  for (const uint32_t side : {stored_pmap("a"), stored_pmap("z")})
    expect_end_after([&] { zar_delete_policy(side); }, "1 of zar_db: 'pmap_tree' holds a record that was freed");
}

TEST_F(Invariants, OfDatabasesAreTargetsThatLive) {
  const uint32_t on_line = target(policy);
  expect_end_of([&] { zar_delete_target(on_line); }, "1 of zar_db: 'target_tree' holds a record that was freed");
}

TEST_F(Invariants, OfDatabasesAreParameterMapsThatLive) {
  const uint32_t values = stored_pmtr_map("values");
  expect_end_of([&] { zar_delete_pmtr_map(values); }, "1 of zar_db: 'pmtr_map_tree' holds a record that was freed");
}

TEST_F(Invariants, OfDatabasesAreRecordsInOneTree) {
  database()->cmap_tree->top.parent = &at<zar_pmap>(policy)->node;
  expect_end("1 of zar_db: 0x[0-9a-f]+ is in 'cmap_tree' and also somewhere else");
}

// The targets, by their handles.
struct InvariantsOfTargetOrder : Invariants {
  InvariantsOfTargetOrder() {
    for (uint32_t number = 0; number < targets.size(); ++number)
      targets[number] = target(policy, number);
    std::sort(targets.begin(), targets.end());
  }
  // Exchanges two neighbours in the tree.
  void expect_end_if_exchanged(size_t place) {
    std::swap(at<zar_target>(targets[place])->handle, at<zar_target>(targets[place + 1])->handle);
    expect_end(text("2 of zar_db: 0x%x comes after 0x%x in 'target_tree'", targets[place], targets[place + 1]));
  }

  std::array<uint32_t, 7> targets{};
};

TEST_F(InvariantsOfTargetOrder, AreCheckedOnTheLeftSideOfTheTree) {
  expect_end_if_exchanged(1);
}

TEST_F(InvariantsOfTargetOrder, AreCheckedAtTheRootOfTheTree) {
  expect_end_if_exchanged(2);
}

TEST_F(InvariantsOfTargetOrder, AreCheckedOnTheRightSideOfTheTree) {
  expect_end_if_exchanged(4);
}

TEST_F(InvariantsOfTargetOrder, AllowNoTwoTargetsInOnePlace) {
  at<zar_target>(targets[1])->handle = targets[0];
  expect_end(text("2 of zar_db: 0x%x comes after 0x%x in 'target_tree'", targets[0], targets[0]));
}

TEST_F(Invariants, OfListsAreCountsOfTheirElements) {
  ++at<zar_pmap>(policy)->rule_list.count;
  expect_end("2 of zar_pmap: 'rule_list' of 0x[0-9a-f]+ counts 2 elements, but holds a different number");
}

TEST_F(Invariants, OfListsCountEachOfTheirElements) {
  --at<zar_pmap>(policy)->rule_list.count;
  expect_end("2 of zar_pmap: 'rule_list' of 0x[0-9a-f]+ counts 0 elements, but holds a different number");
}

TEST_F(Invariants, OfPolicyMapsAreEventsInARuleListOfEvents) {
  at<zar_pmap>(policy)->rule_list.head = at<zar_class_action>(first_rule);
  expect_end("2 of zar_pmap: 'rule_list' of 0x[0-9a-f]+ holds 0x[0-9a-f]+, a record of another kind");
}

TEST_F(Invariants, OfPolicyMapsAreEventsInOrderOfAddition) {
  event_in(policy, 8);
  auto *list = &at<zar_pmap>(policy)->rule_list;
  auto *moved = zar::take_first<zar_event_tuple>(*list);
  zar::append(*list, moved);
  expect_end("2 of zar_pmap: 0x[0-9a-f]+ is in 'rule_list' of 0x[0-9a-f]+ after an element that was added later");
}

TEST_F(Invariants, OfPolicyMapsTakeAnEventThatCameBackForANewOne) {
  event_in(policy, 8);
  zar_event_tuple *moved = at<zar_event_tuple>(event_in(policy, 9));
  zar_pmap *holder = moved->pmap;
  zar::unlink(holder->rule_list, moved);
  moved->pmap = nullptr;
  expect_no_end();
  event_in(policy, 10);
  zar::append(holder->rule_list, moved);
  moved->pmap = holder;
  expect_no_end();
}

TEST_F(Invariants, OfPolicyMapsAreDifferentIdsOfTheirEvents) {
  at<zar_event_tuple>(event_in(policy, 8))->event_context->event_id = 7;
  expect_end("2 of zar_pmap: two events of 0x[0-9a-f]+ have the id 7");
}

TEST_F(InvariantsOfOtherPolicyMaps, AreCountsOfTheirRules) {
  ++rules->count;
  expect_end("2 of zar_pmap: 'rule_list' of 0x[0-9a-f]+ counts 2 elements, but holds a different number");
}

TEST_F(InvariantsOfOtherPolicyMaps, AreRulesInOrderOfAddition) {
  plain_rule("plain", "audio", kPlain);
  zar::append(*rules, zar::take_first<zar_class_action>(*rules));
  expect_end("2 of zar_pmap: 0x[0-9a-f]+ is in 'rule_list' of 0x[0-9a-f]+ after an element that was added later");
}

TEST_F(InvariantsOfOtherPolicyMaps, AreRulesInOneList) {
  zar::append(at<zar_event_tuple>(earlier)->class_actions, first_of<zar_class_action>(*rules));
  expect_end("1 of zar_class_action: 0x[0-9a-f]+ is in 'rule_list' of 0x[0-9a-f]+ and also somewhere else");
}

TEST_F(InvariantsOfOtherPolicyMaps, AreRulesOutsideOfEvents) {
  zar::append(at<zar_event_tuple>(later)->class_actions, first_of<zar_class_action>(*rules));
  expect_end("1 of zar_class_action: 0x[0-9a-f]+ is in 'class_actions' of 0x[0-9a-f]+ and also somewhere else");
}

TEST_F(Invariants, OfPolicyMapsAreNoReferencesWithoutUses) {
  zar::take_first<zar_class_action>(at<zar_event_tuple>(start)->class_actions);
  expect_end("3 of zar_pmap: 0x[0-9a-f]+ counts 1 uses of class-map 0x[0-9a-f]+, but there are 0");
}

TEST_F(Invariants, OfPolicyMapsAreNoFewerReferencesThanUses) {
  rule(start, voice, 2);
  --first_of<zar_pmap_cmap_ref>(at<zar_pmap>(policy)->cmap_refs)->ref_count;
  expect_end("3 of zar_pmap: 0x[0-9a-f]+ counts 1 uses of class-map 0x[0-9a-f]+, but there are 2");
}

TEST_F(Invariants, OfPolicyMapsAreAsManyReferencesAsUses) {
  ++first_of<zar_pmap_cmap_ref>(at<zar_pmap>(policy)->cmap_refs)->ref_count;
  expect_end("3 of zar_pmap: 0x[0-9a-f]+ counts 2 uses of class-map 0x[0-9a-f]+, but there are 1");
}

TEST_F(Invariants, OfPolicyMapsAreReferencesToAllThatIsUsed) {
  auto *list = &at<zar_pmap>(policy)->cmap_refs;
  zar::take_first<zar_pmap_cmap_ref>(*list);
  expect_end("3 of zar_pmap: 0x[0-9a-f]+ does not count its uses of class-map 0x[0-9a-f]+");
}

TEST_F(Invariants, OfPolicyMapsAreReferencesToEachClassMapOnce) {
  rule(start, stored_cmap("two"), 2);
  const uint32_t third = stored_cmap("three");
  rule(start, third, 3);
  const auto &list = at<zar_pmap>(policy)->cmap_refs;
  first_of<zar_pmap_cmap_ref>(list)->cmap = at<zar_cmap>(third);
  first_of<zar_pmap_cmap_ref>(list)->ref_count = 1;
  expect_end("3 of zar_pmap: 0x[0-9a-f]+ is listed twice in 'cmap_refs' of 0x[0-9a-f]+");
}

TEST_F(Invariants, OfPolicyMapsAreTargetsNamedOnce) {
  target(policy, 1);
  const uint32_t second = target(policy, 2);
  first_of<zar_pmap_target_ref>(at<zar_pmap>(policy)->target_refs)->target = at<zar_target>(second);
  expect_end("4 of zar_pmap: 0x[0-9a-f]+ is listed twice in 'target_refs' of 0x[0-9a-f]+");
}

TEST_F(Invariants, OfEventsAreThePolicyMapsThatHoldThem) {
  at<zar_event_tuple>(start)->pmap = nullptr;
  expect_end("1 of zar_event_tuple: 0x[0-9a-f]+ is in 'rule_list' of 0x[0-9a-f]+, but its 'pmap' does not point there");
}

TEST_F(Invariants, OfEventsAreNoPolicyMapsThatDoNotHoldThem) {
  at<zar_event_tuple>(event(9))->pmap = at<zar_pmap>(policy);
  expect_end("1 of zar_event_tuple: 0x[0-9a-f]+ refers to a policy-map, but is missing from its 'rule_list'");
}

TEST_F(Invariants, OfEventsAreOneListThatHoldsThem) {
  const uint32_t other = pmap("other");
  zar::append(at<zar_pmap>(other)->rule_list, at<zar_event_tuple>(start));
  expect_end("1 of zar_event_tuple: 0x[0-9a-f]+ is in 'rule_list' of 0x[0-9a-f]+ and also somewhere else");
}

TEST_F(Invariants, OfEventsAreRulesInOrderOfTheirClassNumbers) {
  rule(start, voice, 2);
  at<zar_class_action>(first_rule)->class_num = 3;
  expect_end("2 of zar_event_tuple: class number 2 comes after 3 in event 0x[0-9a-f]+");
}

TEST_F(Invariants, OfEventsAreEqualClassNumbersInOrderOfAddition) {
  rule(start, voice, 1);
  auto *list = &at<zar_event_tuple>(start)->class_actions;
  auto *moved = zar::take_first<zar_class_action>(*list);
  zar::append(*list, moved);
  expect_end(
      "2 of zar_event_tuple: 0x[0-9a-f]+ comes before 0x[0-9a-f]+ in event 0x[0-9a-f]+, although it was added later");
}

TEST_F(Invariants, OfRulesAreOneListThatHoldsThem) {
  zar::append(at<zar_event_tuple>(event(9))->class_actions, at<zar_class_action>(first_rule));
  expect_end("1 of zar_class_action: 0x[0-9a-f]+ is in 'class_actions' of 0x[0-9a-f]+ and also somewhere else");
}

TEST_F(Invariants, OfRulesAreActionsThatLive) {
  const uint32_t action = action_in(first_rule, "a");
  expect_end_of([&] { zar_delete_action(action); },
                "2 of zar_class_action: 'actions' of 0x[0-9a-f]+ holds a record that was freed");
}

TEST_F(Invariants, OfRulesAreClassMapsThatLive) {
  auto *used = at<zar_cmap>(voice);
  zar::take_first<zar_pmap_cmap_ref>(at<zar_pmap>(policy)->cmap_refs);
  zar::take_first<zar_cmap_pmap_ref>(used->pmap_refs);
  expect_end_of([&] { zar_delete_stored_class(1, voice); },
                "3 of zar_class_action: the class-map of rule 0x[0-9a-f]+ in policy-map 0x[0-9a-f]+ was freed");
}

TEST_F(Invariants, OfClassMapsAreTheirNames) {
  at<zar_cmap>(voice)->hash_str = nullptr;
  expect_end("1 of zar_cmap: a field of 0x[0-9a-f]+ that must never change has changed");
}

TEST_F(Invariants, OfClassMapsAreReferencesFromThoseWhoUseThem) {
  zar::take_first<zar_cmap_pmap_ref>(at<zar_cmap>(voice)->pmap_refs);
  expect_end(
      "2 of zar_cmap: 0x[0-9a-f]+ lists class-map 0x[0-9a-f]+ in 'cmap_refs', but is missing from its 'pmap_refs'");
}

TEST_F(Invariants, OfClassMapsAreReferencesFromThatVeryPolicyMap) {
  pmap("unrelated");
  const uint32_t other = pmap("other");
  rule(event_in(other, 1), voice);
  auto *list = &at<zar_cmap>(voice)->pmap_refs;
  auto *of_policy = zar::take_first<zar_cmap_pmap_ref>(*list);
  zar::take_first<zar_cmap_pmap_ref>(*list);
  zar::append(*list, of_policy);
  expect_end(text("2 of zar_cmap: 0x%x lists class-map 0x%x in 'cmap_refs'", other, voice));
}

TEST_F(Invariants, OfClassMapsAreNoReferencesFromThoseWhoDoNotUseThem) {
  first_of<zar_cmap_pmap_ref>(at<zar_cmap>(voice)->pmap_refs)->pmap = at<zar_pmap>(pmap("other"));
  expect_end("2 of zar_cmap: 0x[0-9a-f]+ is listed in 'pmap_refs' of 0x[0-9a-f]+, but does not use it");
}

TEST_F(Invariants, OfClassMapsAreReferencesToEachPolicyMapOnce) {
  const uint32_t other = pmap("other");
  rule(event_in(other, 1), voice);
  first_of<zar_cmap_pmap_ref>(at<zar_cmap>(voice)->pmap_refs)->pmap = at<zar_pmap>(other);
  expect_end("2 of zar_cmap: 0x[0-9a-f]+ is listed twice in 'pmap_refs' of 0x[0-9a-f]+");
}

TEST_F(Invariants, OfClassMapsAreFiltersThatLive) {
  const uint32_t filter = filter_in(voice, "f");
  expect_end_of([&] { zar_delete_filter(filter); },
                "3 of zar_cmap: 'filters' of 0x[0-9a-f]+ holds a record that was freed");
}

TEST_F(Invariants, AllowFewerReferencesThanUsesWithoutMemory) {
  const uint32_t other = stored_cmap("two");
  runtime::fail_request(runtime::Service::record, 2);
  uint32_t out = 0;
  zar_add_class_to_event(start, other, 0, 2, &out);
  runtime::clear_faults();
  EXPECT_EQ(cmap_refs_of(policy).size(), 1U);
  expect_no_end();
}

TEST_F(Invariants, OfActionsAreAtLeastOneReference) {
  at<zar_action>(action("a"))->ref_count = 0;
  expect_end("1 of zar_action: 0x[0-9a-f]+ counts 0 references and is in 0 lists");
}

TEST_F(Invariants, OfActionsAreReferencesForAllListsThatHoldThem) {
  const uint32_t shared = action_in(first_rule, "a");
  expect_end_of([&] { zar_add_action_to_rule(first_rule, shared); },
                "1 of zar_action: 0x[0-9a-f]+ counts 1 references and is in 2 lists");
}

TEST_F(Invariants, OfActionsAreTheirFunctions) {
  zar_action *record = at<zar_action>(action("a"));
  const auto expect_end_without = [record](auto zar_action::*function) {
    const auto damage = [&] { record->*function = nullptr; };
    expect_end_after(damage, "2 of zar_action: a required function of 0x[0-9a-f]+ is missing");
  };
  expect_end_without(&zar_action::action_free_fn);
  expect_end_without(&zar_action::action_entry_fn);
  expect_end_without(&zar_action::action_str_fn);
  expect_end_without(&zar_action::action_compare_fn);
}

TEST_F(Invariants, OfFiltersAreTheirFunctions) {
  zar_filter *record = at<zar_filter>(filter("f"));
  const auto expect_end_without = [record](auto zar_filter::*function) {
    const auto damage = [&] { record->*function = nullptr; };
    expect_end_after(damage, "1 of zar_filter: a function of 0x[0-9a-f]+ is missing");
  };
  expect_end_without(&zar_filter::filter_free_fn);
  expect_end_without(&zar_filter::filter_eval_fn);
  expect_end_without(&zar_filter::filter_str_fn);
  expect_end_without(&zar_filter::filter_compare_fn);
}

TEST_F(Invariants, OfTargetsAreTheirHandles) {
  at<zar_target>(target(policy))->handle = 77;
  expect_end("1 of zar_target: the key of 0x[0-9a-f]+ has changed to 0x4d");
}

TEST_F(Invariants, OfTargetsAreWhatIsActiveOnThem) {
  zar::take_first<zar_target_pmap>(at<zar_target>(target(policy))->active_pmaps);
  expect_end(
      "2 of zar_target: 0x[0-9a-f]+ lists target 0x[0-9a-f]+ in 'target_refs', but is missing from its "
      "'active_pmaps'");
}

TEST_F(Invariants, OfTargetsAreThoseWhoAreActiveOnThem) {
  target(policy);
  zar::take_first<zar_pmap_target_ref>(at<zar_pmap>(policy)->target_refs);
  expect_end(
      "2 of zar_target: 0x[0-9a-f]+ is listed in 'active_pmaps' of 0x[0-9a-f]+, but does not list it in "
      "'target_refs'");
}

TEST_F(Invariants, OfTargetsAreCountsOfWhatIsActive) {
  ++at<zar_target>(target(policy))->active_pmaps.count;
  expect_end("2 of zar_target: 'active_pmaps' of 0x[0-9a-f]+ counts 2 elements, but holds a different number");
}

TEST_F(Invariants, OfTargetsArePolicyMapsNamedOnce) {
  const uint32_t other = pmap("other"), on_line = target(policy);
  activate(other, on_line);
  first_of<zar_target_pmap>(at<zar_target>(on_line)->active_pmaps)->pmap = at<zar_pmap>(other);
  expect_end("2 of zar_target: 0x[0-9a-f]+ is listed twice in 'active_pmaps' of 0x[0-9a-f]+");
}

// The message names the very policy-map, among others that are or are not active there.
TEST_F(Invariants, OfTargetsAreTheVeryPolicyMapsThatAreActive) {
  pmap("unrelated");
  const uint32_t other = pmap("other"), on_line = target(policy);
  activate(other, on_line);
  auto *list = &at<zar_target>(on_line)->active_pmaps;
  auto *of_policy = zar::take_first<zar_target_pmap>(*list);
  zar::take_first<zar_target_pmap>(*list);
  zar::append(*list, of_policy);
  expect_end(text("2 of zar_target: 0x%x lists target 0x%x in 'target_refs', but is missing", other, on_line));
}

TEST_F(Invariants, OfTargetsAreTheVeryPolicyMapsThatListThem) {
  pmap("unrelated");
  const uint32_t other = pmap("other"), on_line = target(policy);
  activate(other, on_line);
  zar::take_first<zar_pmap_target_ref>(at<zar_pmap>(other)->target_refs);
  expect_end(text("2 of zar_target: 0x%x is listed in 'active_pmaps' of 0x%x, but does not list it", other, on_line));
}

TEST_F(Invariants, OfTargetsAreEmptyReservedQueues) {
  at<zar_target>(target(policy))->reserved_queue.count = 1;
  expect_end("3 of zar_target: 'reserved_queue' of 0x[0-9a-f]+ is not empty");
}

TEST_F(Invariants, OfParameterMapsAreTheirNames) {
  at<zar_pmtr_map>(pmtr_map("values"))->domain_type = 2;
  expect_end("1 of zar_pmtr_map: a field of 0x[0-9a-f]+ that must never change has changed");
}

TEST_F(Invariants, OfParameterMapsAreStatementsInOrder) {
  const uint32_t values = pmtr_map("values");
  statement(values, 1);
  statement(values, 2);
  statement_of(values, 1)->map_index = 5;
  expect_end("2 of zar_pmtr_map: map-index 2 comes after 5 in 0x[0-9a-f]+");
}

TEST_F(Invariants, OfStatementsAreActionsInOrder) {
  const uint32_t values = pmtr_map("values");
  statement(values, 1);
  const uint32_t action = statement_action(values, 1, 1, "a");
  statement_action(values, 1, 2, "b");
  at<zar_action>(action)->action_num = 3;
  expect_end("1 of zar_pmtr_map_stmt: action number 2 comes after 3 in statement 1 of 0x[0-9a-f]+");
}

// Creates as many objects as possible, and releases a dead handle again each time to keep the count of handles low.
template <typename Create>
Handles as_many_as_can_be(Create create) {
  static uint32_t own_record;
  const uint32_t gone = zar_handle_alloc(&own_record);
  zar_handle_release(gone);
  Handles handles;
  uint32_t handle = 0;
  while (create(&handle) == 0) {
    handles.push_back(handle);
    zar_handle_release(gone);
  }
  return handles;
}

// Pools of one kind do not serve another, so the ledger lacks room for three kinds that fill the table of kinds.
TEST_F(Invariants, EndTheProcessWhereMoreRecordsWereMadeThanCanBeFollowed) {
  breaks_invariants("records are made faster without checks");
  runtime::want_trace_levels(0);
  const zar_map_info gold = map_info("gold");
  const zar_filter_context port = filter_context("port");
  for (const uint32_t pmap : as_many_as_can_be([&](uint32_t *out) { return zar_create_policy(one, &gold, out); }))
    ASSERT_EQ(zar_delete_policy(pmap), 0U);
  for (const uint32_t cmap : as_many_as_can_be([&](uint32_t *out) { return zar_create_class(one, &gold, 1, out); }))
    ASSERT_EQ(zar_delete_class(cmap), 0U);
  setenv("ZAR_CHECKS", "on", 1);
  expect_no_end();
  breaks_invariants("records are made faster without checks");
  as_many_as_can_be([&](uint32_t *out) { return zar_create_filter(&port, out, 0); });
  setenv("ZAR_CHECKS", "on", 1);
  expect_end_of([] { zar_handle_get_context(0); },
                "zar: the checks ran out of room after 262143 records and 1 databases: run this without ZAR_CHECKS=on");
}

TEST_F(Invariants, EndTheProcessWhereMoreDatabasesWereMadeThanCanBeFollowed) {
  breaks_invariants("databases are made faster without checks");
  zar_db *database = nullptr;
  for (int n = 1; n < 4096; ++n)
    ASSERT_EQ(zar_create_database(&database), 0U);
  setenv("ZAR_CHECKS", "on", 1);
  expect_no_end();
  expect_end_of([&] { zar_create_database(&database); },
                "the checks ran out of room after [0-9]+ records and 4096 databases");
}

TEST_F(Invariants, OfCallsAreOneThread) {
  const auto call_from_elsewhere = [] { std::thread([] { zar_handle_get_context(0); }).join(); };
  EXPECT_DEATH(call_from_elsewhere(),
               "zar: zar_handle_get_context was called on a different thread than the first operation");
}

struct BeforeTheStart : BareProcess {};

TEST_F(BeforeTheStart, AnOperationEndsTheProcess) {
  NEEDS_FRESH_PROCESS();
  zar_db *database = nullptr;
  EXPECT_DEATH(zar_create_database(&database),
               "zar: zar_create_database was called before zar_init: call zar_init once, before everything else");
}

TEST_F(BeforeTheStart, AnOperationIsServedWithoutChecks) {
  NEEDS_FRESH_PROCESS();
  breaks_invariants("nothing was started");
  zar_db *database = nullptr;
  EXPECT_EQ(zar_create_database(&database), 0U);
}

TEST_F(BeforeTheStart, IsOverWhenZarInitWasCalledWithoutChecks) {
  NEEDS_FRESH_PROCESS();
  breaks_invariants("nothing was started");
  zar_init();
  setenv("ZAR_CHECKS", "on", 1);
  EXPECT_EQ(zar_handle_get_context(0), nullptr);
}

// Only the process that ends has functions that throw.
struct Exceptions : Invariants {
  void let_all_throw() {
    const auto throws = [](auto &&...) { throw std::runtime_error("out of texts"); };
    data_of_action(action).on_call = throws;
    data_of_filter(filter).on_call = throws;
    other.on_call = throws;
    on_policy_removed = throws;
    on_printed = throws;
  }
  template <typename Call>
  void expect_end_at(const std::string &role, Call call) {
    EXPECT_DEATH((let_all_throw(), call()), "zar: " + role + " \\(.* at 0x[0-9a-f]+\\) threw an exception during ");
  }

  const uint32_t action = action_in(first_rule, "a");
  const uint32_t filter = filter_in(voice, "f");
  const uint32_t on_line = target(policy);
  Data &other = data("other");
  const uint32_t claimed = zar_register_domain(one, "d1");
  zar_action_context other_action = action_context(other);
  zar_filter_context other_filter = filter_context(other);
};

TEST_F(Exceptions, AreReportedWithTheirTextAndTheOperation) {
  EXPECT_DEATH((let_all_throw(), zar_get_action_nvgen_str(action, 0)),
               "zar: action_str_fn \\(rig::action_text\\(void\\*, unsigned int\\) at 0x[0-9a-f]+\\) threw an exception "
               "during zar_get_action_nvgen_str: out of texts");
}

// One that the program exports has a name.
TEST_F(Exceptions, AreReportedWithTheAddressOfAFunctionWithoutName) {
  at<zar_action>(action)->action_str_fn = [](void *, uint32_t) -> char * { throw std::runtime_error("out of texts"); };
  EXPECT_DEATH(zar_get_action_nvgen_str(action, 0), "zar: action_str_fn \\(a function at 0x[0-9a-f]+\\) threw");
}

TEST_F(Exceptions, MayBeOfAnyType) {
  EXPECT_DEATH((
                   data_of_filter(filter).on_call = [] { throw 7; }, zar_get_filter_nvgen_str(filter)),
               "filter_str_fn \\(.*\\) threw an exception during zar_get_filter_nvgen_str: it is no std::exception");
}

TEST_F(Exceptions, PassWithoutChecks) {
  breaks_invariants("an operation is not ended");
  let_all_throw();
  EXPECT_THROW(zar_get_action_nvgen_str(action, 0), std::runtime_error);
  data_of_action(action).on_call = data_of_filter(filter).on_call = nullptr;
}

TEST_F(Exceptions, OfActionsEndTheProcess) {
  expect_end_at("action_str_fn", [&] { zar_get_action_nvgen_str(action, 0); });
  expect_end_at("action_compare_fn", [&] { zar_compare_actions(action, &other_action); });
  expect_end_at("action_param_map_check_fn", [&] { zar_is_param_map_assoc_with_policy(this); });
  expect_end_at("action_free_fn", [&] { zar_delete_action(action); });
  expect_end_at("action_free_fn", [&] { zar_replace_old_action_hdl(action, &other_action); });
  expect_end_at("action_free_fn", [&] { zar_free_client_action_context(&other_action); });
}

TEST_F(Exceptions, OfNotificationsEndTheProcess) {
  expect_end_at("action_notify_fn", [&] { zar_shim_action_added_removed(action, policy, 1); });
  expect_end_at("action_notify_fn", [&] { zar_remove_action_handler_for_class(first_rule, policy); });
  expect_end_at("action_notify_fn", [&] { zar_deactivate_policy_by_handle_from_all_targets(one, policy); });
  at<zar_action>(action)->action_notify_fn = nullptr;
  zar_client_register_target_policy_removal_vector(one, policy_removed);
  expect_end_at("removal_vector", [&] { zar_delete_stored_policy(one, policy); });
}

TEST_F(Exceptions, OfFiltersEndTheProcess) {
  expect_end_at("filter_str_fn", [&] { zar_get_filter_nvgen_str(filter); });
  expect_end_at("filter_compare_fn", [&] { zar_match_filter_parameters(at<zar_filter>(filter), &other_filter); });
  expect_end_at("filter_free_fn", [&] { zar_delete_filter(filter); });
  expect_end_at("filter_free_fn", [&] { zar_replace_old_filter_hdl(filter, &other_filter); });
  expect_end_at("filter_free_fn", [&] { zar_free_client_filter_context(&other_filter); });
  expect_end_at("filter_free_fn", [&] { zar_free_client_filter_params_context(&other_filter); });
}

TEST_F(Exceptions, OfExpressionsEndTheProcess) {
  const uint32_t values = pmtr_map("values");
  const uint32_t expression = filters_of(statement(values, 1)->internal_cmap).front();
  at<zar_filter>(expression)->filter_str_fn = [](void *) -> char * { throw std::runtime_error("out of texts"); };
  char text[100];
  expect_end_at("filter_str_fn", [&] { kel_pmtr_map_get_filter_expr_by_type(values, 1, "device", text); });
}

TEST_F(Exceptions, OfPrintersEndTheProcess) {
  expect_end_at("printer", [&] { zar_print_policymap("", capture_printer, "d1", "policy", 0, 0); });
  expect_end_at("printer", [&] { zar_print_classmap("", capture_printer, "", "d1", "voice", 0); });
}

}  // namespace
