// Activation of policy-maps on targets, deactivation, and reading what is active where.
#include <algorithm>
#include <utility>

#include "lifecycle/lines.h"
#include "platform/runtime.h"
#include "support/when_traced.h"

using namespace rig;

namespace {

constexpr const char *kGold = "gold:d1:1", *kSilver = "silver:d1:1", *kBronze = "bronze:d1:1";
constexpr uint32_t kUntouched = 0xabcd;

// The states in which the target of a call can be.
enum class TargetState { sound, unknown, without_info };
constexpr TargetState kTargetStates[] = {TargetState::sound, TargetState::unknown, TargetState::without_info};

// Three stored policy-maps, and a target on which silver is active.
struct Activation : Lifecycle {
  const uint32_t gold = stored_pmap("gold"), silver = stored_pmap("silver"), bronze = stored_pmap("bronze");
  const uint32_t interface = target(silver, 7);
  const zar_map_info gold_info = map_info("gold"), silver_info = map_info("silver"), missing_info = map_info("missing");

  // Puts the target into this state; the handle under which a call then finds it so.
  uint32_t target_in(TargetState state) {
    at<zar_target>(interface)->target_info = state == TargetState::without_info ? nullptr : target_info_;
    return state == TargetState::unknown ? 0 : interface;
  }
  static Lines trace_of(const char *operation, TargetState state) {
    switch (state) {
      case TargetState::sound:
        return {};
      case TargetState::unknown:
        return {invalid_handle(), no_target(operation)};
      case TargetState::without_info:
        return {no_target_info(operation)};
    }
    return {};
  }
  // An action of that name, in its own rule, whose handler is notified.
  uint32_t handler_of(uint32_t pmap_handle, const char *name) {
    return action_in(rule(event_in(pmap_handle, 1), cmap(name)), name);
  }
  // What a refused look-up of a policy-map by name says when the client is not valid.
  static Line lookup_refused(uint32_t clid) { return wrong_clid("retrieve_policy", clid); }

