#include <string.h>

#include "check.h"
#include "platform/runtime.h"

/* Enough for several chunks, and a size that is not a power of two, like most records. */
enum { kFlags = 0x111, kPerChunk = 20, kRecords = 1000, kSize = 152 };

static chunk_pool *new_pool(size_t size) {
  chunk_pool *pool = chunk_create_bmalloc(size, kPerChunk, kFlags, 0, kTag);
  EXPECT(pool != NULL, "it gave no pool");
  return pool;
}

static unsigned char *take(chunk_pool *pool) {
  unsigned char *record = chunk_malloc(pool);
  EXPECT(record != NULL, "it gave no record while memory was left");
  return record;
}

/* Fills a record with content that no other one has. */
static void mark(unsigned char *record, size_t size, unsigned number) {
  memset(record, (int)(number % 251), size);
  memcpy(record, &number, sizeof number);
}

static void is_marked(const unsigned char *record, size_t size, unsigned number) {
  unsigned found;
  memcpy(&found, record, sizeof found);
  EXPECT(found == number, "record %u holds what was written into record %u", number, found);
  for (size_t i = sizeof found; i < size; i++) {
    EXPECT(record[i] == number % 251, "byte %zu of record %u has changed", i, number);
  }
}

static void hold_their_own(chunk_pool *pool, size_t size) {
  static unsigned char *records[kRecords];
  for (unsigned i = 0; i < kRecords; i++)
    mark(records[i] = take(pool), size, i);
  for (unsigned i = 0; i < kRecords; i++)
    is_marked(records[i], size, i);
}

static void records_are_apart(void) {
  hold_their_own(new_pool(kSize), kSize);
}

static void named_pool_gives_records(void) {
  chunk_pool *pool = chunk_create("platform check", kSize, kPerChunk, kFlags, 0, 0);
  EXPECT(pool != NULL, "it gave no pool");
  hold_their_own(pool, kSize);
}

static void records_are_aligned(void) {
  chunk_pool *pool = new_pool(24);
  for (int i = 0; i < kRecords; i++) {
    const void *record = take(pool);
    EXPECT((uintptr_t)record % sizeof(void *) == 0, "a record stands at %p, which is no place for a pointer", record);
  }
}

static void takes_back(void) {
  chunk_pool *pool = new_pool(kSize);
  EXPECT(chunk_free(pool, take(pool)) != 0, "it answered 0 for a record of the pool");
}

/* Every other one, so that remaining records are between the freed ones. */
static void giving_back_spares_others(void) {
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

static void pools_are_apart(void) {
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

static const Promise promises[] = {
    {"chunk_create_bmalloc", "makes a pool that grows past its first chunk", records_are_apart},
    {"chunk_create_bmalloc", "makes pools of their own sizes", pools_are_apart},
    {"chunk_create", "makes a pool that grows past its first chunk", named_pool_gives_records},
    {"chunk_malloc", "gives records that are aligned for pointers", records_are_aligned},
    {"chunk_free", "answers non-zero for a record that it takes back", takes_back},
    {"chunk_free", "leaves the records that are out alone", giving_back_spares_others},
};
const Group pools = {"pools", promises, COUNT_OF(promises)};
