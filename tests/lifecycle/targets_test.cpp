// Targets and their policy contexts: how a target is created with its first policy-map, leaves its tree, and is freed.
#include <algorithm>
#include <cstdlib>
#include <utility>

#include "lifecycle/lines.h"

using namespace rig;

namespace {

constexpr const char *kGold = "gold:d1:1";
constexpr uint32_t kTargetPool = 0x3e00045, kContextPool = 0x3e00046, kTargetPmapPool = 0x3e00047,
                   kPmapTargetPool = 0x3e00048;
constexpr uint32_t kUntouched = 0xabcd;

// The first handle that a line names.
uint32_t handle_in(const std::string &line) {
  const size_t at = line.find("0x");
  return at == std::string::npos ? 0 : static_cast<uint32_t>(std::strtoul(line.c_str() + at, nullptr, 16));
}

// ---- The check of a target record

struct TargetCheck : Lifecycle {};

TEST_F(TargetCheck, AcceptsAnyRecord) {
  zar_target blank{};
  EXPECT_EQ(zar_verify_target_context(&blank, "asker"), 0U);
  EXPECT_EQ(zar_verify_target_context(&blank, nullptr), 0U);
  EXPECT_TRACED();
}

TEST_F(TargetCheck, RefusesNullWithTheNameOfTheCaller) {
  EXPECT_EQ(zar_verify_target_context(nullptr, "asker"), 1U);
  EXPECT_TRACED(no_target("asker"));
  EXPECT_EQ(zar_verify_target_context(nullptr, nullptr), 1U);
  EXPECT_TRACED(no_target(" "));
}

// ---- Adding

struct AddingTargets : Lifecycle {
  static constexpr const char *kName = "add_target";
  static Line added() { return info("(info): %s: success", kName); }
  uint32_t out = kUntouched;