 private:
  zar_target_info *const target_info_ = at<zar_target>(interface)->target_info;
};

// ---- By handle

struct Activating : Activation {
  static constexpr const char *kName = "activate_policy";
  static Line activated(const char *policy) {
    return info("(info): %s: success, policy:%s is activated on target", kName, policy);
  }
};

TEST_F(Activating, LinksThePairInBothDirectionsAndNotifiesTheEngineAndTheHandlers) {
  handler_of(gold, "permit");
  EXPECT_EQ(zar_activate_policy(one, gold, interface), 0U);
  EXPECT_TRACED(associated(7, "gold"), activated("gold"));
  EXPECT_CALLS(instance_created(interface, one, kGold), "notify added permit [7]");
  EXPECT_EQ(active_on(interface), (Handles{silver, gold}));
  EXPECT_EQ(targets_of(gold), Handles{interface});
}

TEST_F(Activating, LinksBeforeItCallsTheEngineAndNotifiesHandlersAfterwards) {
  const uint32_t permit = handler_of(gold, "permit");
  engine().on_call = [&](const std::string &) {
    EXPECT_EQ(targets_of(gold), Handles{interface});
    EXPECT_EQ(active_on(interface), (Handles{silver, gold}));
  };
  data_of_action(permit).on_call = [&] { EXPECT_EQ(engine().instances().size(), 2U); };
  EXPECT_EQ(zar_activate_policy(one, gold, interface), 0U);
}

TEST_F(Activating, NeedsOneRecordForEachSide) {
  watch_requests();
  EXPECT_EQ(zar_activate_policy(one, gold, interface), 0U);
  EXPECT_REQUESTS("record 0x3e00047 of 24", "record 0x3e00048 of 16");
}

TEST_F(Activating, IsForPoliciesOfAnyKindStoredOrNot) {
  for (const uint32_t each : {pmap("iron"), pmap("tin", {.type = 2}), stored_pmap("zinc", {.type = 2})}) {
    EXPECT_EQ(zar_activate_policy(one, each, interface), 0U);
    EXPECT_EQ(targets_of(each), Handles{interface});
  }
  EXPECT_EQ(active_on(interface).size(), 4U);
  EXPECT_CALLS(instance_created(interface, one, "iron:d1:1"), instance_created(interface, one, "tin:d1:2"),
               instance_created(interface, one, "zinc:d1:2"));
}

TEST_F(Activating, PassesTheClientToTheEngine) {
  EXPECT_EQ(zar_activate_policy(two, gold, interface), 0U);
  EXPECT_CALLS(instance_created(interface, two, kGold));
}

TEST_F(Activating, NeedsNoDatabase) {
  zar_clients_info[0]->status = 0;
  EXPECT_EQ(zar_activate_policy(one, gold, interface), 0U);
  EXPECT_TRACED(associated(7, "gold"), activated("gold"));
}

TEST_F(Activating, GivesTheEngineNoHiddenKey) {
  const uint32_t built_in = pmap("BUILTIN_AUTOCONF_POLICY");
  ASSERT_EQ(at<zar_pmap>(built_in)->hidden, 1U);
  EXPECT_EQ(zar_activate_policy(one, built_in, interface), 0U);
  EXPECT_CALLS(instance_created(interface, one, "BUILTIN_AUTOCONF_POLICY:d1:1"));
}

TEST_F(Activating, OfAnActivePolicyDoesNothing) {
  handler_of(silver, "permit");
  engine().create_status = 1;
  watch_requests();
  EXPECT_REFUSED(0U, zar_activate_policy(one, silver, interface));
  EXPECT_TRACED(info("(info): %s: policy:%s was already active on target", kName, "silver"));
  EXPECT_CALLS();
  EXPECT_REQUESTS();
}

TEST_F(Activating, ChecksEverythingBeforeItRefuses) {
  for (const uint32_t clid : {one, 0U, 3U, 0xffffffffU}) {
    for (const uint32_t policy : {gold, 0U}) {
      for (const TargetState state : kTargetStates) {
        if (clid == one && policy == gold && state == TargetState::sound) continue;
        const uint32_t where = target_in(state);
        EXPECT_REFUSED(39U, zar_activate_policy(clid, policy, where));
        EXPECT_TRACED(clid == one ? Lines{} : Lines{wrong_clid(kName, clid)},
                      policy == gold ? Lines{} : Lines{invalid_handle(), no_pmap(kName)}, trace_of(kName, state));
      }
    }
  }
  EXPECT_CALLS();
}

TEST_F(Activating, NeedsMemoryOnTheSideOfTheTarget) {
  runtime::fail_request(runtime::Service::record, 1);
  EXPECT_REFUSED(38U, zar_activate_policy(two, gold, interface));
  EXPECT_TRACED(error("(ERR): associate target and policy: memory alloc for target pmap ref failed clid:%d", 2));
  EXPECT_CALLS();
}

TEST_F(Activating, NeedsMemoryOnTheSideOfThePolicy) {
  runtime::fail_request(runtime::Service::record, 2);
  EXPECT_REFUSED(38U, zar_activate_policy(one, gold, interface));
  EXPECT_TRACED(error("(ERR): associate target and policy: memory alloc for target into pmap:%s ref failed", "gold"),
                no_target_to_unlink(), info("(info): removed pmap from target:%s", "gold"), instance_not_found(gold));
  EXPECT_CALLS(instance_sought(interface, kGold));
}

TEST_F(Activating, NeedsAnInstance) {
  handler_of(gold, "permit");
  engine().create_status = 1;
  EXPECT_REFUSED(37U, zar_activate_policy(one, gold, interface));
  EXPECT_TRACED(associated(7, "gold"), unlinked("gold"), instance_not_found(gold),
                error("(ERR): Error: Could not create policy instance, target into policy-map:%s", "gold"));
  EXPECT_CALLS(instance_created(interface, one, kGold), instance_sought(interface, kGold));
}

TEST_F(Activating, MayBeDoneByAHandler) {
  const uint32_t permit = handler_of(gold, "permit");
  data_of_action(permit).on_call = [&] {
    const Quiet quiet;
    EXPECT_EQ(zar_activate_policy(one, bronze, interface), 0U);
    EXPECT_EQ(zar_deactivate_policy_by_name(one, interface, &silver_info), 0U);
  };
  EXPECT_EQ(zar_activate_policy(one, gold, interface), 0U);
  EXPECT_EQ(active_on(interface), (Handles{gold, bronze}));
  EXPECT_EQ(targets_of(silver), Handles{});
}

// ---- By name

struct ActivatingByName : Activating {
  static Line activated_by_name(const char *policy, uint32_t where) {
    return info("(info): %s: success, policy:%s is activated on target:0x%x", "activate_policy_by_name", policy, where);
  }
};

TEST_F(ActivatingByName, FindsThePolicy) {
  EXPECT_EQ(zar_activate_policy_by_name(one, interface, &gold_info), 0U);
  EXPECT_TRACED(found_policy(kGold), associated(7, "gold"), activated("gold"), activated_by_name("gold", interface));
  EXPECT_CALLS(instance_created(interface, one, kGold));
  EXPECT_EQ(active_on(interface), (Handles{silver, gold}));
}

TEST_F(ActivatingByName, SearchesTheDatabaseOfTheClient) {
  const uint32_t three = client("three", database());
  const uint32_t other_gold = stored_pmap("gold", {.clid = three});
  EXPECT_EQ(zar_activate_policy_by_name(three, interface, &gold_info), 0U);
  EXPECT_EQ(active_on(interface), (Handles{silver, other_gold}));
  EXPECT_EQ(zar_activate_policy_by_name(two, interface, &gold_info), 0U);
  EXPECT_EQ(active_on(interface), (Handles{silver, other_gold, gold}));
}

TEST_F(ActivatingByName, OfAnActivePolicySucceeds) {
  EXPECT_REFUSED(0U, zar_activate_policy_by_name(one, interface, &silver_info));
  EXPECT_TRACED(found_policy(kSilver), info("(info): %s: policy:%s was already active on target", kName, "silver"),
                activated_by_name("silver", interface));
  EXPECT_CALLS();
}

TEST_F(ActivatingByName, Returns39ForEveryFailedLookUp) {
  EXPECT_REFUSED(39U, zar_activate_policy_by_name(0, interface, &gold_info));
  NEEDS_TRACE();
  EXPECT_TRACED(lookup_refused(0));
  EXPECT_REFUSED(39U, zar_activate_policy_by_name(one, interface, nullptr));
  EXPECT_TRACED(no_map_info("retrieve_policy"));

  zar_clients_info[0]->status = 0;
  EXPECT_REFUSED(39U, zar_activate_policy_by_name(one, interface, &gold_info));  // The look-up answers 37.
  EXPECT_TRACED(inactive_client("retrieve_policy", one));
  zar_clients_info[0]->status = 1;

  avl_tree *tree = std::exchange(db->pmap_tree, nullptr);
  EXPECT_EQ(zar_activate_policy_by_name(one, interface, &gold_info), 39U);  // The look-up answers 41.
  db->pmap_tree = tree;
  EXPECT_EQ(traced().back(), info("(info): retrieve_policy: search failed  clid:%d, name:%s", 1, "gold"));
  EXPECT_EQ(active_on(interface), Handles{silver});
  EXPECT_CALLS();
}

TEST_F(ActivatingByName, RefusesANameThatIsNotStored) {
  EXPECT_REFUSED(39U, zar_activate_policy_by_name(one, interface, &missing_info));
  EXPECT_TRACED(found_no_policy(one, "missing"), invalid_handle(), no_pmap(kName));
}

TEST_F(ActivatingByName, RefusesARecordOfAnotherKind) {
  const uint32_t voice = cmap("voice");
  ASSERT_EQ(zar_store_policy(one, voice), 0U);
  forget_trace();
  const zar_map_info info = map_info("voice");
  EXPECT_REFUSED(39U, zar_activate_policy_by_name(one, interface, &info));
  EXPECT_TRACED(found_policy("voice:d1:1"), another_kind(voice), no_pmap(kName));
}

TEST_F(ActivatingByName, ReturnsFailures) {
  NEEDS_TRACE();
  for (const TargetState state : {TargetState::unknown, TargetState::without_info}) {
    const uint32_t where = target_in(state);
    EXPECT_REFUSED(39U, zar_activate_policy_by_name(one, where, &gold_info));
    EXPECT_TRACED(found_policy(kGold), trace_of(kName, state));
  }
  target_in(TargetState::sound);
  runtime::fail_request(runtime::Service::record, 1);
  EXPECT_REFUSED(38U, zar_activate_policy_by_name(one, interface, &gold_info));
  engine().create_status = 1;
  EXPECT_REFUSED(37U, zar_activate_policy_by_name(one, interface, &gold_info));
  EXPECT_EQ(traced().back(),
            error("(ERR): Error: Could not create policy instance, target into policy-map:%s", "gold"));
}

// ---- Deactivation on one target

struct DeactivatingByName : Activation {
  static constexpr const char *kName = "deactivate_policy_by_name";
};

TEST_F(DeactivatingByName, UnlinksThePair) {
  activate(gold, interface);
  handler_of(silver, "permit");
  const uint32_t other = target(silver, 8);
  hear_removals(one);
  EXPECT_EQ(zar_deactivate_policy_by_name(one, interface, &silver_info), 0U);
  EXPECT_TRACED(found_policy(kSilver), unlinked("silver"),
                info("(info): %s: success, policy:%s is deactivated on target", kName, "silver"));
  EXPECT_CALLS(instance_sought(interface, kSilver), instance_deleted(interface, kSilver), "notify removed permit [7]");
  EXPECT_EQ(active_on(interface), Handles{gold});
  EXPECT_EQ(targets_of(silver), Handles{other});
}

TEST_F(DeactivatingByName, NotifiesHandlersAtTheEnd) {
  const uint32_t permit = handler_of(silver, "permit");
  bool told_handler = false;
  data_of_action(permit).on_call = [&] {
    told_handler = true;
    EXPECT_EQ(active_on(interface), Handles{});
    EXPECT_EQ(targets_of(silver), Handles{});
    EXPECT_TRUE(engine().instances().empty());
  };
  EXPECT_EQ(zar_deactivate_policy_by_name(one, interface, &silver_info), 0U);
  EXPECT_TRUE(told_handler);
}

TEST_F(DeactivatingByName, LeavesATargetWithoutPoliciesInItsTree) {
  EXPECT_EQ(zar_deactivate_policy_by_name(one, interface, &silver_info), 0U);
  EXPECT_EQ(targets_in(db), Handles{interface});
  EXPECT_EQ(active_on(interface), Handles{});
}

// A caller may have taken either side out of its list.
TEST_F(DeactivatingByName, UnlinksATargetThatThePolicyMapNoLongerLists) {
  breaks_invariants("one side of an association is gone");
  EXPECT_NE(queue_dequeue(&at<zar_pmap>(silver)->target_refs), nullptr);
  EXPECT_EQ(zar_deactivate_policy_by_name(one, interface, &silver_info), 0U);
  EXPECT_TRACED(found_policy(kSilver), no_target_to_unlink(), info("(info): removed pmap from target:%s", "silver"),
                info("(info): %s: success, policy:%s is deactivated on target", kName, "silver"));
  EXPECT_CALLS(instance_sought(interface, kSilver), instance_deleted(interface, kSilver));
  EXPECT_EQ(active_on(interface), Handles{});
}

TEST_F(DeactivatingByName, UnlinksAPolicyMapThatTheTargetNoLongerLists) {
  breaks_invariants("one side of an association is gone");
  const uint32_t other = target(silver, 8);
  EXPECT_NE(queue_dequeue(&at<zar_target>(interface)->active_pmaps), nullptr);
  EXPECT_EQ(zar_deactivate_policy_by_name(one, interface, &silver_info), 0U);
  EXPECT_TRACED(found_policy(kSilver), info("(info): removed target from pmap:%s", "silver"),
                no_pmap_to_unlink("silver"),
                info("(info): %s: success, policy:%s is deactivated on target", kName, "silver"));
  EXPECT_CALLS(instance_sought(interface, kSilver), instance_deleted(interface, kSilver));
  EXPECT_EQ(targets_of(silver), Handles{other});
}

TEST_F(DeactivatingByName, OfAnInactivePolicyFails) {
  handler_of(gold, "permit");
  EXPECT_REFUSED(37U, zar_deactivate_policy_by_name(one, interface, &gold_info));
  EXPECT_TRACED(found_policy(kGold), no_target_to_unlink(), no_pmap_to_unlink("gold"), instance_not_found(gold));
  EXPECT_CALLS(instance_sought(interface, kGold));
}

TEST_F(DeactivatingByName, UnlinksThePairEvenWhenTheEngineFails) {
  handler_of(silver, "permit");
  engine().find_status = 1;
  EXPECT_EQ(zar_deactivate_policy_by_name(one, interface, &silver_info), 37U);
  EXPECT_TRACED(found_policy(kSilver), unlinked("silver"), instance_not_found(silver));
  EXPECT_CALLS(instance_sought(interface, kSilver));
  EXPECT_EQ(active_on(interface), Handles{});
  EXPECT_EQ(targets_of(silver), Handles{});

  engine().find_status = 0;
  activate(silver, interface);
  take_calls();
  engine().delete_status = 1;
  EXPECT_EQ(zar_deactivate_policy_by_name(one, interface, &silver_info), 37U);
  EXPECT_TRACED(found_policy(kSilver), unlinked("silver"), instance_not_deleted("silver"));
  EXPECT_CALLS(instance_sought(interface, kSilver), instance_deleted(interface, kSilver));
  EXPECT_EQ(active_on(interface), Handles{});
  EXPECT_EQ(targets_of(silver), Handles{});
}

TEST_F(DeactivatingByName, ChecksEverythingBeforeItRefuses) {
  for (const TargetState state : kTargetStates) {
    const uint32_t where = target_in(state);
    EXPECT_REFUSED(39U, zar_deactivate_policy_by_name(9, where, &silver_info));
    EXPECT_TRACED(lookup_refused(9), trace_of(kName, state), invalid_handle(), no_pmap(kName));
    EXPECT_REFUSED(39U, zar_deactivate_policy_by_name(one, where, nullptr));
    EXPECT_TRACED(no_map_info("retrieve_policy"), trace_of(kName, state), invalid_handle(), no_pmap(kName));
    EXPECT_REFUSED(39U, zar_deactivate_policy_by_name(one, where, &missing_info));
    EXPECT_TRACED(found_no_policy(one, "missing"), trace_of(kName, state), invalid_handle(), no_pmap(kName));
    if (state == TargetState::sound) continue;
    EXPECT_REFUSED(39U, zar_deactivate_policy_by_name(one, where, &silver_info));
    EXPECT_TRACED(found_policy(kSilver), trace_of(kName, state));
  }
  EXPECT_CALLS();
}

TEST_F(DeactivatingByName, RefusesARecordOfAnotherKind) {
  const uint32_t voice = cmap("voice");
  ASSERT_EQ(zar_store_policy(one, voice), 0U);
  forget_trace();
  const zar_map_info info = map_info("voice");
  EXPECT_REFUSED(39U, zar_deactivate_policy_by_name(one, interface, &info));
  EXPECT_TRACED(found_policy("voice:d1:1"), another_kind(voice), no_pmap(kName));
}

TEST_F(Activation, DeactivatingByTypeDoesNothing) {
  for (const uint32_t any : {0U, 1U, 2U, 0xffffffffU})
    EXPECT_REFUSED(0U, zar_deactivate_policy_by_type(any, interface, any));
  EXPECT_REFUSED(0U, zar_deactivate_policy_by_type(one, 0, 1));
  EXPECT_TRACED();
  EXPECT_CALLS();
}

struct DeactivatingAny : Activation {
  static constexpr const char *kName = "deactivate_any_policy_for_target";
  static Line deactivated() { return info("(info): %s: success, deactivated all policies on target", kName); }
};

TEST_F(DeactivatingAny, DeactivatesAllInOrder) {
  activate(gold, interface);
  activate(bronze, interface);
  handler_of(gold, "permit");
  const uint32_t other = target(gold, 8);
  hear_removals(one);
  EXPECT_EQ(zar_deactivate_any_policy_for_target(one, interface), 0U);
  EXPECT_TRACED(unlinked("silver"), unlinked("gold"), unlinked("bronze"), deactivated());
  EXPECT_CALLS(instance_sought(interface, kSilver), instance_deleted(interface, kSilver),
               instance_sought(interface, kGold), instance_deleted(interface, kGold), "notify removed permit [7]",
               instance_sought(interface, kBronze), instance_deleted(interface, kBronze));
  EXPECT_EQ(active_on(interface), Handles{});
  EXPECT_EQ(targets_of(gold), Handles{other});
  EXPECT_EQ(targets_of(bronze), Handles{});
}

TEST_F(DeactivatingAny, SucceedsWhereNothingIsActive) {
  EXPECT_EQ(zar_deactivate_any_policy_for_target(one, interface), 0U);
  forget_trace();
  take_calls();
  EXPECT_REFUSED(0U, zar_deactivate_any_policy_for_target(one, interface));
  EXPECT_TRACED(deactivated());
  EXPECT_CALLS();
}

TEST_F(DeactivatingAny, NeedsNoDatabase) {
  zar_clients_info[0]->status = 0;
  EXPECT_EQ(zar_deactivate_any_policy_for_target(one, interface), 0U);
  EXPECT_TRACED(unlinked("silver"), deactivated());
  EXPECT_EQ(active_on(interface), Handles{});
}

TEST_F(DeactivatingAny, DeactivatesAllWhicheverTheEngineFailsFor) {
  const std::pair<uint32_t, const char *> policies[] = {{silver, "silver"}, {gold, "gold"}, {bronze, "bronze"}};
  for (const auto &[failing, name] : policies) {
    for (const auto &[policy, unused] : policies)
      activate(policy, interface);
    // The engine does not find the instance of this one.
    engine().on_call = [&, key = text("/%s:", name)](const std::string &call) {
      engine().find_status = call.find(key) == std::string::npos ? 0 : 1;
    };
    EXPECT_EQ(zar_deactivate_any_policy_for_target(one, interface), 37U) << name;
    EXPECT_ERRORS(instance_not_found(failing));
    EXPECT_EQ(active_on(interface), Handles{});
    for (const auto &[policy, unused] : policies)
      EXPECT_EQ(targets_of(policy), Handles{});
    EXPECT_EQ(engine().instances().size(), 1U) << "the one that was not found";
    engine().on_call = nullptr;
    engine().find_status = 0;
    engine().instances_.clear();
    take_calls();
  }
}

TEST_F(DeactivatingAny, TracesNoSuccessWhenTheEngineFails) {
  engine().delete_status = 1;
  EXPECT_EQ(zar_deactivate_any_policy_for_target(one, interface), 37U);
  EXPECT_TRACED(unlinked("silver"), instance_not_deleted("silver"));
}

TEST_F(DeactivatingAny, ChecksEverythingBeforeItRefuses) {
  for (const uint32_t clid : {one, 0U, 3U, 0xffffffffU}) {
    for (const TargetState state : kTargetStates) {
      if (clid == one && state == TargetState::sound) continue;
      const uint32_t where = target_in(state);
      EXPECT_REFUSED(39U, zar_deactivate_any_policy_for_target(clid, where));
      EXPECT_TRACED(clid == one ? Lines{} : Lines{wrong_clid(kName, clid)}, trace_of(kName, state));
    }
  }
  target_in(TargetState::sound);
  for (const auto &[what, handle, look_up] : wrong_handles(gold)) {
    EXPECT_REFUSED(39U, zar_deactivate_any_policy_for_target(one, handle));
    EXPECT_TRACED(look_up, no_target(kName));
  }
  EXPECT_CALLS();
}

TEST_F(DeactivatingAny, SurvivesAHandlerThatDeactivatesTheOthers) {
  activate(gold, interface);
  activate(bronze, interface);
  const uint32_t permit = handler_of(silver, "permit");
  data_of_action(permit).on_call = [&] {
    const Quiet quiet;
    EXPECT_EQ(zar_deactivate_policy_by_name(one, interface, &gold_info), 0U);
  };
  EXPECT_EQ(zar_deactivate_any_policy_for_target(one, interface), 0U);
  EXPECT_EQ(active_on(interface), Handles{});
  EXPECT_EQ(targets_of(gold), Handles{});
  EXPECT_EQ(targets_of(bronze), Handles{});
  EXPECT_TRUE(engine().instances().empty());
}

TEST_F(DeactivatingAny, FailsWhenTheTargetLosesItsInformationDuringTheCall) {
  activate(gold, interface);
  const uint32_t permit = handler_of(silver, "permit");
  data_of_action(permit).on_call = [&] { target_in(TargetState::without_info); };
  EXPECT_EQ(zar_deactivate_any_policy_for_target(one, interface), 37U);
  EXPECT_TRACED(unlinked("silver"), no_target_info("disassociate_target_and_policy"));
  EXPECT_EQ(active_on(interface), Handles{gold});
  EXPECT_EQ(targets_of(gold), Handles{interface});
}

TEST_F(DeactivatingAny, KeepsWhatAHandlerActivatesAtTheEnd) {
  const uint32_t permit = handler_of(silver, "permit");
  data_of_action(permit).on_call = [&] {
    const Quiet quiet;
    EXPECT_EQ(zar_activate_policy(one, bronze, interface), 0U);
  };
  EXPECT_EQ(zar_deactivate_any_policy_for_target(one, interface), 0U);
  EXPECT_EQ(active_on(interface), Handles{bronze});
  EXPECT_EQ(targets_of(bronze), Handles{interface});
}

// ---- Deactivation on all targets

struct DeactivatingEverywhere : Activation {
  static constexpr const char *kByName = "deactivate_policy_by_name_from_all_targets";
  static constexpr const char *kByHandle = "deactivate_policy_by_handle_from_all_targets";
  static Line removed_by_name(const char *name) {
    return info("(info): %s: policy:%s is removed from all targets", kByName, name);
  }
  static Line removed_by_handle(uint32_t policy) {
    return info("(info): %s: policy:0x%x is removed from all targets", kByHandle, policy);
  }
  // Silver, by the one operation or by the other.
  uint32_t deactivate(bool by_name) {
    return by_name ? zar_deactivate_policy_by_name_from_all_targets(one, &silver_info)
                   : zar_deactivate_policy_by_handle_from_all_targets(one, silver);
  }
  Lines said_before(bool by_name) const { return by_name ? found_policy(kSilver) : Lines{}; }
  Line said_after(bool by_name) const { return by_name ? removed_by_name("silver") : removed_by_handle(silver); }
};

TEST_F(DeactivatingEverywhere, GoesThroughTheTargetsInOrder) {
  hear_removals(one);
  handler_of(silver, "permit");
  for (const bool by_name : {true, false}) {
    if (targets_of(silver).empty()) activate(silver, interface);
    const uint32_t second = target(silver, 8);
    activate(gold, second);
    take_calls();
    EXPECT_EQ(deactivate(by_name), 0U);
    EXPECT_TRACED(said_before(by_name), unlinked("silver"), unlinked("silver"), said_after(by_name));
    EXPECT_CALLS(instance_sought(interface, kSilver), instance_deleted(interface, kSilver), "notify removed permit [7]",
                 instance_sought(second, kSilver), instance_deleted(second, kSilver), "notify removed permit [8]");
    EXPECT_EQ(targets_of(silver), Handles{});
    EXPECT_EQ(active_on(interface), Handles{});
    EXPECT_EQ(active_on(second), Handles{gold});
  }
}

TEST_F(DeactivatingEverywhere, SucceedsWhereThePolicyIsActiveNowhere) {
  EXPECT_EQ(deactivate(false), 0U);
  take_calls();
  forget_trace();
  for (const bool by_name : {true, false}) {
    EXPECT_REFUSED(0U, deactivate(by_name));
    EXPECT_TRACED(said_before(by_name), said_after(by_name));
  }
  EXPECT_CALLS();
}

TEST_F(DeactivatingEverywhere, SucceedsThoughTheEngineFails) {
  for (const bool by_name : {true, false}) {
    if (targets_of(silver).empty()) activate(silver, interface);
    const uint32_t second = target(silver, 8);
    engine().delete_status = 1;
    EXPECT_EQ(deactivate(by_name), 0U);
    engine().delete_status = 0;
    EXPECT_TRACED(said_before(by_name), unlinked("silver"), instance_not_deleted("silver"), unlinked("silver"),
                  instance_not_deleted("silver"), said_after(by_name));
    EXPECT_EQ(active_on(second), Handles{});
    EXPECT_EQ(targets_of(silver), Handles{});
  }
}

TEST_F(DeactivatingEverywhere, ByNameRefusesWhatItDoesNotFind) {
  EXPECT_REFUSED(39U, zar_deactivate_policy_by_name_from_all_targets(9, &silver_info));
  EXPECT_TRACED(lookup_refused(9), invalid_handle(), no_pmap(kByName));
  EXPECT_REFUSED(39U, zar_deactivate_policy_by_name_from_all_targets(one, nullptr));
  EXPECT_TRACED(no_map_info("retrieve_policy"), invalid_handle(), no_pmap(kByName));
  EXPECT_REFUSED(39U, zar_deactivate_policy_by_name_from_all_targets(one, &missing_info));
  EXPECT_TRACED(found_no_policy(one, "missing"), invalid_handle(), no_pmap(kByName));
  zar_clients_info[0]->status = 0;
  EXPECT_REFUSED(39U, zar_deactivate_policy_by_name_from_all_targets(one, &silver_info));
  EXPECT_TRACED(inactive_client("retrieve_policy", one), invalid_handle(), no_pmap(kByName));
  EXPECT_CALLS();
}

TEST_F(DeactivatingEverywhere, ByNameRefusesARecordOfAnotherKind) {
  const uint32_t voice = cmap("voice");
  ASSERT_EQ(zar_store_policy(one, voice), 0U);
  forget_trace();
  const zar_map_info info = map_info("voice");
  EXPECT_REFUSED(39U, zar_deactivate_policy_by_name_from_all_targets(one, &info));
  EXPECT_TRACED(found_policy("voice:d1:1"), another_kind(voice), no_pmap(kByName));
}

TEST_F(DeactivatingEverywhere, ByHandleChecksEverythingBeforeItRefuses) {
  for (const uint32_t clid : {one, 0U, 3U, 0xffffffffU}) {
    const Lines about_clid = clid == one ? Lines{} : Lines{wrong_clid(kByHandle, clid)};
    if (clid != one) {
      EXPECT_REFUSED(39U, zar_deactivate_policy_by_handle_from_all_targets(clid, silver));
      EXPECT_EQ(take_trace(), about_clid);
    }
    for (const auto &[what, handle, look_up] : wrong_handles(interface)) {
      EXPECT_REFUSED(39U, zar_deactivate_policy_by_handle_from_all_targets(clid, handle));
      EXPECT_TRACED(about_clid, look_up, no_pmap(kByHandle));
    }
  }
  EXPECT_CALLS();
}

TEST_F(DeactivatingEverywhere, ByHandleNeedsNoDatabaseAndNoStoredPolicy) {
  const uint32_t tin = pmap("tin");
  activate(tin, interface);
  zar_clients_info[0]->status = 0;
  EXPECT_EQ(zar_deactivate_policy_by_handle_from_all_targets(one, tin), 0U);
  EXPECT_TRACED(unlinked("tin"), removed_by_handle(tin));
  EXPECT_EQ(active_on(interface), Handles{silver});
}

TEST_F(DeactivatingEverywhere, SkipsATargetThatHasLostItsInformation) {
  const uint32_t second = target(silver, 8);
  target_in(TargetState::without_info);
  EXPECT_EQ(deactivate(false), 0U);
  EXPECT_TRACED(no_target_info("disassociate_target_and_policy"), unlinked("silver"), removed_by_handle(silver));
  EXPECT_EQ(targets_of(silver), Handles{interface});
  EXPECT_EQ(active_on(interface), Handles{silver});
  EXPECT_EQ(active_on(second), Handles{});
  EXPECT_CALLS(instance_sought(second, kSilver), instance_deleted(second, kSilver));
}

TEST_F(DeactivatingEverywhere, SurvivesAHandlerThatDeactivatesTheOthers) {
  const uint32_t second = target(silver, 8), third = target(silver, 9);
  const uint32_t permit = handler_of(silver, "permit");
  data_of_action(permit).on_call = [&, entered = false]() mutable {
    if (std::exchange(entered, true)) return;
    const Quiet quiet;
    EXPECT_EQ(zar_deactivate_policy_by_name(one, second, &silver_info), 0U);
  };
  EXPECT_EQ(deactivate(false), 0U);
  for (const uint32_t each : {interface, second, third})
    EXPECT_EQ(active_on(each), Handles{});
  EXPECT_EQ(targets_of(silver), Handles{});
  EXPECT_TRUE(engine().instances().empty());
}

// ---- Is it active here?

struct RetrievingFromTarget : Activation {
  static constexpr const char *kName = "retrieve_policy_from_target";
  uint32_t out = kUntouched;
};

TEST_F(RetrievingFromTarget, FindsAnActivePolicy) {
  activate(gold, interface);
  activate(bronze, interface);
  EXPECT_REFUSED(0U, zar_retrieve_policy_from_target(one, interface, &gold_info, this, &out));
  EXPECT_EQ(out, gold);
  EXPECT_TRACED(found_policy(kGold), info("(info): %s: success, retrieved policy:%s on target", kName, "gold"));
  EXPECT_CALLS();
}

TEST_F(RetrievingFromTarget, WritesHandle0ForAnInactiveOne) {
  EXPECT_REFUSED(0U, zar_retrieve_policy_from_target(one, interface, &gold_info, nullptr, &out));
  EXPECT_EQ(out, 0U);
  EXPECT_TRACED(found_policy(kGold), info("(info): %s: success, no such policy:%s active on target", kName, "gold"));
}

TEST_F(RetrievingFromTarget, WritesHandle0ForOneThatIsNotStored) {
  EXPECT_REFUSED(0U, zar_retrieve_policy_from_target(one, interface, &missing_info, nullptr, &out));
  EXPECT_EQ(out, 0U);
  EXPECT_TRACED(found_no_policy(one, "missing"),
                info("(info): %s: success, no such policy:%s active on target", kName, "missing"));
}

// The look-up of the name traces two lines, in a place of its own.
TEST_F(RetrievingFromTarget, WritesThePlaceAfterTheMessageOfAnActivePolicyAndBeforeThatOfNone) {
  NEEDS_TRACE();
  EXPECT_EQ(
      values_when_traced(out, [&] { zar_retrieve_policy_from_target(one, interface, &gold_info, nullptr, &out); }),
      (Handles{kUntouched, kUntouched, 0}));
  activate(gold, interface);
  out = kUntouched;
  EXPECT_EQ(
      values_when_traced(out, [&] { zar_retrieve_policy_from_target(one, interface, &gold_info, nullptr, &out); }),
      (Handles{kUntouched, kUntouched, kUntouched}));
  EXPECT_EQ(out, gold);
}

TEST_F(RetrievingFromTarget, GoesByTheRecordNotByTheName) {
  const uint32_t three = client("three", database());
  stored_pmap("silver", {.clid = three});
  EXPECT_EQ(zar_retrieve_policy_from_target(three, interface, &silver_info, nullptr, &out), 0U);
  EXPECT_EQ(out, 0U) << "another policy-map of this name is active";
}

TEST_F(RetrievingFromTarget, WritesHandle0WhereNothingIsActive) {
  EXPECT_EQ(zar_deactivate_any_policy_for_target(one, interface), 0U);
  EXPECT_REFUSED(0U, zar_retrieve_policy_from_target(one, interface, &silver_info, nullptr, &out));
  EXPECT_EQ(out, 0U);
}

TEST_F(RetrievingFromTarget, ChecksEverythingBeforeItRefuses) {
  for (uint32_t faults = 0; faults < 8; ++faults) {
    const bool bad_clid = faults & 1, no_info = faults & 2, no_place = faults & 4;
    for (const TargetState state : kTargetStates) {
      if (faults == 0 && state == TargetState::sound) continue;
      const uint32_t where = target_in(state);
      EXPECT_REFUSED(39U, zar_retrieve_policy_from_target(bad_clid ? 0 : one, where, no_info ? nullptr : &silver_info,
                                                          nullptr, no_place ? nullptr : &out));
      Lines expected;
      if (bad_clid) expected.push_back(wrong_clid(kName, 0));
      expected = lines(expected, trace_of(kName, state));
      if (no_info) expected.push_back(no_map_info(kName));
      if (no_place) expected.push_back(no_place_for_pmap(kName));
      // The look-up is still made, into its own place.
      if (bad_clid) expected.push_back(lookup_refused(0));
      if (no_info) expected.push_back(no_map_info("retrieve_policy"));
      if (!bad_clid && !no_info) expected = lines(expected, found_policy(kSilver));
      EXPECT_EQ(take_trace(), expected);
      EXPECT_EQ(out, kUntouched);
    }
  }
}

TEST_F(RetrievingFromTarget, NeedsAWholeMapInfo) {
  const zar_map_info empty{nullptr, 3, nullptr, 0};
  EXPECT_REFUSED(39U, zar_retrieve_policy_from_target(one, interface, &empty, nullptr, &out));
  Lines expected;
  for (const char *name : {kName, "retrieve_policy"}) {
    expected =
        lines(expected, error("(ERR): %s: domain from input map info cannot be NULL", name),
              error("(ERR): %s: map name from input map info cannot be NULL", name),
              error("(ERR): %s: domain type:%d from input map info is invalid expected range: %d - %d", name, 3, 1, 2));
  }
  EXPECT_EQ(take_trace(), expected);
  EXPECT_EQ(out, kUntouched);
}

TEST_F(RetrievingFromTarget, Returns39ForAFailedLookUp) {
  zar_clients_info[0]->status = 0;
  EXPECT_REFUSED(39U, zar_retrieve_policy_from_target(one, interface, &silver_info, nullptr, &out));
  EXPECT_TRACED(inactive_client("retrieve_policy", one));
  EXPECT_EQ(out, kUntouched);
}

// ---- The walk over what is active

struct ActivePolicies : Activation {
  static constexpr const char *kFirst = "get_first_active_policy_on_target";
  static constexpr const char *kNext = "get_next_active_policy_on_target";
  uint32_t type = kUntouched, reserved = kUntouched, out = kUntouched;

