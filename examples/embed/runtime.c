// The platform runtime of the example: every service of zar/platform/runtime.h in the simplest form that keeps its
// contract. Ids are never reused, a pool is the heap, trees and queues are lists. A router would do none of this.
#define _GNU_SOURCE
#include "zar/platform/runtime.h"

#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

// ---- Id tables: id n is entry n - 1; a deleted one is NULL ----
enum { kIds = 1 << 20, kTables = 64 };
static void *pointers[kIds];
static uint16_t table_of[kIds], n_tables;
static uint32_t n_ids;
static uint8_t is_open[kTables];

uint16_t id_create_new_table(uint32_t initial, uint32_t growth, const char *name, uint32_t tag) {
  (void)initial, (void)growth, (void)name, (void)tag;
  if (n_tables + 1 == kTables) abort();
  is_open[++n_tables] = 1;
  return n_tables;
}
uint32_t id_get(void *pointer, uint16_t table, uint32_t tag) {
  (void)tag;
  if (n_ids == kIds) return 0;
  pointers[n_ids] = pointer;
  table_of[n_ids] = table;
  return ++n_ids;
}
void *id_to_ptr(uint32_t id, uint32_t *status, uint16_t table) {
  int issued = id - 1 < n_ids && table_of[id - 1] == table && is_open[table];
  void *pointer = issued ? pointers[id - 1] : NULL;
  *status = pointer ? 0 : issued ? 2 : 1;
  return pointer;
}
uint32_t id_delete(uint32_t id, uint16_t table) {
  uint32_t status;
  if (!id_to_ptr(id, &status, table)) return 0;
  pointers[id - 1] = NULL;
  return 1;
}
uint32_t id_destroy_table(uint16_t table) { return is_open[table] && is_open[table]--; }

// ---- Named allocation, and texts: a block for each ----
void *bcalloc_named(size_t count, size_t size, uint32_t tag) { return (void)tag, calloc(count, size); }
char *bstrdup_named(const char *text, uint32_t tag) { return (void)tag, strdup(text); }
void bfree_named(void *memory) { free(memory); }
int strncpy_s(char *to, size_t to_size, const char *from, size_t count) {
  size_t length = from ? strnlen(from, count) : 0;
  if (to && to_size) *to = '\0';
  if (!to || !from || length >= to_size) return 1;
  *(char *)mempcpy(to, from, length) = '\0';
  return 0;
}
uint32_t sdb_add_block(const char *text, uint32_t length, sdb_ref *out, uint32_t tag) {
  return (void)tag, (*out = (sdb_ref)strndup(text, length)) != NULL;
}
uint32_t sdb_remove_block(sdb_ref reference, uint32_t tag) { return (void)tag, free(reference), 1; }
const char *sdb_string_addr_ptr(sdb_ref reference) { return (const char *)reference; }

// ---- Pools ----
struct chunk_pool {
  size_t size;
};
chunk_pool *chunk_create(const char *name, size_t size, uint32_t per_chunk, uint32_t flags, uint32_t r1, uint32_t r2) {
  chunk_pool *pool = malloc(sizeof *pool);
  (void)name, (void)per_chunk, (void)flags, (void)r1, (void)r2;
  if (pool) pool->size = size;
  return pool;
}
chunk_pool *chunk_create_bmalloc(size_t size, uint32_t per_chunk, uint32_t flags, uint32_t reserved, uint32_t tag) {
  return chunk_create("", size, per_chunk, flags, reserved, tag);
}
void *chunk_malloc(chunk_pool *pool) { return malloc(pool->size); }
uint32_t chunk_free(chunk_pool *pool, void *record) { return (void)pool, free(record), 1; }

