#include "host/runtime/sized_store.h"

#include <cstdlib>
#include <new>

namespace runtime {

void *SizedStore::take(size_t size, Note note) noexcept {
  if (kRecordsOnHeap || size > kLargestSmall - sizeof(Note)) return take_from_heap(size, note);
  SlabStore &slabs = small_[(size + sizeof(Note) - 1) / kStep];
  void *block = slabs.take();
  if (block) *note_in(slabs, block) = note;
  return block;
}

const SizedStore::Note *SizedStore::note_of(const void *block) const noexcept {
  if (const SlabStore *slabs = small_of(block)) return slabs->is_out(block) ? note_in(*slabs, block) : nullptr;
  auto found = on_heap_.find(disguised(reinterpret_cast<uintptr_t>(block)));
  return found == on_heap_.end() ? nullptr : &found->second;
}

void SizedStore::put_back(void *block) noexcept {
  if (const SlabStore *slabs = small_of(block)) {
    small_[static_cast<size_t>(slabs - small_.data())].put_back(block);
    return;
  }
  on_heap_.erase(disguised(reinterpret_cast<uintptr_t>(block)));
  std::free(block);
}

void *SizedStore::take_from_heap(size_t size, Note note) noexcept {
  void *block = std::malloc(size ? size : 1);
  if (!block) return nullptr;
  try {
    on_heap_.emplace(disguised(reinterpret_cast<uintptr_t>(block)), note);
  } catch (const std::bad_alloc &) {
    std::free(block);
    return nullptr;
  }
  return block;
}

}  // namespace runtime
