// Parameter-maps of the engine's domain, by their names alone.
#include <utility>

#include "support/lines.h"
#include "support/repository.h"

using namespace rig;

namespace {

constexpr uint32_t kUntouched = 0xabcd;

Line no_name(const char *operation) {
  return error("(ERR): %s: input parameter-map name cannot be NULL", operation);
}

const Line kNoOwner = info("(info): no registered owner for domain:%s, using default", "subscriber");

Line no_client_yet(const char *caller) {
  return error("(ERR): %s: Wrong clid:%d, expected range: 1 - %d", caller, 1, 0);
}

struct Subscriber : Repository {
  uint32_t place = kUntouched;

  // What a client three with a database of its own finds there once the domain is its.
  uint32_t give_the_domain_to_three() {
    const Quiet quiet;
    theirs = database();
    const uint32_t three = client("three", theirs);
    EXPECT_EQ(zar_register_domain(three, kel_parameter_map_subscriber_domain_str), 0U);
    return three;
  }
  zar_db *theirs = nullptr;
};

TEST_F(Subscriber, IsTheNameOfTheDomain) {
  EXPECT_STREQ(kel_parameter_map_subscriber_domain_str, "subscriber");
}

// ---- Finding

struct FindingByName : Subscriber {
  uint32_t find(const char *name, uint32_t type = 1) {
    return kel_find_subscriber_parameter_map_by_name(name, type, &place);
  }
};

TEST_F(FindingByName, ReturnsTheStoredMap) {
  const uint32_t abc = stored_pmtr_map("abc"), other = stored_pmtr_map("abc", {.domain = "subscriber", .type = 2});
  stored_pmtr_map("abc", {.domain = "access"});
  EXPECT_REFUSED(0U, find("abc"));
  EXPECT_EQ(place, abc);
  EXPECT_TRACED(kNoOwner, own_database("retrieve_pmtr_map"),
                info("(info): retrieve_pmtr_map: successful, pmtr_map:%s", "abc:subscriber:1"),
                info("(info): found pmtr-map: %s", "abc"));
  EXPECT_EQ(find("abc", 2), 0U);
  EXPECT_EQ(place, other);
}

TEST_F(FindingByName, WorksOnDuplicatesThatItFrees) {
  stored_pmtr_map("abc");
  watch_requests();
  find("abc");
  EXPECT_REQUESTS("duplicate 0x3e00029 \"abc\"", "duplicate 0x3e0002c \"subscriber\"");
  EXPECT_EQ(blocks_out(0x3e00029) + blocks_out(0x3e0002c), 0U);
  find("absent");
  EXPECT_EQ(blocks_out(0x3e00029) + blocks_out(0x3e0002c), 0U);
}

TEST_F(FindingByName, Returns40WhenThereIsNone) {
  stored_pmtr_map("abc", {.domain = "access"});
  pmtr_map("abc");
  EXPECT_REFUSED(40U, find("abc"));
  EXPECT_EQ(place, 0U);
  EXPECT_TRACED(kNoOwner, own_database("retrieve_pmtr_map"),
                info("(info): retrieve_pmtr_map: search failed as there is no match clid:%d, name:%s", 1, "abc"),
                error("(ERR): pmtr-map not found: %s", "abc"));
}

TEST_F(FindingByName, ActsForTheOwnerOfTheDomain) {
  stored_pmtr_map("ours");
  const uint32_t three = give_the_domain_to_three();
  const uint32_t abc = stored_pmtr_map("abc", {.domain = "subscriber", .clid = three});
  EXPECT_EQ(find("abc"), 0U);
  EXPECT_EQ(place, abc);
  NEEDS_TRACE();
  EXPECT_EQ(take_trace().front(), info("(info): domain:%s, owner  client:%d", "subscriber", 3));
  EXPECT_EQ(find("ours"), 40U);
}

TEST_F(FindingByName, TreatsAFailedSearchAsAFoundMap) {
  zar_clients_info[0]->status = 0;
  EXPECT_REFUSED(37U, find("abc"));
  NEEDS_TRACE();
  EXPECT_TRACED(kNoOwner, inactive_client("retrieve_pmtr_map", 1), info("(info): found pmtr-map: %s", "abc"));
  zar_clients_info[0]->status = 1;

  EXPECT_REFUSED(39U, find("abc", 3));
  EXPECT_TRACED(kNoOwner,
                error("(ERR): %s: domain type:%d from input map info is invalid expected range: %d - %d",
                      "retrieve_pmtr_map", 3, 1, 2),
                info("(info): found pmtr-map: %s", "abc"));

  EXPECT_REFUSED(39U, kel_find_subscriber_parameter_map_by_name("abc", 1, nullptr));
  EXPECT_TRACED(kNoOwner,
                error("(ERR): %s: clid:%d, input parameter-map handle cannot be NULL", "retrieve_pmtr_map", 1),
                info("(info): found pmtr-map: %s", "abc"));

  avl_tree *tree = std::exchange(db->pmtr_map_tree, nullptr);
  EXPECT_EQ(find("abc"), 41U);
  EXPECT_EQ(take_trace().back(), info("(info): found pmtr-map: %s", "abc"));
  db->pmtr_map_tree = tree;
  EXPECT_EQ(place, kUntouched);
}

TEST_F(FindingByName, ReturnsWhateverIsStoredUnderTheKey) {
  const uint32_t policy = pmap("abc", {.domain = "subscriber"});
  {
    const Quiet quiet;
    ASSERT_EQ(zar_store_pmtr_map(one, policy), 0U);
  }
  EXPECT_REFUSED(0U, find("abc"));
  EXPECT_EQ(place, policy);
  EXPECT_EQ(kel_is_pmap_created("abc"), policy);
}

TEST_F(FindingByName, NeedsAName) {
  EXPECT_REFUSED(39U, find(nullptr));
  EXPECT_TRACED(no_name("find_subscriber_parameter_map_by_name"));
  EXPECT_EQ(place, kUntouched);
}

TEST_F(FindingByName, NeedsAClient) {
  start_again();
  EXPECT_EQ(find("abc"), 39U);
  EXPECT_ERRORS(no_client_yet("retrieve_pmtr_map"));
  EXPECT_EQ(place, kUntouched);
}

TEST_F(FindingByName, NeedsBothDuplicates) {
  stored_pmtr_map("abc");
  const char *const complaints[] = {"(ERR): %s: map name from input map info cannot be NULL",
                                    "(ERR): %s: domain from input map info cannot be NULL"};
  for (const uint64_t nth : {1U, 2U}) {
    runtime::fail_request(runtime::Service::duplicate, nth);
    EXPECT_REFUSED(39U, find("abc"));
    EXPECT_TRACED(kNoOwner, error(complaints[nth - 1], "retrieve_pmtr_map"), info("(info): found pmtr-map: %s", "abc"));
  }
  EXPECT_EQ(place, kUntouched);
}

TEST(FindingByNameUnderFaults, LeavesNothingBehind) {
  for_each_fault([](FaultClock &clock) {
    World world;
    world.stored_pmtr_map("abc");
    const std::string before = world.everything();
    uint32_t place = kUntouched;
    const uint32_t status = clock.during([&] { return kel_find_subscriber_parameter_map_by_name("abc", 1, &place); });
    EXPECT_EQ(status, clock.hit() ? 39U : 0U);
    EXPECT_EQ(world.everything(), before);
  });
}

// ---- Making

struct MakingByName : Subscriber {
  uint32_t make(const char *name, uint32_t type = 1) { return kel_create_subscriber_parameter_map(name, type, &place); }
};

TEST_F(MakingByName, CreatesAndStores) {
  EXPECT_EQ(make("abc", 2), 0U);
  EXPECT_TRACED(kNoOwner, info("(info): create_pmtr_map: successful, pmtr_map:0x%x", place),
                info("(info): Created pmtr-map: %s", "abc"), own_database("store_pmtr_map"),
                info("(info): store_pmtr_map: successful"), info("(info): Stored pmtr-map: %s", "abc"));
  EXPECT_EQ(pmtr_maps_in(db), Handles{place});
  EXPECT_STREQ(at<zar_pmtr_map>(place)->hash_str, "abc:subscriber:2");
}

TEST_F(MakingByName, WorksOnDuplicatesThatItFrees) {
  pmtr_map("makes the pool");
  watch_requests();
  make("abc");
  EXPECT_REQUESTS("duplicate 0x3e0002a \"abc\"", "duplicate 0x3e0002d \"subscriber\"", "record of 104", "id 0x3e00023",
                  "text 0x3e00032 \"abc\"", "text 0x3e00033 \"subscriber\"", "duplicate 0x3e0005a \"abc:subscriber:1\"",
                  "tree insert");
  EXPECT_EQ(blocks_out(0x3e0002a) + blocks_out(0x3e0002d), 0U);
}

TEST_F(MakingByName, ActsForTheOwnerOfTheDomain) {
  give_the_domain_to_three();
  EXPECT_EQ(make("abc"), 0U);
  NEEDS_TRACE();
  EXPECT_EQ(take_trace().front(), info("(info): domain:%s, owner  client:%d", "subscriber", 3));
  EXPECT_EQ(pmtr_maps_in(theirs), Handles{place});
  EXPECT_EQ(pmtr_maps_in(db), Handles{});
}

TEST_F(MakingByName, KeepsAMapThatCannotBeStored) {
  const uint32_t first = stored_pmtr_map("abc");
  EXPECT_EQ(make("abc"), 41U);
  EXPECT_TRACED(kNoOwner, info("(info): create_pmtr_map: successful, pmtr_map:0x%x", place),
                info("(info): Created pmtr-map: %s", "abc"), own_database("store_pmtr_map"),
                error("(ERR): CMAP avl: insert failed, hash str:%s", "abc:subscriber:1"),
                error("(ERR): store_pmtr_map: Error: avl insert failed"), info("(info): Stored pmtr-map: %s", "abc"));
  EXPECT_TRUE(live(place));
  EXPECT_EQ(pmtr_maps_in(db), Handles{first});
  EXPECT_EQ(zar_delete_pmtr_map(place), 0U);
}

TEST_F(MakingByName, KeepsAMapWhoseOwnerIsInactive) {
  zar_clients_info[0]->status = 0;
  EXPECT_EQ(make("abc"), 37U);
  EXPECT_TRACED(kNoOwner, info("(info): create_pmtr_map: successful, pmtr_map:0x%x", place),
                info("(info): Created pmtr-map: %s", "abc"), inactive_client("store_pmtr_map", 1),
                info("(info): Stored pmtr-map: %s", "abc"));
  EXPECT_STREQ(zar_get_pmtr_map_name(place), "abc");
}

TEST_F(MakingByName, ReturnsTheReasonOfAFailedCreation) {
  EXPECT_REFUSED(39U, make("abc", 0));
  EXPECT_TRACED(kNoOwner,
                error("(ERR): %s: domain type:%d from input map info is invalid expected range: %d - %d",
                      "create_pmtr_map", 0, 1, 2),
                error("(ERR): Could not create pmtr-map: %s", "abc"));
  EXPECT_REFUSED(39U, kel_create_subscriber_parameter_map("abc", 1, nullptr));
  EXPECT_TRACED(kNoOwner, error("(ERR): %s: clid:%d, input parameter-map handle cannot be NULL", "create_pmtr_map", 1),
                error("(ERR): Could not create pmtr-map: %s", "abc"));
  runtime::fail_request(runtime::Service::record, 1);
  EXPECT_REFUSED(38U, make("abc"));
  EXPECT_TRACED(kNoOwner, error("(ERR): create_pmtr_map: memory alloc for pmtr_map failed clid:%d, name:%s", 1, "abc"),
                error("(ERR): Could not create pmtr-map: %s", "abc"));
  runtime::fail_request(runtime::Service::id, 1);
  EXPECT_REFUSED(37U, make("abc"));
  EXPECT_ERRORS(error("(ERR): create_pmtr_map: Could not create id for pmtr-map clid:%d, name:%s", 1, "abc"),
                error("(ERR): Could not create pmtr-map: %s", "abc"));
  EXPECT_EQ(place, kUntouched);
}

TEST_F(MakingByName, NeedsAName) {
  EXPECT_REFUSED(39U, make(nullptr));
  EXPECT_TRACED(no_name("create_subscriber_parameter_map"));
  EXPECT_EQ(place, kUntouched);
}

TEST_F(MakingByName, NeedsAClient) {
  start_again();
  EXPECT_EQ(make("abc"), 39U);
  EXPECT_ERRORS(no_client_yet("create_pmtr_map"), error("(ERR): Could not create pmtr-map: %s", "abc"));
  EXPECT_EQ(place, kUntouched);
}

TEST(MakingByNameUnderFaults, LeavesNothingButAMapThatWasMade) {
  for_each_fault([](FaultClock &clock) {
    using runtime::Service;
    World world;
    const std::string before = world.everything();
    uint32_t place = kUntouched;
    const uint32_t status = clock.during([&] { return kel_create_subscriber_parameter_map("abc", 1, &place); });
    if (!clock.hit()) {
      EXPECT_EQ(status, 0U);
      return;
    }
    if (clock.failed_in(Service::tree_insert)) {
      EXPECT_EQ(status, 41U);
      EXPECT_EQ(zar_store_pmtr_map(world.one, place), 0U);
      return;
    }
    const bool no_argument =
        clock.failed_in(Service::duplicate, 0x3e0002a) || clock.failed_in(Service::duplicate, 0x3e0002d);
    const bool no_record = clock.failed_in(Service::pool) || clock.failed_in(Service::record);
    EXPECT_EQ(status, no_argument ? 39U : no_record ? 38U : 37U);
    EXPECT_EQ(place, kUntouched);
    EXPECT_EQ(world.everything(), before);
    EXPECT_EQ(kel_create_subscriber_parameter_map("abc", 1, &place), 0U);
  });
}

// ---- Deleting

struct DeletingByName : Subscriber {};

TEST_F(DeletingByName, DeletesTheStoredMap) {
  const uint32_t abc = stored_pmtr_map("abc"), other = stored_pmtr_map("abc", {.domain = "subscriber", .type = 2});
  EXPECT_EQ(kel_delete_subscriber_parameter_map("abc", 1), 0U);
  EXPECT_TRACED(kNoOwner, own_database("delete_subscriber_pmtr_map"), kNoOwner, own_database("retrieve_pmtr_map"),
                info("(info): retrieve_pmtr_map: successful, pmtr_map:%s", "abc:subscriber:1"),
                info("(info): found pmtr-map: %s", "abc"), info("(info): Found pmtr-map: %s", "abc"),
                info("(info): %s: successfully delete pmtr_map:0x%x", "delete_stored_pmtr_map", abc),
                info("(info): Deleted pmtr-map: %s", "abc"));
  EXPECT_FALSE(live(abc));
  EXPECT_EQ(pmtr_maps_in(db), Handles{other});
}

TEST_F(DeletingByName, FreesItsDuplicates) {
  stored_pmtr_map("abc");
  runtime::Inventory before = runtime::inventory();
  EXPECT_EQ(kel_delete_subscriber_parameter_map("abc", 1), 0U);
  EXPECT_EQ(kel_delete_subscriber_parameter_map("abc", 1), 39U);
  before.ids -= 1;
  before.records -= 1;
  before.texts.erase("abc");
  before.blocks.erase(0x3e0005a);
  EXPECT_EQ(to_string(runtime::inventory()), to_string(before)) << "the domain of the map stays";
}

TEST_F(DeletingByName, ActsForTheOwnerOfTheDomain) {
  stored_pmtr_map("ours");
  const uint32_t three = give_the_domain_to_three();
  stored_pmtr_map("abc", {.domain = "subscriber", .clid = three});
  EXPECT_EQ(kel_delete_subscriber_parameter_map("abc", 1), 0U);
  EXPECT_EQ(pmtr_maps_in(theirs), Handles{});
  EXPECT_EQ(kel_delete_subscriber_parameter_map("ours", 1), 39U);
}

TEST_F(DeletingByName, RefusesANameThatIsNotStored) {
  pmtr_map("abc");
  EXPECT_REFUSED(39U, kel_delete_subscriber_parameter_map("abc", 1));
  EXPECT_ERRORS(error("(ERR): pmtr-map not found: %s", "abc"), error("(ERR): Could not find pmtr-map: %s", "abc"));
}

TEST_F(DeletingByName, TreatsAFailedSearchAsNothingFound) {
  stored_pmtr_map("abc");
  EXPECT_REFUSED(39U, kel_delete_subscriber_parameter_map("abc", 3));
  NEEDS_TRACE();
  EXPECT_EQ(take_trace().back(), error("(ERR): Could not find pmtr-map: %s", "abc"));
  avl_tree *tree = std::exchange(db->pmtr_map_tree, nullptr);
  EXPECT_EQ(kel_delete_subscriber_parameter_map("abc", 1), 39U);
  EXPECT_EQ(take_trace().back(), error("(ERR): Could not find pmtr-map: %s", "abc"));
  db->pmtr_map_tree = tree;
  EXPECT_REFUSED(39U, kel_delete_subscriber_parameter_map(nullptr, 1));
  EXPECT_TRACED(no_name("delete_subscriber_pmtr_map"));
}

TEST_F(DeletingByName, NeedsADatabaseFirst) {
  stored_pmtr_map("abc");
  zar_clients_info[0]->status = 0;
  EXPECT_REFUSED(37U, kel_delete_subscriber_parameter_map("abc", 1));
  EXPECT_TRACED(kNoOwner, inactive_client("delete_subscriber_pmtr_map", 1));
  zar_clients_info[0]->status = 1;
  zar_clients_info[0]->database = nullptr;
  EXPECT_REFUSED(37U, kel_delete_subscriber_parameter_map("abc", 1));
  EXPECT_TRACED(kNoOwner, error("(ERR): Could not find default db"));
}

TEST_F(DeletingByName, NeedsAClient) {
  start_again();
  EXPECT_EQ(kel_delete_subscriber_parameter_map("abc", 1), 37U);
  EXPECT_ERRORS(no_client_yet("delete_subscriber_pmtr_map"));
}

TEST_F(DeletingByName, ReturnsTheRefusalOfTheTree) {
  stored_pmtr_map("abc");
  runtime::fail_next_tree_delete();
  EXPECT_REFUSED(41U, kel_delete_subscriber_parameter_map("abc", 1));
  NEEDS_TRACE();
  const Lines lines = take_trace();
  EXPECT_EQ(lines.back(), info("(info): Deleted pmtr-map: %s", "abc")) << "whatever the status is";
}

TEST_F(DeletingByName, SparesAMapOfAnotherKind) {
  const uint32_t policy = pmap("abc", {.domain = "subscriber"});
  {
    const Quiet quiet;
    ASSERT_EQ(zar_store_pmtr_map(one, policy), 0U);
  }
  EXPECT_EQ(kel_delete_subscriber_parameter_map("abc", 1), 39U);
  EXPECT_STREQ(zar_get_pmap_name(policy), "abc");
}

TEST_F(DeletingByName, LeavesAMapOfAnotherKindInTheTree) {
  const uint32_t policy = pmap("abc", {.domain = "subscriber"});
  {
    const Quiet quiet;
    ASSERT_EQ(zar_store_pmtr_map(one, policy), 0U);
  }
  EXPECT_REFUSED(39U, kel_delete_subscriber_parameter_map("abc", 1));
  EXPECT_EQ(pmtr_maps_in(db), Handles{policy});
}

TEST(DeletingByNameUnderFaults, DeletesOrLeavesAll) {
  for_each_fault([](FaultClock &clock) {
    World world;
    world.stored_pmtr_map("abc");
    const std::string before = world.everything();
    const uint32_t status = clock.during([] { return kel_delete_subscriber_parameter_map("abc", 1); });
    EXPECT_EQ(status, clock.hit() ? 39U : 0U);
    if (!clock.hit()) return;
    EXPECT_EQ(world.everything(), before);
  });
}

// ---- The question of the engine

struct AskingByName : Subscriber {};

TEST_F(AskingByName, ReturnsTheMapOfTheTypeThatTheEngineHas) {
  const uint32_t control = stored_pmtr_map("abc");
  const uint32_t plain = stored_pmtr_map("abc", {.domain = "subscriber", .type = 2});
  EXPECT_REFUSED(control, kel_is_pmap_created("abc"));
  EXPECT_CALLS(type_asked("subscriber"));
  EXPECT_TRACED(kNoOwner, own_database("retrieve_pmtr_map"),
                info("(info): retrieve_pmtr_map: successful, pmtr_map:%s", "abc:subscriber:1"),
                info("(info): found pmtr-map: %s", "abc"));
  engine().parameter_map_types["subscriber"] = 2;
  EXPECT_REFUSED(plain, kel_is_pmap_created("abc"));
}

TEST_F(AskingByName, ReturnsNothingForAMapThatIsNotStored) {
  pmtr_map("abc");
  stored_pmtr_map("abc", {.domain = "access"});
  EXPECT_REFUSED(0U, kel_is_pmap_created("abc"));
  EXPECT_ERRORS(error("(ERR): pmtr-map not found: %s", "abc"));
}

TEST_F(AskingByName, DoesNotSearchWhereTheEngineHasNoType) {
  stored_pmtr_map("abc");
  engine().parameter_map_types.clear();
  watch_requests();
  EXPECT_REFUSED(0U, kel_is_pmap_created("abc"));
  EXPECT_TRACED(info("(info): parameter-map:%s is not recognised\n", "subscriber"));
  EXPECT_CALLS(type_asked("subscriber"));
  EXPECT_REQUESTS();
}

TEST_F(AskingByName, ReturnsNothingWhereTheSearchFails) {
  stored_pmtr_map("abc");
  zar_clients_info[0]->status = 0;
  EXPECT_REFUSED(0U, kel_is_pmap_created("abc"));
  zar_clients_info[0]->status = 1;
  engine().parameter_map_types["subscriber"] = 3;
  EXPECT_REFUSED(0U, kel_is_pmap_created("abc"));
}

TEST_F(AskingByName, ReturnsNothingForNoName) {
  EXPECT_REFUSED(0U, kel_is_pmap_created(nullptr));
  EXPECT_TRACED(no_name("is_pmap_created"));
}

TEST_F(AskingByName, KnowsNamesOfUpTo99Characters) {
  const std::string longest(99, 'n'), too_long(100, 'm');
  const uint32_t map = stored_pmtr_map(longest.c_str());
  stored_pmtr_map(too_long.c_str());
  EXPECT_REFUSED(map, kel_is_pmap_created(longest.c_str()));
  forget_trace();
  EXPECT_REFUSED(0U, kel_is_pmap_created(too_long.c_str()));
  EXPECT_ERRORS(error("(ERR): pmtr-map not found: %s", ""));
  EXPECT_REFUSED(0U, kel_is_pmap_created((longest + "x").c_str()));
}

TEST_F(AskingByName, DoesNotTreatATooLongNameAsTheEmptyOne) {
  const uint32_t nameless = stored_pmtr_map("");
  EXPECT_EQ(kel_is_pmap_created(""), nameless);
  EXPECT_EQ(kel_is_pmap_created(std::string(100, 'n').c_str()), 0U);
  EXPECT_EQ(kel_is_pmap_created(nullptr), 0U);
}

}  // namespace