  // The call fails with this status, and once the handlers have freed their lists, nothing of it is left.
  void expect_undone(uint32_t status, uint32_t clid, uint32_t pmap_handle) {
    zar_target_info *info = target_info(7);
    const std::string before = everything();
    EXPECT_EQ(zar_add_target(clid, info, pmap_handle, &out), status);
    EXPECT_EQ(out, kUntouched);
    free_target_lists();
    EXPECT_EQ(everything(), before);
    EXPECT_TRUE(engine().instances().empty());
  }
};

TEST_F(AddingTargets, CreatesActivatesAndStores) {
  const uint32_t gold = pmap("gold");
  zar_target_info *info = target_info(7);
  EXPECT_EQ(zar_add_target(one, info, gold, &out), 0U);
  EXPECT_TRACED(associated(7, "gold"), own_database(kName), added());
  EXPECT_CALLS(instance_created(out, one, kGold));
  EXPECT_EQ(targets_in(db), Handles{out});
  EXPECT_EQ(active_on(out), Handles{gold});
  EXPECT_EQ(targets_of(gold), Handles{out});
  const zar_target *record = at<zar_target>(out);
  EXPECT_EQ(record->handle, out);
  EXPECT_EQ(record->target_info, info);
  EXPECT_EQ(record->policy_context, nullptr);
  EXPECT_EQ(record->reserved_queue.count, 0U);
}

TEST_F(AddingTargets, WorksInTheDefaultDatabaseForAClientWithoutOne) {
  const uint32_t gold = pmap("gold");
  EXPECT_EQ(zar_add_target(two, target_info(7), gold, &out), 0U);
  EXPECT_TRACED(associated(7, "gold"), default_database(kName), added());
  EXPECT_CALLS(instance_created(out, two, kGold));
  EXPECT_EQ(targets_in(db), Handles{out});
}

TEST_F(AddingTargets, WorksInTheDatabaseOfTheClient) {
  zar_db *other_db = database();
  const uint32_t three = client("three", other_db);
  EXPECT_EQ(zar_add_target(three, target_info(7), pmap("gold"), &out), 0U);
  EXPECT_EQ(targets_in(other_db), Handles{out});
  EXPECT_EQ(targets_in(db), Handles{});
}

TEST_F(AddingTargets, PrintsTheIdInDecimal) {
  const uint32_t gold = pmap("gold");
  EXPECT_EQ(zar_add_target(one, target_info(0xffffffffffff), gold, &out), 0U);
  NEEDS_TRACE();
  ASSERT_FALSE(traced().empty());
  EXPECT_EQ(traced().front().text, "(info):  association between target:0x281474976710655, policy:gold success");
}

TEST_F(AddingTargets, KeepsNothingOfTheInformationButItsAddress) {
  const uint32_t gold = pmap("gold");
  zar_target_info *info = target_info(7);
  EXPECT_EQ(zar_add_target(one, info, gold, &out), 0U);
  info->target_id = 8;
  zar_target_info *handed_back = nullptr;
  EXPECT_EQ(zar_remove_target(one, out, &handed_back), 0U);
  EXPECT_EQ(handed_back, info);
  EXPECT_EQ(handed_back->target_id, 8U);
}

TEST_F(AddingTargets, AcceptsOneInformationTwice) {
  const uint32_t gold = pmap("gold");
  zar_target_info *info = target_info(7);
  uint32_t second = kUntouched;
  EXPECT_EQ(zar_add_target(one, info, gold, &out), 0U);
  EXPECT_EQ(zar_add_target(one, info, gold, &second), 0U);
  EXPECT_NE(out, second);
  EXPECT_EQ(targets_of(gold), (Handles{out, second}));
}

TEST_F(AddingTargets, NotifiesTheHandlersOfEveryEventInOrder) {
  const uint32_t gold = pmap("gold");
  const uint32_t start = event_in(gold, 1);
  const uint32_t first = rule(start, cmap("voice"));
  action_in(first, "permit", 1);
  action_in(first, "log", 2);
  action_in(rule(event_in(gold, 2), cmap("video")), "deny");
  EXPECT_EQ(zar_add_target(one, target_info(7), gold, &out), 0U);
  EXPECT_CALLS(instance_created(out, one, kGold), "notify added permit [7]", "notify added log [7 7]",
               "notify added deny [7 7 7]");
}

TEST_F(AddingTargets, NotifiesTheEngineAndTheHandlersBeforeTheCaller) {
  const uint32_t gold = pmap("gold");
  const uint32_t permit = action_in(rule(event_in(gold, 1), cmap("voice")), "permit");
  int n_calls = 0;
  const auto nothing_yet = [&] {
    ++n_calls;
    EXPECT_EQ(out, kUntouched);
  };
  engine().on_call = [&](const std::string &) { nothing_yet(); };
  data_of_action(permit).on_call = nothing_yet;
  EXPECT_EQ(zar_add_target(one, target_info(7), gold, &out), 0U);
  EXPECT_EQ(n_calls, 2);
  EXPECT_NE(out, kUntouched);
}

TEST_F(AddingTargets, TakesRecordsFromThreePools) {
  NEEDS_FRESH_PROCESS();
  const uint32_t gold = pmap("gold");
  watch_requests();
  EXPECT_EQ(zar_add_target(one, target_info(7), gold, &out), 0U);
  EXPECT_REQUESTS("pool 0x3e00045 of 104", "record 0x3e00045 of 104", "id 0x3e00023", "pool 0x3e00047 of 24",
                  "record 0x3e00047 of 24", "pool 0x3e00048 of 16", "record 0x3e00048 of 16", "tree insert");
  EXPECT_EQ(pool_of(kTargetPool), "104 bytes, 50 per chunk, flags 0x111");
  EXPECT_EQ(pool_of(kTargetPmapPool), "24 bytes, 30 per chunk, flags 0x111");
  EXPECT_EQ(pool_of(kPmapTargetPool), "16 bytes, 30 per chunk, flags 0x111");
  EXPECT_EQ(zar_add_target(one, target_info(8), gold, &out), 0U);
  EXPECT_REQUESTS("record 0x3e00045 of 104", "id 0x3e00023", "record 0x3e00047 of 24", "record 0x3e00048 of 16",
                  "tree insert");
}

TEST_F(AddingTargets, ChecksEverythingBeforeItRefuses) {
  const uint32_t gold = pmap("gold");
  zar_target_info *info = target_info(7);
  for (uint32_t faults = 1; faults < 16; ++faults) {
    SCOPED_TRACE(faults);
    const bool no_place = faults & 1, bad_clid = faults & 2, no_info = faults & 4, bad_pmap = faults & 8;
    EXPECT_REFUSED(39U, zar_add_target(bad_clid ? 0 : one, no_info ? nullptr : info, bad_pmap ? 0 : gold,
                                       no_place ? nullptr : &out));
    Lines expected;
    if (no_place) expected.push_back(error("(ERR): %s: input target handle cannot be NULL", kName));
    if (bad_clid) expected.push_back(wrong_clid(kName, 0));
    if (no_info) expected.push_back(no_target_info(kName));
    if (bad_pmap) expected = lines(expected, invalid_handle(), no_pmap(kName));
    EXPECT_EQ(take_trace(), expected);
    EXPECT_EQ(out, kUntouched);
  }
  EXPECT_CALLS();
}

TEST_F(AddingTargets, NeedsAValidClient) {
  const uint32_t gold = pmap("gold");
  for (const uint32_t clid : {0U, 3U, 0xffffffffU}) {
    EXPECT_REFUSED(39U, zar_add_target(clid, target_info(7), gold, &out));
    EXPECT_TRACED(wrong_clid(kName, clid));
  }
}

TEST_F(AddingTargets, NeedsARecord) {
  const uint32_t gold = pmap("gold");
  runtime::fail_request(runtime::Service::record, 1);
  expect_undone(38, one, gold);
  EXPECT_TRACED(error("(ERR): add_target: memory alloc for target failed clid:%d", 1));
  EXPECT_CALLS();
}

TEST_F(AddingTargets, NeedsAPoolAndTriesItAgain) {
  NEEDS_FRESH_PROCESS();
  const uint32_t gold = pmap("gold");
  runtime::fail_request(runtime::Service::pool, 1);
  expect_undone(38, two, gold);
  EXPECT_TRACED(error("(ERR): add_target: memory alloc for target failed clid:%d", 2));
  EXPECT_EQ(zar_add_target(two, target_info(7), gold, &out), 0U);
}

TEST_F(AddingTargets, NeedsAHandle) {
  const uint32_t gold = pmap("gold");
  const size_t records = records_out(kTargetPool);
  runtime::fail_request(runtime::Service::id, 1);
  expect_undone(37, one, gold);
  EXPECT_TRACED(error("(ERR): add_target: Could not create id for target clid:%d", 1));
  EXPECT_EQ(records_out(kTargetPool), records);
}

TEST_F(AddingTargets, Reports37ForAnAssociationWithoutMemory) {
  const uint32_t gold = pmap("gold");
  runtime::fail_request(runtime::Service::record, 2);
  expect_undone(37, two, gold);
  EXPECT_TRACED(error("(ERR): associate target and policy: memory alloc for target pmap ref failed clid:%d", 2));
  EXPECT_CALLS();
}

TEST_F(AddingTargets, UndoesAHalfMadeAssociation) {
  const uint32_t gold = pmap("gold");
  runtime::fail_request(runtime::Service::record, 3);
  expect_undone(37, one, gold);
  EXPECT_TRACED(error("(ERR): associate target and policy: memory alloc for target into pmap:%s ref failed", "gold"),
                no_target_to_unlink(), info("(info): removed pmap from target:%s", "gold"), instance_not_found(gold));
  ASSERT_EQ(calls().size(), 1U);
  EXPECT_EQ(calls()[0], instance_sought(handle_in(calls()[0]), kGold));
}

TEST_F(AddingTargets, NeedsThePoolsOfTheAssociation) {
  NEEDS_FRESH_PROCESS();
  const uint32_t gold = pmap("gold");
  runtime::fail_request(runtime::Service::pool, 2);
  expect_undone(37, one, gold);
  EXPECT_ERRORS(error("(ERR): associate target and policy: memory alloc for target pmap ref failed clid:%d", 1));
  runtime::fail_request(runtime::Service::pool, 2);
  expect_undone(37, one, gold);
  EXPECT_ERRORS(error("(ERR): associate target and policy: memory alloc for target into pmap:%s ref failed", "gold"),
                instance_not_found(gold));
  EXPECT_EQ(zar_add_target(one, target_info(7), gold, &out), 0U);
}

TEST_F(AddingTargets, LeavesNothingWhenTheEngineMakesNoInstance) {
  const uint32_t gold = pmap("gold");
  action_in(rule(event_in(gold, 1), cmap("voice")), "permit");
  engine().create_status = 5;
  expect_undone(37, one, gold);
  EXPECT_TRACED(associated(7, "gold"), unlinked("gold"), instance_not_found(gold),
                error("(ERR): Error: Could not create policy instance, target into policy-map:%s", "gold"));
  const uint32_t made = handle_in(calls().at(0));
  EXPECT_FALSE(live(made));
  EXPECT_CALLS(instance_created(made, one, kGold), instance_sought(made, kGold));
}

TEST_F(AddingTargets, NeedsADatabase) {
  const uint32_t gold = pmap("gold");
  action_in(rule(event_in(gold, 1), cmap("voice")), "permit");
  zar_clients_info[0]->database = nullptr;
  expect_undone(37, two, gold);
  EXPECT_TRACED(associated(7, "gold"), no_default_database(), unlinked("gold"));
  const uint32_t made = handle_in(calls().at(0));
  EXPECT_FALSE(live(made));
  EXPECT_CALLS(instance_created(made, two, kGold), "notify added permit [7]", instance_sought(made, kGold),
               instance_deleted(made, kGold), "notify removed permit [7]");
  zar_clients_info[0]->database = db;

  zar_clients_info[0]->status = 0;
  expect_undone(37, one, gold);
  EXPECT_TRACED(associated(7, "gold"), inactive_client(kName, one), unlinked("gold"));
  zar_clients_info[0]->status = 1;
}

TEST_F(AddingTargets, NeedsRoomInTheTree) {
  const uint32_t gold = pmap("gold");
  action_in(rule(event_in(gold, 1), cmap("voice")), "permit");
  for (const uint32_t clid : {one, two}) {
    runtime::fail_request(runtime::Service::tree_insert, 1);
    expect_undone(41, clid, gold);
    const uint32_t made = handle_in(calls().at(0));
    EXPECT_FALSE(live(made));
    EXPECT_TRACED(associated(7, "gold"), clid == one ? own_database(kName) : default_database(kName),
                  clid == one ? error("(ERR): Target avl: insert failed, target hdl:0x%x", made)
                              : error("(ERR): Target avl: insert (default db) failed, target hdl:0x%x", made),
                  error("(ERR): add_target: Error: avl insert failed, hdl:0x%x", made), unlinked("gold"));
    EXPECT_CALLS(instance_created(made, clid, kGold), "notify added permit [7]", instance_sought(made, kGold),
                 instance_deleted(made, kGold), "notify removed permit [7]");
  }
}

TEST_F(AddingTargets, ReportsTheEndOfItsPolicyWhileItsHandleIsLive) {
  const uint32_t gold = pmap("gold");
  uint32_t target = 0;
  std::vector<bool> was_live;
  data_of_action(action_in(rule(event_in(gold, 1), cmap("voice")), "permit")).on_call = [&] {
    if (target == 0) target = targets_of(gold).at(0);
    was_live.push_back(live(target));
  };
  runtime::fail_request(runtime::Service::tree_insert, 1);
  expect_undone(41, one, gold);
  EXPECT_EQ(was_live, (std::vector<bool>{true, true})) << "when the tree has no room";

  target = 0;
  was_live.clear();
  zar_clients_info[0]->database = nullptr;
  expect_undone(37, two, gold);
  EXPECT_EQ(was_live, (std::vector<bool>{true, true})) << "when there is no database";
  zar_clients_info[0]->database = db;
}

TEST_F(AddingTargets, FailsWithoutATree) {
  const uint32_t gold = pmap("gold");
  avl_tree *tree = std::exchange(db->target_tree, nullptr);
  EXPECT_EQ(zar_add_target(one, target_info(7), gold, &out), 41U);
  db->target_tree = tree;
  EXPECT_EQ(targets_of(gold), Handles{});
  EXPECT_EQ(targets_in(db), Handles{});
  EXPECT_TRUE(engine().instances().empty());
}

TEST_F(AddingTargets, LetsAHandlerActivateAnotherPolicyDuringTheCall) {
  const uint32_t gold = pmap("gold"), silver = pmap("silver");
  const uint32_t permit = action_in(rule(event_in(gold, 1), cmap("voice")), "permit");
  data_of_action(permit).on_call = [&] {
    const Quiet quiet;
    EXPECT_EQ(zar_activate_policy(one, silver, targets_of(gold).at(0)), 0U);
    EXPECT_EQ(zar_activate_policy(one, gold, targets_of(gold).at(0)), 0U) << "it is active already";
  };
  EXPECT_EQ(zar_add_target(one, target_info(7), gold, &out), 0U);
  EXPECT_EQ(active_on(out), (Handles{gold, silver}));
  EXPECT_EQ(targets_of(silver), Handles{out});
}

TEST_F(AddingTargets, UndoesWhatAHandlerActivatedWhenTheTargetCannotBeStored) {
  const uint32_t gold = pmap("gold"), silver = pmap("silver");
  const uint32_t permit = action_in(rule(event_in(gold, 1), cmap("voice")), "permit");
  bool activated = false;
  data_of_action(permit).on_call = [&] {
    if (std::exchange(activated, true)) return;
    const Quiet quiet;
    EXPECT_EQ(zar_activate_policy(one, silver, targets_of(gold).at(0)), 0U);
  };
  runtime::fail_request(runtime::Service::tree_insert, 1);
  expect_undone(41, one, gold);
  EXPECT_TRUE(activated);
}

TEST_F(AddingTargets, AcceptsNoPolicyWhileTheTargetIsUndone) {
  const uint32_t gold = pmap("gold"), silver = pmap("silver"), bronze = pmap("bronze");
  const uint32_t permit = action_in(rule(event_in(gold, 1), cmap("voice")), "permit");
  const uint32_t drop = action_in(rule(event_in(silver, 1), cmap("video")), "drop");
  uint32_t target = 0;
  std::vector<uint32_t> answers;
  data_of_action(permit).on_call = [&] {
    if (target != 0) return;
    target = targets_of(gold).at(0);
    const Quiet quiet;
    EXPECT_EQ(zar_activate_policy(one, silver, target), 0U);
  };
  data_of_action(drop).on_call = [&] {
    const Quiet quiet;
    answers.push_back(zar_activate_policy(one, bronze, target));
  };
  runtime::fail_request(runtime::Service::tree_insert, 1);
  expect_undone(41, one, gold);
  EXPECT_EQ(answers, (std::vector<uint32_t>{0, 39})) << "when silver was activated, and when it was taken off again";
}

// ---- Policy contexts

struct PolicyContexts : Lifecycle {
  static Line created() { return info("(info): %s: success", "create_policy_context"); }
};

TEST_F(PolicyContexts, AreCreatedOncePerTarget) {
  NEEDS_FRESH_PROCESS();
  const uint32_t interface = target(pmap("gold"));
  watch_requests();
  zar_target_policy_context *context = zar_create_policy_context(interface);
  ASSERT_NE(context, nullptr);
  EXPECT_TRACED(created());
  EXPECT_REQUESTS("pool 0x3e00046 of 32", "record 0x3e00046 of 32", "id 0x3e00023");
  EXPECT_EQ(pool_of(kContextPool), "32 bytes, 30 per chunk, flags 0x111");
  EXPECT_EQ(at<zar_target>(interface)->policy_context, context);
  EXPECT_EQ(at<zar_target_policy_context>(context->handle), context);
  EXPECT_EQ(context->ae_context, nullptr);
  EXPECT_EQ(context->engine_word_1, nullptr);
  EXPECT_EQ(context->engine_word_2, nullptr);

  EXPECT_REFUSED(context, zar_create_policy_context(interface));
  EXPECT_TRACED();
  EXPECT_REQUESTS();
  EXPECT_NE(zar_create_policy_context(target(pmap("silver"), 2)), context);
}

TEST_F(PolicyContexts, AreBlankInAReusedRecordToo) {
  const uint32_t gold = pmap("gold");
  for (int i = 0; i < 3; ++i) {
    const uint32_t interface = target(gold);
    zar_target_policy_context *context = zar_create_policy_context(interface);
    EXPECT_EQ(context->ae_context, nullptr);
    EXPECT_EQ(context->engine_word_1, nullptr);
    EXPECT_EQ(context->engine_word_2, nullptr);
    context->ae_context = context->engine_word_1 = context->engine_word_2 = context;
    drop_target(one, interface);
  }
}

TEST_F(PolicyContexts, KeepWhatTheEnginePutThere) {
  const uint32_t interface = target(pmap("gold"));
  zar_target_policy_context *context = zar_create_policy_context(interface);
  context->ae_context = context->engine_word_1 = context->engine_word_2 = this;
  EXPECT_EQ(zar_create_policy_context(interface), context);
  EXPECT_EQ(zar_retrieve_policy_context(interface), context);
  EXPECT_EQ(context->ae_context, this);
  EXPECT_EQ(context->engine_word_1, this);
  EXPECT_EQ(context->engine_word_2, this);
  context->ae_context = nullptr;
}

TEST_F(PolicyContexts, NeedTargetInformation) {
  const uint32_t interface = target(pmap("gold"));
  at<zar_target>(interface)->target_info = nullptr;
  EXPECT_REFUSED(nullptr, zar_create_policy_context(interface));
  EXPECT_TRACED(no_target_info("create_policy_context"));
}

TEST_F(PolicyContexts, NeedARecord) {
  const uint32_t interface = target(pmap("gold"));
  runtime::fail_request(runtime::Service::record, 1);
  EXPECT_REFUSED(nullptr, zar_create_policy_context(interface));
  EXPECT_TRACED(error("(ERR): memory alloc for policy context failed "));
  EXPECT_NE(zar_create_policy_context(interface), nullptr);
}

TEST_F(PolicyContexts, NeedAPoolAndTryItAgain) {
  NEEDS_FRESH_PROCESS();
  const uint32_t interface = target(pmap("gold"));
  runtime::fail_request(runtime::Service::pool, 1);
  EXPECT_REFUSED(nullptr, zar_create_policy_context(interface));
  EXPECT_TRACED(error("(ERR): memory alloc for policy context failed "));
  EXPECT_NE(zar_create_policy_context(interface), nullptr);
}

TEST_F(PolicyContexts, NeedAHandle) {
  const uint32_t interface = target(pmap("gold"));
  runtime::fail_request(runtime::Service::id, 1);
  EXPECT_REFUSED(nullptr, zar_create_policy_context(interface));
  EXPECT_TRACED(error("(ERR): create_policy_context: Could not create id for policy context"));
  EXPECT_NE(zar_create_policy_context(interface), nullptr);
}

TEST_F(PolicyContexts, AreFoundSilently) {
  const uint32_t interface = target(pmap("gold"));
  EXPECT_REFUSED(nullptr, zar_retrieve_policy_context(interface));
  EXPECT_TRACED();
  zar_target_policy_context *context = zar_create_policy_context(interface);
  EXPECT_TRACED(created());
  EXPECT_REFUSED(context, zar_retrieve_policy_context(interface));
  EXPECT_TRACED();
}

TEST_F(PolicyContexts, AreFoundWithoutCheckingTheTargetInformation) {
  const uint32_t interface = target(pmap("gold"));
  zar_target_policy_context *context = zar_create_policy_context(interface);
  forget_trace();
  at<zar_target>(interface)->target_info = nullptr;
  EXPECT_REFUSED(context, zar_retrieve_policy_context(interface));
  EXPECT_TRACED();
}

// ---- Removal from the tree

struct RemovingTargets : Lifecycle {
  static constexpr const char *kName = "remove_target";
  zar_target_info *const untouched = reinterpret_cast<zar_target_info *>(0x10);
  zar_target_info *out = untouched;
};

TEST_F(RemovingTargets, ReturnsTheInformationAndKeepsTheRecord) {
  const uint32_t gold = pmap("gold");
  const uint32_t interface = target(gold, 7), other = target(gold, 8);
  watch_requests();
  EXPECT_EQ(zar_remove_target(one, interface, &out), 0U);
  EXPECT_TRACED(own_database(kName));
  EXPECT_REQUESTS();
  EXPECT_CALLS();
  ASSERT_NE(out, untouched);
  EXPECT_EQ(out->target_id, 7U);
  EXPECT_EQ(targets_in(db), Handles{other});
  EXPECT_EQ(at<zar_target>(interface)->target_info, out);
  EXPECT_EQ(active_on(interface), Handles{gold});
  EXPECT_EQ(targets_of(gold), (Handles{interface, other}));
}

TEST_F(RemovingTargets, WorksInTheDatabaseOfTheClient) {
  zar_db *other_db = database();
  const uint32_t three = client("three", other_db);
  const uint32_t gold = pmap("gold");
  const uint32_t interface = target(gold, 1, three);
  EXPECT_EQ(zar_remove_target(three, interface, &out), 0U);
  EXPECT_EQ(targets_in(other_db), Handles{});

  const uint32_t shared = target(gold, 2, one);
  forget_trace();
  EXPECT_EQ(zar_remove_target(two, shared, &out), 0U);
  EXPECT_TRACED(default_database(kName));
  EXPECT_EQ(targets_in(db), Handles{});
}

TEST_F(RemovingTargets, ChecksTheClientFirstAndRefusesLast) {
  const uint32_t interface = target(pmap("gold"));
  for (const uint32_t clid : {0U, 3U, 0xffffffffU}) {
    EXPECT_REFUSED(39U, zar_remove_target(clid, interface, &out));
    EXPECT_TRACED(wrong_clid(kName, clid));
  }
  for (const uint32_t clid : {one, 9U}) {
    const Lines about_clid = clid == one ? Lines{} : Lines{wrong_clid(kName, clid)};
    for (const auto &[what, handle, look_up] : wrong_handles(pmap("silver"))) {
      EXPECT_REFUSED(39U, zar_remove_target(clid, handle, &out));
      EXPECT_TRACED(about_clid, look_up, no_target(kName));
    }
    zar_target_info *target_info = std::exchange(at<zar_target>(interface)->target_info, nullptr);
    EXPECT_REFUSED(39U, zar_remove_target(clid, interface, &out));
    EXPECT_TRACED(about_clid, no_target_info(kName));
    at<zar_target>(interface)->target_info = target_info;
  }
  EXPECT_EQ(out, untouched);
}

TEST_F(RemovingTargets, NeedsAnOutPlaceForTheInformation) {
  const uint32_t interface = target(pmap("gold"));
  EXPECT_REFUSED(39U, zar_remove_target(one, interface, nullptr));
  NEEDS_TRACE();
  const Lines errors = take_errors();
  ASSERT_EQ(errors.size(), 1U);
  EXPECT_NE(errors[0].text.find("(ERR): remove_target: "), std::string::npos) << errors[0];
}

TEST_F(RemovingTargets, NeedsADatabase) {
  const uint32_t interface = target(pmap("gold"));
  zar_clients_info[0]->database = nullptr;
  EXPECT_REFUSED(37U, zar_remove_target(two, interface, &out));
  EXPECT_TRACED(no_default_database());
  zar_clients_info[0]->database = db;
  zar_clients_info[0]->status = 2;
  EXPECT_REFUSED(37U, zar_remove_target(one, interface, &out));
  EXPECT_TRACED(inactive_client(kName, one));
  EXPECT_EQ(out, untouched);
}

TEST_F(RemovingTargets, WritesNullWhenTheTargetIsNotInTheTree) {
  const uint32_t interface = target(pmap("gold"));
  EXPECT_EQ(zar_remove_target(one, interface, &out), 0U);
  for (const uint32_t clid : {one, two}) {
    out = untouched;
    forget_trace();
    EXPECT_REFUSED(41U, zar_remove_target(clid, interface, &out));
    EXPECT_EQ(out, nullptr);
    EXPECT_TRACED(clid == one ? own_database(kName) : default_database(kName),
                  clid == one ? error("(ERR): Target avl: delete (client db) failed, zar target hdl:0x%x", interface)
                              : error("(ERR): Target avl: delete (default db) failed, zar target hdl:0x%x", interface),
                  error("(ERR): remove_target: Error: avl delete failed"));
  }
}

TEST_F(RemovingTargets, WritesNullWhenTheTreeFails) {
  const uint32_t interface = target(pmap("gold"));
  const std::string before = everything();
  runtime::fail_next_tree_delete();
  EXPECT_EQ(zar_remove_target(one, interface, &out), 41U);
  EXPECT_EQ(out, nullptr);
  EXPECT_EQ(everything(), before);
}

TEST_F(RemovingTargets, LooksInNoOtherDatabase) {
  const uint32_t three = client("three", database());
  const uint32_t interface = target(pmap("gold"));
  EXPECT_REFUSED(41U, zar_remove_target(three, interface, &out));
  EXPECT_EQ(out, nullptr);
  EXPECT_EQ(targets_in(db), Handles{interface});
}

TEST_F(RemovingTargets, TakesEachOfManyInAnyOrder) {
  const uint32_t gold = pmap("gold");
  Handles order{0, 1, 2, 3};
  do {
    Handles targets;
    for (uintptr_t id = 1; id <= 4; ++id)
      targets.push_back(target(gold, id));
    Handles left = targets;
    std::sort(left.begin(), left.end());  // as in the tree
    for (const uint32_t next : order) {
      EXPECT_EQ(zar_remove_target(one, targets[next], &out), 0U);
      EXPECT_EQ(out->target_id, next + 1U);
      left.erase(std::find(left.begin(), left.end(), targets[next]));
      EXPECT_EQ(targets_in(db), left);
    }
    for (const uint32_t each : targets)
      EXPECT_EQ(zar_delete_target(each), 0U);
  } while (std::next_permutation(order.begin(), order.end()));
}

// ---- Deletion

struct DeletingTargets : Lifecycle {
  static constexpr const char *kName = "delete_target";
  static Line freed() { return info("(info): %s: target freed", kName); }
  static Line removing_context(const void *context) {
    return info("(info): %s: remove policy context:0x%p", "free_policy", context);
  }
  // A target that has left its tree.
  uint32_t removed_target(uint32_t pmap_handle, uintptr_t id = 1) {
    const uint32_t handle = target(pmap_handle, id);
    const Quiet quiet;
    zar_target_info *info = nullptr;
    EXPECT_EQ(zar_remove_target(one, handle, &info), 0U);
    return handle;
  }
};

TEST_F(DeletingTargets, FreesHandleAndRecord) {
  const uint32_t gold = pmap("gold");
  const std::string before = everything();
  const uint32_t interface = removed_target(gold);
  watch_requests();
  EXPECT_EQ(zar_delete_target(interface), 0U);
  EXPECT_TRACED(unlinked("gold"), freed());
  EXPECT_CALLS(instance_sought(interface, kGold), instance_deleted(interface, kGold));
  EXPECT_REQUESTS();
  EXPECT_FALSE(live(interface));
  EXPECT_EQ(everything(), before);
}

TEST_F(DeletingTargets, DeactivatesEveryPolicyInOrder) {
  const uint32_t gold = pmap("gold"), silver = pmap("silver");
  const uint32_t interface = removed_target(gold, 7);
  activate(silver, interface);
  action_in(rule(event_in(gold, 1), cmap("voice")), "permit");
  hear_removals(one);
  EXPECT_EQ(zar_delete_target(interface), 0U);
  EXPECT_TRACED(unlinked("gold"), unlinked("silver"), freed());
  EXPECT_CALLS(instance_sought(interface, kGold), instance_deleted(interface, kGold), "notify removed permit [7]",
               instance_sought(interface, "silver:d1:1"), instance_deleted(interface, "silver:d1:1"));
  EXPECT_EQ(targets_of(gold), Handles{});
  EXPECT_EQ(targets_of(silver), Handles{});
}

TEST_F(DeletingTargets, NeedsNoActivePolicy) {
  const uint32_t gold = pmap("gold");
  const uint32_t interface = removed_target(gold);
  EXPECT_EQ(zar_deactivate_any_policy_for_target(one, interface), 0U);
  forget_trace();
  take_calls();
  EXPECT_EQ(zar_delete_target(interface), 0U);
  EXPECT_TRACED(freed());
  EXPECT_CALLS();
}

TEST_F(DeletingTargets, IsDoneWhateverTheEngineReturnsOfTheInstances) {
  const uint32_t gold = pmap("gold"), silver = pmap("silver");
  const uint32_t interface = removed_target(gold);
  activate(silver, interface);
  engine().find_status = 1;
  EXPECT_EQ(zar_delete_target(interface), 0U);
  EXPECT_TRACED(unlinked("gold"), instance_not_found(gold), unlinked("silver"), instance_not_found(silver), freed());
  EXPECT_FALSE(live(interface));
  EXPECT_EQ(targets_of(gold), Handles{});
  EXPECT_EQ(targets_of(silver), Handles{});
}

TEST_F(DeletingTargets, FreesAContextThatTheEngineLeftEmpty) {
  const uint32_t gold = pmap("gold");
  const std::string before = everything();
  const uint32_t interface = removed_target(gold);
  const zar_target_policy_context *context = zar_create_policy_context(interface);
  const uint32_t context_handle = context->handle;
  forget_trace();
  EXPECT_EQ(zar_delete_target(interface), 0U);
  EXPECT_TRACED(unlinked("gold"), removing_context(context), freed());
  EXPECT_CALLS(instance_sought(interface, kGold), instance_deleted(interface, kGold));
  EXPECT_FALSE(live(context_handle));
  EXPECT_EQ(everything(), before);
}

TEST_F(DeletingTargets, LetsTheEngineFreeItsContextFirst) {
  const uint32_t gold = pmap("gold");
  const std::string before = everything();
  const uint32_t interface = removed_target(gold);
  zar_target_policy_context *context = zar_create_policy_context(interface);
  const uint32_t context_handle = context->handle;
  context->ae_context = this;
  forget_trace();
  engine().on_call = [&](const std::string &call) {
    if (call != ae_context_freed(this)) return;
    EXPECT_FALSE(live(interface)) << "the target's handle is released";
    EXPECT_TRUE(live(context_handle)) << "that of the context is not";
    EXPECT_EQ(targets_of(gold), Handles{});
  };
  EXPECT_EQ(zar_delete_target(interface), 0U);
  EXPECT_TRACED(unlinked("gold"), removing_context(context), freed());
  EXPECT_CALLS(instance_sought(interface, kGold), instance_deleted(interface, kGold), ae_context_freed(this));
  EXPECT_FALSE(live(context_handle));
  EXPECT_EQ(everything(), before);
}

TEST_F(DeletingTargets, StopsWhereTheEngineKeepsItsContext) {
  const uint32_t gold = pmap("gold");
  const uint32_t interface = removed_target(gold);
  const size_t targets = records_out(kTargetPool);
  zar_target_policy_context *context = zar_create_policy_context(interface);
  const size_t contexts = records_out(kContextPool);
  const uint32_t context_handle = context->handle;
  context->ae_context = this;
  engine().free_ae_status = 1;
  forget_trace();
  EXPECT_EQ(zar_delete_target(interface), 37U);
  EXPECT_TRACED(unlinked("gold"), removing_context(context),
                info("(info): delete_target:Error: policy context free failed"));
  EXPECT_EQ(targets_of(gold), Handles{});
  EXPECT_FALSE(live(interface));
  EXPECT_TRUE(live(context_handle));
  EXPECT_EQ(records_out(kTargetPool), targets) << "the record stays allocated";
  EXPECT_EQ(records_out(kContextPool), contexts);
  EXPECT_EQ(context->ae_context, this);

  take_calls();
  EXPECT_REFUSED(39U, zar_delete_target(interface));
  EXPECT_TRACED(destroyed_already(interface), no_target(kName));
  EXPECT_CALLS();
}

TEST_F(DeletingTargets, NeedsTargetInformation) {
  const uint32_t interface = target(pmap("gold"));
  at<zar_target>(interface)->target_info = nullptr;
  EXPECT_REFUSED(39U, zar_delete_target(interface));
  EXPECT_TRACED(no_target_info(kName));
  EXPECT_CALLS();
}

TEST_F(DeletingTargets, LeavesTheTreeAlone) {
  breaks_invariants("what stands in a tree is deleted");
  const uint32_t interface = target(pmap("gold"));
  const void *record = at<zar_target>(interface);
  EXPECT_EQ(zar_delete_target(interface), 0U);
  EXPECT_FALSE(live(interface));
  EXPECT_EQ(static_cast<const void *>(db->target_tree->top.parent), record) << "the tree holds a deleted record";
  // This tree must not be read any more.
  db->target_tree->top.parent = nullptr;
}

TEST_F(DeletingTargets, SurvivesAHandlerThatDeactivatesTheOthers) {
  const uint32_t gold = pmap("gold"), silver = pmap("silver"), bronze = pmap("bronze");
  const uint32_t permit = action_in(rule(event_in(gold, 1), cmap("voice")), "permit");
  const uint32_t interface = removed_target(gold);
  activate(silver, interface);
  activate(bronze, interface);
  data_of_action(permit).on_call = [&] {
    const Quiet quiet;
    EXPECT_EQ(zar_deactivate_any_policy_for_target(one, interface), 0U);
  };
  EXPECT_EQ(zar_delete_target(interface), 0U);
  EXPECT_FALSE(live(interface));
  EXPECT_TRUE(engine().instances().empty());
  for (const uint32_t each : {gold, silver, bronze})
    EXPECT_EQ(targets_of(each), Handles{});
}

TEST_F(DeletingTargets, LeavesNoPairOfAPolicyThatAHandlerActivates) {
  const uint32_t gold = pmap("gold"), silver = pmap("silver");
  const uint32_t permit = action_in(rule(event_in(gold, 1), cmap("voice")), "permit");
  const uint32_t interface = removed_target(gold);
  bool activated = false;
  data_of_action(permit).on_call = [&] {
    if (std::exchange(activated, true)) return;
    const Quiet quiet;
    EXPECT_EQ(zar_activate_policy(one, silver, interface), 0U);
  };
  EXPECT_EQ(zar_delete_target(interface), 0U);
  EXPECT_TRUE(activated);
  EXPECT_FALSE(live(interface));
  EXPECT_EQ(at<zar_pmap>(silver)->target_refs.count, 0U) << "a reference to a deleted target";
}

// ---- Under faults

// The result of adding a target if this request is the first to fail. Without its list, a handler is just not notified;
// but if everything fails from then on, the tree has no room either.
uint32_t status_of_adding(const FaultClock &clock) {
  switch (clock.failed().service) {
    case runtime::Service::pool:
    case runtime::Service::record:
      return clock.failed().tag == kTargetPool ? 38 : 37;
    case runtime::Service::id:
      return 37;
    case runtime::Service::tree_insert:
      return 41;
    default:
      return clock.mode() == runtime::Fault::once ? 0 : 41;
  }
}

TEST(TargetsUnderFaults, AreAddedWholeOrNotAtAll) {
  for_each_fault([](FaultClock &clock) {
    World world;
    const uint32_t gold = world.pmap("gold");
    const uint32_t first = world.rule(world.event_in(gold, 1), world.cmap("voice"));
    world.action_in(first, "permit", 1);
    world.action_in(first, "deny", 2);
    zar_target_info *target_info = world.target_info(7);
    const std::string before = world.everything();
    uint32_t handle = kUntouched;
    const uint32_t status = clock.during([&] { return zar_add_target(world.one, target_info, gold, &handle); });
    EXPECT_EQ(status, clock.hit() ? status_of_adding(clock) : 0U);
    free_target_lists();
    if (status != 0) {
      EXPECT_EQ(handle, kUntouched);
      EXPECT_EQ(world.everything(), before);
      EXPECT_TRUE(engine().instances().empty());
      EXPECT_EQ(zar_add_target(world.one, target_info, gold, &handle), 0U);
      free_target_lists();
    }
    EXPECT_EQ(World::active_on(handle), Handles{gold});
    EXPECT_EQ(World::targets_of(gold), Handles{handle});
    EXPECT_EQ(World::targets_in(world.db), Handles{handle});
    EXPECT_EQ(engine().instances().size(), 1U);
    drop_target(world.one, handle);
    free_target_lists();
    EXPECT_EQ(world.everything(), before);
  });
}

TEST(TargetsUnderFaults, GetTheirContextOrNone) {
  for_each_fault([](FaultClock &clock) {
    World world;
    const uint32_t gold = world.pmap("gold");
    const uint32_t interface = world.target(gold);
    const std::string before = world.everything();
    const zar_target_policy_context *context = clock.during([&] { return zar_create_policy_context(interface); });
    EXPECT_EQ(context == nullptr, clock.hit());
    if (!clock.hit()) return;
    EXPECT_EQ(world.everything(), before);
    EXPECT_NE(zar_create_policy_context(interface), nullptr);
  });
}

TEST(TargetsUnderFaults, AreDeletedWithFewerHandlersNotified) {
  for_each_fault([](FaultClock &clock) {
    World world;
    const uint32_t gold = world.pmap("gold");
    const uint32_t first = world.rule(world.event_in(gold, 1), world.cmap("voice"));
    world.action_in(first, "permit", 1);
    world.action_in(first, "deny", 2);
    const std::string before = world.everything();
    const uint32_t interface = world.target(gold);
    zar_create_policy_context(interface);
    free_target_lists();
    zar_target_info *target_info = nullptr;
    EXPECT_EQ(clock.during([&] { return zar_remove_target(world.one, interface, &target_info); }), 0U);
    EXPECT_FALSE(clock.hit()) << "leaving a tree needs nothing";
    EXPECT_EQ(clock.during([&] { return zar_delete_target(interface); }), 0U);
    free_target_lists();
    EXPECT_EQ(world.everything(), before);
  });
}

}  // namespace
