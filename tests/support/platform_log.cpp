#include "support/platform_log.h"

#include <dlfcn.h>

#include <algorithm>
#include <map>
#include <unordered_map>
#include <utility>

#include "platform/runtime.h"

namespace rig {
namespace {

struct Log {
  bool watching = false;
  PlatformCalls calls;
  std::map<uint32_t, uint32_t> level_tests;
  std::string awaited;
  std::function<void()> act;
  std::unordered_map<const void *, std::string> pools;   // tag or name
  std::unordered_map<const void *, std::string> blocks;  // tag
};

// Blocks are freed until the process ends.
Log &seen() {
  static Log &log = *new Log;
  return log;
}

template <typename... Values>
void note(const char *format, const Values &...values) {
  if (!seen().watching) return;
  seen().calls.push_back(text(format, values...));
  if (seen().act && seen().calls.back().starts_with(seen().awaited)) std::exchange(seen().act, nullptr)();
}

// The service that this file replaces.
template <typename Function>
Function *next(const char *name) {
  return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

// The runtime calls this itself again when it receives a message.
bool is_of_runtime(const void *code) {
  Dl_info caller{}, runtime{};
  const auto *service = reinterpret_cast<const void *>(next<decltype(btrace_module_test)>("btrace_module_test"));
  return dladdr(code, &caller) != 0 && dladdr(service, &runtime) != 0 && caller.dli_fbase == runtime.dli_fbase;
}

template <typename Block>
Block *remembered(Block *block, uint32_t tag) {
  if (block != nullptr) seen().blocks[block] = text("0x%x", tag);
  return block;
}

}  // namespace

void watch_platform() {
  seen().watching = true;
  seen().calls.clear();
  seen().level_tests.clear();
  seen().act = nullptr;
}

PlatformCalls take_platform_calls() {
  return std::exchange(seen().calls, {});
}

PlatformCalls take_platform_calls(const std::vector<std::string> &beginnings) {
  PlatformCalls calls = take_platform_calls();
  std::erase_if(calls, [&beginnings](const std::string &call) {
    return std::none_of(beginnings.begin(), beginnings.end(),
                        [&call](const std::string &beginning) { return call.starts_with(beginning); });
  });
  return calls;
}

bool platform_was_called(const std::string &line) {
  return std::find(seen().calls.begin(), seen().calls.end(), line) != seen().calls.end();
}

uint32_t take_level_tests(uint32_t level) {
  return std::exchange(seen().level_tests[level], 0);
}

void when_platform_called(const std::string &beginning, std::function<void()> act) {
  seen().awaited = beginning;
  seen().act = std::move(act);
}

}  // namespace rig

using namespace rig;

#define PASS_ON(service, ...) next<decltype(service)>(#service)(__VA_ARGS__)

extern "C" {

uint16_t id_create_new_table(uint32_t initial, uint32_t growth, const char *name, uint32_t tag) {
  note("id table %u %u \"%s\" 0x%x", initial, growth, name, tag);
  return PASS_ON(id_create_new_table, initial, growth, name, tag);
}

uint32_t id_get(void *pointer, uint16_t table, uint32_t tag) {
  note("id 0x%x", tag);
  return PASS_ON(id_get, pointer, table, tag);
}

uint32_t id_delete(uint32_t id, uint16_t table) {
  note("end id 0x%x", id);
  return PASS_ON(id_delete, id, table);
}

chunk_pool *chunk_create_bmalloc(size_t size, uint32_t per_chunk, uint32_t flags, uint32_t reserved, uint32_t tag) {
  note("pool %zu %u 0x%x %u 0x%x", size, per_chunk, flags, reserved, tag);
  chunk_pool *pool = PASS_ON(chunk_create_bmalloc, size, per_chunk, flags, reserved, tag);
  seen().pools[pool] = text("0x%x", tag);
  return pool;
}

chunk_pool *chunk_create(const char *name, size_t size, uint32_t per_chunk, uint32_t flags, uint32_t reserved_1,
                         uint32_t reserved_2) {
  note("pool \"%s\" %zu %u 0x%x %u %u", name, size, per_chunk, flags, reserved_1, reserved_2);
  chunk_pool *pool = PASS_ON(chunk_create, name, size, per_chunk, flags, reserved_1, reserved_2);
  seen().pools[pool] = text("\"%s\"", name);
  return pool;
}

void *chunk_malloc(chunk_pool *pool) {
  note("record %s", seen().pools[pool]);
  return PASS_ON(chunk_malloc, pool);
}

uint32_t chunk_free(chunk_pool *pool, void *record) {
  note("give back %s", seen().pools[pool]);
  return PASS_ON(chunk_free, pool, record);
}

uint32_t i_avl_insert(avl_tree *tree, void *record) {
  note("tree insert %p %p", tree, record);
  return PASS_ON(i_avl_insert, tree, record);
}

uint32_t i_avl_delete(avl_tree *tree, void *probe, void **removed) {
  note("tree delete %p %p %p", tree, probe, removed);
  return PASS_ON(i_avl_delete, tree, probe, removed);
}

void i_avl_get_first(avl_node *root, void **first) {
  note("tree first %p %p", root, first);
  PASS_ON(i_avl_get_first, root, first);
}

void i_avl_get_next(avl_tree *tree, void *current, void **next_out) {
  note("tree next %p %p %p", tree, current, next_out);
  PASS_ON(i_avl_get_next, tree, current, next_out);
}

void i_avl_remove(avl_tree *tree, void *context) {
  note("tree empty %p %p", tree, context);
  PASS_ON(i_avl_remove, tree, context);
}

void queue_init(queue_head *queue, uint32_t limit) {
  note("queue init %u", limit);
  PASS_ON(queue_init, queue, limit);
}

void queue_enqueue(queue_head *queue, void *element) {
  note("append %p %p", queue, element);
  PASS_ON(queue_enqueue, queue, element);
}

void queue_requeue(queue_head *queue, void *element) {
  note("prepend %p %p", queue, element);
  PASS_ON(queue_requeue, queue, element);
}

void queue_insqueue(queue_head *queue, void *element, void *predecessor) {
  note("insert %p %p %p", queue, element, predecessor);
  PASS_ON(queue_insqueue, queue, element, predecessor);
}

void queue_unqueue(queue_head *queue, void *element) {
  note("unlink %p %p", queue, element);
  PASS_ON(queue_unqueue, queue, element);
}

void *queue_dequeue(queue_head *queue) {
  note("take %p", queue);
  return PASS_ON(queue_dequeue, queue);
}

uint32_t sdb_add_block(const char *text, uint32_t length, sdb_ref *out, uint32_t tag) {
  note("text 0x%x \"%s\"", tag, text);
  return PASS_ON(sdb_add_block, text, length, out, tag);
}

uint32_t sdb_remove_block(sdb_ref reference, uint32_t tag) {
  note("drop text 0x%x \"%s\"", tag, sdb_string_addr_ptr(reference));
  return PASS_ON(sdb_remove_block, reference, tag);
}

void *bcalloc_named(size_t count, size_t size, uint32_t tag) {
  note("block 0x%x of %zu %zu", tag, count, size);
  return remembered(PASS_ON(bcalloc_named, count, size, tag), tag);
}

char *bstrdup_named(const char *text, uint32_t tag) {
  note("duplicate 0x%x \"%s\"", tag, text);
  return remembered(PASS_ON(bstrdup_named, text, tag), tag);
}

int strncpy_s(char *to, size_t to_size, const char *from, size_t count) {
  note("copy %zu of %zu \"%s\"", count, to_size, from);
  return PASS_ON(strncpy_s, to, to_size, from, count);
}

void bfree_named(void *memory) {
  note("free %s", seen().blocks[memory]);
  PASS_ON(bfree_named, memory);
}

uint32_t btrace_module_test(uint32_t module, uint32_t level) {
  if (seen().watching && !is_of_runtime(__builtin_return_address(0))) ++seen().level_tests[level];
  return PASS_ON(btrace_module_test, module, level);
}
}
