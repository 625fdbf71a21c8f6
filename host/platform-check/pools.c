#include <string.h>

#include "check.h"
#include "platform/runtime.h"

/* Enough records for many chunks. The large size is the library's largest, and no power of two. */
enum { kFlags = 0x111, kPerChunk = 20, kRecords = 500, kMany = 2000, kSize = 64, kLargeSize = 152 };

static chunk_pool *new_pool(size_t size) {
  chunk_pool *pool = chunk_create_bmalloc(size, kPerChunk, kFlags, 0, kTag);
  EXPECT(pool != NULL, "it returned no pool");
  return pool;
}

static chunk_pool *new_named_pool(void) {
  chunk_pool *pool = chunk_create("platform check", kSize, kPerChunk, kFlags, 0, 0);
  EXPECT(pool != NULL, "it returned no pool");
  return pool;
}

static unsigned char *take(chunk_pool *pool) {
  unsigned char *record = chunk_malloc(pool);
  EXPECT(record != NULL, "it returned no record although there is enough memory");
  return record;
}

/* Fills a record with content that no other record has. */
static void mark(unsigned char *record, size_t size, unsigned number) {
  memset(record, (int)(number % 251), size);
  memcpy(record, &number, sizeof number);
}

static void is_marked(const unsigned char *record, size_t size, unsigned number) {
  unsigned found;
  memcpy(&found, record, sizeof found);
  EXPECT(found == number, "record %u contains what was written to record %u", number, found);
  for (size_t i = sizeof found; i < size; i++) {
    EXPECT(record[i] == number % 251, "byte %zu of record %u has changed", i, number);
  }
}

static void records_keep_their_content(chunk_pool *pool, size_t size, unsigned n_records) {
  static unsigned char *records[kMany];
  for (unsigned i = 0; i < n_records; i++)
    mark(records[i] = take(pool), size, i);
  for (unsigned i = 0; i < n_records; i++)
    is_marked(records[i], size, i);
}

static void pool_grows(void) {
  records_keep_their_content(new_pool(kSize), kSize, kMany);
}

static void named_pool_grows(void) {
  records_keep_their_content(new_named_pool(), kSize, kMany);
}

static void records_have_their_full_size(void) {
  records_keep_their_content(new_pool(kLargeSize), kLargeSize, kRecords);
}

static void pools_are_independent(void) {
  chunk_pool *small = new_pool(16), *large = new_pool(4096);
  static unsigned char *small_records[kRecords], *large_records[kRecords];
  for (unsigned i = 0; i < kRecords; i++) {
    mark(small_records[i] = take(small), 16, i);
    mark(large_records[i] = take(large), 4096, i);
  }
  for (unsigned i = 0; i < kRecords; i++) {
    is_marked(small_records[i], 16, i);
    is_marked(large_records[i], 4096, i);
  }
}

static void records_are_aligned(void) {
  chunk_pool *pool = new_pool(24);
  for (int i = 0; i < kRecords; i++) {
    const void *record = take(pool);
    EXPECT((uintptr_t)record % sizeof(void *) == 0, "the record at %p is not aligned for a pointer", record);
  }
}

static void freeing_reports_success(void) {
  chunk_pool *pool = new_pool(kSize), *named = new_named_pool();
  static unsigned char *records[kRecords], *others[kRecords];
  for (int i = 0; i < kRecords; i++) {
    records[i] = take(pool);
    others[i] = take(named);
  }
  for (int i = 0; i < kRecords; i++) {
    EXPECT(chunk_free(pool, records[i]) != 0, "it returned 0 for record %d of the pool", i);
    EXPECT(chunk_free(named, others[i]) != 0, "it returned 0 for record %d of a named pool", i);
  }
}

/* Frees every second record, so that the remaining ones are between freed ones. */
static void freeing_does_not_affect_other_records(void) {
  static unsigned char *records[kRecords];
  chunk_pool *pool = new_pool(kSize);
  for (unsigned i = 0; i < kRecords; i++)
    mark(records[i] = take(pool), kSize, i);
  for (unsigned i = 0; i < kRecords; i += 2)
    chunk_free(pool, records[i]);
  for (unsigned i = 0; i < kRecords; i += 2)
    mark(records[i] = take(pool), kSize, i);
  for (unsigned i = 0; i < kRecords; i++)
    is_marked(records[i], kSize, i);
}

static void freed_records_can_be_taken_again(void) {
  chunk_pool *small = new_pool(sizeof(void *)), *large = new_pool(kPiece);
  zar_platform_check_has_not_grown(kMostOfScraps);
  for (int i = 0; i < kScraps; i++)
    chunk_free(small, memset(take(small), 1, sizeof(void *)));
  zar_platform_check_has_not_grown(kMostOfScraps);
  for (int i = 0; i < kPieces; i++)
    chunk_free(large, memset(take(large), 1, kPiece));
  zar_platform_check_has_not_grown(kMostOfPieces);
}

static const Promise promises[] = {
    {1, "chunk_create_bmalloc", "creates a pool that grows as needed", pool_grows},
    {2, "chunk_create_bmalloc", "creates pools with different record sizes", pools_are_independent},
    {3, "chunk_create", "creates a pool that grows as needed", named_pool_grows},
    {4, "chunk_malloc", "returns records that are aligned for pointers", records_are_aligned},
    {5, "chunk_malloc", "returns records of the full size, which do not overlap", records_have_their_full_size},
    {6, "chunk_free", "returns non-zero for a record of the pool", freeing_reports_success},
    {7, "chunk_free", "does not affect records that are in use", freeing_does_not_affect_other_records},
    {8, "chunk_free", "lets a record be taken again, any number of times", freed_records_can_be_taken_again},
};
const Group zar_platform_check_pools = {"pools", "chunk", promises, COUNT_OF(promises), NULL};
