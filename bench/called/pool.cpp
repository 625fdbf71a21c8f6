#include "called/pool.h"

#include <new>
#include <vector>

namespace {

struct FreeRecord {
  FreeRecord *next;
};

}  // namespace

struct CalledPool {
  FreeRecord *free = nullptr;
  std::vector<std::max_align_t> memory;
};

CalledPool *called_pool_new(size_t record_size, size_t n_records) {
  const size_t stride = (record_size + sizeof(std::max_align_t) - 1) / sizeof(std::max_align_t);
  auto *pool = new CalledPool{.memory = std::vector<std::max_align_t>(stride * n_records)};
  for (size_t at = n_records; at > 0; --at)
    called_pool_give(pool, &pool->memory[(at - 1) * stride]);
  return pool;
}

void *called_pool_take(CalledPool *pool) {
  FreeRecord *record = pool->free;
  if (record) pool->free = record->next;
  return record;
}

void called_pool_give(CalledPool *pool, void *record) {
  pool->free = new (record) FreeRecord{pool->free};
}
