// The handle table: issue, look-up, release, the cap on live handles, and kinds.
#include <array>
#include <random>

#include "platform/runtime.h"
#include "support/lines.h"
#include "support/repository.h"

using namespace rig;

namespace {

constexpr uint32_t kMostHandles = 65536;
constexpr uint32_t kHandleTag = 0x3e00023;
constexpr uint32_t kPmapPool = 0x3e00037;

// A record of a caller's own.
uint64_t own_record;

struct HandleTable : Repository {
  // Handles for the caller's own record until the cap is reached; the last one is released.
  static uint32_t fill_up() {
    uint32_t last = 0;
    while (const uint32_t handle = zar_handle_alloc(&own_record))
      last = handle;
    forget_trace();
    return last;
  }

  // How many more handles can be issued.
  static uint32_t room_left() {
    uint32_t room = 0;
    while (zar_handle_alloc(&own_record) != 0)
      ++room;
    forget_trace();
    return room;
  }
};

struct HandleTableStart : BareProcess {
  HandleTableStart() { breaks_invariants("the handle table is made without zar_init"); }
};

TEST_F(HandleTableStart, CreatesOneIdTableNamedAfterPolicyMaps) {
  watch_requests();
  EXPECT_NE(zar_handle_table_init(), 0);
  EXPECT_REQUESTS("id table 0x3e00023 \"ZAR PMAP HANDLE IDs\"");
  EXPECT_TRACED();
}

TEST_F(HandleTableStart, ReturnsTheTableInWhichHandlesAreIssued) {
  const uint16_t table = zar_handle_table_init();
  const uint32_t handle = zar_handle_alloc(&own_record);
  uint32_t status = 9;
  EXPECT_EQ(id_to_ptr(handle, &status, table), &own_record);
  EXPECT_EQ(status, 0U);
}

TEST_F(HandleTableStart, ReturnsTheFailureOfTheTable) {
  runtime::fail_request(runtime::Service::id_table, 1);
  EXPECT_EQ(zar_handle_table_init(), 0);
  EXPECT_TRACED();
}

TEST_F(HandleTableStart, ASecondStartMakesAnotherTable) {
  const uint16_t first = zar_handle_table_init();
  const uint32_t orphan = zar_handle_alloc(&own_record);
  const uint16_t second = zar_handle_table_init();
  EXPECT_NE(first, second);
  uint32_t status = 9;
  EXPECT_EQ(id_to_ptr(orphan, &status, first), &own_record) << "the old table is orphaned, not ended";
}

TEST_F(HandleTable, IssuesAHandleThatNamesTheRecord) {
  watch_requests();
  const uint32_t handle = zar_handle_alloc(&own_record);
  EXPECT_NE(handle, 0U);
  EXPECT_REQUESTS("id 0x3e00023");
  EXPECT_EQ(zar_handle_get_context(handle), &own_record);
  EXPECT_TRACED();
}

TEST_F(HandleTable, GivesOneRecordSeveralHandles) {
  const uint32_t first = zar_handle_alloc(&own_record);
  const uint32_t second = zar_handle_alloc(&own_record);
  EXPECT_NE(first, second);
  zar_handle_release(first);
  EXPECT_EQ(zar_handle_get_context(second), &own_record);
}

TEST_F(HandleTable, NeverEntersNull) {
  watch_requests();
  EXPECT_EQ(zar_handle_alloc(nullptr), 0U);
  EXPECT_REQUESTS();
  EXPECT_TRACED();
}

TEST_F(HandleTable, NeverEntersNullWhenItIsFullEither) {
  fill_up();
  EXPECT_EQ(zar_handle_alloc(nullptr), 0U);
  EXPECT_TRACED();
}

TEST_F(HandleTable, Holds65536LiveHandles) {
  for (uint32_t i = 0; i < kMostHandles; ++i)
    ASSERT_NE(zar_handle_alloc(&own_record), 0U) << "handle number " << i + 1;
  EXPECT_TRACED();
  watch_requests();
  EXPECT_EQ(zar_handle_alloc(&own_record), 0U);
  EXPECT_REQUESTS();
  EXPECT_TRACED(error("(ERR): ZAR Handle alloc reached max limit\n"));
}

TEST_F(HandleTable, HasRoomAgainAfterARelease) {
  const uint32_t last = fill_up();
  zar_handle_release(last);
  EXPECT_NE(zar_handle_alloc(&own_record), 0U);
  EXPECT_TRACED();
  EXPECT_EQ(zar_handle_alloc(&own_record), 0U);
  EXPECT_TRACED(error("(ERR): ZAR Handle alloc reached max limit\n"));
}

TEST_F(HandleTable, CountsEvenTheHandlesThatThePlatformRefused) {
  for (int i = 0; i < 3; ++i) {
    runtime::fail_request(runtime::Service::id, 1);
    EXPECT_EQ(zar_handle_alloc(&own_record), 0U);
  }
  EXPECT_TRACED();
  EXPECT_EQ(room_left(), kMostHandles - 3);
}

TEST_F(HandleTable, ReleasesSilently) {
  const uint32_t handle = zar_handle_alloc(&own_record);
  zar_handle_release(handle);
  EXPECT_FALSE(live(handle));
  EXPECT_TRACED();
}

TEST_F(HandleTable, KeepsTheRecordWhoseHandleIsReleased) {
  const uint32_t gold = pmap("gold");
  const zar_pmap *record = at<zar_pmap>(gold);
  const size_t records = records_out(kPmapPool);
  zar_handle_release(gold);
  EXPECT_EQ(records_out(kPmapPool), records);
  EXPECT_STREQ(record->hash_str, "gold:d1:1");
  EXPECT_EQ(zar_delete_policy(gold), 39U) << "nothing leads to it any more";
}

TEST_F(HandleTable, LeavesTheRecordsWhenItEnds) {
  const zar_pmap *record = at<zar_pmap>(pmap("gold"));
  const size_t records = records_out(kPmapPool);
  EXPECT_NE(zar_handle_table_destroy(), 0U);
  EXPECT_EQ(records_out(kPmapPool), records);
  EXPECT_STREQ(record->hash_str, "gold:d1:1");
}

TEST_F(HandleTable, ReleasingHandle0FreesNoRoom) {
  fill_up();
  zar_handle_release(0);
  EXPECT_TRACED();
  EXPECT_EQ(room_left(), 0U);
}

TEST_F(HandleTable, ReleasingADeadHandleLowersTheCountAnyway) {
  const uint32_t last = fill_up();
  zar_handle_release(last);
  zar_handle_release(last);
  EXPECT_EQ(room_left(), 2U);
}

TEST_F(HandleTable, TheCountNeverFallsBelow0) {
  const uint32_t handle = zar_handle_alloc(&own_record);
  for (int i = 0; i < 5; ++i)
    zar_handle_release(handle);
  EXPECT_EQ(room_left(), kMostHandles);
}

TEST_F(HandleTable, Handle0IsInvalidAndNoError) {
  EXPECT_EQ(zar_handle_get_context(0), nullptr);
  EXPECT_TRACED(invalid_handle());
}

TEST_F(HandleTable, AReleasedHandleIsDestroyedAlready) {
  const uint32_t handle = zar_handle_alloc(&own_record);
  zar_handle_release(handle);
  EXPECT_EQ(zar_handle_get_context(handle), nullptr);
  EXPECT_TRACED(destroyed_already(handle));
}

TEST_F(HandleTable, AHandleThatWasNeverIssuedIsRefusedSilently) {
  EXPECT_EQ(zar_handle_get_context(0xfffffff0), nullptr);
  EXPECT_TRACED();
}

TEST_F(HandleTable, ALiveHandleWithoutARecordIsRemovedFromTheTable) {
  const uint32_t handle = zar_handle_alloc(&own_record);
  runtime::lose_next_pointer();
  EXPECT_EQ(zar_handle_get_context(handle), nullptr);
  EXPECT_TRACED(error("(ERR): ZAR Found NULL context with handle [0x%x]\n", handle));
  EXPECT_FALSE(live(handle));
  EXPECT_EQ(zar_handle_get_context(handle), nullptr);
  EXPECT_TRACED(destroyed_already(handle));
}

TEST_F(HandleTable, AHandleThatWasRemovedLeavesRoomForAnother) {
  const uint32_t last = fill_up();
  runtime::lose_next_pointer();
  zar_handle_get_context(last);
  EXPECT_EQ(room_left(), 1U);
}

TEST_F(HandleTable, TheCountStaysAt0WhenTheOnlyHandleIsRemovedTwice) {
  const uint32_t handle = zar_handle_alloc(&own_record);
  const uint32_t other = zar_handle_alloc(&own_record);
  zar_handle_release(handle);
  zar_handle_release(handle);
  runtime::lose_next_pointer();
  EXPECT_EQ(zar_handle_get_context(other), nullptr);
  EXPECT_EQ(room_left(), kMostHandles);
}

TEST_F(HandleTable, EndsOnceAndReportsWhetherThereWasOne) {
  const uint32_t handle = zar_handle_alloc(&own_record);
  EXPECT_NE(zar_handle_table_destroy(), 0U);
  EXPECT_FALSE(live(handle));
  EXPECT_EQ(zar_handle_table_destroy(), 0U);
  EXPECT_TRACED();
}

TEST_F(HandleTable, TheCountOutlivesTheTable) {
  fill_up();
  zar_handle_table_destroy();
  EXPECT_EQ(zar_handle_alloc(&own_record), 0U);
  EXPECT_TRACED(error("(ERR): ZAR Handle alloc reached max limit\n"));
}

TEST_F(HandleTable, ASecondStartStartsCountingAgain) {
  fill_up();
  zar_handle_table_init();
  EXPECT_EQ(room_left(), kMostHandles);
}

// ---- Kinds: a handle of the library's own records resolves only as what it was issued for.

struct HandleKinds : Repository {
  // One handle of each kind.
  std::map<Kind, uint32_t> one_of_each() {
    const uint32_t gold = stored_pmap("gold");
    const uint32_t voice = stored_cmap("voice");
    const uint32_t started = event_in(gold, 1);
    const uint32_t first = rule(started, voice);
    const uint32_t interface = target(gold);
    const Quiet quiet;
    return {{Kind::pmap, gold},
            {Kind::cmap, voice},
            {Kind::action, action_in(first, "permit")},
            {Kind::filter, filter_in(voice, "port")},
            {Kind::event, started},
            {Kind::rule, first},
            {Kind::target, interface},
            {Kind::policy_context, zar_create_policy_context(interface)->handle},
            {Kind::pmtr_map, stored_pmtr_map("values")}};
  }
};

TEST_F(HandleKinds, AnyKindHasItsContext) {
  for (const auto &[kind, handle] : one_of_each())
    EXPECT_NE(zar_handle_get_context(handle), nullptr) << static_cast<int>(kind);
  EXPECT_TRACED();
}

TEST_F(HandleKinds, AnotherKindIsTreatedLikeAHandleWithoutContext) {
  for (const auto &[kind, handle] : one_of_each()) {
    if (kind == Kind::event) continue;
    SCOPED_TRACE(static_cast<int>(kind));
    EXPECT_REFUSED(39, zar_event_set_match_criteria(handle, 2));
    EXPECT_TRACED(another_kind(handle), error("(ERR): %s: input event class action handle context cannot be NULL",
                                              "event_set_match_criteria"));
  }
}

TEST_F(HandleKinds, StoringTakesMapsOfAnyKindAndNothingElse) {
  for (const auto &[kind, handle] : one_of_each()) {
    if (kind == Kind::pmap || kind == Kind::cmap || kind == Kind::pmtr_map) continue;
    SCOPED_TRACE(static_cast<int>(kind));
    EXPECT_REFUSED(39, zar_store_policy(one, handle));
    EXPECT_TRACED(another_kind(handle), error("(ERR): store_policy: Error: invalid pmap handle"));
    EXPECT_REFUSED(39, zar_store_class(one, handle));
    EXPECT_TRACED(another_kind(handle), error("(ERR): store_class: Error: invalid cmap handle"));
  }
}

TEST_F(HandleKinds, AHandleOfTheCallersOwnIsAcceptedEverywhere) {
  zar_event_tuple own_event{};
  own_event.match_criteria = 1;
  const uint32_t handle = zar_handle_alloc(&own_event);
  EXPECT_EQ(zar_event_set_match_criteria(handle, 2), 0U);
  EXPECT_EQ(own_event.match_criteria, 2U);
  EXPECT_EQ(zar_event_get_match_criteria(handle), 2U);
}

TEST_F(HandleKinds, TheKindEndsWithTheHandle) {
  const uint32_t permit = action("permit");
  zar_handle_release(permit);
  EXPECT_EQ(zar_event_get_match_criteria(permit), 0U);
  EXPECT_TRACED(destroyed_already(permit),
                error("(ERR): %s: input event class action handle context cannot be NULL", "event_get_match_criteria"));
}

TEST_F(HandleKinds, StayKnownWhileManyOthersComeAndGo) {
  // Nearly as many handles as can be live, so that those of all kinds are close together in the table.
  constexpr uint32_t kEach = 30000;
  runtime::want_trace_levels(0);
  const zar_event_context id = event_context(1);
  const zar_filter_context port = filter_context("port");
  Handles events(kEach), filters(kEach);
  for (uint32_t i = 0; i < kEach; ++i) {
    ASSERT_EQ(zar_create_event(&id, "event", &events[i]), 0U);
    ASSERT_EQ(zar_create_filter(&port, &filters[i], 0), 0U);
  }
  const auto expect_kinds = [&](uint32_t first, uint32_t step) {
    for (uint32_t i = first; i < kEach; i += step) {
      ASSERT_EQ(zar_event_get_match_criteria(events[i]), 1U) << "event " << i;
      ASSERT_EQ(zar_event_get_match_criteria(filters[i]), 0U) << "filter " << i;
    }
  };
  expect_kinds(0, 1);
  // Every other pair is released, then every other of the rest.
  for (const uint32_t step : {2U, 4U, 8U}) {
    for (uint32_t i = step / 2; i < kEach; i += step) {
      zar_handle_release(events[i]);
      zar_handle_release(filters[i]);
      ASSERT_EQ(zar_event_get_match_criteria(events[i]), 0U) << "event " << i << " is deleted";
    }
    expect_kinds(0, step);
  }
}

TEST_F(HandleKinds, StayUnknownForNumbersThatAreNoHandles) {
  breaks_invariants("a class-map loses its handle");
  char key[] = "own:d1:1";
  for (const uint32_t number : {0U, 0xfffffU}) {
    const uint32_t voice = cmap("voice");
    at<zar_cmap>(voice)->handle = number;
    EXPECT_EQ(zar_delete_class(voice), 0U);
    zar_cmap own{}, *removed = nullptr;
    own.handle = number;
    own.hash_str = key;
    EXPECT_NE(zar_avl_insert_cmap(db, &own), 0U) << "a record that is not being freed";
    EXPECT_NE(zar_avl_delete_cmap(db, &own, &removed), 0U);
  }
}

// Events and filters that come and go.
struct Leaves : HandleKinds {
  struct Leaf {
    uint32_t handle = 0;
    bool is_event = false;
  };

