#include "core/memory.h"

#include <cstring>

void zar::clear(void *memory, size_t size) {
  std::memset(memory, 0, size);
}
