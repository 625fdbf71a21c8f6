#include <stdlib.h>
#include <string.h>

#include "check.h"
#include "platform/runtime.h"

enum { kBlocks = 500, kSize = 100 };

static unsigned char *new_block(size_t count, size_t size) {
  unsigned char *block = bcalloc_named(count, size, kTag);
  EXPECT(block != NULL, "it gave no block of %zu bytes while memory was left", count * size);
  return block;
}

static void is_all(const unsigned char *block, size_t size, int value) {
  for (size_t i = 0; i < size; i++) {
    EXPECT(block[i] == value, "byte %zu of a block is 0x%x instead of 0x%x", i, block[i], value);
  }
}

/* Blocks are written to and freed, so that later ones reuse their memory. */
static void blocks_are_zeroed(void) {
  static unsigned char *blocks[kBlocks];
  for (int turn = 0; turn < 3; turn++) {
    for (int i = 0; i < kBlocks; i++) {
      blocks[i] = new_block(3, kSize);
      is_all(blocks[i], 3 * kSize, 0);
      memset(blocks[i], 0xa5, 3 * kSize);
    }
    for (int i = 0; i < kBlocks; i++)
      bfree_named(blocks[i]);
  }
}

static void blocks_are_apart(void) {
  static unsigned char *blocks[kBlocks];
  for (int i = 0; i < kBlocks; i++)
    memset(blocks[i] = new_block(1, kSize), i % 251, kSize);
  for (int i = 0; i < kBlocks; i += 2)
    bfree_named(blocks[i]);
  for (int i = 0; i < kBlocks; i += 2)
    memset(blocks[i] = new_block(1, kSize), i % 251, kSize);
  for (int i = 0; i < kBlocks; i++)
    is_all(blocks[i], kSize, i % 251);
}

static void blocks_are_aligned(void) {
  for (int i = 0; i < kBlocks; i++) {
    const void *block = new_block(1, (size_t)i + 1);
    EXPECT((uintptr_t)block % sizeof(void *) == 0, "a block stands at %p, which is no place for a pointer", block);
  }
}

static void duplicates(void) {
  char text[] = "gold";
  char *copy = bstrdup_named(text, kTag);
  EXPECT(copy != NULL && copy != text, "it gave no copy");
  memcpy(text, "lead", sizeof text);
  EXPECT(strcmp(copy, "gold") == 0, "the copy of 'gold' reads '%.40s'", copy);
  memcpy(copy, "iron", sizeof text);
  bfree_named(copy);
}

static void duplicates_the_empty_text(void) {
  char *copy = bstrdup_named("", kTag);
  EXPECT(copy != NULL && *copy == '\0', "it gave no empty text");
  bfree_named(copy);
}

static void freeing_null(void) {
  bfree_named(NULL);
}

static const Promise promises[] = {
    {"bcalloc_named", "gives zeroed blocks, also where others were before", blocks_are_zeroed},
    {"bcalloc_named", "gives blocks that are aligned for pointers", blocks_are_aligned},
    {"bstrdup_named", "gives a copy of its own, which may be written to", duplicates},
    {"bstrdup_named", "copies the empty text", duplicates_the_empty_text},
    {"bfree_named", "leaves the other blocks alone", blocks_are_apart},
    {"bfree_named", "does nothing about NULL", freeing_null},
};
const Group allocation = {"allocation", promises, COUNT_OF(promises)};
