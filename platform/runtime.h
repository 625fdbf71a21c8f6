/**
 * @file
 * The platform runtime, as the library imports it. The host that loads the library must define these names; they are
 * resolved when the library is loaded, and none of its own dependencies defines them.
 */
#ifndef PLATFORM_RUNTIME_H
#define PLATFORM_RUNTIME_H

#include "zar/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The library finds the definitions of the host, which may hide its names otherwise. */
#if defined(__GNUC__)
#pragma GCC visibility push(default)
#endif

/** Makes the compiler check the values of a call against its format, if it can. */
#if defined(__GNUC__)
#define PLATFORM_PRINTF(format_at, values_at) __attribute__((format(printf, format_at, values_at)))
#else
#define PLATFORM_PRINTF(format_at, values_at)
#endif

/**
 * @defgroup zar_platform_runtime Platform runtime
 * The services that the library imports; docs/platform.md describes what each must guarantee, as numbered promises,
 * what it may do, and what the library never does. All are called on the thread of the operation, and none before
 * zar_init(). None may throw. A failing service returns 0 or NULL, except strncpy_s(). A tag says what a request is
 * for; a runtime may count by tags or ignore them.
 * @{
 */

/**
 * @name Id tables: 32-bit numbers for pointers
 * @{
 */

/**
 * Creates a table.
 *
 * @param initial  How many ids it should have room for at first; a hint.
 * @param growth   How many it should grow by; a hint.
 * @param name     Its name for display; valid only during the call.
 * @param tag      What it is for.
 *
 * @return Its identifier.
 */
uint16_t id_create_new_table(uint32_t initial, uint32_t growth, const char *name, uint32_t tag);

/**
 * Issues an id for a pointer.
 *
 * @param pointer  The pointer that the id names; not NULL. It may have other ids.
 * @param table    The table.
 * @param tag      What the id is for.
 *
 * @return An id that is not live and was not live recently, or 0.
 */
uint32_t id_get(void *pointer, uint16_t table, uint32_t tag);

/**
 * Returns the pointer that an id names.
 *
 * @param id      Any number but 0.
 * @param status  Receives 0 (live), 1 (never issued) or 2 (deleted).
 * @param table   The table.
 *
 * @return The pointer; NULL unless the id is live.
 */
void *id_to_ptr(uint32_t id, uint32_t *status, uint16_t table);

/**
 * Ends an id.
 *
 * @param id     The id; it need not be live.
 * @param table  The table.
 *
 * @return Non-zero if it was live.
 */
uint32_t id_delete(uint32_t id, uint16_t table);

/**
 * Ends a table with all its ids.
 *
 * @param table  The table.
 *
 * @return Non-zero if there was one.
 */
uint32_t id_destroy_table(uint16_t table);

/** @} */

/**
 * @name Pools of equal-sized records
 * @{
 */

/**
 * Creates a pool of records, which grows as needed.
 *
 * @param size       The size of a record, in bytes.
 * @param per_chunk  How many records it grows by; a hint.
 * @param flags      Always 0x111.
 * @param reserved   Always 0.
 * @param tag        What the records are.
 *
 * @return The pool, or NULL; the library then tries again when it needs a record.
 */
chunk_pool *chunk_create_bmalloc(size_t size, uint32_t per_chunk, uint32_t flags, uint32_t reserved, uint32_t tag);

/**
 * Creates a pool of records under a display name.
 *
 * @param name        Its name; it lives as long as the process.
 * @param size        The size of a record, in bytes.
 * @param per_chunk   How many records it grows by; a hint.
 * @param flags       Always 0x111.
 * @param reserved_1  Always 0.
 * @param reserved_2  Always 0.
 *
 * @return The pool, or NULL; the library then tries again when it needs a record.
 */
chunk_pool *chunk_create(const char *name, size_t size, uint32_t per_chunk, uint32_t flags, uint32_t reserved_1,
                         uint32_t reserved_2);

