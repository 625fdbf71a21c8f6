// A platform runtime in C++20, on the containers of the standard library. It counts what is in use, so that the host
// can check that everything was returned.
#include "runtime.h"

#include <zar/platform/runtime.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <list>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

struct chunk_pool {
  size_t size;
};
struct sdb_block {
  std::string text;
  unsigned count;
};

namespace {

consumer::Live live;

using Table = std::unordered_map<uint32_t, void *>;
std::map<uint16_t, Table> tables;
uint16_t n_tables;
uint32_t n_ids;

std::map<std::string, sdb_block, std::less<>> texts;

// The nodes of each tree, in order. A node in a tree has the tree as its parent.
std::unordered_map<const avl_tree *, std::vector<avl_node *>> nodes_of;

constexpr uint32_t kBefore = 0, kEqual = 1;

avl_node *as_node(void *record) {
  return static_cast<avl_node *>(record);
}

// The call for the first node passes the root, so the first node is the root.
void show_root(avl_tree &tree) {
  auto &nodes = nodes_of[&tree];
  tree.top.parent = nodes.empty() ? nullptr : nodes.front();
}

auto find_answer(const avl_tree &tree, const void *probe, uint32_t answer) {
  auto &nodes = nodes_of[&tree];
  return std::find_if(nodes.begin(), nodes.end(), [&](avl_node *node) { return tree.compare(probe, node) == answer; });
}

// A queue's cells; 'head' and 'tail' of the queue point to them.
struct Cell {
  void *element;
  Cell *next;
};

Cell *head_of(const queue_head &queue) {
  return static_cast<Cell *>(queue.head);
}

void put_behind(queue_head &queue, Cell *before, void *element) {
  auto *cell = new Cell{element, before ? before->next : head_of(queue)};
  if (before)
    before->next = cell;
  else
    queue.head = cell;
  if (!cell->next) queue.tail = cell;
  queue.count++;
}

void *take_behind(queue_head &queue, Cell *before) {
  std::unique_ptr<Cell> cell{before ? before->next : head_of(queue)};
  if (before)
    before->next = cell->next;
  else
    queue.head = cell->next;
  if (!cell->next) queue.tail = before;
  queue.count--;
  return cell->element;
}

}  // namespace

namespace consumer {

Live live_now() {
  Live now = live;
  now.texts = texts.size();
  return now;
}

}  // namespace consumer

uint16_t id_create_new_table(uint32_t, uint32_t, const char *, uint32_t) {
  tables[++n_tables];
  return n_tables;
}
uint32_t id_get(void *pointer, uint16_t table, uint32_t) {
  tables[table][++n_ids] = pointer;
  live.ids++;
  return n_ids;
}
void *id_to_ptr(uint32_t id, uint32_t *status, uint16_t table) {
  auto at = tables.find(table);
  if (at == tables.end() || !at->second.contains(id)) {
    *status = 1;
    return nullptr;
  }
  void *pointer = at->second[id];
  *status = pointer ? 0 : 2;
  return pointer;
}
uint32_t id_delete(uint32_t id, uint16_t table) {
  uint32_t status = 0;
  if (!id_to_ptr(id, &status, table)) return 0;
  tables[table][id] = nullptr;
  live.ids--;
  return 1;
}
uint32_t id_destroy_table(uint16_t table) {
  return tables.erase(table) != 0;
}

chunk_pool *chunk_create_bmalloc(size_t size, uint32_t, uint32_t, uint32_t, uint32_t) {
  return new chunk_pool{size};
}
chunk_pool *chunk_create(const char *, size_t size, uint32_t, uint32_t, uint32_t, uint32_t) {
  return new chunk_pool{size};
}
void *chunk_malloc(chunk_pool *pool) {
  live.records++;
  return std::malloc(pool->size);
}
uint32_t chunk_free(chunk_pool *, void *record) {
  live.records--;
  std::free(record);
  return 1;
}

