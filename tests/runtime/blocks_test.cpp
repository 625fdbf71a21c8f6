#include <algorithm>
#include <cstring>

#include "tests/runtime/fixture.h"

namespace {

using runtime::BlockCount;

class BlocksTest : public RuntimeTest {
 protected:
  void TearDown() override {
    EXPECT_EQ(runtime::live_blocks(), 0u);
    RuntimeTest::TearDown();
  }
};

TEST_F(BlocksTest, ABlockIsZeroed) {
  for (size_t size : {1u, 8u, 100u, 247u, 248u, 249u, 4096u, 1000000u})
    for (int again = 0; again < 2; ++again) {
      auto block = static_cast<char *>(bcalloc_named(1, size, 5));
      ASSERT_NE(block, nullptr);
      ASSERT_EQ(reinterpret_cast<uintptr_t>(block) % alignof(std::max_align_t), 0u);
      ASSERT_EQ(std::count(block, block + size, 0), static_cast<ptrdiff_t>(size));
      std::memset(block, 0xff, size);
      bfree_named(block);
    }
}

TEST_F(BlocksTest, AnArrayThatNoMemoryCouldHoldIsRefused) {
  EXPECT_EQ(bcalloc_named(SIZE_MAX / 8, 16, 5), nullptr);
  EXPECT_EQ(bcalloc_named(SIZE_MAX, SIZE_MAX, 5), nullptr);
  EXPECT_EQ(bcalloc_named(1, SIZE_MAX - 4, 5), nullptr);
}

TEST_F(BlocksTest, AnEmptyBlockIsABlock) {
  void *block = bcalloc_named(0, 8, 5), *second = bcalloc_named(8, 0, 5);
  EXPECT_NE(block, nullptr);
  EXPECT_NE(block, second);
  bfree_named(block);
  bfree_named(second);
}

TEST_F(BlocksTest, ATextIsCopied) {
  char text[] = "hash:key:1";
  char *copy = bstrdup_named(text, 6);
  text[0] = 'X';
  EXPECT_STREQ(copy, "hash:key:1");
  bfree_named(copy);
  char *empty = bstrdup_named("", 6);
  EXPECT_STREQ(empty, "");
  bfree_named(empty);
  EXPECT_EQ(bstrdup_named(nullptr, 6), nullptr);
}

TEST_F(BlocksTest, BlocksAreCountedByTag) {
  void *a = bcalloc_named(3, 10, 0x3e00003), *b = bcalloc_named(1, 300, 0x3e00003);
  char *c = bstrdup_named("four", 0x1e00003);  // the same low bits
  auto counts = runtime::blocks_by_tag();
  EXPECT_EQ(counts[0x3e00003], (BlockCount{2, 330, 2}));
  EXPECT_EQ(counts[0x1e00003], (BlockCount{1, 5, 1}));
  EXPECT_EQ(runtime::live_blocks(), 3u);
  for (void *block : {a, b, static_cast<void *>(c)})
    bfree_named(block);
  counts = runtime::blocks_by_tag();
  EXPECT_EQ(counts[0x3e00003], (BlockCount{0, 0, 2}));
  EXPECT_EQ(counts[0x1e00003], (BlockCount{0, 0, 1}));
}

TEST_F(BlocksTest, FreeingNothingDoesNothing) {
  bfree_named(nullptr);
}

TEST_F(BlocksTest, AnUnknownBlockIsNotFreed) {
  int on_stack = 0;
  for (size_t size : {20u, 2000u}) {
    auto block = static_cast<char *>(bcalloc_named(1, size, 5));
    bfree_named(block + 8);
    bfree_named(&on_stack);
    EXPECT_EQ(n_complaints(), 2u);
    bfree_named(block);
    bfree_named(block);
    EXPECT_EQ(n_complaints(), 1u);
  }
}

TEST_F(BlocksTest, EveryBlockStaysWholeWhateverTheOrderOfTakingAndFreeing) {
  Random random(1618);
  struct Out {
    uint32_t tag;
    size_t size;
    unsigned char *block;
  };
  std::vector<Out> out;
  std::map<uint32_t, BlockCount> model;
  auto before = runtime::blocks_by_tag();
  for (uint32_t step = 0; step < 60000; ++step) {
    if (out.empty() || random.below(100) < 52) {
      Out made{0x100 + random.below(200), random.below(random.below(20) == 0 ? 5000 : 300) + size_t{1}, nullptr};
      made.block = static_cast<unsigned char *>(bcalloc_named(made.size, 1, made.tag));
      std::fill(made.block, made.block + made.size, static_cast<unsigned char>(made.tag));
      BlockCount &count = model[made.tag];
      count = {count.blocks + 1, count.bytes + made.size, count.total + 1};
      out.push_back(made);
    } else {
      Out &which = random.pick(out);
      auto expected = static_cast<unsigned char>(which.tag);
      ASSERT_EQ(std::count(which.block, which.block + which.size, expected), static_cast<ptrdiff_t>(which.size));
      bfree_named(which.block);
      BlockCount &count = model[which.tag];
      count = {count.blocks - 1, count.bytes - which.size, count.total};
      std::swap(which, out.back());
      out.pop_back();
    }
  }
  model.insert(before.begin(), before.end());
  EXPECT_EQ(runtime::blocks_by_tag(), model);
  for (Out &which : out)
    bfree_named(which.block);
}

#if ZAR_RECORDS_ON_HEAP
TEST_F(BlocksTest, AByteTooFarIsFoundByTheSanitizer) {
  auto block = static_cast<volatile char *>(bcalloc_named(1, 13, 5));
  EXPECT_DEATH(block[13] = 1, "heap-buffer-overflow");
  bfree_named(const_cast<char *>(block));
}
#endif

}  // namespace
