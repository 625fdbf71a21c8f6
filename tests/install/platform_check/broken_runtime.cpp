// Sits between the program and the stand-in runtime and breaks one promise, which BREAK in the environment names. All
// other services, and all services without BREAK, are the stand-in's.
#include <dlfcn.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

#include "platform/runtime.h"

namespace {

bool breaks(const char *promise) {
  const char *wanted = std::getenv("BREAK");
  return wanted && std::strcmp(wanted, promise) == 0;
}

// The stand-in's service of the given name and type.
template <class Service>
Service *next(Service &, const char *name) {
  void *found = dlsym(RTLD_NEXT, name);
  if (!found) _exit(70);
  return reinterpret_cast<Service *>(found);
}
#define NEXT(name) next(name, #name)

}  // namespace

void *id_to_ptr(uint32_t id, uint32_t *status, uint16_t table) {
  void *pointer = NEXT(id_to_ptr)(id, status, table);
  if (breaks("deleted ids") && *status == 2) *status = 1;
  return pointer;
}

uint32_t id_get(void *pointer, uint16_t table, uint32_t tag) {
  static uint32_t n_ids;
  if (breaks("many ids") && ++n_ids > 60000) return 0;
  return NEXT(id_get)(pointer, table, tag);
}

chunk_pool *chunk_create_bmalloc(size_t size, uint32_t per_chunk, uint32_t flags, uint32_t reserved, uint32_t tag) {
  if (breaks("record size")) size = 16;
  return NEXT(chunk_create_bmalloc)(size, per_chunk, flags, reserved, tag);
}

chunk_pool *chunk_create(const char *name, size_t size, uint32_t per_chunk, uint32_t flags, uint32_t reserved_1,
                         uint32_t reserved_2) {
  while (breaks("returning"))
    pause();
  return NEXT(chunk_create)(name, size, per_chunk, flags, reserved_1, reserved_2);
}

uint32_t i_avl_insert(avl_tree *tree, void *node) {
  uint32_t is_inserted = NEXT(i_avl_insert)(tree, node);
  return breaks("equal keys") ? 1 : is_inserted;
}

void i_avl_get_first(avl_node *root, void **first) {
  if (breaks("empty walk") && !root) return;
  NEXT(i_avl_get_first)(root, first);
}

void i_avl_remove(avl_tree *tree, void *context) {
  if (!breaks("freeing")) NEXT(i_avl_remove)(tree, context);
}

void queue_insqueue(queue_head *queue, void *element, void *predecessor) {
  if (breaks("insertion")) {
    queue_enqueue(queue, element);
  } else {
    NEXT(queue_insqueue)(queue, element, predecessor);
  }
}

void *queue_dequeue(queue_head *queue) {
  if (breaks("surviving")) std::abort();
  return NEXT(queue_dequeue)(queue);
}

uint32_t sdb_remove_block(sdb_ref reference, uint32_t tag) {
  uint32_t is_removed = NEXT(sdb_remove_block)(reference, tag);
  if (breaks("counted texts")) NEXT(sdb_remove_block)(reference, tag);
  return is_removed;
}

void *bcalloc_named(size_t count, size_t size, uint32_t tag) {
  auto *block = static_cast<unsigned char *>(NEXT(bcalloc_named)(count, size, tag));
  if (breaks("zeroed blocks") && block) block[0] = 1;
  return block;
}

int strncpy_s(char *to, size_t to_size, const char *from, size_t count) {
  if (!breaks("cut texts") || !from) return NEXT(strncpy_s)(to, to_size, from, count);
  size_t length = strnlen(from, to_size - 1);
  std::memcpy(to, from, length);
  to[length] = '\0';
  return 0;
}

uint32_t btrace_module_test(uint32_t module, uint32_t level) {
  static uint32_t n_calls;
  if (breaks("steady levels")) return ++n_calls % 100 == 0;
  return NEXT(btrace_module_test)(module, level);
}
