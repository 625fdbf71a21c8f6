// Records from pools, and texts from the string database, as the library requests them from the stand-in runtime,
// compared with general allocators and a hash table that could do the same. All are called in shared libraries except
// boost::pool and the table, which are templates.
#include <boost/pool/pool.hpp>
#include <cstdlib>
#include <cstring>
#include <memory_resource>
#include <string_view>
#include <unordered_map>

#include "called/pool.h"
#include "platform/runtime.h"
#include "support/jobs.h"
#include "support/random.h"
#include "support/repository.h"

namespace {

using bench::Random;

constexpr size_t kRecord = sizeof(zar_action);

// ---- Records

class RuntimePool {
 public:
  void *take() const { return chunk_malloc(pool_); }
  void give(void *record) const { chunk_free(pool_, record); }

 private:
  chunk_pool *pool_ = chunk_create_bmalloc(kRecord, 50, 0x111, 0, 0x3e000fe);
};

class Malloc {
 public:
  void *take() const { return std::malloc(kRecord); }
  void give(void *record) const { std::free(record); }
};

// The least that a pool takes which is called: it checks and counts nothing.
class FreeList {
 public:
  explicit FreeList(uint32_t n_objects) : pool_(called_pool_new(kRecord, n_objects)) {}
  void *take() const { return called_pool_take(pool_); }
  void give(void *record) const { called_pool_give(pool_, record); }

 private:
  CalledPool *pool_;
};

class BoostPool {
 public:
  void *take() { return pool_.malloc(); }
  void give(void *record) { pool_.free(record); }

 private:
  boost::pool<> pool_{kRecord, 50};
};

class StandardPool {
 public:
  void *take() { return pool_.allocate(kRecord); }
  void give(void *record) { pool_.deallocate(record, kRecord); }

 private:
  std::pmr::unsynchronized_pool_resource pool_;
};

// Takes a record, writes to it, and returns it.
template <class Pool>
void take_and_give(benchmark::State &state, Pool &pool) {
  for (auto _ : state) {
    auto *record = static_cast<char *>(pool.take());
    record[0] = 1;
    benchmark::DoNotOptimize(record);
    pool.give(record);
  }
}

// Returns any one of many live records and takes another: the cost of the pair.
template <class Pool>
void replace(benchmark::State &state, Pool &pool, uint32_t n_objects) {
  Random random;
  std::vector<void *> records(n_objects);
  for (void *&record : records)
    record = pool.take();
  for (auto _ : state) {
    void *&record = records[random.below(n_objects)];
    pool.give(record);
    record = pool.take();
    *static_cast<char *>(record) = 1;
  }
  for (void *record : records)
    pool.give(record);
}

template <class Pool, class... Arguments>
void register_pool(const std::string &who, uint32_t n_objects, Arguments... arguments) {
  auto pool = std::make_shared<Pool>(arguments...);
  bench::job("pool, take and give back", who, [=](benchmark::State &state) { take_and_give(state, *pool); });
  bench::job("pool, replace any", who, [=](benchmark::State &state) { replace(state, *pool, n_objects); });
}

// ---- Texts

class StringDatabase {
 public:
  bool intern(const char *text) {
    sdb_ref reference = nullptr;
    return sdb_add_block(text, static_cast<uint32_t>(std::strlen(text)), &reference, 0x3e000fe) != 0;
  }
};

class CountingTable {
 public:
  bool intern(const char *text) {
    std::string_view view(text);
    auto found = counts_.find(view);
    if (found == counts_.end()) found = counts_.emplace(std::string(view), 0).first;
    return ++found->second != 0;
  }

 private:
  struct Hash {
    using is_transparent = void;
    size_t operator()(std::string_view text) const { return std::hash<std::string_view>()(text); }
  };
  std::unordered_map<std::string, uint32_t, Hash, std::equal_to<>> counts_;
};

template <class Table>
void register_table(const std::string &who, const std::shared_ptr<std::vector<std::string>> &texts) {
  auto table = std::make_shared<Table>();
  for (const std::string &text : *texts)
    table->intern(text.c_str());
  bench::job("intern a text that exists", who, [=](benchmark::State &state) {
    Random random;
    const auto count = static_cast<uint32_t>(texts->size());
    for (auto _ : state)
      benchmark::DoNotOptimize(table->intern((*texts)[random.below(count)].c_str()));
  });
}

}  // namespace

void bench::register_jobs(uint32_t n_objects) {
  register_pool<RuntimePool>(kLibrary, n_objects);
  register_pool<Malloc>("malloc", n_objects);
  register_pool<FreeList>("free list, called", n_objects, n_objects);
  register_pool<BoostPool>("boost::pool", n_objects);
  register_pool<StandardPool>("std::pmr", n_objects);

  auto texts = std::make_shared<std::vector<std::string>>(names(n_objects));
  register_table<StringDatabase>(kLibrary, texts);
  register_table<CountingTable>("std::unordered_map", texts);
}