  Leaves() { runtime::want_trace_levels(0); }
  Leaf leaf(bool is_event) {
    Leaf made{0, is_event};
    EXPECT_EQ(is_event ? zar_create_event(&id, "event", &made.handle) : zar_create_filter(&port, &made.handle, 0), 0U);
    return made;
  }
  static bool remove(const Leaf &leaf) {
    return (leaf.is_event ? zar_delete_event(leaf.handle) : zar_delete_filter(leaf.handle)) == 0;
  }
  static bool is_known(const Leaf &leaf) {
    return zar_event_get_match_criteria(leaf.handle) == (leaf.is_event ? 1U : 0U);
  }
  void come_and_go(size_t live, uint32_t changes) {
    std::vector<Leaf> leaves;
    while (leaves.size() < live)
      leaves.push_back(leaf(leaves.size() % 2 == 0));
    for (uint32_t change = 0; change < changes; ++change) {
      Leaf &changed = leaves[random() % live];
      const Leaf gone = changed;
      ASSERT_TRUE(remove(gone)) << "change " << change;
      changed = leaf(random() % 2 == 0);
      ASSERT_EQ(zar_event_get_match_criteria(gone.handle), 0U) << "change " << change;
    }
    for (const Leaf &each : leaves)
      ASSERT_TRUE(is_known(each)) << "handle " << each.handle;
    for (const Leaf &each : leaves)
      ASSERT_TRUE(remove(each)) << "handle " << each.handle;
  }

