// Parameter-maps as records: making, storing, finding, walking and deleting them, and their hidden flag.
#include <algorithm>
#include <functional>
#include <utility>

#include "platform/engine.h"
#include "platform/runtime.h"
#include "support/platform_log.h"
#include "support/wrong_handles.h"

using namespace rig;

namespace {

constexpr uint32_t kUntouched = 0xabcd;
constexpr uint32_t kKeyTag = 0x3e0005a;
constexpr const char *kPool = "ZAR DB pmtr-map chunk";

constexpr MapOptions kOfAccess = {.domain = "access"};

struct ParameterMaps : Repository {
  uint32_t place = kUntouched;

  static Line wrong_clid(const char *caller, uint32_t clid) {
    return error("(ERR): %s: Wrong clid:%d, expected range: 1 - %d", caller, clid, 2);
  }
  static Line no_place(const char *caller) {
    return error("(ERR): %s: clid:%d, input parameter-map handle cannot be NULL", caller, 1);
  }
  static Line no_map(const char *caller) {
    return error("(ERR): %s: input pmtr-map handle context cannot be NULL", caller);
  }
  static Line own_database(const char *caller) { return info("(info): %s: using client specific database", caller); }
  static Line inactive(const char *caller) {
    return error("(ERR): %s: clid:%d, Client status in ZAR is INACTIVE", caller, 1);
  }

