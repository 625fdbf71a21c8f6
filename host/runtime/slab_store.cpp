#include "host/runtime/slab_store.h"

#include <sys/mman.h>

#include <algorithm>
#include <array>

namespace runtime {

namespace {

// Reserves only addresses; memory is used when slabs are created. Takes less if the process is not allowed this much.
// What is not used is kept out of core files: a debugger writes even untouched pages, 16 GB of them.
constexpr uint64_t kMostReserved = uint64_t{16} << 30, kLeastReserved = uint64_t{64} << 20;
constexpr uint64_t kCommitStep = uint64_t{1} << 20;
constexpr uint32_t kMostStores = 1 << 16;

void *reserve(uint64_t bytes, int protection) {
  void *begin = mmap(nullptr, bytes, protection, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  return begin == MAP_FAILED ? nullptr : begin;
}

}  // namespace

constinit SlabStore::Range SlabStore::range_;

bool SlabStore::in_free_list(const void *record) const noexcept {
  for (const FreeRecord *other = free_; other; other = other->next)
    if (other == record) return true;
  return false;
}

size_t SlabStore::n_free() const noexcept {
  size_t count = 0;
  for (const FreeRecord *record = free_; record; record = record->next)
    ++count;
  return count;
}

bool SlabStore::grow() noexcept {
  if (number_ == 0 && !enter_into_range()) return false;
  size_t most = (kLargestSlab - first_at_) / stride_;
  size_t wanted = first_at_ + std::min<size_t>(std::max<uint32_t>(per_slab_, 1), most) * stride_;
  size_t bytes = rounded_up(wanted, kPageSize);
  char *slab = new_slab(bytes);
  if (!slab) return false;
  size_t n_records = (bytes - first_at_) / stride_;
  used_per_slab_ = n_records * stride_;
  n_records_ += n_records;
  // From the last to the first, so that they are taken in the order of their addresses.
  char *first = slab + first_at_;
  for (char *record = first + used_per_slab_; record != first;)
    put_back(record -= stride_);
  return true;
}

bool SlabStore::enter_into_range() noexcept {
  // In a larger slab the page could not give the offset of a record.
  if (first_at_ + stride_ > kLargestSlab) return false;
  if (!range_.begin && !reserve_range()) return false;
  if (range_.n_stores + 1 == kMostStores) return false;
  number_ = static_cast<uint16_t>(++range_.n_stores);
  range_.stores[number_] = this;
  return true;
}

bool SlabStore::reserve_range() noexcept {
  for (uint64_t bytes = kMostReserved; bytes >= kLeastReserved; bytes /= 2) {
    uint64_t table_bytes = bytes / kPageSize * sizeof(Page), store_bytes = sizeof(std::array<SlabStore *, kMostStores>);
    void *begin = reserve(bytes, PROT_NONE);
    void *tables = reserve(table_bytes + store_bytes, PROT_READ | PROT_WRITE);
    if (begin && tables) {
      madvise(begin, bytes, MADV_DONTDUMP);
      range_.begin = static_cast<char *>(begin);
      range_.reserved = bytes;
      range_.pages = static_cast<Page *>(tables);
      range_.stores = reinterpret_cast<SlabStore **>(static_cast<char *>(tables) + table_bytes);
      return true;
    }
    if (begin) munmap(begin, bytes);
    if (tables) munmap(tables, table_bytes + store_bytes);
  }
  return false;
}

bool SlabStore::commit(uint64_t bytes) noexcept {
  if (bytes <= range_.committed) return true;
  uint64_t more = std::min(rounded_up(bytes, kCommitStep), range_.reserved);
  if (bytes > more || mprotect(range_.begin, more, PROT_READ | PROT_WRITE) != 0) return false;
  madvise(range_.begin, more, MADV_DODUMP);
  range_.committed = more;
  return true;
}

char *SlabStore::new_slab(size_t bytes) noexcept {
  if (!commit(range_.used + bytes)) return nullptr;
  char *slab = range_.begin + range_.used;
  Page *pages = range_.pages + range_.used / kPageSize;
  for (size_t page = 0; page < bytes / kPageSize; ++page)
    pages[page] = {number_, static_cast<uint16_t>(page)};
  range_.used += bytes;
  return slab;
}

}  // namespace runtime
