// Pools of equal-sized records. A pool adds to its store the bookkeeping for the control side.
//
// A store counts the records that it hands out anyway, and a second count would be noticeable beside the cost of taking
// one; so only refused requests for records are counted with those of the other services.
#include <algorithm>
#include <memory>
#include <new>

#include "host/runtime/monitor.h"
#include "host/runtime/record_store.h"
#include "host/runtime/services.h"

using namespace runtime;

struct alignas(64) chunk_pool {
  chunk_pool(const char *name_text, uint32_t tag_value, size_t size, uint32_t records, uint32_t flag_bits)
      : store(size, records, Placement::by_lines),
        tag(tag_value),
        record_size(size),
        per_chunk(records),
        flags(flag_bits),
        name(name_text ? name_text : "") {}

  RecordStore store;
  uint32_t tag;
  size_t record_size;
  uint32_t per_chunk;
  uint32_t flags;
  std::string name;
};

namespace {

struct Pools {
  std::vector<std::unique_ptr<chunk_pool>> in_order_of_creation;
};

auto &all_pools() {
  return immortal<Pools>().in_order_of_creation;
}

chunk_pool *create(const char *name, uint32_t tag, size_t size, uint32_t per_chunk, uint32_t flags) {
  if (size == 0) {
    complain("a pool of records of 0 bytes was asked for");
    return nullptr;
  }
  if (refused(Service::pool, tag, size, name ? name : "")) return nullptr;
  try {
    return all_pools().emplace_back(std::make_unique<chunk_pool>(name, tag, size, per_chunk, flags)).get();
  } catch (const std::bad_alloc &) {
    note_out_of_memory();
    return nullptr;
  }
}

// Kept out of the services' usual paths, which need no stack.
[[gnu::noinline, gnu::cold]] void *take_slowly(chunk_pool *pool) {
  if (!pool) return nullptr;
  bool refused = monitor.watching && refused_by_watch(Service::record, pool->tag, pool->record_size, {});
  void *record = refused ? nullptr : pool->store.take();
  if (!record) {
    ++monitor.requests[static_cast<size_t>(Service::record)];
    note_out_of_memory();
  }
  return record;
}

const char *fault_of(const chunk_pool &pool, const void *record) {
  if (!record) return "NULL";
  for (const auto &other : all_pools())
    if (other.get() != &pool && other->store.is_out(record)) return "a record of another pool";
  return "what is not out of the pool";
}

[[gnu::noinline, gnu::cold]] uint32_t give_slowly(chunk_pool *pool, void *record) {
  if (pool && pool->store.give(record)) return 1;
  if (!pool)
    complain("%p was given back to no pool", record);
  else
    complain("a pool of %zu-byte records (tag 0x%x) was given back %s: %p", pool->record_size, pool->tag,
             fault_of(*pool, record), record);
  return 0;
}

}  // namespace

chunk_pool *chunk_create_bmalloc(size_t size, uint32_t per_chunk, uint32_t flags, uint32_t, uint32_t tag) {
  return create(nullptr, tag, size, per_chunk, flags);
}

chunk_pool *chunk_create(const char *name, size_t size, uint32_t per_chunk, uint32_t flags, uint32_t, uint32_t) {
  return create(name, 0, size, per_chunk, flags);
}

void *chunk_malloc(chunk_pool *pool) {
  if (pool && !monitor.watching) [[likely]] {
    void *record = pool->store.take_without_growing();
    if (record) [[likely]]
      return record;
  }
  return take_slowly(pool);
}

uint32_t chunk_free(chunk_pool *pool, void *record) {
  if (pool && pool->store.give_without_search(record)) [[likely]]
    return 1;
  return give_slowly(pool, record);
}

namespace runtime {

std::vector<PoolInfo> pools() {
  std::vector<PoolInfo> infos;
  for (const auto &pool : all_pools())
    infos.push_back({pool->name, pool->tag, pool->record_size, pool->per_chunk, pool->flags, pool->store.live(),
                     pool->store.total()});
  return infos;
}

uint64_t granted_records() {
  uint64_t granted = 0;
  for (const auto &pool : all_pools())
    granted += pool->store.total();
  return granted;
}

size_t live_records() {
  size_t live = 0;
  for (const auto &pool : all_pools())
    live += pool->store.live();
  return live;
}

}  // namespace runtime
