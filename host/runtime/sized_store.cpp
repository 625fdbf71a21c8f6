#include "host/runtime/sized_store.h"

#include <cstdlib>
#include <new>

namespace runtime {

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

const SizedStore::Note *SizedStore::note_on_heap(const void *block) const noexcept {
  auto found = on_heap_.find(disguised(reinterpret_cast<uintptr_t>(block)));
  return found == on_heap_.end() ? nullptr : &found->second;
}

void SizedStore::give_to_heap(void *block) noexcept {
  on_heap_.erase(disguised(reinterpret_cast<uintptr_t>(block)));
  std::free(block);
}

}  // namespace runtime
