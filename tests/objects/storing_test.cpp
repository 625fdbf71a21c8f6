// Storing maps and retrieving them by name.
#include "objects/map_families.h"
#include "support/lines.h"
#include "support/when_traced.h"

using namespace rig;

namespace {

constexpr uint32_t kUntouched = 0xabcd;

Line no_database() {
  return error("(ERR): Could not find default db");
}
Line store_refused(const char *store) {
  return error("(ERR): %s: Error: avl insert failed", store);
}

template <typename Family>
struct Storing : Repository {
  using Record = typename Family::Record;

  uint32_t make(const char *name, const MapOptions &options = {}) {
    const Quiet quiet;
    const zar_map_info given = map_info(name, options);
    uint32_t handle = 0;
    EXPECT_EQ(Family::create(one, &given, &handle), 0U);
    return note(Family::kKind, handle);
  }
  uint32_t make_stored(const char *name, const MapOptions &options = {}) {
    const Quiet quiet;
    const uint32_t handle = make(name, options);
    EXPECT_EQ(Family::store(options.clid == 0 ? one : options.clid, handle), 0U);
    return handle;
  }
  // The result of the retrieval by name, without its trace.
  uint32_t retrieved(const char *name, const MapOptions &options = {}) {
    const Quiet quiet;
    const zar_map_info sought = map_info(name, options);
    uint32_t handle = kUntouched;
    EXPECT_EQ(Family::retrieve(options.clid == 0 ? one : options.clid, &sought, &handle), 0U);
    return handle;
  }
  static Line search_failed(const char *name, uint32_t clid) {
    return info("(info): %s: search failed  clid:%d, name:%s", Family::kRetrieve, clid, name);
  }
  static Line no_match(const char *name, uint32_t clid) {
    return info("(info): %s: search failed as there is no match clid:%d, name:%s", Family::kRetrieve, clid, name);
  }
  static Line found(const char *key) { return info(Family::kFound, key); }
};

// ---- Storing

TYPED_TEST_SUITE(Storing, BothFamilies, FamilyNames);

TYPED_TEST(Storing, InsertsAMapUnderItsKey) {
  const uint32_t gold = this->make("gold");
  watch_requests();
  EXPECT_EQ(TypeParam::store(this->one, gold), 0U);
  EXPECT_TRACED(own_database(TypeParam::kStore), TypeParam::was_stored(gold, "gold:d1:1"));
  EXPECT_REQUESTS("tree insert");
  EXPECT_EQ(TypeParam::stored(this->db), Handles{gold});
}

TYPED_TEST(Storing, UsesTheClientsOwnDatabase) {
  zar_db *own = this->database();
  const uint32_t three = this->client("three", own);
  const uint32_t gold = this->make("gold");
  EXPECT_EQ(TypeParam::store(three, gold), 0U);
  EXPECT_EQ(TypeParam::stored(own), Handles{gold});
  EXPECT_EQ(TypeParam::stored(this->db), Handles{});
}

TYPED_TEST(Storing, UsesTheDefaultDatabaseForAClientWithoutOne) {
  const uint32_t gold = this->make("gold");
  EXPECT_EQ(TypeParam::store(this->two, gold), 0U);
  EXPECT_TRACED(default_database(TypeParam::kStore), TypeParam::was_stored(gold, "gold:d1:1"));
  EXPECT_EQ(TypeParam::stored(this->db), Handles{gold});
}

TYPED_TEST(Storing, NeedsAValidClient) {
  const uint32_t gold = this->make("gold");
  for (const uint32_t clid : {0U, 3U, 0xffffffffU}) {
    for (const uint32_t handle : {gold, 0U}) {
      const std::string before = this->everything();
      EXPECT_EQ(TypeParam::store(clid, handle), 39U);
      EXPECT_TRACED(wrong_clid(TypeParam::kStore, clid, 2));
      EXPECT_EQ(this->everything(), before);
    }
  }
}

TYPED_TEST(Storing, NeedsAHandleWithARecord) {
  const uint32_t gold = this->make("gold");
  zar_clients_info[0]->status = 0;
  EXPECT_EQ(TypeParam::store(this->one, 0), 39U);
  EXPECT_TRACED(invalid_handle(), TypeParam::bad_handle());
  EXPECT_EQ(TypeParam::store(this->one, 0xfffffff0), 39U);
  EXPECT_TRACED(TypeParam::bad_handle());
  zar_handle_release(gold);
  EXPECT_EQ(TypeParam::store(this->one, gold), 39U);
  EXPECT_TRACED(destroyed_already(gold), TypeParam::bad_handle());
  EXPECT_EQ(TypeParam::stored(this->db), Handles{});
}

TYPED_TEST(Storing, NeedsAnActiveClient) {
  const uint32_t gold = this->make("gold");
  zar_clients_info[0]->status = 0;
  EXPECT_EQ(TypeParam::store(this->one, gold), 37U);
  EXPECT_TRACED(inactive_client(TypeParam::kStore, 1));
  EXPECT_EQ(TypeParam::stored(this->db), Handles{});
}

TYPED_TEST(Storing, NeedsADatabase) {
  const uint32_t gold = this->make("gold");
  zar_clients_info[0]->database = nullptr;
  EXPECT_EQ(TypeParam::store(this->one, gold), 37U);
  EXPECT_TRACED(no_database());
}

TYPED_TEST(Storing, NeedsTheTreeOfItsKind) {
  const uint32_t gold = this->make("gold");
  zar_db treeless = *this->db;
  TypeParam::tree(treeless) = nullptr;
  zar_clients_info[0]->database = &treeless;
  EXPECT_EQ(TypeParam::store(this->one, gold), 41U);
  EXPECT_TRACED(own_database(TypeParam::kStore),
                TypeParam::insert_error(World::at<typename TypeParam::Record>(gold), &treeless),
                store_refused(TypeParam::kStore));
  zar_clients_info[0]->database = this->db;
}

TYPED_TEST(Storing, RefusesTheSameMapTwiceAndKeepsTheFirstEntry) {
  const uint32_t gold = this->make_stored("gold");
  const std::string before = this->everything();
  EXPECT_EQ(TypeParam::store(this->one, gold), 41U);
  EXPECT_TRACED(own_database(TypeParam::kStore), TypeParam::insert_failed("gold:d1:1"),
                store_refused(TypeParam::kStore));
  EXPECT_EQ(this->everything(), before);
  EXPECT_EQ(TypeParam::stored(this->db), Handles{gold});
}

TYPED_TEST(Storing, RefusesAnotherMapOfAnEqualKey) {
  const uint32_t gold = this->make_stored("gold");
  const uint32_t twin = this->make("gold");
  EXPECT_EQ(TypeParam::store(this->two, twin), 41U);
  EXPECT_TRACED(default_database(TypeParam::kStore), TypeParam::insert_failed("gold:d1:1"),
                store_refused(TypeParam::kStore));
  EXPECT_EQ(TypeParam::stored(this->db), Handles{gold});
}

TYPED_TEST(Storing, RefusesAMapThatAnotherDatabaseHolds) {
  zar_db *own = this->database();
  const uint32_t three = this->client("three", own);
  const uint32_t gold = this->make_stored("gold");
  EXPECT_EQ(TypeParam::store(three, gold), 41U);
  EXPECT_EQ(TypeParam::stored(own), Handles{});
  EXPECT_EQ(TypeParam::stored(this->db), Handles{gold});
}

TYPED_TEST(Storing, TracesThatTheTreeRefuses) {
  const uint32_t gold = this->make("gold");
  runtime::fail_request(runtime::Service::tree_insert, 1);
  EXPECT_EQ(TypeParam::store(this->one, gold), 41U);
  EXPECT_TRACED(own_database(TypeParam::kStore), TypeParam::insert_failed("gold:d1:1"),
                store_refused(TypeParam::kStore));
  EXPECT_EQ(TypeParam::store(this->one, gold), 0U);
}

TYPED_TEST(Storing, TakesARecordOfTheCallersOwn) {
  typename TypeParam::Record own{};
  char key[] = "own:d1:1";
  own.hash_str = key;
  own.handle = zar_handle_alloc(&own);
  EXPECT_EQ(TypeParam::store(this->one, own.handle), 0U);
  EXPECT_EQ(this->retrieved("own"), own.handle);
  zar_destroy_database(this->db);  // the record goes out of scope
}

// ---- Retrieving

TYPED_TEST(Storing, IsForFindingAgain) {
  const uint32_t gold = this->make_stored("gold");
  const uint32_t silver = this->make_stored("silver");
  const zar_map_info sought = World::map_info("silver");
  uint32_t handle = kUntouched;
  watch_requests();
  EXPECT_EQ(TypeParam::retrieve(this->one, &sought, &handle), 0U);
  EXPECT_EQ(handle, silver);
  EXPECT_TRACED(own_database(TypeParam::kRetrieve), this->found("silver:d1:1"));
  EXPECT_REQUESTS();
  EXPECT_EQ(this->retrieved("gold"), gold);
}

TYPED_TEST(Storing, MakesAMapFindable) {
  this->make("gold");
  EXPECT_EQ(this->retrieved("gold"), 0U);
}

TYPED_TEST(Storing, FindsNothingAndCallsThatASuccess) {
  this->make_stored("gold");
  const zar_map_info sought = World::map_info("silver");
  uint32_t handle = kUntouched;
  EXPECT_EQ(TypeParam::retrieve(this->two, &sought, &handle), 0U);
  EXPECT_EQ(handle, 0U);
  EXPECT_TRACED(default_database(TypeParam::kRetrieve), this->no_match("silver", 2));
}

TYPED_TEST(Storing, WritesThePlaceBeforeTheMessageOfAMapAndAfterThatOfNone) {
  NEEDS_TRACE();
  const uint32_t gold = this->make_stored("gold");
  const zar_map_info stored = World::map_info("gold"), missing = World::map_info("silver");
  uint32_t handle = kUntouched;
  EXPECT_EQ(values_when_traced(handle, [&] { TypeParam::retrieve(this->one, &stored, &handle); }),
            (Handles{kUntouched, gold}));
  EXPECT_TRACED(own_database(TypeParam::kRetrieve), this->found("gold:d1:1"));

  handle = kUntouched;
  EXPECT_EQ(values_when_traced(handle, [&] { TypeParam::retrieve(this->one, &missing, &handle); }),
            (Handles{kUntouched, kUntouched}));
  EXPECT_TRACED(own_database(TypeParam::kRetrieve), this->no_match("silver", 1));
  EXPECT_EQ(handle, 0U);
}

TYPED_TEST(Storing, DistinguishesMapsByDomainAndType) {
  const uint32_t gold = this->make_stored("gold");
  const uint32_t other_domain = this->make_stored("gold", {.domain = "d2"});
  const uint32_t other_type = this->make_stored("gold", {.type = 2});
  EXPECT_EQ(this->retrieved("gold"), gold);
  EXPECT_EQ(this->retrieved("gold", {.domain = "d2"}), other_domain);
  EXPECT_EQ(this->retrieved("gold", {.type = 2}), other_type);
  EXPECT_EQ(this->retrieved("gold", {.domain = "d2", .type = 2}), 0U);
}

TYPED_TEST(Storing, AsType2IsNotFoundAsType1) {
  this->make_stored("gold", {.type = 2});
  EXPECT_EQ(this->retrieved("gold", {.type = 1}), 0U);
}

TYPED_TEST(Storing, IsFoundWhateverTheHiddenFieldSays) {
  const uint32_t gold = this->make_stored("gold", {.hidden = 1});
  EXPECT_EQ(this->retrieved("gold"), gold);
  EXPECT_EQ(this->retrieved("gold", {.hidden = 1}), gold);
}

TYPED_TEST(Storing, InTheDefaultDatabaseIsForAllClientsWithoutOne) {
  const uint32_t three = this->client("three");
  const uint32_t gold = this->make_stored("gold", {.clid = this->two});
  const uint32_t silver = this->make_stored("silver", {.clid = three});
  EXPECT_EQ(this->retrieved("gold", {.clid = three}), gold);
  EXPECT_EQ(this->retrieved("silver", {.clid = this->two}), silver);
  EXPECT_EQ(this->retrieved("gold", {.clid = this->one}), gold);
}

TYPED_TEST(Storing, InADatabaseOfItsOwnIsForThatClientAlone) {
  const uint32_t three = this->client("three", this->database());
  const uint32_t gold = this->make_stored("gold", {.clid = three});
  EXPECT_EQ(this->retrieved("gold", {.clid = three}), gold);
  EXPECT_EQ(this->retrieved("gold", {.clid = this->one}), 0U);
  EXPECT_EQ(this->retrieved("gold", {.clid = this->two}), 0U);
}

TYPED_TEST(Storing, TracesAllFaultsOfARetrieval) {
  this->make_stored("gold");
  const zar_map_info gold = World::map_info("gold");
  const zar_map_info broken{nullptr, 0, nullptr, 0};
  const char *caller = TypeParam::kRetrieve;
  uint32_t handle = kUntouched;
  for (const uint32_t clid : {this->one, 0U, 3U, 0xffffffffU}) {
    for (uint32_t *place : {&handle, static_cast<uint32_t *>(nullptr)}) {
      for (const zar_map_info *given : {&gold, &broken, static_cast<const zar_map_info *>(nullptr)}) {
        Lines faults;
        if (clid != this->one) faults.push_back(wrong_clid(caller, clid, 2));
        if (!place) faults.push_back(TypeParam::no_place(caller, clid));
        if (!given) faults.push_back(error("(ERR): %s: input map info cannot be NULL", caller));
        if (given == &broken) {
          faults.push_back(error("(ERR): %s: domain from input map info cannot be NULL", caller));
          faults.push_back(error("(ERR): %s: map name from input map info cannot be NULL", caller));
          faults.push_back(error("(ERR): %s: domain type:%d from input map info is invalid expected range: %d - %d",
                                 caller, 0, 1, 2));
        }
        if (faults.empty()) continue;
        EXPECT_EQ(TypeParam::retrieve(clid, given, place), 39U);
        EXPECT_EQ(take_trace(), faults);
      }
    }
  }
  EXPECT_EQ(handle, kUntouched);
}

TYPED_TEST(Storing, IsForActiveClientsToRetrieve) {
  this->make_stored("gold");
  const zar_map_info gold = World::map_info("gold");
  uint32_t handle = kUntouched;
  zar_clients_info[0]->status = 0;
  EXPECT_EQ(TypeParam::retrieve(this->one, &gold, &handle), 37U);
  EXPECT_TRACED(inactive_client(TypeParam::kRetrieve, 1));
  EXPECT_EQ(handle, kUntouched);
}

TYPED_TEST(Storing, IsForClientsWithADatabaseToRetrieve) {
  const zar_map_info gold = World::map_info("gold");
  uint32_t handle = kUntouched;
  zar_clients_info[0]->database = nullptr;
  EXPECT_EQ(TypeParam::retrieve(this->two, &gold, &handle), 37U);
  EXPECT_TRACED(no_database());
  EXPECT_EQ(handle, kUntouched);
  zar_clients_info[0]->database = this->db;
}

TYPED_TEST(Storing, CannotBeSearchedWithoutATree) {
  const zar_map_info gold = World::map_info("gold");
  uint32_t handle = kUntouched;
  zar_db treeless = *this->db;
  TypeParam::tree(treeless) = nullptr;
  zar_clients_info[0]->database = &treeless;
  EXPECT_EQ(TypeParam::retrieve(this->one, &gold, &handle), 41U);
  EXPECT_EQ(handle, kUntouched);
  NEEDS_TRACE();
  ASSERT_EQ(traced().size(), 3U);
  EXPECT_EQ(traced()[0], own_database(TypeParam::kRetrieve));
  EXPECT_EQ(traced()[1].level, 3U);
  EXPECT_EQ(traced()[1].text.rfind(TypeParam::kSearchErrorBegin, 0), 0U) << traced()[1].text;
  EXPECT_EQ(traced()[2], this->search_failed("gold", 1));
  zar_clients_info[0]->database = this->db;
}

TYPED_TEST(Storing, CutsTheProbeKeyLikeTheStoredKey) {
  const std::string stem(99, 'x');
  const uint32_t stored = this->make_stored((stem + "a").c_str());
  EXPECT_EQ(this->retrieved((stem + "a").c_str()), stored);
  EXPECT_EQ(this->retrieved((stem + "b").c_str()), stored) << "both keys are cut before the difference";
  EXPECT_EQ(TypeParam::store(this->one, this->make((stem + "b").c_str())), 41U);
  EXPECT_EQ(this->retrieved(stem.substr(1).c_str()), 0U);
}

// ---- Keys that begin with another, and records of other kinds

struct PolicyStoring : Storing<PolicyMaps> {};
struct ClassStoring : Storing<ClassMaps> {};

TEST_F(ClassStoring, FindsAStoredMapWhoseKeyTheProbeExtends) {
  // A domain may hold a colon, so that the key "gold:d:1" is the beginning of "gold:d:1:2".
  const uint32_t gold = make_stored("gold", {.domain = "d"});
  const zar_map_info sought = map_info("gold", {.domain = "d:1", .type = 2});
  uint32_t handle = kUntouched;
  EXPECT_EQ(zar_retrieve_class(one, &sought, &handle), 0U);
  EXPECT_EQ(handle, gold);
  EXPECT_TRACED(own_database("retrieve_class"), found("gold:d:1:2"));
}

TEST_F(ClassStoring, DoesNotFindAStoredMapWhoseKeyExtendsTheProbe) {
  make_stored("gold", {.domain = "d:1", .type = 2});
  EXPECT_EQ(retrieved("gold", {.domain = "d"}), 0U);
}

TEST_F(ClassStoring, TakesAKeyThatBeginsAStoredOneButNotTheOtherWayRound) {
  make_stored("gold", {.domain = "d:1", .type = 2});
  const uint32_t brief = make("gold", {.domain = "d"});
  EXPECT_EQ(zar_store_class(one, brief), 0U);
  EXPECT_EQ(retrieved("gold", {.domain = "d"}), brief);
  make_stored("silver", {.domain = "d"});
  EXPECT_EQ(zar_store_class(one, make("silver", {.domain = "d:1"})), 41U);
}

TEST_F(PolicyStoring, FindsAStoredMapWhoseKeyBeginsOrExtendsTheProbe) {
  const uint32_t brief = make_stored("gold", {.domain = "d"});
  EXPECT_EQ(retrieved("gold", {.domain = "d:1", .type = 2}), brief);
  const uint32_t extended = make_stored("silver", {.domain = "d:1", .type = 2});
  const zar_map_info sought = map_info("silver", {.domain = "d"});
  uint32_t handle = kUntouched;
  EXPECT_EQ(zar_retrieve_policy(one, &sought, &handle), 0U);
  EXPECT_EQ(handle, extended);
  EXPECT_TRACED(own_database("retrieve_policy"), found("silver:d:1"));
}

TEST_F(PolicyStoring, RefusesAKeyThatBeginsOrExtendsAStoredOne) {
  make_stored("gold", {.domain = "d"});
  EXPECT_EQ(zar_store_policy(one, make("gold", {.domain = "d:1"})), 41U);
  make_stored("silver", {.domain = "d:1", .type = 2});
  EXPECT_EQ(zar_store_policy(one, make("silver", {.domain = "d"})), 41U);
}

struct StoringAcrossKinds : Repository {};

TEST_F(StoringAcrossKinds, InsertsAnyMapIntoAnyTree) {
  const uint32_t voice = cmap("voice"), values = pmtr_map("values", {.domain = "d1"}), gold = pmap("gold");
  EXPECT_EQ(zar_store_policy(one, voice), 0U);
  EXPECT_TRACED(own_database("store_policy"), PolicyMaps::was_stored(voice, "voice:d1:1"));
  EXPECT_EQ(zar_store_policy(one, values), 0U);
  EXPECT_EQ(zar_store_class(one, gold), 0U);
  EXPECT_EQ(pmaps_in(db), (Handles{values, voice}));
  EXPECT_EQ(cmaps_in(db), Handles{gold});
}

TEST_F(StoringAcrossKinds, FindsTheRecordThatTheTreeHoldsOfAnyKind) {
  const uint32_t voice = cmap("voice");
  ASSERT_EQ(zar_store_policy(one, voice), 0U);
  const zar_map_info sought = map_info("voice");
  uint32_t handle = kUntouched;
  EXPECT_EQ(zar_retrieve_policy(one, &sought, &handle), 0U);
  EXPECT_EQ(handle, voice);
  EXPECT_EQ(zar_retrieve_class(one, &sought, &handle), 0U);
  EXPECT_EQ(handle, 0U);
}

TEST_F(StoringAcrossKinds, ComparesKeysOfTheTwoKindsLikeAnyOther) {
  stored_pmap("gold");
  EXPECT_EQ(zar_store_policy(one, cmap("gold")), 41U);
}

TEST_F(StoringAcrossKinds, LetsAMapBeInOneTreeOnly) {
  const uint32_t gold = stored_pmap("gold");
  EXPECT_EQ(zar_store_class(one, gold), 41U);
  EXPECT_EQ(cmaps_in(db), Handles{});
}

TEST(StoringUnderFaults, AMapIsStoredOrRefusedWith41) {
  for_each_fault([](FaultClock &clock) {
    World world;
    const uint32_t gold = world.pmap("gold"), voice = world.cmap("voice");
    const std::string before = world.everything();
    const uint32_t status = clock.during([&] {
      const uint32_t policy = zar_store_policy(world.one, gold);
      return policy == 0 ? zar_store_class(world.one, voice) : policy;
    });
    EXPECT_EQ(status, clock.hit() ? 41U : 0U);
    if (clock.hit() && World::pmaps_in(world.db).empty()) {
      EXPECT_EQ(world.everything(), before);
      EXPECT_EQ(zar_store_policy(world.one, gold), 0U);
    }
    if (clock.hit()) {
      EXPECT_EQ(zar_store_class(world.one, voice), 0U);
    }
  });
}

}  // namespace