  const zar_event_context id = event_context(1);
  zar_filter_context port = [this] {
    zar_filter_context context = filter_context("port");
    context.filter_free_fn = [](void *, void *) {};
    return context;
  }();
  std::minstd_rand random{1};
};

TEST_F(Leaves, StayKnownWhileHandlesAreIssuedAgain) {
  come_and_go(60000, 200000);
}

// On a platform that leaves the library only groups of four handles that agree in their low 16 bits.
struct LeavesInGroups : Leaves {
  static constexpr uint32_t kLowBits = (1U << 16) - 1;

  explicit LeavesInGroups(uint32_t n_groups = 9900, size_t group_size = 4)
      : others(id_create_new_table(256, 256, "others", 1)) {
    // Tables of earlier tests keep their ids live; the one before the last is the library's.
    for (uint16_t table = 1; table + 1 < others; ++table)
      id_destroy_table(table);
    std::map<uint32_t, std::vector<uint32_t>> ids;
    int record = 0;
    while (const uint32_t id_of_another = id_get(&record, others, 1))
      ids[id_of_another & kLowBits].push_back(id_of_another);
    for (const auto &[low_bits, group] : ids) {
      if (group.size() != group_size || n_groups == 0) continue;
      --n_groups;
      for (const uint32_t free : group)
        id_delete(free, others);
    }
  }
  void TearDown() override {
    id_destroy_table(others);
    Leaves::TearDown();
  }