/**
 * Takes a record from a pool.
 *
 * @param pool  The pool.
 *
 * @return A record aligned for pointers, with any content, or NULL.
 */
void *chunk_malloc(chunk_pool *pool);

/**
 * Returns a record to its pool.
 *
 * @param pool    The pool that it was taken from.
 * @param record  The record, which is in no tree and no queue.
 *
 * @return Non-zero if it came from this pool.
 */
uint32_t chunk_free(chunk_pool *pool, void *record);

/** @} */

/**
 * @name AVL trees
 * An ::avl_node is the first member of each record. The tree must stay linked and lose no node, whatever a comparator
 * returns: those of the map trees do not define a consistent order.
 * @{
 */

/**
 * Initialises an empty tree.
 *
 * @param tree       Where; zeroed.
 * @param compare    Its order.
 * @param free_node  Called for each node when the tree is emptied.
 *
 * @return Non-zero on success.
 */
uint32_t i_avl_tree_init(avl_tree *tree, avl_compare_fn compare, avl_free_fn free_node);

/**
 * Inserts a record.
 *
 * @param tree    The tree.
 * @param record  The record.
 *
 * @return Non-zero on success; 0 if an equal key is present or the record is already in a tree, this one or another.
 */
uint32_t i_avl_insert(avl_tree *tree, void *record);

/**
 * Finds a record.
 *
 * @param tree   The tree.
 * @param probe  A record with only its key set, zeroed otherwise; or a record of any tree.
 *
 * @return The record that compares equal, or NULL.
 */
void *i_avl_search(avl_tree *tree, const void *probe);

/**
 * Removes a record: 'probe' itself if it is in the tree, else the one that compares equal.
 *
 * @param tree     The tree.
 * @param probe    A record of the tree, or a probe as for i_avl_search(): a record of another tree is one.
 * @param removed  Receives the removed record.
 *
 * @return Non-zero on success; 0 if nothing compares equal.
 */
uint32_t i_avl_delete(avl_tree *tree, void *probe, void **removed);

/**
 * Empties a tree: unlinks each record, then calls the tree's free function on it, which may remove further records from
 * the tree. A record that was unlinked may enter a tree again, and nobody zeroes it before.
 *
 * @param tree     The tree, which can be used again afterwards.
 * @param context  The tree again.
 */
void i_avl_remove(avl_tree *tree, void *context);

/**
 * Finds the first record in order.
 *
 * @param root   The root of the tree: its 'top.parent', NULL when it is empty.
 * @param first  Receives the record, or NULL.
 */
void i_avl_get_first(avl_node *root, void **first);

/**
 * Finds the record that follows another.
 *
 * @param tree     The tree.
 * @param current  A record of the tree; or a probe as for i_avl_search(), which stands for the first record that sorts
 *                 after it.
 * @param next     Receives the record, or NULL.
 */
void i_avl_get_next(avl_tree *tree, void *current, void **next);

/** @} */

/**
 * @name Queues
 * The first word of each element is its ::queue_link, zeroed before the element is queued for the first time. One
 * element may be in several queues, and several times in one. No queue service can fail.
 * @{
 */

/**
 * Initialises an empty queue.
 *
 * @param queue  Where, with any content.
 * @param limit  The maximum number of elements; always 0: no limit.
 */
void queue_init(queue_head *queue, uint32_t limit);

/**
 * Adds an element at the tail.
 *
 * @param queue    The queue.
 * @param element  The element.
 */
void queue_enqueue(queue_head *queue, void *element);

/**
 * Removes the head.
 *
 * @param queue  The queue.
 *
 * @return The element, or NULL when there is none.
 */
void *queue_dequeue(queue_head *queue);

/**
 * Returns the next element. An element may be removed and freed once the next one has been fetched; insertions never
 * disturb a cursor.
 *
 * @param queue   The queue.
 * @param cursor  The position of the walk; if zeroed, before the first element. It is moved to the returned element.
 *
 * @return The element, or NULL after the last.
 */
