/*
 * The platform runtime, as the library imports it. Whoever loads the library brings these names; none of them is looked
 * up before the library is loaded, and the library has no dependency of its own that defines them.
 *
 * Unless said otherwise a service reports success with a non-zero result.
 */
#ifndef PLATFORM_RUNTIME_H
#define PLATFORM_RUNTIME_H

#include "zar/types.h"

#ifdef __cplusplus
extern "C" {
#endif

#if defined(__GNUC__)
#define PLATFORM_PRINTF(format_at, values_at) __attribute__((format(printf, format_at, values_at)))
#else
#define PLATFORM_PRINTF(format_at, values_at)
#endif

/* ---- Id tables: 32-bit names for pointers --------------------------------------------------------------------- */

/* A new table; 'initial' and 'growth' are sizing hints. Answers its identifier. */
uint16_t id_create_new_table(uint32_t initial, uint32_t growth, const char *name, uint32_t tag);
/* A non-zero id for 'pointer', or 0. */
uint32_t id_get(void *pointer, uint16_t table_id, uint32_t tag);
/* The pointer behind 'id'. '*status' receives 0 (live), 1 (never issued) or 2 (deleted). */
void *id_to_ptr(uint32_t id, uint32_t *status, uint16_t table_id);
/* Ends an id; non-zero when it was live. */
uint32_t id_delete(uint32_t id, uint16_t table_id);
/* Ends a table with all its ids; non-zero when there was one. */
uint32_t id_destroy_table(uint16_t table_id);

/* ---- Pools of equal-sized records ----------------------------------------------------------------------------- */

/* A pool of records of 'size' bytes that grows by 'per_chunk' records, or NULL. */
chunk_pool *chunk_create_bmalloc(size_t size, uint32_t per_chunk, uint32_t flags, uint32_t reserved, uint32_t tag);
/* The same under a display name. */
chunk_pool *chunk_create(const char *name, size_t size, uint32_t per_chunk, uint32_t flags, uint32_t reserved_1,
                         uint32_t reserved_2);
/* A record with undefined content, or NULL. */
void *chunk_malloc(chunk_pool *pool);
/* Takes a record back; non-zero when it was out of this pool. */
uint32_t chunk_free(chunk_pool *pool, void *record);

/* ---- AVL trees; a node is the first member of its record -------------------------------------------------------- */

/* Makes 'tree' an empty tree. */
uint32_t i_avl_tree_init(avl_tree *tree, avl_compare_fn compare, avl_free_fn free_node);
/* Enters 'record'; 0 when an equal key is present or the node is in a tree already. */
uint32_t i_avl_insert(avl_tree *tree, void *record);
/* The node that compares equal to 'probe', or NULL. */
void *i_avl_search(avl_tree *tree, const void *probe);
/* Takes out 'probe' itself when it is a node of the tree, else the node that compares equal, and names it in '*removed'. */
uint32_t i_avl_delete(avl_tree *tree, void *probe, void **removed);
/* Unlinks every node and calls the tree's free function once on each. */
void i_avl_remove(avl_tree *tree, void *context);
/* The first node of the tree whose root is 'root', or NULL. */
void i_avl_get_first(avl_node *root, void **first);
/* The node after 'current', or NULL. When 'current' is not in the tree: the first node that sorts after it. */
void i_avl_get_next(avl_tree *tree, void *current, void **next);

/* ---- Queues; an element's first word is its queue_link ---------------------------------------------------------- */

void queue_init(queue_head *queue, uint32_t limit);
/* Puts 'element' at the tail. */
void queue_enqueue(queue_head *queue, void *element);
/* Takes the head, or NULL. */
void *queue_dequeue(queue_head *queue);
/* The element after the cursor, which moves onto it, or NULL past the last. An element that was given may be taken out
 * and freed only once the next one has been fetched; inserting never disturbs a cursor. */
void *queue_get_next(const queue_head *queue, queue_cursor *cursor);
/* Puts 'element' right after 'predecessor'. */
void queue_insqueue(queue_head *queue, void *element, void *predecessor);
/* Puts 'element' at the head. */
void queue_requeue(queue_head *queue, void *element);
/* Takes 'element' out (the first, when it stands there several times); absent: nothing. */
void queue_unqueue(queue_head *queue, void *element);

/* ---- String database: interned, counted texts ------------------------------------------------------------------- */

uint32_t sdb_add_block(const char *text, uint32_t length, sdb_ref *out, uint32_t tag);
uint32_t sdb_remove_block(sdb_ref reference, uint32_t tag);
const char *sdb_string_addr_ptr(sdb_ref reference);

/* ---- Named allocation ------------------------------------------------------------------------------------------- */

/* 'count' times 'size' zeroed bytes, or NULL. */
void *bcalloc_named(size_t count, size_t size, uint32_t tag);
/* A copy of 'text', or NULL. */
char *bstrdup_named(const char *text, uint32_t tag);
/* Gives a block back; NULL does nothing. */
void bfree_named(void *memory);
/* Copies at most 'count' characters of 'from' and a terminator; non-zero, and an empty 'to', when they don't fit. */
int strncpy_s(char *to, size_t to_size, const char *from, size_t count);

/* ---- Trace -------------------------------------------------------------------------------------------------------- */

/* Whether messages of 'level' are wanted. */
uint32_t btrace_module_test(uint32_t module, uint32_t level);
void btrace_wrapper(uint32_t module, uint32_t level, uint32_t reserved, const char *format, ...) PLATFORM_PRINTF(4, 5);

#ifdef __cplusplus
}
#endif

#endif