  uint32_t first(uint32_t where) { return zar_get_first_active_policy_on_target(where, &type, &reserved, &out); }
  uint32_t next(uint32_t where, uint32_t current) {
    type = reserved = out = kUntouched;
    return zar_get_next_active_policy_on_target(where, current, &type, &reserved, &out);
  }
};

TEST_F(ActivePolicies, AreWalkedInTheOrderOfActivation) {
  const uint32_t plain = pmap("plain", {.type = 2});
  activate(plain, interface);
  activate(gold, interface);
  EXPECT_EQ(first(interface), 0U);
  EXPECT_TRACED(info("(info): %s: first active policy:%s active on target", kFirst, "silver"));
  EXPECT_EQ(out, silver);
  EXPECT_EQ(type, 1U);
  EXPECT_EQ(reserved, 0U);

  EXPECT_EQ(next(interface, silver), 0U);
  EXPECT_TRACED(info("(info): %s: next active policy:0x%x active on target", kNext, plain));
  EXPECT_EQ(out, plain);
  EXPECT_EQ(type, 2U);
  EXPECT_EQ(reserved, 0U);

  EXPECT_EQ(next(interface, plain), 0U);
  EXPECT_TRACED(info("(info): %s: next active policy:0x%x active on target", kNext, gold));
  EXPECT_EQ(out, gold);
  EXPECT_EQ(type, 1U);

  EXPECT_EQ(next(interface, gold), 0U);
  EXPECT_TRACED(info("(info): %s: no policy next to:0x%x active on target", kNext, gold));
  EXPECT_EQ(out, 0U);
  EXPECT_EQ(type, 0U);
  EXPECT_EQ(reserved, 0U);
}

TEST_F(ActivePolicies, MayBeNone) {
  EXPECT_EQ(zar_deactivate_any_policy_for_target(one, interface), 0U);
  forget_trace();
  EXPECT_REFUSED(0U, first(interface));
  EXPECT_TRACED(info("(info): %s: no active policies active on target", kFirst));
  EXPECT_EQ(out, 0U);
  EXPECT_EQ(type, 0U);
  EXPECT_EQ(reserved, 0U);

  EXPECT_REFUSED(0U, next(interface, silver));
  EXPECT_TRACED(info("(info): %s: no match for current policy:0x%x active on target", kNext, silver));
  EXPECT_EQ(out, 0U);
  EXPECT_EQ(type, 0U);
  EXPECT_EQ(reserved, 0U);
}

TEST_F(ActivePolicies, EndAfterACurrentOneThatIsInactive) {
  activate(gold, interface);
  activate(bronze, interface);
  EXPECT_EQ(zar_deactivate_policy_by_name(one, interface, &gold_info), 0U);
  forget_trace();
  for (const uint32_t current : {gold, 0U, 0xfffffff0U, interface}) {
    EXPECT_REFUSED(0U, next(interface, current));
    EXPECT_TRACED(info("(info): %s: no match for current policy:0x%x active on target", kNext, current));
    EXPECT_EQ(out, 0U);
  }
}

TEST_F(ActivePolicies, NeedNoPlacesForTypeAndReserved) {
  activate(gold, interface);
  EXPECT_EQ(zar_get_first_active_policy_on_target(interface, nullptr, nullptr, &out), 0U);
  EXPECT_EQ(out, silver);
  EXPECT_EQ(zar_get_next_active_policy_on_target(interface, silver, nullptr, nullptr, &out), 0U);
  EXPECT_EQ(out, gold);
  EXPECT_EQ(zar_get_next_active_policy_on_target(interface, gold, nullptr, nullptr, &out), 0U);
  EXPECT_EQ(out, 0U);
}

TEST_F(ActivePolicies, CheckEverythingBeforeTheyRefuse) {
  for (const TargetState state : kTargetStates) {
    const uint32_t where = target_in(state);
    for (const bool no_place : {false, true}) {
      if (state == TargetState::sound && !no_place) continue;
      uint32_t *place = no_place ? nullptr : &out;
      EXPECT_REFUSED(39U, zar_get_first_active_policy_on_target(where, &type, &reserved, place));
      EXPECT_TRACED(trace_of(kFirst, state), no_place ? Lines{no_place_for_pmap(kFirst)} : Lines{});
      EXPECT_REFUSED(39U, zar_get_next_active_policy_on_target(where, silver, &type, &reserved, place));
      EXPECT_TRACED(trace_of(kNext, state), no_place ? Lines{no_place_for_pmap(kNext)} : Lines{});
    }
  }
  EXPECT_EQ(out, kUntouched);
  EXPECT_EQ(type, kUntouched);
  EXPECT_EQ(reserved, kUntouched);
}

// ---- Both sides of every pair, through all sequences of a few steps

TEST_F(Activation, BothSidesAgreeAfterEverySequenceOfFourSteps) {
  const Handles policies{gold, silver};
  const Handles targets{interface, target(silver, 8)};
  std::vector<std::vector<bool>> active;
  const auto expect_agreement = [&] {
    size_t pairs = 0;
    for (size_t p = 0; p < policies.size(); ++p) {
      for (size_t t = 0; t < targets.size(); ++t) {
        const Handles on = active_on(targets[t]), of = targets_of(policies[p]);
        EXPECT_EQ(std::count(on.begin(), on.end(), policies[p]), active[p][t] ? 1 : 0);
        EXPECT_EQ(std::count(of.begin(), of.end(), targets[t]), active[p][t] ? 1 : 0);
        pairs += active[p][t] ? 1 : 0;
      }
    }
    EXPECT_EQ(engine().instances().size(), pairs);
  };
  const auto activate_pair = [&](size_t p, size_t t) {
    EXPECT_EQ(zar_activate_policy(one, policies[p], targets[t]), 0U);
    active[p][t] = true;
  };
  const auto off_target = [&](size_t t) {
    EXPECT_EQ(zar_deactivate_any_policy_for_target(one, targets[t]), 0U);
    active[0][t] = active[1][t] = false;
  };
  const auto off_everywhere = [&](size_t p) {
    EXPECT_EQ(zar_deactivate_policy_by_handle_from_all_targets(one, policies[p]), 0U);
    active[p] = {false, false};
  };
  const auto off_by_name = [&](size_t p, size_t t) {
    const zar_map_info *info = p == 0 ? &gold_info : &silver_info;
    EXPECT_EQ(zar_deactivate_policy_by_name(one, targets[t], info), active[p][t] ? 0U : 37U);
    active[p][t] = false;
  };
  const std::vector<std::function<void()>> steps{[&] { activate_pair(0, 0); }, [&] { activate_pair(0, 1); },
                                                 [&] { activate_pair(1, 0); }, [&] { activate_pair(1, 1); },
                                                 [&] { off_target(0); },       [&] { off_everywhere(0); },
                                                 [&] { off_by_name(0, 0); },   [&] { off_by_name(1, 1); }};
  const size_t sequences = steps.size() * steps.size() * steps.size() * steps.size();
  for (size_t sequence = 0; sequence < sequences && !HasFailure(); ++sequence) {
    SCOPED_TRACE(text("sequence %zo", sequence));
    active = {{false, false}, {false, false}};
    off_everywhere(0);
    off_everywhere(1);
    for (size_t left = sequence, step = 0; step < 4; ++step, left /= steps.size()) {
      steps[left % steps.size()]();
      expect_agreement();
    }
    take_calls();
    forget_trace();
  }
}

// ---- Under faults

// The result of activating if this request is the first to fail. Without its list, a handler is just not notified.
uint32_t status_of_activating(const FaultClock &clock) {
  return clock.failed_in(runtime::Service::record) || clock.failed_in(runtime::Service::pool) ? 38 : 0;
}

TEST(ActivationUnderFaults, IsWholeOrNotAtAll) {
  for_each_fault([](FaultClock &clock) {
    World world;
    const uint32_t gold = world.stored_pmap("gold");
    const uint32_t first = world.rule(world.event_in(gold, 1), world.cmap("voice"));
    world.action_in(first, "permit", 1);
    world.action_in(first, "deny", 2);
    const uint32_t interface = world.target(world.stored_pmap("silver"));
    const zar_map_info info = World::map_info("gold");
    const std::string before = world.everything();
    const uint32_t status = clock.during([&] { return zar_activate_policy_by_name(world.one, interface, &info); });
    EXPECT_EQ(status, clock.hit() ? status_of_activating(clock) : 0U);
    free_target_lists();
    if (status != 0) {
      EXPECT_EQ(world.everything(), before);
      EXPECT_EQ(zar_activate_policy_by_name(world.one, interface, &info), 0U);
      free_target_lists();
    }
    EXPECT_EQ(World::targets_of(gold), Handles{interface});
    EXPECT_EQ(engine().instances().size(), 2U);
    EXPECT_EQ(zar_deactivate_policy_by_name(world.one, interface, &info), 0U);
    free_target_lists();
    EXPECT_EQ(world.everything(), before);
  });
}

TEST(ActivationUnderFaults, EndsWithFewerHandlersNotified) {
  const auto run_with = [](uint32_t (*deactivate)(const World &world, uint32_t gold, uint32_t interface)) {
    for_each_fault([deactivate](FaultClock &clock) {
      World world;
      const uint32_t gold = world.stored_pmap("gold");
      const uint32_t first = world.rule(world.event_in(gold, 1), world.cmap("voice"));
      world.action_in(first, "permit", 1);
      world.action_in(first, "deny", 2);
      const uint32_t interface = world.target(world.stored_pmap("silver"));
      world.activate(gold, interface);
      free_target_lists();
      EXPECT_EQ(clock.during([&] { return deactivate(world, gold, interface); }), 0U);
      free_target_lists();
      EXPECT_EQ(World::targets_of(gold), Handles{});
    });
  };
  run_with([](const World &world, uint32_t, uint32_t interface) {
    const zar_map_info info = World::map_info("gold");
    return zar_deactivate_policy_by_name(world.one, interface, &info);
  });
  run_with([](const World &world, uint32_t, uint32_t interface) {
    return zar_deactivate_any_policy_for_target(world.one, interface);
  });
  run_with([](const World &world, uint32_t, uint32_t) {
    const zar_map_info info = World::map_info("gold");
    return zar_deactivate_policy_by_name_from_all_targets(world.one, &info);
  });
  run_with([](const World &world, uint32_t gold, uint32_t) {
    return zar_deactivate_policy_by_handle_from_all_targets(world.one, gold);
  });
}

}  // namespace
