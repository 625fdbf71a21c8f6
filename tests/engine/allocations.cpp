#include "allocations.h"

#include <cstdlib>
#include <new>

namespace {

size_t count = 0;

}  // namespace

size_t test::allocations() {
  return count;
}

void *operator new(size_t size) {
  ++count;
  if (void *memory = std::malloc(size)) return memory;
  throw std::bad_alloc();
}

void *operator new(size_t size, const std::nothrow_t &) noexcept {
  ++count;
  return std::malloc(size);
}

void operator delete(void *memory) noexcept {
  std::free(memory);
}
void operator delete(void *memory, size_t) noexcept {
  std::free(memory);
}
