#include <stdlib.h>
#include <string.h>

#include "check.h"
#include "platform/runtime.h"

enum { kBlocks = 500, kSize = 100 };

static unsigned char *new_block(size_t count, size_t size) {
  unsigned char *block = bcalloc_named(count, size, kTag);
  EXPECT(block != NULL, "it returned no block of %zu bytes although there is enough memory", count * size);
  return block;
}

static void is_filled_with(const unsigned char *block, size_t size, int value) {
  for (size_t i = 0; i < size; i++) {
    EXPECT(block[i] == value, "byte %zu of a block is 0x%x instead of 0x%x", i, block[i], value);
  }
}

/* Fills the blocks and frees them, so that later blocks reuse their memory. */
static void blocks_are_zeroed(void) {
  static unsigned char *blocks[kBlocks];
  for (int turn = 0; turn < 3; turn++) {
    for (int i = 0; i < kBlocks; i++) {
      blocks[i] = new_block(3, kSize);
      is_filled_with(blocks[i], 3 * kSize, 0);
      memset(blocks[i], 0xa5, 3 * kSize);
    }
    for (int i = 0; i < kBlocks; i++)
      bfree_named(blocks[i]);
  }
}

static void blocks_do_not_overlap(void) {
  static unsigned char *blocks[kBlocks];
  for (int i = 0; i < kBlocks; i++)
    memset(blocks[i] = new_block(1, kSize), i % 251, kSize);
  for (int i = 0; i < kBlocks; i += 2)
    bfree_named(blocks[i]);
  for (int i = 0; i < kBlocks; i += 2)
    memset(blocks[i] = new_block(1, kSize), i % 251, kSize);
  for (int i = 0; i < kBlocks; i++)
    is_filled_with(blocks[i], kSize, i % 251);
}

static void blocks_are_aligned(void) {
  for (int i = 0; i < kBlocks; i++) {
    const void *block = new_block(1, (size_t)i + 1);
    EXPECT((uintptr_t)block % sizeof(void *) == 0, "the block at %p is not aligned for a pointer", block);
  }
}

static void duplicate_is_independent(void) {
  char text[] = "gold";
  char *copy = bstrdup_named(text, kTag);
  EXPECT(copy != NULL && copy != text, "it returned no copy");
  memcpy(text, "lead", sizeof text);
  EXPECT(strcmp(copy, "gold") == 0, "the copy of 'gold' contains '%.40s'", copy);
  memcpy(copy, "iron", sizeof text);
  bfree_named(copy);
}

static void duplicates_the_empty_text(void) {
  char *copy = bstrdup_named("", kTag);
  EXPECT(copy != NULL && *copy == '\0', "it did not return an empty text");
  bfree_named(copy);
}

static void null_is_ignored(void) {
  bfree_named(NULL);
}

static const Promise promises[] = {
    {"bcalloc_named", "returns zeroed blocks, even in memory that was used before", blocks_are_zeroed},
    {"bcalloc_named", "returns blocks that are aligned for pointers", blocks_are_aligned},
    {"bstrdup_named", "returns an independent copy, which may be written to", duplicate_is_independent},
    {"bstrdup_named", "copies the empty text", duplicates_the_empty_text},
    {"bfree_named", "does not affect other blocks", blocks_do_not_overlap},
    {"bfree_named", "ignores NULL", null_is_ignored},
};
const Group allocation = {"allocation", promises, COUNT_OF(promises)};
