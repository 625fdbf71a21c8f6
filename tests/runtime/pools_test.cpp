#include <algorithm>
#include <cstring>
#include <map>

#include "tests/runtime/fixture.h"

namespace {

constexpr uint32_t kFlags = 0x111;

class PoolsTest : public RuntimeTest {
 protected:
  static chunk_pool *make(size_t size, uint32_t per_chunk = 30) {
    return chunk_create_bmalloc(size, per_chunk, kFlags, 0, 0x42);
  }
  static runtime::PoolInfo newest() { return runtime::pools().back(); }
};

TEST_F(PoolsTest, APoolReportsWhatItWasMadeWith) {
  ASSERT_NE(chunk_create_bmalloc(152, 20, kFlags, 0, 0x3e00037), nullptr);
  EXPECT_EQ(newest().name, "");
  EXPECT_EQ(newest().tag, 0x3e00037u);
  EXPECT_EQ(newest().record_size, 152u);
  EXPECT_EQ(newest().per_chunk, 20u);
  EXPECT_EQ(newest().flags, kFlags);
  ASSERT_NE(chunk_create("named", 96, 50, 1, 0, 0), nullptr);
  EXPECT_EQ(newest().name, "named");
  EXPECT_EQ(newest().tag, 0u);
  EXPECT_EQ(newest().record_size, 96u);
}

TEST_F(PoolsTest, RecordsAreDistinctAndAligned) {
  for (size_t size : {size_t{1}, size_t{8}, size_t{24}, size_t{100}, size_t{152}, size_t{5000}, size_t{100000}}) {
    chunk_pool *pool = make(size);
    std::vector<char *> records;
    for (int i = 0; i < 300; ++i) {
      auto record = static_cast<char *>(chunk_malloc(pool));
      ASSERT_NE(record, nullptr);
      ASSERT_EQ(reinterpret_cast<uintptr_t>(record) % alignof(void *), 0u);
      std::memset(record, i, size);
      records.push_back(record);
    }
    for (int i = 0; i < 300; ++i)
      for (size_t at : {size_t{0}, size / 2, size - 1})
        ASSERT_EQ(records[static_cast<size_t>(i)][at], static_cast<char>(i));
    for (char *record : records)
      ASSERT_EQ(chunk_free(pool, record), 1u);
  }
}

TEST_F(PoolsTest, CountsRecordsInUseAndEverUsed) {
  size_t live_before = runtime::live_records();
  chunk_pool *pool = make(48);
  void *a = chunk_malloc(pool), *b = chunk_malloc(pool);
  EXPECT_EQ(newest().live, 2u);
  EXPECT_EQ(runtime::live_records(), live_before + 2);
  chunk_free(pool, a);
  chunk_free(pool, b);
  EXPECT_EQ(newest().live, 0u);
  EXPECT_EQ(newest().total, 2u);
  EXPECT_EQ(runtime::live_records(), live_before);
}

TEST_F(PoolsTest, NoPoolReturnsNothing) {
  int record = 0;
  EXPECT_EQ(chunk_malloc(nullptr), nullptr);
  EXPECT_EQ(n_complaints(), 0u);
  EXPECT_EQ(chunk_free(nullptr, &record), 0u);
  EXPECT_EQ(n_complaints(), 1u);
}

TEST_F(PoolsTest, APoolOfNothingIsRefused) {
  EXPECT_EQ(make(0), nullptr);
  EXPECT_EQ(n_complaints(), 1u);
}

TEST_F(PoolsTest, ARecordIsTakenBackOnce) {
  for (size_t size : {size_t{8}, size_t{16}, size_t{80}}) {
    chunk_pool *pool = make(size);
    void *first = chunk_malloc(pool), *second = chunk_malloc(pool);
    EXPECT_EQ(chunk_free(pool, first), 1u);
    EXPECT_EQ(chunk_free(pool, second), 1u);
    EXPECT_EQ(chunk_free(pool, first), 0u);
    EXPECT_EQ(chunk_free(pool, second), 0u);
    EXPECT_EQ(n_complaints(), 2u);
    EXPECT_EQ(newest().live, 0u);
    EXPECT_NE(chunk_malloc(pool), chunk_malloc(pool));
  }
}

TEST_F(PoolsTest, WhatIsNoRecordOfThePoolIsRefused) {
  chunk_pool *pool = make(64), *other = make(64);
  auto record = static_cast<char *>(chunk_malloc(pool)), of_other = static_cast<char *>(chunk_malloc(other));
  std::vector<char> elsewhere(64);
  char on_stack[64];
  EXPECT_EQ(chunk_free(pool, nullptr), 0u);
  EXPECT_EQ(chunk_free(pool, of_other), 0u);
  EXPECT_EQ(chunk_free(pool, record + 8), 0u);
  EXPECT_EQ(chunk_free(pool, record + 1), 0u);
  EXPECT_EQ(chunk_free(pool, record + 64), 0u) << "the next record has never been given out";
  EXPECT_EQ(chunk_free(pool, elsewhere.data()), 0u);
  EXPECT_EQ(chunk_free(pool, on_stack), 0u);
  EXPECT_EQ(chunk_free(pool, reinterpret_cast<void *>(~uintptr_t{7})), 0u);
  std::vector<std::string> said = complaints();
  ASSERT_EQ(said.size(), 8u);
  EXPECT_NE(said[1].find("another pool"), std::string::npos) << said[1];
  EXPECT_EQ(chunk_free(pool, record), 1u);
  EXPECT_EQ(chunk_free(other, of_other), 1u);
}

TEST_F(PoolsTest, ContentThatLooksLikeAFreeRecordIsNoObstacle) {
  chunk_pool *pool = make(64);
  void *record = chunk_malloc(pool), *other = chunk_malloc(pool);
  chunk_free(pool, record);
#if ZAR_RECORDS_ON_HEAP
  char left_behind[64] = {};
#else
  // A user may write anything that the pool writes into a free record.
  char left_behind[64];
  std::memcpy(left_behind, record, sizeof left_behind);
#endif
  void *again = chunk_malloc(pool);
  std::memcpy(again, left_behind, sizeof left_behind);
  EXPECT_EQ(chunk_free(pool, again), 1u);
  EXPECT_EQ(chunk_free(pool, other), 1u);
}

TEST_F(PoolsTest, EveryRecordStaysWholeWhateverTheOrderOfTakingAndGiving) {
  Random random(77);
  struct Out {
    uint32_t pool;
    uint32_t *record;
    uint32_t stamp;
  };
  const size_t sizes[] = {16, 24, 56, 80, 136, 2000};
  std::vector<chunk_pool *> pools;
  for (size_t size : sizes)
    pools.push_back(make(size, 20));
  std::vector<Out> out;
  for (uint32_t step = 0; step < 100000; ++step) {
    if (out.empty() || random.below(100) < 51) {
      uint32_t pool = random.below(pools.size());
      auto record = static_cast<uint32_t *>(chunk_malloc(pools[pool]));
      ASSERT_NE(record, nullptr);
      std::fill(record, record + sizes[pool] / sizeof(uint32_t), step);
      out.push_back({pool, record, step});
    } else {
      Out &which = random.pick(out);
      size_t words = sizes[which.pool] / sizeof(uint32_t);
      ASSERT_EQ(std::count(which.record, which.record + words, which.stamp), static_cast<ptrdiff_t>(words));
      ASSERT_EQ(chunk_free(pools[which.pool], which.record), 1u);
      std::swap(which, out.back());
      out.pop_back();
    }
  }
  for (Out &which : out)
    chunk_free(pools[which.pool], which.record);
}

#if ZAR_RECORDS_ON_HEAP
TEST_F(PoolsTest, AStaleReadIsFoundByTheSanitizer) {
  chunk_pool *pool = make(64);
  auto record = static_cast<volatile char *>(chunk_malloc(pool));
  chunk_free(pool, const_cast<char *>(record));
  EXPECT_DEATH(record[8] = 1, "heap-use-after-free");
}
#endif

}  // namespace