  const uint16_t others;
};

TEST_F(LeavesInGroups, StayKnownWhileHandlesAreIssuedAgain) {
  come_and_go(39000, 200000);
}

TEST_F(LeavesInGroups, HaveTheirOwnKindsInWhateverOrderTheyEnd) {
  std::array<size_t, 4> order{0, 1, 2, 3};
  do {
    std::array<Leaf, 4> leaves;
    for (size_t at = 0; at < leaves.size(); ++at)
      leaves[at] = leaf(at % 2 == 0);
    for (const Leaf &each : leaves)
      ASSERT_EQ(each.handle & kLowBits, leaves[0].handle & kLowBits);
    for (size_t ended = 0; ended < order.size(); ++ended) {
      for (size_t left = ended; left < order.size(); ++left)
        ASSERT_TRUE(is_known(leaves[order[left]]));
      ASSERT_TRUE(remove(leaves[order[ended]]));
    }
  } while (std::next_permutation(order.begin(), order.end()));
}

TEST_F(LeavesInGroups, AreNotTakenForHandlesOfTheCallersOwn) {
  zar_event_tuple own_event{};
  own_event.match_criteria = 1;
  for (const bool own_is_first : {false, true}) {
    const uint32_t before = own_is_first ? 0 : leaf(false).handle;
    const uint32_t own = zar_handle_alloc(&own_event);
    const uint32_t filter = own_is_first ? leaf(false).handle : before;
    ASSERT_EQ(own & kLowBits, filter & kLowBits);
    EXPECT_EQ(zar_event_get_match_criteria(own), 1U);
    EXPECT_EQ(zar_event_get_match_criteria(filter), 0U);
    zar_handle_release(own);
    EXPECT_EQ(zar_delete_filter(filter), 0U);
  }
}

TEST_F(LeavesInGroups, AreRetiredEach) {
  static uint32_t ending;
  static uint32_t criteria_inside;
  zar_filter_context asking = filter_context("asking");
  asking.filter_free_fn = [](void *, void *) { criteria_inside = zar_get_cmap_match_logical_op(ending); };
  const Leaf first = leaf(true);
  ending = cmap("ending");
  ASSERT_EQ(first.handle & kLowBits, ending & kLowBits);
  uint32_t filter = 0;
  ASSERT_EQ(zar_create_filter(&asking, &filter, 0), 0U);
  add_filter(ending, filter);
  criteria_inside = 99;
  EXPECT_EQ(zar_delete_class(ending), 0U);
  EXPECT_EQ(criteria_inside, 0U) << "the class-map no longer resolves while its filters are freed";
  EXPECT_TRUE(is_known(first));
}

// Whether a caller's own record with the number is taken for a record that is being freed.
bool seems_to_be_freed(zar_db *database, uint32_t number) {
  char key[] = "own:d1:1";
  zar_cmap own{}, *removed = nullptr;
  own.handle = number;
  own.hash_str = key;
  if (zar_avl_insert_cmap(database, &own) == 0) return true;
  zar_avl_delete_cmap(database, &own, &removed);
  return false;
}

TEST_F(LeavesInGroups, LeaveNothingOfAKindToTheirNumbers) {
  breaks_invariants("a caller's own record has the number of a handle that ended");
  const Leaf first = leaf(true);
  const uint32_t second = cmap("second");
  ASSERT_EQ(first.handle & kLowBits, second & kLowBits);
  ASSERT_EQ(zar_delete_class(second), 0U);
  EXPECT_FALSE(seems_to_be_freed(db, second));
}

// No id is 0, so on the stand-in three ids have 16 low bits that are all 0.
struct LeavesNextTo0 : LeavesInGroups {
  LeavesNextTo0() : LeavesInGroups(1, 3) {}
};

TEST_F(LeavesNextTo0, LeaveNothingOfAKindTo0) {
  breaks_invariants("a caller's own record has no handle");
  const uint32_t gone = cmap("gone");
  ASSERT_EQ(gone & kLowBits, 0U);
  ASSERT_EQ(zar_delete_class(gone), 0U);
  EXPECT_FALSE(seems_to_be_freed(db, 0));
}

TEST_F(LeavesInGroups, AreForgottenWithTheTable) {
  const Leaf first = leaf(true), second = leaf(false);
  start_again();
  zar_event_tuple own_event{};
  own_event.match_criteria = 3;
  Handles own;
  for (size_t n = 0; n < 4; ++n)
    own.push_back(zar_handle_alloc(&own_event));
  for (const uint32_t handle : own)
    EXPECT_EQ(zar_event_get_match_criteria(handle), 3U);
  EXPECT_FALSE(is_known(first));
  EXPECT_EQ(zar_handle_get_context(second.handle), nullptr);
}

// Handles of several generations share homes in the table of kinds. Leftovers of the first start or of a round would
// use up its room.
TEST_F(HandleKinds, TakeNoMoreRoomHoweverOftenHandlesAreIssuedAgain) {
  // Nearly as many as can be live: many of the new ones find their home taken.
  constexpr size_t kLive = 65000, kRounds = 20;
  runtime::want_trace_levels(0);
  zar_filter_context port = filter_context("port");
  port.filter_free_fn = [](void *, void *) {};
  Handles filters;
  const auto fill_up = [&] {
    while (filters.size() < kLive)
      ASSERT_EQ(zar_create_filter(&port, &filters.emplace_back(), 0), 0U);
  };
  for (int start = 0; start < 2; ++start) {
    if (start > 0) start_again();
    filters.clear();
    std::minstd_rand random(1);
    for (size_t round = 0; round < kRounds; ++round) {
      fill_up();
      std::erase_if(filters, [&](uint32_t filter) { return random() % 2 == 0 && zar_delete_filter(filter) == 0; });
    }
  }
  for (const uint32_t filter : filters)
    ASSERT_EQ(zar_delete_filter(filter), 0U);
  EXPECT_EQ(zar_create_filter(&port, &filters.emplace_back(), 0), 0U);
}

TEST_F(HandleKinds, AreRatherRefusedThanForgotten) {
  // Releasing dead handles lowers the count of live ones, so that the cap is never reached.
  const uint32_t gone = zar_handle_alloc(&own_record);
  zar_handle_release(gone);
  runtime::want_trace_levels(1U << 3);
  const zar_filter_context port = filter_context("port");
  Handles filters;
  uint32_t handle = 0;
  while (filters.size() < 200000 && zar_create_filter(&port, &handle, 0) == 0) {
    filters.push_back(handle);
    zar_handle_release(gone);
  }
  EXPECT_EQ(filters.size(), 98304U);
  NEEDS_TRACE();
  EXPECT_TRACED(error("(ERR): ZAR Handle alloc reached max limit\n"),
                error("(ERR): create_filter: Could not create id for filter"));
  runtime::want_trace_levels(0);
  for (const uint32_t filter : filters)
    ASSERT_EQ(zar_event_get_match_criteria(filter), 0U);
  zar_handle_release(filters.back());
  EXPECT_EQ(zar_create_filter(&port, &filters.back(), 0), 0U);
  for (const uint32_t filter : filters)
    zar_handle_release(filter);
}

TEST_F(HandleKinds, EveryHandleIsIssuedUnderTheOneTag) {
  watch_requests();
  one_of_each();
  int ids = 0;
  for (const runtime::Request &request : runtime::recorded_requests()) {
    if (request.service != runtime::Service::id) continue;
    ++ids;
    EXPECT_EQ(request.tag, kHandleTag);
  }
  EXPECT_EQ(ids, 9);
}

}  // namespace