// ---- Trees: sorted lists; 'right' is the next node, and 'parent' of a node in a tree is that tree ----
enum { kBefore, kEqual };
// The link to the first node for which 'probe' has this result; to the end if there is none.
static avl_node **find(avl_tree *tree, const void *probe, uint32_t answer) {
  avl_node **link = &tree->top.parent;
  while (*link && tree->compare(probe, *link) != answer)
    link = &(*link)->right;
  return link;
}
static avl_node **find_itself(avl_tree *tree, const void *node) {
  avl_node **link = &tree->top.parent;
  while (*link && *link != node)
    link = &(*link)->right;
  return link;
}
static avl_node *take_out(avl_node **link) {
  avl_node *node = *link;
  *link = node->right;
  *node = (avl_node){0};
  return node;
}
uint32_t i_avl_tree_init(avl_tree *tree, avl_compare_fn compare, avl_free_fn free_node) {
  *tree = (avl_tree){.compare = compare, .free_node = free_node};
  return 1;
}
uint32_t i_avl_insert(avl_tree *tree, void *node) {
  avl_node *entry = node, **link = find(tree, node, kBefore);
  if (entry->parent || *find(tree, node, kEqual)) return 0;
  *entry = (avl_node){.parent = &tree->top, .right = *link};
  *link = entry;
  return 1;
}
void *i_avl_search(avl_tree *tree, const void *probe) { return *find(tree, probe, kEqual); }
uint32_t i_avl_delete(avl_tree *tree, void *probe, void **removed) {
  avl_node **link = *find_itself(tree, probe) ? find_itself(tree, probe) : find(tree, probe, kEqual);
  if (!*link) return 0;
  *removed = take_out(link);
  return 1;
}
void i_avl_remove(avl_tree *tree, void *context) {
  (void)context;
  while (tree->top.parent)
    tree->free_node(take_out(&tree->top.parent));
}
void i_avl_get_first(avl_node *root, void **first) { *first = root; }
void i_avl_get_next(avl_tree *tree, void *current, void **next) {
  *next = *find_itself(tree, current) ? ((avl_node *)current)->right : *find(tree, current, kBefore);
}

// ---- Queues: cells outside the elements, since an element may have several entries ----
struct cell {
  void *next, *element;
};
// The link to the first cell of 'element'; to the end if there is none.
static void **link_to(queue_head *queue, const void *element) {
  void **link = &queue->head;
  while (*link && ((struct cell *)*link)->element != element)
    link = &((struct cell *)*link)->next;
  return link;
}
static void put(queue_head *queue, void **link, void *element) {
  struct cell *cell = malloc(sizeof *cell);
  if (!cell) abort();
  *cell = (struct cell){*link, element};
  *link = cell;
  queue->count++;
}
static void *take(queue_head *queue, void **link) {
  struct cell *cell = *link;
  void *element = cell ? cell->element : NULL;
  if (!cell) return NULL;
  *link = cell->next;
  free(cell);
  queue->count--;
  return element;
}
void queue_init(queue_head *queue, uint32_t limit) { *queue = (queue_head){.limit = limit}; }
void queue_enqueue(queue_head *queue, void *element) { put(queue, link_to(queue, NULL), element); }
void *queue_dequeue(queue_head *queue) { return take(queue, &queue->head); }
void *queue_get_next(const queue_head *queue, queue_cursor *cursor) {
  struct cell *cell = cursor->position ? ((struct cell *)cursor->position)->next : queue->head;
  if (cell) cursor->position = cell;
  return cell ? cell->element : NULL;
}
void queue_insqueue(queue_head *queue, void *element, void *predecessor) {
  struct cell *before = *link_to(queue, predecessor);
  if (before) put(queue, &before->next, element);
}
void queue_requeue(queue_head *queue, void *element) { put(queue, &queue->head, element); }
void queue_unqueue(queue_head *queue, void *element) { take(queue, link_to(queue, element)); }

// ---- Trace: errors only ----
uint32_t btrace_module_test(uint32_t module, uint32_t level) { return (void)module, level <= 3; }
void btrace_wrapper(uint32_t module, uint32_t level, uint32_t reserved, const char *format, ...) {
  va_list values;
  (void)module, (void)level, (void)reserved;
  va_start(values, format);
  vfprintf(stderr, format, values);
  va_end(values);
  fputc('\n', stderr);
}