uint32_t i_avl_tree_init(avl_tree *tree, avl_compare_fn compare, avl_free_fn free_node) {
  *tree = avl_tree{{}, compare, free_node};
  nodes_of[tree].clear();
  return 1;
}
uint32_t i_avl_insert(avl_tree *tree, void *record) {
  auto &nodes = nodes_of[tree];
  if (as_node(record)->parent || find_answer(*tree, record, kEqual) != nodes.end()) return 0;
  nodes.insert(find_answer(*tree, record, kBefore), as_node(record));
  as_node(record)->parent = &tree->top;
  show_root(*tree);
  return 1;
}
void *i_avl_search(avl_tree *tree, const void *probe) {
  auto at = find_answer(*tree, probe, kEqual);
  return at == nodes_of[tree].end() ? nullptr : *at;
}
uint32_t i_avl_delete(avl_tree *tree, void *probe, void **removed) {
  auto &nodes = nodes_of[tree];
  auto at = std::find(nodes.begin(), nodes.end(), probe);
  if (at == nodes.end()) at = find_answer(*tree, probe, kEqual);
  if (at == nodes.end()) return 0;
  (*at)->parent = nullptr;
  *removed = *at;
  nodes.erase(at);
  show_root(*tree);
  return 1;
}
void i_avl_remove(avl_tree *tree, void *) {
  // The free function may remove further nodes.
  auto &nodes = nodes_of[tree];
  while (!nodes.empty()) {
    avl_node *node = nodes.back();
    nodes.pop_back();
    node->parent = nullptr;
    show_root(*tree);
    tree->free_node(node);
  }
}
void i_avl_get_first(avl_node *root, void **first) {
  *first = root;
}
void i_avl_get_next(avl_tree *tree, void *current, void **next) {
  auto &nodes = nodes_of[tree];
  auto at = std::find(nodes.begin(), nodes.end(), current);
  at = at == nodes.end() ? find_answer(*tree, current, kBefore) : at + 1;
  *next = at == nodes.end() ? nullptr : *at;
}

void queue_init(queue_head *queue, uint32_t limit) {
  *queue = queue_head{nullptr, nullptr, 0, limit};
}
void queue_enqueue(queue_head *queue, void *element) {
  put_behind(*queue, static_cast<Cell *>(queue->tail), element);
}
void *queue_dequeue(queue_head *queue) {
  return queue->head ? take_behind(*queue, nullptr) : nullptr;
}
void *queue_get_next(const queue_head *queue, queue_cursor *cursor) {
  auto *at = static_cast<Cell *>(cursor->position);
  Cell *next = at ? at->next : head_of(*queue);
  if (!next) return nullptr;
  cursor->position = next;
  return next->element;
}
void queue_insqueue(queue_head *queue, void *element, void *predecessor) {
  Cell *at = head_of(*queue);
  while (at && at->element != predecessor)
    at = at->next;
  if (at) put_behind(*queue, at, element);
}
void queue_requeue(queue_head *queue, void *element) {
  put_behind(*queue, nullptr, element);
}
void queue_unqueue(queue_head *queue, void *element) {
  Cell *before = nullptr, *at = head_of(*queue);
  for (; at && at->element != element; at = at->next)
    before = at;
  if (at) take_behind(*queue, before);
}

uint32_t sdb_add_block(const char *text, uint32_t length, sdb_ref *out, uint32_t) {
  std::string key(text, length);
  auto [at, is_new] = texts.try_emplace(key, sdb_block{key, 0});
  at->second.count++;
  *out = &at->second;
  return 1;
}
uint32_t sdb_remove_block(sdb_ref reference, uint32_t) {
  if (--reference->count == 0) texts.erase(texts.find(reference->text));
  return 1;
}
const char *sdb_string_addr_ptr(sdb_ref reference) {
  return reference->text.c_str();
}

void *bcalloc_named(size_t count, size_t size, uint32_t) {
  live.blocks++;
  return std::calloc(count, size);
}
char *bstrdup_named(const char *text, uint32_t tag) {
  auto *copy = static_cast<char *>(bcalloc_named(std::strlen(text) + 1, 1, tag));
  return copy ? std::strcpy(copy, text) : nullptr;
}
void bfree_named(void *memory) {
  if (memory) live.blocks--;
  std::free(memory);
}
extern "C" int strncpy_s(char *to, size_t to_size, const char *from, size_t count) {
  if (!to || to_size == 0) return 1;
  *to = '\0';
  if (!from) return 1;
  size_t length = strnlen(from, count);
  if (length >= to_size) return 1;
  std::memcpy(to, from, length);
  to[length] = '\0';
  return 0;
}

uint32_t btrace_module_test(uint32_t, uint32_t level) {
  return level <= 3;
}
void btrace_wrapper(uint32_t, uint32_t, uint32_t, const char *format, ...) {
  va_list values;
  va_start(values, format);
  std::vfprintf(stderr, format, values);
  va_end(values);
}
