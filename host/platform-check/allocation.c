#include <stdlib.h>
#include <string.h>

#include "check.h"
#include "platform/runtime.h"

enum { kBlocks = 500, kSize = 100, kLongest = 5000 };

static unsigned char *new_block(size_t count, size_t size) {
  unsigned char *block = bcalloc_named(count, size, kTag);
  EXPECT(block != NULL, "it returned no block of %zu bytes although there is enough memory", count * size);
  return block;
}

static char *duplicate(const char *text) {
  char *copy = bstrdup_named(text, kTag);
  EXPECT(copy != NULL, "it returned no copy although there is enough memory");
  return copy;
}

static void is_filled_with(const unsigned char *block, size_t size, int value) {
  for (size_t i = 0; i < size; i++) {
    EXPECT(block[i] == value, "byte %zu of a block of %zu is 0x%x instead of 0x%x", i, size, block[i], value);
  }
}

/* Fills the blocks and frees them, so that later blocks reuse their memory. */
static void blocks_are_zeroed(void) {
  static const size_t sizes[] = {1, 8, 24, 100, 300, 513, 1000, 4097, 70000};
  static unsigned char *blocks[COUNT_OF(sizes)];
  for (int turn = 0; turn < 50; turn++) {
    for (size_t i = 0; i < COUNT_OF(sizes); i++) {
      blocks[i] = new_block(1, sizes[i]);
      is_filled_with(blocks[i], sizes[i], 0);
      memset(blocks[i], 0xa5, sizes[i]);
    }
    for (size_t i = 0; i < COUNT_OF(sizes); i++)
      bfree_named(blocks[i]);
  }
}

static void fill_block(unsigned char **block, size_t count, int number) {
  *block = new_block(count, kSize);
  memset(*block, number % 251, count * kSize);
}

static void blocks_have_their_full_size(void) {
  static unsigned char *blocks[kBlocks];
  for (int i = 0; i < kBlocks; i++)
    fill_block(&blocks[i], 3, i);
  for (int i = 0; i < kBlocks; i++)
    is_filled_with(blocks[i], (size_t)3 * kSize, i % 251);
}

static void blocks_are_aligned(void) {
  for (int i = 0; i < kBlocks; i++) {
    const void *block = new_block(1, (size_t)i + 1);
    EXPECT((uintptr_t)block % sizeof(void *) == 0, "the block at %p is not aligned for a pointer", block);
  }
}

static void duplicate_is_independent(void) {
  char *text = zar_platform_check_lend("gold");
  const char *copy = duplicate(text);
  EXPECT(copy != text, "it returned the text itself");
  zar_platform_check_take_back(text);
  EXPECT(strcmp(copy, "gold") == 0, "the copy of 'gold' contains '%.40s'", copy);
}

static void duplicates_texts_of_any_length(void) {
  static char text[kLongest];
  for (size_t length = 1; length < sizeof text; length += length < 300 ? 1 : 97) {
    memset(text, 'x', length);
    text[length] = '\0';
    const char *copy = duplicate(text);
    EXPECT(strlen(copy) == length, "the copy of a text of %zu characters has %zu", length, strlen(copy));
    EXPECT(strcmp(copy, text) == 0, "the copy of a text of %zu characters differs from it", length);
  }
}

static void duplicates_the_empty_text(void) {
  const char *copy = bstrdup_named("", kTag);
  EXPECT(copy != NULL && *copy == '\0', "it did not return an empty text");
}

static void duplicate_may_be_written_to(void) {
  char text[] = "gold", *copy = duplicate(text);
  memcpy(copy, "iron", sizeof "iron");
  EXPECT(strcmp(copy, "iron") == 0, "what was written to the copy is not there");
}

/* Each copy is made in the place of a block between two others. What follows the text in memory must not follow it. */
static void duplicates_leave_other_blocks_alone(void) {
  enum { kLengths = 32 };
  static unsigned char *blocks[kLengths][kBlocks];
  for (size_t length = 1; length < kLengths; length++) {
    for (int i = 0; i < kBlocks; i++)
      memset(blocks[length][i] = new_block(1, length + 1), i % 251, length + 1);
  }
  for (size_t length = 1; length < kLengths; length++) {
    char text[kLengths + 2];
    memset(text, 0xff, sizeof text);
    text[length] = '\0';
    for (int i = 1; i < kBlocks; i += 2)
      bfree_named(blocks[length][i]);
    for (int i = 1; i < kBlocks; i += 2)
      blocks[length][i] = (unsigned char *)duplicate(text);
    for (int i = 0; i < kBlocks; i += 2)
      is_filled_with(blocks[length][i], length + 1, i % 251);
    for (int i = 0; i < kBlocks; i++)
      bfree_named(blocks[length][i]);
  }
}

static void frees_blocks_of_both_services(void) {
  bfree_named(new_block(1, kSize));
  bfree_named(duplicate("gold"));
}

static void freeing_does_not_affect_other_blocks(void) {
  static unsigned char *blocks[kBlocks];
  for (int i = 0; i < kBlocks; i++)
    fill_block(&blocks[i], 1, i);
  for (int i = 0; i < kBlocks; i += 2)
    bfree_named(blocks[i]);
  for (int i = 0; i < kBlocks; i += 2)
    fill_block(&blocks[i], 1, i);
  for (int i = 0; i < kBlocks; i++)
    is_filled_with(blocks[i], kSize, i % 251);
}

static void freed_memory_can_be_used_again(void) {
  zar_platform_check_has_not_grown(kMostOfScraps);
  for (int i = 0; i < kScraps; i++)
    bfree_named(memset(new_block(1, 1), 1, 1));
  zar_platform_check_has_not_grown(kMostOfScraps);
  for (int i = 0; i < kScraps; i++)
    bfree_named(duplicate("gold"));
  zar_platform_check_has_not_grown(kMostOfScraps);
  for (int i = 0; i < kPieces; i++)
    bfree_named(memset(new_block(1, kPiece), 1, kPiece));
  zar_platform_check_has_not_grown(kMostOfPieces);
}

static void null_is_ignored(void) {
  bfree_named(NULL);
}

static const Promise promises[] = {
    {1, "bcalloc_named", "returns blocks of any size with only zeros, even in memory that was used before",
     blocks_are_zeroed},
    {2, "bcalloc_named", "returns blocks of 'count' times 'size' bytes, which do not overlap",
     blocks_have_their_full_size},
    {3, "bcalloc_named", "returns blocks that are aligned for pointers", blocks_are_aligned},
    {4, "bstrdup_named", "returns a copy, and needs the text only during the call", duplicate_is_independent},
    {5, "bstrdup_named", "copies texts of any length", duplicates_texts_of_any_length},
    {6, "bstrdup_named", "copies the empty text", duplicates_the_empty_text},
    {7, "bstrdup_named", "returns a copy that may be written to", duplicate_may_be_written_to},
    {12, "bstrdup_named", "does not affect other blocks", duplicates_leave_other_blocks_alone},
    {8, "bfree_named", "frees the blocks of both services", frees_blocks_of_both_services},
    {9, "bfree_named", "does not affect other blocks", freeing_does_not_affect_other_blocks},
    {10, "bfree_named", "lets the memory be used again, any number of times", freed_memory_can_be_used_again},
    {11, "bfree_named", "ignores NULL", null_is_ignored},
};
const Group zar_platform_check_allocation = {"allocation", "block", promises, COUNT_OF(promises), NULL};