void *queue_get_next(const queue_head *queue, queue_cursor *cursor);

/**
 * Inserts an element right after another.
 *
 * @param queue        The queue.
 * @param element      The element.
 * @param predecessor  The other, which is in the queue; if it is there several times, its first occurrence.
 */
void queue_insqueue(queue_head *queue, void *element, void *predecessor);

/**
 * Inserts an element at the head.
 *
 * @param queue    The queue.
 * @param element  The element.
 */
void queue_requeue(queue_head *queue, void *element);

/**
 * Removes an element: its first occurrence, if it is there several times; nothing, if it is not there.
 *
 * @param queue    The queue.
 * @param element  The element.
 */
void queue_unqueue(queue_head *queue, void *element);

/** @} */

/**
 * @name String database: interned, counted texts
 * @{
 */

/**
 * Keeps a text.
 *
 * @param text    The text; valid only during the call.
 * @param length  Its characters.
 * @param out     Receives a reference, which equal texts may share.
 * @param tag     What it is for.
 *
 * @return Non-zero on success.
 */
uint32_t sdb_add_block(const char *text, uint32_t length, sdb_ref *out, uint32_t tag);

/**
 * Cancels one addition of a text. The text stays as long as it was added more often than removed.
 *
 * @param reference  The text.
 * @param tag        What it was for; it may differ from the tag with which it was added.
 *
 * @return Non-zero on success.
 */
uint32_t sdb_remove_block(sdb_ref reference, uint32_t tag);

/**
 * Returns the text of a reference.
 *
 * @param reference  The text; not NULL.
 *
 * @return The text, ended by a NUL, at the same address as long as it is kept.
 */
const char *sdb_string_addr_ptr(sdb_ref reference);

/** @} */

/**
 * @name Named allocation
 * @{
 */

/**
 * Allocates zeroed bytes.
 *
 * @param count  How many.
 * @param size   The size of each, in bytes.
 * @param tag    What they are for.
 *
 * @return The block, aligned for pointers, or NULL.
 */
void *bcalloc_named(size_t count, size_t size, uint32_t tag);

/**
 * Copies a text into a new block.
 *
 * @param text  The text.
 * @param tag   What it is for.
 *
 * @return The copy, which may be written to, or NULL.
 */
char *bstrdup_named(const char *text, uint32_t tag);

/**
 * Frees a block.
 *
 * @param memory  A block from either of the two above; NULL does nothing.
 */
void bfree_named(void *memory);

/**
 * Copies at most 'count' characters and a terminator, as in Annex K of C11.
 *
 * @param to       Where; left empty if they do not fit.
 * @param to_size  The size of that place, in bytes.
 * @param from     The text.
 * @param count    The maximum number of characters.
 *
 * @return 0 on success, non-zero if they do not fit or 'from' is NULL.
 */
int strncpy_s(char *to, size_t to_size, const char *from, size_t count);

/** @} */

/**
 * @name Trace
 * @{
 */

/**
 * Returns whether messages are wanted.
 *
 * @param module  The module that traces; the library passes 'kel_trace_id'.
 * @param level   The level: 3 for errors, 6 for information.
 *
 * @return Non-zero if they are.
 */
uint32_t btrace_module_test(uint32_t module, uint32_t level);

/**
 * Takes a message. It is called after btrace_module_test() has returned that it is wanted.
 *
 * @param module    The module that traces.
 * @param level     The level.
 * @param reserved  Always 0.
 * @param format    The message, with the conversions s, d, u, x, p and lu for values, which are valid only during the
 *                  call. Most messages have no line end, some have one.
 */
void btrace_wrapper(uint32_t module, uint32_t level, uint32_t reserved, const char *format, ...) PLATFORM_PRINTF(4, 5);

/** @} */

/** @} */

#if defined(__GNUC__)
#pragma GCC visibility pop
#endif

#ifdef __cplusplus
}
#endif

#endif
