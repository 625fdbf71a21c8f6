// Start-up, creation and destruction of databases, and the pools of all records.
#include <algorithm>

#include "platform/runtime.h"
#include "support/repository.h"

using namespace rig;

namespace {

struct StartUp : BareProcess {};

TEST_F(StartUp, MakesTheClientTableTheDomainListAndTheHandleTable) {
  watch_requests();
  const uint16_t table = zar_init();
  EXPECT_REQUESTS("block 0x3e00003 of 80", "id table 0x3e00023 \"ZAR PMAP HANDLE IDs\"");
  EXPECT_TRACED();

  ASSERT_NE(zar_clients_info, nullptr);
  for (int i = 0; i < 10; ++i)
    EXPECT_EQ(zar_clients_info[i], nullptr);
  EXPECT_EQ(zar_allowed_max_clients, 10U);
  EXPECT_EQ(zar_current_max_clients, 0U);
  EXPECT_EQ(runtime::elements(&zar_domain_list), std::vector<void *>{});
  EXPECT_EQ(zar_domain_list.limit, 0U);

  const uint32_t handle = zar_handle_alloc(&zar_domain_list);
  uint32_t status = 9;
  EXPECT_EQ(id_to_ptr(handle, &status, table), &zar_domain_list) << "the answer is the handle table";
}

TEST_F(StartUp, ContinuesWithoutAClientTable) {
  runtime::fail_request(runtime::Service::block, 1);
  EXPECT_NE(zar_init(), 0);
  EXPECT_TRACED(error("(ERR): ZAR malloc for clients data error"));
  EXPECT_EQ(zar_clients_info, nullptr);
  EXPECT_EQ(zar_allowed_max_clients, 10U);
  EXPECT_EQ(zar_current_max_clients, 0U);
  EXPECT_EQ(zar_domain_list.count, 0U);
  EXPECT_NE(zar_handle_alloc(&zar_domain_list), 0U);
}

TEST_F(StartUp, ReturnsTheFailureOfTheHandleTable) {
  runtime::fail_request(runtime::Service::id_table, 1);
  EXPECT_EQ(zar_init(), 0);
  EXPECT_TRACED();
}

TEST_F(StartUp, ASecondStartForgetsClientsAndDomains) {
  const uint16_t first = zar_init();
  uint32_t clid = 0;
  for (int i = 0; i < 11; ++i)
    zar_client_register(text("client %d", i).c_str(), nullptr, &clid);
  zar_register_domain(1, "access");
  zar_client_data **old_table = zar_clients_info;
  lost_on_purpose(old_table);
  forget_trace();

  watch_requests();
  EXPECT_NE(zar_init(), first);
  EXPECT_REQUESTS("block 0x3e00003 of 80", "id table 0x3e00023 \"ZAR PMAP HANDLE IDs\"");
  EXPECT_TRACED();
  EXPECT_NE(zar_clients_info, old_table);
  EXPECT_EQ(zar_clients_info[0], nullptr);
  EXPECT_EQ(zar_allowed_max_clients, 10U);
  EXPECT_EQ(zar_current_max_clients, 0U);
  EXPECT_EQ(zar_domain_list.count, 0U);
  EXPECT_EQ(blocks_out(0x3e00008), 1U) << "the old table is lost, not freed";
}

struct SecondStart : Repository {};

TEST_F(SecondStart, LeavesNoNewObjectUnderAnOldHandle) {
  const Handles old{pmap("gold"), cmap("voice"), action("log"), filter("port"), event(1)};
  start_again();
  for (int i = 0; i < 100; ++i) {
    const uint32_t handle = zar_handle_alloc(&zar_domain_list);
    EXPECT_EQ(std::count(old.begin(), old.end(), handle), 0) << handle;
  }
  for (const uint32_t handle : old)
    EXPECT_EQ(zar_handle_get_context(handle), nullptr);
}

// A target is deleted with its database by its handle.
TEST_F(SecondStart, LetsAnOldDatabaseEndWithoutTheNewTargets) {
  breaks_invariants("the targets of the old database have no handles");
  zar_db *old = db;
  target(stored_pmap("gold"), 7);
  ASSERT_EQ(targets_in(old).size(), 1U);
  start_again();
  db = database();
  client("one", db);
  const uint32_t fresh = target(stored_pmap("gold"), 8);
  forget_trace();
  zar_destroy_database(old);
  EXPECT_TRUE(live(fresh));
  EXPECT_EQ(targets_in(db), Handles{fresh});
}

// ---- Databases

struct Databases : BareProcess {
  Databases() {
    zar_init();
    forget_trace();
    watch_requests();
  }
  // The requests for creating one, once the pool exists.
  std::vector<std::string> requests_of_one{"record 0x3e00024 of 32",
                                           "block 0x3e00004 of 48",
                                           "tree init",
                                           "block 0x3e00005 of 48",
                                           "tree init",
                                           "block 0x3e00006 of 48",
                                           "tree init",
                                           "block 0x3e00007 of 48",
                                           "tree init"};
  zar_db *untouched = reinterpret_cast<zar_db *>(0x10);
  zar_db *out = untouched;
};

TEST_F(Databases, AreARecordAndFourTrees) {
  NEEDS_FRESH_PROCESS();
  EXPECT_EQ(zar_create_database(&out), 0U);
  std::vector<std::string> requests = requests_of_one;
  requests.insert(requests.begin(), "pool 0x3e00024 of 32");
  EXPECT_EQ(take_requests(), requests);
  EXPECT_EQ(pool_of(0x3e00024), "32 bytes, 20 per chunk, flags 0x111");
  EXPECT_TRACED(info("(info): Creating Database"), info("(info): Database created, hdl:0x%p", out));

  EXPECT_EQ(out->pmap_tree->compare, zar_pmap_compare_string);
  EXPECT_EQ(out->pmap_tree->free_node, zar_avl_free_pmap);
  EXPECT_EQ(out->cmap_tree->compare, zar_cmap_compare_string);
  EXPECT_EQ(out->cmap_tree->free_node, zar_avl_free_cmap);
  EXPECT_EQ(out->target_tree->compare, zar_target_compare_int);
  EXPECT_EQ(out->target_tree->free_node, zar_avl_free_target);
  EXPECT_EQ(out->pmtr_map_tree->compare, zar_pmtr_map_compare_string);
  EXPECT_EQ(out->pmtr_map_tree->free_node, zar_avl_free_pmtr_map);
  for (const avl_tree *tree : {out->pmap_tree, out->cmap_tree, out->target_tree, out->pmtr_map_tree})
    EXPECT_EQ(tree->top.parent, nullptr);
}

TEST_F(Databases, ShareOnePool) {
  EXPECT_EQ(zar_create_database(&out), 0U);
  take_requests();
  zar_db *second = nullptr;
  EXPECT_EQ(zar_create_database(&second), 0U);
  EXPECT_EQ(take_requests(), requests_of_one);
  EXPECT_NE(out, second);
}

TEST_F(Databases, HaveTheirPoolBeforeTheArgumentIsChecked) {
  NEEDS_FRESH_PROCESS();
  EXPECT_EQ(zar_create_database(nullptr), 39U);
  EXPECT_REQUESTS("pool 0x3e00024 of 32");
  EXPECT_TRACED();
}

TEST_F(Databases, NeedAnOutPlaceForTheResult) {
  zar_create_database(&out);
  forget_trace();
  take_requests();
  EXPECT_EQ(zar_create_database(nullptr), 39U);
  EXPECT_REQUESTS();
  EXPECT_TRACED();
}

TEST_F(Databases, NeedTheirPool) {
  NEEDS_FRESH_PROCESS();
  for (zar_db **place : {&out, static_cast<zar_db **>(nullptr)}) {
    runtime::fail_request(runtime::Service::pool, 1);
    EXPECT_EQ(zar_create_database(place), 38U);
    EXPECT_REQUESTS("pool 0x3e00024 of 32 failed");
    EXPECT_TRACED(error("(ERR): Create Database: db create chunk error"));
    EXPECT_EQ(out, untouched);
  }
  EXPECT_EQ(zar_create_database(&out), 0U) << "the pool is tried again";
}

TEST_F(Databases, WithoutARecordWriteNull) {
  runtime::fail_request(runtime::Service::record, 1);
  EXPECT_EQ(zar_create_database(&out), 38U);
  EXPECT_EQ(out, nullptr);
  EXPECT_TRACED(info("(info): Creating Database"));
  EXPECT_EQ(blocks_out(0x3e00004), 0U);
}

TEST_F(Databases, StopAtTheFirstTreeThatCannotBeAllocatedAndFreeNothing) {
  for (uint64_t nth = 1; nth <= 4; ++nth) {
    SCOPED_TRACE(nth);
    const runtime::Inventory before = runtime::inventory();
    runtime::fail_request(runtime::Service::block, nth);
    EXPECT_EQ(zar_create_database(&out), 38U);
    EXPECT_EQ(out, untouched);
    EXPECT_TRACED(info("(info): Creating Database"));
    runtime::Inventory after = before;
    ++after.records;
    for (uint32_t tree = 1; tree < nth; ++tree)
      ++after.blocks[0x3e00003 + tree];
    EXPECT_EQ(runtime::inventory(), after);
  }
}

TEST_F(Databases, StopAtTheFirstTreeThatCannotBeInitialisedAndFreeNothing) {
  for (uint64_t nth = 1; nth <= 4; ++nth) {
    SCOPED_TRACE(nth);
    const runtime::Inventory before = runtime::inventory();
    runtime::fail_request(runtime::Service::tree_init, nth);
    EXPECT_EQ(zar_create_database(&out), 38U);
    EXPECT_EQ(out, untouched);
    EXPECT_TRACED(info("(info): Creating Database"), info("(info): \nError while initialising\n"));
    runtime::Inventory after = before;
    ++after.records;
    for (uint32_t tree = 1; tree <= nth; ++tree)
      ++after.blocks[0x3e00003 + tree];
    EXPECT_EQ(runtime::inventory(), after);
  }
}

// ---- The destruction of a database

struct DatabaseEnd : Repository {
  static Line destroying(const zar_db *database) {
    return info("(info): %s: Destroying database handle:0x%p", "destroy_database", database);
  }
  static Line destroyed(const zar_db *database) {
    return info("(info): %s: destroyed database, hdl:0x%p", "destroy_database", database);
  }
};

TEST_F(DatabaseEnd, NeedsADatabase) {
  EXPECT_REFUSED(39U, zar_destroy_database(nullptr));
  EXPECT_TRACED(error("(ERR): %s: input database handle cannot be NULL", "destroy_database"));
}

TEST_F(DatabaseEnd, EmptiesTheTreesAndKeepsTheRecords) {
  const uint32_t gold = stored_pmap("gold");
  const uint32_t silver = stored_pmap("silver");
  const uint32_t voice = stored_cmap("voice");
  const uint32_t values = stored_pmtr_map("values");
  const runtime::Inventory before = runtime::inventory();

  EXPECT_EQ(zar_destroy_database(db), 0U);
  EXPECT_TRACED(destroying(db), destroyed(db));
  EXPECT_EQ(pmaps_in(db), Handles{});
  EXPECT_EQ(cmaps_in(db), Handles{});
  EXPECT_EQ(pmtr_maps_in(db), Handles{});
  EXPECT_EQ(runtime::inventory(), before) << "neither maps nor the database itself are given back";
  EXPECT_EQ(zar_clients_info[0]->database, db) << "clients are not detached";

  EXPECT_EQ(zar_store_policy(one, silver), 0U);
  EXPECT_EQ(zar_store_policy(one, gold), 0U);
  EXPECT_EQ(zar_store_class(one, voice), 0U);
  EXPECT_EQ(zar_store_pmtr_map(one, values), 0U);
  EXPECT_EQ(pmaps_in(db), (Handles{gold, silver}));
}

TEST_F(DatabaseEnd, MayComeTwice) {
  stored_pmap("gold");
  EXPECT_EQ(zar_destroy_database(db), 0U);
  forget_trace();
  EXPECT_REFUSED(0U, zar_destroy_database(db));
  EXPECT_TRACED(destroying(db), destroyed(db));
}

TEST_F(DatabaseEnd, DeletesItsTargets) {
  const uint32_t gold = stored_pmap("gold");
  const uint32_t first = target(gold, 1);
  const uint32_t second = target(gold, 2);
  EXPECT_EQ(zar_destroy_database(db), 0U);
  EXPECT_EQ(targets_in(db), Handles{});
  EXPECT_FALSE(live(first));
  EXPECT_FALSE(live(second));
  EXPECT_EQ(targets_of(gold), Handles{});
  EXPECT_CALLS(instance_sought(first, "gold:d1:1"), instance_deleted(first, "gold:d1:1"),
               instance_sought(second, "gold:d1:1"), instance_deleted(second, "gold:d1:1"));
  EXPECT_ERRORS();
}

TEST_F(DatabaseEnd, ContinuesAfterATargetThatCannotBeDeleted) {
  const uint32_t gold = stored_pmap("gold");
  const uint32_t broken = target(gold, 1);
  const uint32_t second = target(gold, 2);
  zar_target *broken_record = at<zar_target>(broken);
  broken_record->target_info = nullptr;

  EXPECT_EQ(zar_destroy_database(db), 0U);
  EXPECT_ERRORS(error("(ERR): %s: input target info cannot be NULL", "delete_target"),
                error("(ERR): Target avl: delete target:0x%p failed", broken_record));
  EXPECT_EQ(targets_in(db), Handles{});
  EXPECT_TRUE(live(broken));
  EXPECT_FALSE(live(second));
}

TEST_F(DatabaseEnd, NamesEveryTreeThatIsMissing) {
  for (unsigned missing = 0; missing < 16; ++missing) {
    SCOPED_TRACE(missing);
    zar_db partial = *db;
    Lines lines{destroying(&partial)};
    const auto leave_out = [&](unsigned bit, avl_tree *&tree, const char *name) {
      if ((missing & bit) == 0) return;
      tree = nullptr;
      lines.push_back(info("(info): %s: %s tree is null, nothing to destroy", "destroy_database", name));
    };
    leave_out(1, partial.pmap_tree, "pmap");
    leave_out(2, partial.cmap_tree, "cmap");
    leave_out(4, partial.target_tree, "target");
    leave_out(8, partial.pmtr_map_tree, "pmtr-map");
    lines.push_back(destroyed(&partial));
    EXPECT_REFUSED(0U, zar_destroy_database(&partial));
    EXPECT_EQ(take_trace(), lines);
  }
}

// ---- Pools

TEST(PoolNames, AreExported) {
  EXPECT_STREQ(zar_domain_list_chunk_str, "ZAR domain list");
  EXPECT_STREQ(zar_db_chunk_str, "ZAR DB chunk");
  EXPECT_STREQ(zar_client_data_chunk_str, "ZAR client data chunk");
  EXPECT_STREQ(zar_db_pmap_chunk_str, "ZAR DB pmap chunk");
  EXPECT_STREQ(zar_db_cmap_chunk_str, "ZAR DB cmap chunk");
  EXPECT_STREQ(zar_db_action_chunk_str, "ZAR DB action chunk");
  EXPECT_STREQ(zar_db_filter_chunk_str, "ZAR DB filter chunk");
  EXPECT_STREQ(zar_db_event_tuple_chunk_str, "ZAR DB event tuple chunk");
  EXPECT_STREQ(zar_db_event_context_chunk_str, "ZAR DB event context chunk");
  EXPECT_STREQ(zar_db_class_action_chunk_str, "ZAR DB class action chunk");
  EXPECT_STREQ(zar_db_pmap_cmap_ref_chunk_str, "ZAR DB pmap cmap ref chunk");
  EXPECT_STREQ(zar_db_pmap_target_chunk_str, "ZAR DB pmap target ref chunk");
  EXPECT_STREQ(zar_db_cmap_pmap_ref_chunk_str, "ZAR DB cmap pmap ref chunk");
  EXPECT_STREQ(zar_db_target_chunk_str, "ZAR DB target chunk");
  EXPECT_STREQ(zar_db_target_pmap_chunk_str, "ZAR DB target pmap chunk");
  EXPECT_STREQ(zar_db_target_policy_context_chunk_str, "ZAR DB target policy context chunk");
  EXPECT_STREQ(zar_db_pmtr_map_chunk_str, "ZAR DB pmtr-map chunk");
  EXPECT_STREQ(zar_db_pmtr_map_stmt_chunk_str, "ZAR DB pmtr-map stmt chunk");
}

struct Pools : Repository {
  static std::vector<std::string> pools() {
    std::vector<std::string> out;
    for (const runtime::PoolInfo &pool : runtime::pools()) {
      const std::string known_as = pool.name.empty() ? text("0x%x", pool.tag) : pool.name;
      out.push_back(
          text("%s: %zu bytes, %u per chunk, flags 0x%x", known_as, pool.record_size, pool.per_chunk, pool.flags));
    }
    return out;
  }
};

TEST_F(Pools, AreMadeOnFirstUseWithTheirOwnSizes) {
  NEEDS_FRESH_PROCESS();
  const std::vector<std::string> started{"0x3e00024: 32 bytes, 20 per chunk, flags 0x111",
                                         "0x3e00025: 40 bytes, 20 per chunk, flags 0x111"};
  EXPECT_EQ(pools(), started);

  zar_register_domain(one, "access");
  const uint32_t gold = stored_pmap("gold");
  const uint32_t voice = stored_cmap("voice");
  filter_in(voice, "port");
  action("permit");
  const uint32_t started_event = event(1);
  rule(started_event, voice);
  add_event(gold, started_event);
  zar_create_policy_context(target(gold));
  statement(stored_pmtr_map("values"), 10);

  std::vector<std::string> all = started;
  all.insert(all.end(), {
                            "0x3e00035: 24 bytes, 20 per chunk, flags 0x111",
                            "0x3e00037: 152 bytes, 20 per chunk, flags 0x111",
                            "0x3e0003a: 136 bytes, 20 per chunk, flags 0x111",
                            "0x3e00041: 80 bytes, 50 per chunk, flags 0x111",
                            "0x3e00044: 80 bytes, 50 per chunk, flags 0x111",
                            "0x3e00043: 64 bytes, 30 per chunk, flags 0x111",
                            "0x3e0004a: 16 bytes, 30 per chunk, flags 0x111",
                            "0x3e00049: 56 bytes, 30 per chunk, flags 0x111",
                            "0x3e0003f: 24 bytes, 30 per chunk, flags 0x111",
                            "0x3e0003e: 16 bytes, 30 per chunk, flags 0x111",
                            "0x3e00045: 104 bytes, 50 per chunk, flags 0x111",
                            "0x3e00047: 24 bytes, 30 per chunk, flags 0x111",
                            "0x3e00048: 16 bytes, 30 per chunk, flags 0x111",
                            "0x3e00046: 32 bytes, 30 per chunk, flags 0x111",
                            "ZAR DB pmtr-map chunk: 104 bytes, 20 per chunk, flags 0x111",
                            "ZAR DB pmtr-map stmt chunk: 40 bytes, 20 per chunk, flags 0x111",
                        });
  EXPECT_EQ(pools(), all);
}

// ---- Faults

// The statuses of creating a database, whichever request fails.
TEST(StartUpUnderFaults, ADatabaseIsMadeOrRefusedWith38) {
  for_each_fault([](FaultClock &clock) {
    start_rig();
    zar_init();
    zar_db *untouched = reinterpret_cast<zar_db *>(0x10);
    zar_db *out = untouched;
    const uint32_t status = clock.during([&] { return zar_create_database(&out); });
    EXPECT_EQ(status, clock.hit() ? 38U : 0U);
    if (!clock.hit()) return;
    EXPECT_EQ(out, clock.failed_in(runtime::Service::record) ? nullptr : untouched);
    EXPECT_EQ(zar_create_database(&out), 0U);
  });
}

TEST(StartUpUnderFaults, TheStartIsNeverStopped) {
  for_each_fault([](FaultClock &clock) {
    start_rig();
    const uint16_t table = clock.during([] { return zar_init(); });
    const bool all = clock.mode() == runtime::Fault::from_then_on;
    const bool no_clients = clock.failed_in(runtime::Service::block);
    const bool no_handles = clock.failed_in(runtime::Service::id_table) || (no_clients && all);
    EXPECT_EQ(table == 0, no_handles);
    EXPECT_EQ(zar_clients_info == nullptr, no_clients);
    EXPECT_EQ(zar_allowed_max_clients, 10U);
    lost_on_purpose(zar_clients_info);
    EXPECT_NE(zar_init(), 0);
  });
}

}  // namespace
