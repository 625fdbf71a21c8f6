// The same as the slab store with a heap block for every record, so that AddressSanitizer detects accesses to a record
// that was returned, or past its end. The store remembers the records in use: a record that its user knows only by a
// handle is not a leak.
#pragma once

#include <cstddef>
#include <cstdint>
#include <unordered_set>

#include "host/runtime/placement.h"

namespace runtime {

class HeapStore {
 public:
  explicit HeapStore(size_t size, uint32_t, Placement = Placement::dense) : size_(size) {}
  HeapStore(const HeapStore &) = delete;
  HeapStore &operator=(const HeapStore &) = delete;

  void *take() noexcept;
  void *take_without_growing() noexcept { return take(); }
  bool give(void *record) noexcept;
  bool give_without_search(void *record) noexcept { return give(record); }
  bool is_out(const void *record) const noexcept { return out_.count(const_cast<void *>(record)) != 0; }

  size_t live() const { return out_.size(); }
  size_t total() const { return taken_; }

 private:
  size_t size_;
  size_t taken_ = 0;
  std::unordered_set<void *> out_;
};

}  // namespace runtime
