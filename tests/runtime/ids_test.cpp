#include <algorithm>
#include <unordered_map>

#include "tests/runtime/fixture.h"

namespace {

enum Status : uint32_t { kLive = 0, kNeverIssued = 1, kDeleted = 2 };

class IdsTest : public RuntimeTest {
 protected:
  void SetUp() override { table = id_create_new_table(256, 256, "test", 7); }
  void TearDown() override {
    id_destroy_table(table);
    RuntimeTest::TearDown();
  }

  uint32_t issue(void *pointer) { return id_get(pointer, table, 7); }
  void *look_up(uint32_t id) { return id_to_ptr(id, &status, table); }
  uint32_t status_of(uint32_t id) {
    look_up(id);
    return status;
  }
  // A value comes back only when the free slots are used up; with 1,100 of them that is after 18 million allocations.
  void leave_few_slots() {
    std::vector<uint32_t> all;
    while (uint32_t id = issue(&other))
      all.push_back(id);
    for (size_t n = 0; n < 1100; ++n)
      id_delete(all[n], table);
  }

  uint16_t table = 0;
  uint32_t status = 99;
  int object = 0, other = 0;
};

TEST_F(IdsTest, ATableHasAnIdentifier) {
  EXPECT_NE(table, 0);
}

TEST_F(IdsTest, ALiveIdLeadsToItsPointer) {
  uint32_t id = issue(&object), second = issue(&other);
  EXPECT_NE(id, 0u);
  EXPECT_NE(id, second);
  EXPECT_EQ(look_up(id), &object);
  EXPECT_EQ(status, kLive);
  EXPECT_EQ(look_up(second), &other);
  EXPECT_EQ(status, kLive);
}

TEST_F(IdsTest, ADeletedIdIsDistinguishedFromOneThatWasNeverIssued) {
  uint32_t id = issue(&object);
  EXPECT_NE(id_delete(id, table), 0u);
  EXPECT_EQ(look_up(id), nullptr);
  EXPECT_EQ(status, kDeleted);
  for (uint32_t never : {0u, id ^ 0x40000000u, id + 100000, ~id, UINT32_MAX}) {
    EXPECT_EQ(look_up(never), nullptr) << never;
    EXPECT_EQ(status, kNeverIssued) << never;
  }
}

TEST_F(IdsTest, DeletingAnIdThatIsNotLiveDoesNothing) {
  uint32_t id = issue(&object), kept = issue(&other);
  EXPECT_NE(id_delete(id, table), 0u);
  EXPECT_EQ(id_delete(id, table), 0u);
  EXPECT_EQ(id_delete(0, table), 0u);
  EXPECT_EQ(id_delete(kept + 1, table), 0u);
  EXPECT_EQ(look_up(kept), &other);
}

TEST_F(IdsTest, ANullPointerCanHaveAnId) {
  uint32_t id = issue(nullptr);
  EXPECT_NE(id, 0u);
  EXPECT_EQ(look_up(id), nullptr);
  EXPECT_EQ(status, kLive);
}

TEST_F(IdsTest, TheStatusNeedNotBeAskedFor) {
  uint32_t id = issue(&object);
  EXPECT_EQ(id_to_ptr(id, nullptr, table), &object);
  EXPECT_EQ(id_to_ptr(0, nullptr, table), nullptr);
}

TEST_F(IdsTest, MoreThan65536IdsCanBeLive) {
  std::vector<uint32_t> ids, objects(70000);
  for (uint32_t &each : objects)
    ids.push_back(issue(&each));
  std::vector<uint32_t> sorted = ids;
  std::sort(sorted.begin(), sorted.end());
  EXPECT_EQ(std::adjacent_find(sorted.begin(), sorted.end()), sorted.end());
  EXPECT_NE(sorted.front(), 0u);
  for (size_t i = 0; i < ids.size(); ++i)
    ASSERT_EQ(look_up(ids[i]), &objects[i]);
  EXPECT_EQ(runtime::live_ids(), ids);
}

TEST_F(IdsTest, ATableThatIsFullRefuses) {
  uint64_t live = 0;
  while (live < 1000000 && issue(&object) != 0)
    ++live;
  EXPECT_GT(live, 200000u);
  EXPECT_LT(live, 1000000u);
}

TEST_F(IdsTest, TablesAreSeparate) {
  uint16_t second = id_create_new_table(0, 0, nullptr, 8);
  uint32_t id = issue(&object);
  EXPECT_EQ(id_to_ptr(id, &status, second), nullptr);
  EXPECT_EQ(status, kNeverIssued);
  EXPECT_EQ(id_delete(id, second), 0u);
  EXPECT_NE(id_destroy_table(second), 0u);
  EXPECT_EQ(look_up(id), &object);
}

TEST_F(IdsTest, TheIdsOfAnEndedTableWereNeverIssued) {
  uint32_t live = issue(&object), dead = issue(&object);
  id_delete(dead, table);
  EXPECT_NE(id_destroy_table(table), 0u);
  EXPECT_EQ(id_destroy_table(table), 0u);
  EXPECT_EQ(status_of(live), kNeverIssued);
  EXPECT_EQ(status_of(dead), kNeverIssued);
  EXPECT_EQ(id_delete(live, table), 0u);
  EXPECT_EQ(runtime::live_ids(), std::vector<uint32_t>());
}

TEST_F(IdsTest, ATableThatDoesNotExistIssuesNothing) {
  EXPECT_EQ(id_get(&object, 0, 7), 0u);
  EXPECT_EQ(id_get(&object, static_cast<uint16_t>(table + 1), 7), 0u);
  EXPECT_EQ(n_complaints(), 2u);
}

TEST_F(IdsTest, NumberingContinuesAcrossTables) {
  std::vector<uint32_t> issued;
  std::vector<uint16_t> kept;
  for (int i = 0; i < 1000; ++i) {
    uint16_t next = id_create_new_table(256, 256, "next", 7);
    issued.push_back(issue(&object));
    issued.push_back(id_get(&object, next, 7));
    issued.push_back(id_get(&other, next, 7));
    id_delete(issued.back(), next);
    if (i % 2 == 0)
      id_destroy_table(next);
    else
      kept.push_back(next);
  }
  for (uint16_t each : kept)
    id_destroy_table(each);
  std::sort(issued.begin(), issued.end());
  EXPECT_EQ(std::adjacent_find(issued.begin(), issued.end()), issued.end()) << "each value is issued once";
}

TEST_F(IdsTest, AnIdOfAnEndedTableLeadsNowhereInALaterOne) {
  uint32_t live = issue(&object), dead = issue(&object);
  id_delete(dead, table);
  id_destroy_table(table);
  table = id_create_new_table(256, 256, "later", 7);
  std::vector<uint32_t> later;
  for (int i = 0; i < 5000; ++i) {
    later.push_back(issue(&other));
    ASSERT_EQ(look_up(live), nullptr);
    ASSERT_NE(status, kLive);
    ASSERT_EQ(look_up(dead), nullptr);
    ASSERT_EQ(id_delete(live, table), 0u);
    if (i % 2 == 0) id_delete(later.back(), table);
  }
  EXPECT_EQ(std::count(later.begin(), later.end(), live) + std::count(later.begin(), later.end(), dead), 0);
}

// More tables than a slot has generations, each with one id: the least that a table can issue.
TEST_F(IdsTest, AValueDoesNotComeBackWhenEveryIdHasATableOfItsOwn) {
  uint32_t first = issue(&object);
  id_destroy_table(table);
  for (int i = 0; i < 20000; ++i) {
    table = id_create_new_table(16, 16, "short-lived", 7);
    ASSERT_NE(issue(&object), first) << "after " << i;
    id_destroy_table(table);
  }
}

TEST_F(IdsTest, TheIdentifierOfAnEndedTableIsNotUsedAgainSoon) {
  std::vector<uint16_t> identifiers;
  for (int i = 0; i < 1000; ++i) {
    identifiers.push_back(id_create_new_table(1, 1, "short-lived", 0));
    id_destroy_table(identifiers.back());
  }
  std::sort(identifiers.begin(), identifiers.end());
  EXPECT_EQ(std::adjacent_find(identifiers.begin(), identifiers.end()), identifiers.end());
}

TEST_F(IdsTest, TablesAreRefusedWhenTheIdentifiersAreUsedUp) {
  std::vector<uint16_t> identifiers;
  while (uint16_t identifier = id_create_new_table(1, 1, nullptr, 0))
    identifiers.push_back(identifier);
  EXPECT_GT(identifiers.size(), 65000u);
  std::sort(identifiers.begin(), identifiers.end());
  EXPECT_EQ(std::adjacent_find(identifiers.begin(), identifiers.end()), identifiers.end());
  EXPECT_NE(id_destroy_table(identifiers[1000]), 0u);
  EXPECT_EQ(id_create_new_table(1, 1, nullptr, 0), identifiers[1000]);
  for (uint16_t identifier : identifiers)
    id_destroy_table(identifier);
}

TEST_F(IdsTest, LiveIdsAreListedInTheOrderOfIssueOverAllTables) {
  uint16_t second = id_create_new_table(1, 1, "second", 0);
  uint32_t a = issue(&object), b = id_get(&object, second, 0), c = issue(&object), d = issue(&other);
  id_delete(c, table);
  EXPECT_EQ(runtime::live_ids(), (std::vector<uint32_t>{a, b, d}));
  id_destroy_table(second);
  EXPECT_EQ(runtime::live_ids(), (std::vector<uint32_t>{a, d}));
}

TEST_F(IdsTest, AValueDoesNotComeBackWithin16MillionAllocations) {
  constexpr uint64_t kDistance = 1 << 24;
  leave_few_slots();
  uint32_t first = issue(&object);
  id_delete(first, table);
  uint64_t again = 0;
  for (uint64_t n = 1; n < 3 * kDistance && again == 0; ++n) {
    uint32_t id = issue(&object);
    if (id == first) again = n;
    id_delete(id, table);
  }
  EXPECT_GE(again, kDistance) << "0: it never came back, and this test does not see the wrap";
}

TEST_F(IdsTest, IdsStayDeletedWhenTheirSlotsWrapAround) {
  std::vector<uint32_t> newest(5000);
  leave_few_slots();
  uint32_t first = issue(&object);
  id_delete(first, table);
  uint32_t id = 0;
  for (uint64_t n = 0; id != first; ++n) {
    id = issue(&object);
    if (id == first) break;
    newest[n % newest.size()] = id;
    id_delete(id, table);
  }
  EXPECT_EQ(look_up(first), &object);
  for (uint32_t stale : newest)
    ASSERT_EQ(status_of(stale), kDeleted) << stale;
}

TEST_F(IdsTest, BehavesAsAMapFromValuesThatAreNeverUsedTwice) {
  Random random(20240601);
  struct Known {
    void *pointer;
    bool live;
  };
  std::unordered_map<uint32_t, Known> known;
  std::vector<uint32_t> issued, live;
  std::vector<int> objects(100);
  for (int step = 0; step < 300000; ++step) {
    // Grows and shrinks in waves, so that slots are reused at every filling.
    bool growing = step / 20000 % 2 == 0;
    if (live.empty() || random.below(10) < (growing ? 7u : 3u)) {
      void *pointer = &random.pick(objects);
      uint32_t id = issue(pointer);
      ASSERT_TRUE(known.emplace(id, Known{pointer, true}).second) << "issued twice: " << id;
      issued.push_back(id);
      live.push_back(id);
    } else {
      uint32_t &id = random.pick(live);
      known[id].live = false;
      ASSERT_NE(id_delete(id, table), 0u);
      std::swap(id, live.back());
      live.pop_back();
    }
    uint32_t id = random.pick(issued);
    const Known &expected = known[id];
    ASSERT_EQ(look_up(id), expected.live ? expected.pointer : nullptr);
    ASSERT_EQ(status, expected.live ? kLive : kDeleted);
  }
  std::vector<uint32_t> listed = runtime::live_ids();
  std::sort(listed.begin(), listed.end());
  std::sort(live.begin(), live.end());
  EXPECT_EQ(listed, live);
}

}  // namespace