  // Stores a map of any kind among the parameter-maps.
  void store(uint32_t map, uint32_t clid = 1) {
    const Quiet quiet;
    EXPECT_EQ(zar_store_pmtr_map(clid, map), 0U);
  }
};

// ---- Making

struct Making : ParameterMaps {
  const zar_map_info abc = map_info("abc", kOfAccess);
};

TEST_F(Making, ReturnsAnEmptyMapInNoTree) {
  EXPECT_EQ(zar_create_pmtr_map(two, &abc, &place), 0U);
  EXPECT_TRACED(info("(info): create_pmtr_map: successful, pmtr_map:0x%x", place));
  const zar_pmtr_map *map = at<zar_pmtr_map>(place);
  EXPECT_EQ(map->handle, place);
  EXPECT_STREQ(sdb_string_addr_ptr(map->name), "abc");
  EXPECT_STREQ(sdb_string_addr_ptr(map->domain), "access");
  EXPECT_EQ(map->domain_type, 1U);
  EXPECT_STREQ(map->hash_str, "abc:access:1");
  EXPECT_EQ(map_indexes_of(place), std::vector<uint32_t>{});
  EXPECT_EQ(map->stmt_queue.limit, 0U);
  EXPECT_EQ(map->hidden, 0);
  EXPECT_EQ(pmtr_maps_in(db), Handles{});
  EXPECT_CALLS();
}

TEST_F(Making, RequestsWhatItNeedsInOrder) {
  NEEDS_FRESH_PROCESS();
  EXPECT_EQ(pool_of(kPool), "") << "the pool is made with the first parameter-map";
  watch_requests();
  EXPECT_EQ(zar_create_pmtr_map(one, &abc, &place), 0U);
  EXPECT_REQUESTS("pool \"ZAR DB pmtr-map chunk\" of 104", "record of 104", "id 0x3e00023", "text 0x3e00032 \"abc\"",
                  "text 0x3e00033 \"access\"", "duplicate 0x3e0005a \"abc:access:1\"");
  EXPECT_EQ(pool_of(kPool), "104 bytes, 20 per chunk, flags 0x111");
  EXPECT_EQ(zar_create_pmtr_map(one, &abc, &place), 0U);
  EXPECT_EQ(take_requests().front(), "record of 104");
  EXPECT_STREQ(zar_db_pmtr_map_chunk_str, kPool);
}

TEST_F(Making, KnowsWhetherTheMapIsHiddenBeforeTheKeyIsMadeAndTheQueueAfterIt) {
  watch_platform();
  EXPECT_EQ(zar_create_pmtr_map(one, &abc, &place), 0U);
  EXPECT_EQ(take_platform_calls({"duplicate", "queue"}),
            (PlatformCalls{"duplicate 0x3e0005a \"abc:access:1\"", "queue init 0"}));

  const zar_map_info begun = map_info("", kOfAccess);
  uint32_t hidden_then = 0;
  watch_platform();
  when_platform_called("duplicate", [&] { hidden_then = at<zar_pmtr_map>(runtime::live_ids().back())->hidden; });
  EXPECT_EQ(zar_create_pmtr_map(one, &begun, &place), 0U);
  EXPECT_EQ(hidden_then, 1U);
}

TEST_F(Making, KeepsTheDomainType) {
  const zar_map_info other = map_info("abc", {.domain = "access", .type = 2});
  EXPECT_EQ(zar_create_pmtr_map(one, &other, &place), 0U);
  EXPECT_EQ(at<zar_pmtr_map>(place)->domain_type, 2U);
  EXPECT_STREQ(at<zar_pmtr_map>(place)->hash_str, "abc:access:2");
}

TEST_F(Making, CutsTheKeyAt99Characters) {
  for (const size_t length : {89U, 90U, 91U, 200U}) {
    const std::string name(length, 'n');
    const uint32_t map = pmtr_map(name.c_str(), kOfAccess);
    EXPECT_EQ(at<zar_pmtr_map>(map)->hash_str, (name + ":access:1").substr(0, 99));
    EXPECT_EQ(zar_get_pmtr_map_name(map), name) << "the name is whole";
  }
}

TEST_F(Making, DoesNotCheckWhetherTheClientIsActive) {
  zar_clients_info[0]->status = 0;
  EXPECT_EQ(zar_create_pmtr_map(one, &abc, &place), 0U);
}

TEST_F(Making, DoesNotReadTheHiddenField) {
  const zar_map_info hidden = map_info("abc", {.domain = "access", .hidden = 1});
  EXPECT_EQ(zar_create_pmtr_map(one, &hidden, &place), 0U);
  EXPECT_EQ(zar_is_pmap_hidden(place), 0U);
}

TEST_F(Making, StopsAtTheFirstFault) {
  for (const uint32_t clid : {0U, 3U, 0xffffffffU}) {
    EXPECT_REFUSED(39U, zar_create_pmtr_map(clid, nullptr, nullptr));
    EXPECT_TRACED(wrong_clid("create_pmtr_map", clid));
  }
  EXPECT_REFUSED(39U, zar_create_pmtr_map(one, nullptr, nullptr));
  EXPECT_TRACED(no_place("create_pmtr_map"));
  EXPECT_REFUSED(39U, zar_create_pmtr_map(one, nullptr, &place));
  EXPECT_TRACED(error("(ERR): %s: input map info cannot be NULL", "create_pmtr_map"));
  EXPECT_EQ(place, kUntouched);
}

TEST_F(Making, TracesEveryFaultOfTheMapInfo) {
  const zar_map_info nothing = {nullptr, 3, nullptr, 0};
  EXPECT_REFUSED(39U, zar_create_pmtr_map(one, &nothing, &place));
  EXPECT_TRACED(error("(ERR): %s: domain from input map info cannot be NULL", "create_pmtr_map"),
                error("(ERR): %s: map name from input map info cannot be NULL", "create_pmtr_map"),
                error("(ERR): %s: domain type:%d from input map info is invalid expected range: %d - %d",
                      "create_pmtr_map", 3, 1, 2));
  EXPECT_EQ(place, kUntouched);
}

TEST_F(Making, NeedsItsPool) {
  NEEDS_FRESH_PROCESS();
  runtime::fail_request(runtime::Service::pool, 1);
  EXPECT_REFUSED(38U, zar_create_pmtr_map(one, &abc, &place));
  EXPECT_TRACED(error("(ERR): create_pmtr_map: memory alloc for pmtr_map failed clid:%d, name:%s", 1, "abc"));
  EXPECT_EQ(place, kUntouched);
  EXPECT_EQ(zar_create_pmtr_map(one, &abc, &place), 0U) << "the pool is tried again";
}

TEST_F(Making, NeedsARecord) {
  runtime::fail_request(runtime::Service::record, 1);
  EXPECT_REFUSED(38U, zar_create_pmtr_map(two, &abc, &place));
  EXPECT_TRACED(error("(ERR): create_pmtr_map: memory alloc for pmtr_map failed clid:%d, name:%s", 2, "abc"));
  EXPECT_EQ(place, kUntouched);
}

TEST_F(Making, NeedsAHandle) {
  runtime::fail_request(runtime::Service::id, 1);
  EXPECT_REFUSED(37U, zar_create_pmtr_map(two, &abc, &place));
  EXPECT_TRACED(error("(ERR): create_pmtr_map: Could not create id for pmtr-map clid:%d, name:%s", 2, "abc"));
  EXPECT_EQ(place, kUntouched);
}

TEST_F(Making, NeedsItsName) {
  runtime::fail_request(runtime::Service::text, 1);
  EXPECT_REFUSED(37U, zar_create_pmtr_map(two, &abc, &place));
  EXPECT_TRACED(error("(ERR): create_pmtr_map: Could not add pmtr-map name to SDB clid:%d, name:%s", 2, "abc"));
  EXPECT_EQ(place, kUntouched);
}

TEST_F(Making, NeedsItsDomain) {
  runtime::fail_request(runtime::Service::text, 2);
  watch_requests();
  EXPECT_REFUSED(37U, zar_create_pmtr_map(two, &abc, &place));
  EXPECT_TRACED(error("(ERR): create_pmtr_map: Could not add domain name to SDB  clid:%d, name:%s", 2, "access"));
  EXPECT_TEXT_REMOVALS("0x3e00032 \"abc\"");
  EXPECT_EQ(place, kUntouched);
}

TEST_F(Making, NeedsItsKey) {
  runtime::fail_request(runtime::Service::duplicate, 1);
  watch_requests();
  EXPECT_REFUSED(37U, zar_create_pmtr_map(two, &abc, &place));
  EXPECT_TRACED(error("(ERR): create_pmtr_map: Could not create hash string  clid:%d, name:%s", 2, "abc"));
  std::vector<std::string> removals = take_text_removals();
  std::sort(removals.begin(), removals.end());
  EXPECT_EQ(removals, (std::vector<std::string>{"0x3e00032 \"abc\"", "0x3e00033 \"access\""}));
  EXPECT_EQ(place, kUntouched);
}

TEST(MakingUnderFaults, FreesEverything) {
  for_each_fault([](FaultClock &clock) {
    World world;
    const std::string before = world.everything();
    const zar_map_info abc = World::map_info("abc", kOfAccess);
    uint32_t place = kUntouched;
    const uint32_t status = clock.during([&] { return zar_create_pmtr_map(world.one, &abc, &place); });
    if (!clock.hit()) {
      EXPECT_EQ(status, 0U);
      return;
    }
    const bool no_record = clock.failed_in(runtime::Service::pool) || clock.failed_in(runtime::Service::record);
    EXPECT_EQ(status, no_record ? 38U : 37U);
    EXPECT_EQ(place, kUntouched);
    EXPECT_EQ(world.everything(), before);
    EXPECT_EQ(zar_create_pmtr_map(world.one, &abc, &place), 0U);
  });
}

// ---- The hidden flag

struct HiddenMaps : ParameterMaps {};

TEST_F(HiddenMaps, AreNamedByAnyLeadingPartOfTheTemplateName) {
  const std::string whole = BUILTIN_DEVICE_TO_TEMPLATE;
  for (size_t length = 0; length <= whole.size(); ++length)
    EXPECT_EQ(zar_is_pmap_hidden(pmtr_map(whole.substr(0, length).c_str())), 1U) << length;
  EXPECT_TRACED();
}

TEST_F(HiddenMaps, AreNamedByNothingElse) {
  const std::string whole = BUILTIN_DEVICE_TO_TEMPLATE;
  for (const std::string &name : {whole + "X", whole + whole, std::string("builtin"), whole.substr(1), "X" + whole})
    EXPECT_EQ(zar_is_pmap_hidden(pmtr_map(name.c_str())), 0U) << name;
}

TEST_F(HiddenMaps, AreNamedByTheEngine) {
  const char *before = std::exchange(BUILTIN_DEVICE_TO_TEMPLATE, "gold");
  EXPECT_EQ(zar_is_pmap_hidden(pmtr_map("gol")), 1U);
  EXPECT_EQ(zar_is_pmap_hidden(pmtr_map("BUILTIN")), 0U);
  BUILTIN_DEVICE_TO_TEMPLATE = nullptr;
  EXPECT_EQ(zar_is_pmap_hidden(pmtr_map("BUILT")), 0U) << "an engine without a template hides nothing";
  BUILTIN_DEVICE_TO_TEMPLATE = before;
}

TEST_F(HiddenMaps, AreUnhiddenPermanently) {
  const uint32_t hidden = pmtr_map("BUILTIN"), other = pmtr_map("BUILT");
  zar_unhide_pmap(hidden);
  EXPECT_EQ(zar_is_pmap_hidden(hidden), 0U);
  EXPECT_EQ(zar_is_pmap_hidden(other), 1U);
  zar_unhide_pmap(hidden);
  EXPECT_EQ(zar_is_pmap_hidden(hidden), 0U);
  EXPECT_TRACED();
}

TEST_F(HiddenMaps, AreNotPolicies) {
  const uint32_t policy = pmap(builtin_autoconf_policy);
  EXPECT_EQ(zar_is_pmap_hidden(policy), 0U);
  zar_unhide_pmap(policy);
  EXPECT_EQ(zar_is_policy_hidden(policy), 1U);
}

// ---- Storing

struct Storing : ParameterMaps {};

TEST_F(Storing, InsertsTheMapUnderItsKey) {
  const uint32_t abc = pmtr_map("abc");
  EXPECT_EQ(zar_store_pmtr_map(one, abc), 0U);
  EXPECT_TRACED(own_database("store_pmtr_map"), info("(info): store_pmtr_map: successful"));
  EXPECT_EQ(pmtr_maps_in(db), Handles{abc});
  EXPECT_EQ(pmaps_in(db), Handles{});
}

TEST_F(Storing, UsesTheDefaultDatabaseForAClientWithoutOne) {
  const uint32_t abc = pmtr_map("abc");
  EXPECT_EQ(zar_store_pmtr_map(two, abc), 0U);
  EXPECT_TRACED(info("(info): %s: using default database", "store_pmtr_map"),
                info("(info): store_pmtr_map: successful"));
  EXPECT_EQ(pmtr_maps_in(db), Handles{abc});
}

TEST_F(Storing, RefusesAnEqualKey) {
  const uint32_t first = stored_pmtr_map("abc"), second = pmtr_map("abc");
  EXPECT_REFUSED(41U, zar_store_pmtr_map(one, second));
  EXPECT_TRACED(own_database("store_pmtr_map"),
                error("(ERR): CMAP avl: insert failed, hash str:%s", "abc:subscriber:1"),
                error("(ERR): store_pmtr_map: Error: avl insert failed"));
  EXPECT_EQ(pmtr_maps_in(db), Handles{first});
  EXPECT_REFUSED(41U, zar_store_pmtr_map(one, first));
}

TEST_F(Storing, StopsAtTheFirstFault) {
  const uint32_t abc = pmtr_map("abc");
  for (const uint32_t clid : {0U, 3U, 0xffffffffU}) {
    EXPECT_REFUSED(39U, zar_store_pmtr_map(clid, 0xfffffff0));
    EXPECT_TRACED(wrong_clid("store_pmtr_map", clid));
  }
  zar_clients_info[0]->status = 0;
  for (const WrongHandle &wrong : wrong_handles(*this, Kind::pmtr_map)) {
    SCOPED_TRACE(wrong.what);
    forget_trace();
    EXPECT_REFUSED(39U, zar_store_pmtr_map(one, wrong.handle));
    EXPECT_TRACED(wrong.look_up, error("(ERR): store_pmtr_map: Error: invalid pmtr_map handle"));
  }
  EXPECT_REFUSED(37U, zar_store_pmtr_map(one, abc));
  EXPECT_TRACED(inactive("store_pmtr_map"));
}

TEST_F(Storing, AcceptsAnyKindOfMap) {
  const uint32_t policy = pmap("policy"), voice = cmap("voice");
  EXPECT_EQ(zar_store_pmtr_map(one, policy), 0U);
  EXPECT_EQ(zar_store_pmtr_map(one, voice), 0U);
  EXPECT_EQ(pmtr_maps_in(db), (Handles{policy, voice}));
}

TEST_F(Storing, NeedsTheTree) {
  const uint32_t abc = pmtr_map("abc");
  avl_tree *tree = std::exchange(db->pmtr_map_tree, nullptr);
  EXPECT_EQ(zar_store_pmtr_map(one, abc), 41U);
  EXPECT_TRACED(own_database("store_pmtr_map"),
                error("(ERR): PMTR-MAP avl: insert error, pmtr_map_ptr:0x%p, db:0x%p", at<void>(abc), db),
                error("(ERR): store_pmtr_map: Error: avl insert failed"));
  db->pmtr_map_tree = tree;
}

TEST(StoringUnderFaults, LeavesTheMapAsItWas) {
  for_each_fault([](FaultClock &clock) {
    World world;
    const uint32_t abc = world.pmtr_map("abc");
    const std::string before = world.everything();
    const uint32_t status = clock.during([&] { return zar_store_pmtr_map(world.one, abc); });
    EXPECT_EQ(status, clock.hit() ? 41U : 0U);
    if (!clock.hit()) return;
    EXPECT_EQ(world.everything(), before);
    EXPECT_EQ(zar_store_pmtr_map(world.one, abc), 0U);
  });
}

// ---- Finding

struct Finding : ParameterMaps {
  const zar_map_info abc = map_info("abc", kOfAccess);
};

TEST_F(Finding, ReturnsTheHandleOfTheStoredMap) {
  const uint32_t map = stored_pmtr_map("abc", kOfAccess);
  EXPECT_REFUSED(0U, zar_retrieve_pmtr_map(one, &abc, &place));
  EXPECT_EQ(place, map);
  EXPECT_TRACED(own_database("retrieve_pmtr_map"),
                info("(info): retrieve_pmtr_map: successful, pmtr_map:%s", "abc:access:1"));
  place = kUntouched;
  EXPECT_REFUSED(0U, zar_retrieve_pmtr_map(two, &abc, &place));
  EXPECT_EQ(place, map);
  EXPECT_TRACED(info("(info): %s: using default database", "retrieve_pmtr_map"),
                info("(info): retrieve_pmtr_map: successful, pmtr_map:%s", "abc:access:1"));
}

TEST_F(Finding, ReturnsNoHandleForAMapThatIsNotStored) {
  pmtr_map("abc", kOfAccess);
  stored_pmtr_map("abc", {.domain = "access", .type = 2});
  stored_pmtr_map("abc", {.domain = "core"});
  stored_pmtr_map("abcd", kOfAccess);
  EXPECT_REFUSED(0U, zar_retrieve_pmtr_map(one, &abc, &place));
  EXPECT_EQ(place, 0U);
  EXPECT_TRACED(own_database("retrieve_pmtr_map"),
                info("(info): retrieve_pmtr_map: search failed as there is no match clid:%d, name:%s", 1, "abc"));
}

TEST_F(Finding, GoesByTheKeyCutAt99Characters) {
  const std::string name(120, 'n');
  const uint32_t map = stored_pmtr_map(name.c_str());
  const std::string other = name.substr(0, 99) + "something else";
  const zar_map_info sought = map_info(other.c_str(), {.domain = "core", .type = 2});
  EXPECT_EQ(zar_retrieve_pmtr_map(one, &sought, &place), 0U);
  EXPECT_EQ(place, map);
}

TEST_F(Finding, PrintsTheProbeKey) {
  const uint32_t map = stored_pmtr_map("abc", kOfAccess);
  at<zar_pmtr_map>(map)->hash_str[4] = '\0';  // the stored key "abc:" now begins the one sought
  EXPECT_EQ(zar_retrieve_pmtr_map(one, &abc, &place), 0U);
  EXPECT_EQ(place, map) << "only the length of the stored key is compared";
  NEEDS_TRACE();
  EXPECT_EQ(take_trace().back(), info("(info): retrieve_pmtr_map: successful, pmtr_map:%s", "abc:access:1"));
}

TEST_F(Finding, ReturnsWhateverIsStoredUnderTheKey) {
  const uint32_t policy = pmap("abc", kOfAccess);
  store(policy);
  EXPECT_EQ(zar_retrieve_pmtr_map(one, &abc, &place), 0U);
  EXPECT_EQ(place, policy);
}

TEST_F(Finding, StopsAtTheFirstFault) {
  for (const uint32_t clid : {0U, 3U, 0xffffffffU}) {
    EXPECT_REFUSED(39U, zar_retrieve_pmtr_map(clid, nullptr, nullptr));
    EXPECT_TRACED(wrong_clid("retrieve_pmtr_map", clid));
  }
  EXPECT_REFUSED(39U, zar_retrieve_pmtr_map(one, nullptr, nullptr));
  EXPECT_TRACED(no_place("retrieve_pmtr_map"));
  EXPECT_REFUSED(39U, zar_retrieve_pmtr_map(one, nullptr, &place));
  EXPECT_TRACED(error("(ERR): %s: input map info cannot be NULL", "retrieve_pmtr_map"));
  zar_clients_info[0]->status = 0;
  const zar_map_info nothing = {nullptr, 0, nullptr, 0};
  EXPECT_REFUSED(39U, zar_retrieve_pmtr_map(one, &nothing, &place));
  EXPECT_TRACED(error("(ERR): %s: domain from input map info cannot be NULL", "retrieve_pmtr_map"),
                error("(ERR): %s: map name from input map info cannot be NULL", "retrieve_pmtr_map"),
                error("(ERR): %s: domain type:%d from input map info is invalid expected range: %d - %d",
                      "retrieve_pmtr_map", 0, 1, 2));
  EXPECT_REFUSED(37U, zar_retrieve_pmtr_map(one, &abc, &place));
  EXPECT_TRACED(inactive("retrieve_pmtr_map"));
  EXPECT_EQ(place, kUntouched);
}

TEST_F(Finding, ReportsAFailedSearchAtTheInfoLevel) {
  avl_tree *tree = std::exchange(db->pmtr_map_tree, nullptr);
  EXPECT_EQ(zar_retrieve_pmtr_map(one, &abc, &place), 41U);
  EXPECT_EQ(place, kUntouched);
  NEEDS_TRACE();
  const Lines lines = take_trace();
  ASSERT_EQ(lines.size(), 3U);
  EXPECT_EQ(lines[1].level, 3U);
  EXPECT_TRUE(lines[1].text.starts_with("(ERR): PMTR-MAP avl: search error, cmap_ptr:0x")) << lines[1].text;
  EXPECT_EQ(lines[2], info("(info): retrieve_pmtr_map: search failed  clid:%d, name:%s", 1, "abc"));
  db->pmtr_map_tree = tree;
}

// ---- Names

struct Names : ParameterMaps {};

TEST_F(Names, AreGiven) {
  EXPECT_STREQ(zar_get_pmtr_map_name(pmtr_map("abc")), "abc");
  EXPECT_TRACED();
}

// ---- Walking

struct Walking : ParameterMaps {};

TEST_F(Walking, GoesInTheOrderOfTheKeys) {
  const uint32_t c = stored_pmtr_map("c"), a = stored_pmtr_map("a"), b = stored_pmtr_map("b", {.domain = "access"});
  EXPECT_REFUSED(0U, zar_get_first_pmtr_map(one, &place));
  EXPECT_EQ(place, a);
  EXPECT_TRACED(own_database("get_first_pmtr_map"),
                info("(info): %s: success, first pmtr-map:0x%x", "get_first_pmtr_map", a));
  EXPECT_REFUSED(0U, zar_get_next_pmtr_map(one, a, &place));
  EXPECT_EQ(place, b);
  EXPECT_TRACED(own_database("get_next_pmtr_map"),
                info("(info): %s: success, next pmtr-map:0x%x", "get_next_pmtr_map", b));
  EXPECT_REFUSED(0U, zar_get_next_pmtr_map(two, b, &place));
  EXPECT_EQ(place, c);
  EXPECT_TRACED(info("(info): %s: using default database", "get_next_pmtr_map"),
                info("(info): %s: success, next pmtr-map:0x%x", "get_next_pmtr_map", c));
  EXPECT_REFUSED(0U, zar_get_next_pmtr_map(one, c, &place));
  EXPECT_EQ(place, 0U);
  EXPECT_TRACED(own_database("get_next_pmtr_map"), info("(info): PMTR-MAP avl, get next: no next pmtr-map"),
                info("(info): %s: success, no next pmtr_map in the database", "get_next_pmtr_map"));
}

TEST_F(Walking, FindsNothingInAnEmptyDatabase) {
  EXPECT_REFUSED(0U, zar_get_first_pmtr_map(one, &place));
  EXPECT_EQ(place, 0U);
  EXPECT_TRACED(own_database("get_first_pmtr_map"), info("(info): PMTR-MAP avl, get first: no first pmtr-map"),
                info("(info): %s: success, no first pmtr_map in the database", "get_first_pmtr_map"));
}

TEST_F(Walking, ContinuesFromAMapThatIsNotStored) {
  const uint32_t b = pmtr_map("b");
  stored_pmtr_map("a");
  const uint32_t c = stored_pmtr_map("c");
  EXPECT_EQ(zar_get_next_pmtr_map(one, b, &place), 0U);
  EXPECT_EQ(place, c);
}

TEST_F(Walking, SkipsMapsOfAnotherKind) {
  const uint32_t a = stored_pmtr_map("a"), policy = pmap("b"), voice = cmap("c"), d = stored_pmtr_map("d");
  store(policy);
  store(voice);
  Handles walked;
  for (zar_get_first_pmtr_map(one, &place); place != 0 && walked.size() < 9; zar_get_next_pmtr_map(one, place, &place))
    walked.push_back(place);
  EXPECT_EQ(walked, (Handles{a, policy, voice, d}));
}

TEST_F(Walking, BeginsWithAClientAPlaceAndADatabase) {
  for (const uint32_t clid : {0U, 3U, 0xffffffffU}) {
    EXPECT_REFUSED(39U, zar_get_first_pmtr_map(clid, nullptr));
    EXPECT_TRACED(wrong_clid("get_first_pmtr_map", clid));
  }
  zar_clients_info[0]->status = 0;
  EXPECT_REFUSED(39U, zar_get_first_pmtr_map(one, nullptr));
  EXPECT_TRACED(no_place("get_first_pmtr_map"));
  EXPECT_REFUSED(37U, zar_get_first_pmtr_map(one, &place));
  EXPECT_TRACED(inactive("get_first_pmtr_map"));
  EXPECT_EQ(place, kUntouched);
}

TEST_F(Walking, ContinuesWithAClientAPlaceAndADatabase) {
  const uint32_t a = stored_pmtr_map("a");
  for (const uint32_t clid : {0U, 3U, 0xffffffffU}) {
    EXPECT_REFUSED(39U, zar_get_next_pmtr_map(clid, a, nullptr));
    EXPECT_TRACED(wrong_clid("get_next_pmtr_map", clid));
  }
  zar_clients_info[0]->status = 0;
  EXPECT_REFUSED(39U, zar_get_next_pmtr_map(one, a, nullptr));
  EXPECT_TRACED(no_place("get_next_pmtr_map"));
  EXPECT_REFUSED(37U, zar_get_next_pmtr_map(one, a, &place));
  EXPECT_TRACED(inactive("get_next_pmtr_map"));
  EXPECT_EQ(place, kUntouched);
}

TEST_F(Walking, NeedsTheTree) {
  const uint32_t a = stored_pmtr_map("a");
  avl_tree *tree = std::exchange(db->pmtr_map_tree, nullptr);
  EXPECT_EQ(zar_get_first_pmtr_map(one, &place), 41U);
  EXPECT_EQ(place, 0U);
  NEEDS_TRACE();
  EXPECT_EQ(take_errors().back(), error("(ERR): Error: getting first pmtr_map"));
  place = kUntouched;
  EXPECT_EQ(zar_get_next_pmtr_map(one, a, &place), 41U);
  EXPECT_EQ(place, 0U);
  EXPECT_EQ(take_errors().back(), error("(ERR): Error: getting next pmtr_map"));
  db->pmtr_map_tree = tree;
}

// ---- The tree itself

struct TreeWalk : ParameterMaps {
  zar_pmtr_map *out = nullptr;
};

TEST_F(TreeWalk, ReturnsTheRecordsInOrder) {
  const uint32_t b = stored_pmtr_map("b"), a = stored_pmtr_map("a");
  EXPECT_EQ(zar_avl_get_first_pmtr_map(db, &out), 1U);
  EXPECT_EQ(out, at<zar_pmtr_map>(a));
  EXPECT_EQ(zar_avl_get_next_pmtr_map(db, out, &out), 1U);
  EXPECT_EQ(out, at<zar_pmtr_map>(b));
  EXPECT_TRACED();
  EXPECT_EQ(zar_avl_get_next_pmtr_map(db, out, &out), 1U);
  EXPECT_EQ(out, nullptr);
  EXPECT_TRACED(info("(info): PMTR-MAP avl, get next: no next pmtr-map"));
}

TEST_F(TreeWalk, SaysThatTheTreeIsEmpty) {
  zar_pmtr_map own{};
  out = &own;
  EXPECT_EQ(zar_avl_get_first_pmtr_map(db, &out), 1U);
  EXPECT_EQ(out, nullptr);
  EXPECT_TRACED(info("(info): PMTR-MAP avl, get first: no first pmtr-map"));
}

TEST_F(TreeWalk, NeedsAllItsArguments) {
  zar_pmtr_map own{};
  EXPECT_EQ(zar_avl_get_first_pmtr_map(nullptr, &out), 0U);
  EXPECT_TRACED(error("(ERR): PMTR-MAP avl: get first error, pmtr_map_ptr:0x%p, db:0x%p", &out, nullptr));
  EXPECT_EQ(zar_avl_get_first_pmtr_map(db, nullptr), 0U);
  EXPECT_TRACED(error("(ERR): PMTR-MAP avl: get first error, pmtr_map_ptr:0x%p, db:0x%p", nullptr, db));

  const char *const message = "(ERR): PMTR-MAP avl: get next error, pmtr_map_ptr:0x%p, db:0x%p, next:0x%p";
  EXPECT_EQ(zar_avl_get_next_pmtr_map(nullptr, &own, &out), 0U);
  EXPECT_TRACED(error(message, &own, nullptr, &out));
  EXPECT_EQ(zar_avl_get_next_pmtr_map(db, nullptr, &out), 0U);
  EXPECT_TRACED(error(message, nullptr, db, &out));
  EXPECT_EQ(zar_avl_get_next_pmtr_map(db, &own, nullptr), 0U);
  EXPECT_TRACED(error(message, &own, db, nullptr));
}

// ---- Deleting

struct Deleting : ParameterMaps {
  // The domain of a parameter-map is never released in the string database; everything else is.
  static void expect_domain_left(const runtime::Inventory &before) {
    runtime::Inventory expected = before;
    expected.texts["left behind"] = 1;
    EXPECT_EQ(to_string(runtime::inventory()), to_string(expected));
  }
  // What the deletion of a statement with one filter and no action traces, up to its own record.
  static Lines statement_gone(const char *caller, const zar_pmtr_map_stmt *statement, uint32_t filter) {
    const uint32_t index = statement->map_index;
    return {info("(info): %s: Freeing statement:0x%p map-index: %d", caller, statement, index),
            info("(info): no registered owner for domain:%s, using default", "subscriber"),
            info("(info): %s: using client specific database", "delete_stored_class"),
            info("(info): %s: Freeing filter:0x%x", "delete_stored_class", filter),
            info("(info): Free filter:0x%x successful", filter),
            info("(info): %s: successfully deleted stored cmap:0x%x", "delete_stored_class", statement->internal_cmap),
            info("(info): internal class-map for map index %dremoved", index),
            info("(info): %s: Pmtr-map stmt:0x%p removed", "delete_pmtr_map_statement", statement),
            info("(info): Pmtr-map statement for map index %dremoved", index)};
  }
};

TEST_F(Deleting, AnUnstoredMapLeavesNothingButItsDomain) {
  const runtime::Inventory before = runtime::inventory();
  const uint32_t abc = pmtr_map("abc", {.domain = "left behind"});
  watch_requests();
  EXPECT_EQ(zar_delete_pmtr_map(abc), 0U);
  EXPECT_TRACED(info("(info): %s: successfully delete pmtr_map:0x%x", "delete_pmtr_map", abc));
  EXPECT_TEXT_REMOVALS("0x3e00032 \"abc\"");
  EXPECT_FALSE(live(abc));
  expect_domain_left(before);
}

TEST_F(Deleting, AStoredMapRemovesItFromItsTree) {
  const uint32_t abc = stored_pmtr_map("abc"), abd = stored_pmtr_map("abd");
  EXPECT_EQ(zar_delete_stored_pmtr_map(abc, db), 0U);
  EXPECT_TRACED(info("(info): %s: successfully delete pmtr_map:0x%x", "delete_stored_pmtr_map", abc));
  EXPECT_EQ(pmtr_maps_in(db), Handles{abd});
  EXPECT_FALSE(live(abc));
  EXPECT_EQ(blocks_out(kKeyTag), 1U);
}

TEST_F(Deleting, DeletesTheStatementsInTheirOrder) {
  struct {
    const char *name;
    std::function<uint32_t(uint32_t)> destroy;
    uint32_t map;
  } cases[] = {
      {"delete_pmtr_map", zar_delete_pmtr_map, pmtr_map("loose")},
      {"delete_stored_pmtr_map", [&](uint32_t map) { return zar_delete_stored_pmtr_map(map, db); },
       stored_pmtr_map("stored")},
  };
  for (const auto &each : cases) {
    const zar_pmtr_map_stmt *second = statement(each.map, 20, "second"), *first = statement(each.map, 10, "first");
    const uint32_t first_filter = filters_of(first->internal_cmap).front();
    const uint32_t second_filter = filters_of(second->internal_cmap).front();
    Lines expected =
        lines(statement_gone(each.name, first, first_filter), statement_gone(each.name, second, second_filter));
    expected.push_back(info("(info): %s: successfully delete pmtr_map:0x%x", each.name, each.map));
    EXPECT_EQ(each.destroy(each.map), 0U);
    EXPECT_EQ(take_trace(), expected);
    EXPECT_CALLS("free first", "free second");
    EXPECT_EQ(cmaps_in(db), Handles{});
    EXPECT_FALSE(live(first_filter) || live(second_filter));
  }
}

TEST_F(Deleting, DropsOneReferenceOnEachAction) {
  const uint32_t abc = pmtr_map("abc");
  statement(abc, 1);
  const uint32_t own = statement_action(abc, 1, 1, "own"), shared = statement_action(abc, 1, 2, "shared");
  zar_increment_action(at<zar_action>(shared));
  EXPECT_EQ(zar_delete_pmtr_map(abc), 0U);
  EXPECT_FALSE(live(own));
  EXPECT_TRUE(live(shared));
  EXPECT_EQ(at<zar_action>(shared)->ref_count, 1U);
  EXPECT_CALLS("free own", "free expression");
}

TEST_F(Deleting, LeavesOnlyTheDomainOfAWholeMap) {
  const runtime::Inventory before = runtime::inventory();
  const uint32_t abc = stored_pmtr_map("abc", {.domain = "left behind"});
  for (const uint32_t index : {3U, 1U, 2U}) {
    statement(abc, index);
    statement_action(abc, index, 1, "a");
  }
  EXPECT_EQ(zar_delete_stored_pmtr_map(abc, db), 0U);
  expect_domain_left(before);
}

TEST_F(Deleting, RefusesAMapOfAnotherKindThatIsStoredThere) {
  const uint32_t policy = pmap("abc");
  store(policy);
  EXPECT_REFUSED(39U, zar_delete_stored_pmtr_map(policy, db));
  EXPECT_REFUSED(39U, zar_delete_pmtr_map(policy));
}

TEST_F(Deleting, NeedsADatabaseForAStoredMap) {
  const uint32_t abc = stored_pmtr_map("abc");
  EXPECT_REFUSED(39U, zar_delete_stored_pmtr_map(abc, nullptr));
  EXPECT_ONE_ERROR();
}

TEST_F(Deleting, RemovesThatVeryMap) {
  zar_db *other = database();
  client("three", other);
  const uint32_t abc = pmtr_map("abc");
  stored_pmtr_map("abc");  // under the same key
  EXPECT_REFUSED(41U, zar_delete_stored_pmtr_map(abc, db));
  EXPECT_TRACED(error("(ERR): CMAP avl: delete failed, hash str:%s", "abc:subscriber:1"),
                error("(ERR): %s: Error: avl delete failed", "delete_stored_pmtr_map"));
  const uint32_t elsewhere = stored_pmtr_map("elsewhere");
  EXPECT_REFUSED(41U, zar_delete_stored_pmtr_map(elsewhere, other));
  EXPECT_ERRORS(error("(ERR): CMAP avl: delete failed, hash str:%s", "elsewhere:subscriber:1"),
                error("(ERR): %s: Error: avl delete failed", "delete_stored_pmtr_map"));
}

TEST_F(Deleting, KeepsTheMapThatTheTreeDoesNotReturn) {
  const uint32_t abc = stored_pmtr_map("abc");
  statement(abc, 1);
  runtime::fail_next_tree_delete();
  EXPECT_REFUSED(41U, zar_delete_stored_pmtr_map(abc, db));
  EXPECT_ERRORS(error("(ERR): CMAP avl: delete failed, hash str:%s", "abc:subscriber:1"),
                error("(ERR): %s: Error: avl delete failed", "delete_stored_pmtr_map"));
  EXPECT_CALLS();
}

TEST_F(Deleting, FreesNothingOfAMapWhoseHandleIsLost) {
  breaks_invariants("a parameter-map loses its handle");
  const uint32_t abc = stored_pmtr_map("abc");
  at<zar_pmtr_map>(abc)->handle = 0xfffffff0;
  const runtime::Inventory before = runtime::inventory();
  EXPECT_EQ(zar_delete_stored_pmtr_map(abc, db), 0U);
  NEEDS_TRACE();
  EXPECT_EQ(take_trace().front(), info("(info): Cannot find context for parameter-map handle %u", 0xfffffff0U));
  EXPECT_EQ(pmtr_maps_in(db), Handles{});
  EXPECT_EQ(to_string(runtime::inventory()), to_string(before));
}

TEST_F(Deleting, ContinuesWhereAClassMapCannotBeDeleted) {
  const uint32_t abc = pmtr_map("abc");
  const uint32_t hidden = statement(abc, 7)->internal_cmap;
  rule(event_in(pmap("gold"), 1), hidden);
  EXPECT_EQ(zar_delete_pmtr_map(abc), 0U);
  EXPECT_ERRORS(error("(ERR): internal class-map for map index %dcannot be removed", 7));
  EXPECT_FALSE(live(abc));
  EXPECT_EQ(cmaps_in(db), Handles{hidden});
}

}  // namespace
