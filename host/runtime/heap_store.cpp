#include "host/runtime/heap_store.h"

#include <cstdlib>
#include <cstring>
#include <new>

namespace runtime {

namespace {
constexpr int kFiller = 0xa5;
}

void *HeapStore::take() noexcept {
  void *record = std::malloc(size_);
  if (!record) return nullptr;
  try {
    out_.insert(record);
  } catch (const std::bad_alloc &) {
    std::free(record);
    return nullptr;
  }
  std::memset(record, kFiller, size_);
  ++taken_;
  return record;
}

bool HeapStore::give(void *record) noexcept {
  if (out_.erase(record) == 0) return false;
  std::free(record);
  return true;
}

}  // namespace runtime
