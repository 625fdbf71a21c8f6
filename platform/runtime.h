/**
 * @file
 * The platform runtime, as the library imports it. Whoever loads the library brings these names; none of them is looked
 * up before the library is loaded, and the library has no dependency of its own that defines them.
 */
#ifndef PLATFORM_RUNTIME_H
#define PLATFORM_RUNTIME_H

#include "zar/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Has the compiler hold the values of a call against the format in them, where it can. */
#if defined(__GNUC__)
#define PLATFORM_PRINTF(format_at, values_at) __attribute__((format(printf, format_at, values_at)))
#else
#define PLATFORM_PRINTF(format_at, values_at)
#endif

/**
 * @defgroup zar_platform_runtime Platform runtime
 * The services that the library imports, as calls; docs/platform.md tells for each what it must guarantee, what it may
 * do, and what the library never does. All are called on the thread of the operation, and none before zar_init(). What
 * fails gives 0 or NULL, but for strncpy_s(). A tag tells what a request is for; a runtime may count by it or ignore it.
 * @{
 */

/**
 * @name Id tables: 32-bit numbers for pointers
 * @{
 */

/**
 * Makes a table.
 *
 * @param initial  How many ids it should have room for at first; a hint.
 * @param growth   How many it should grow by; a hint.
 * @param name     Its name for display; good during the call only.
 * @param tag      What it is for.
 *
 * @return Its identifier.
 */
uint16_t id_create_new_table(uint32_t initial, uint32_t growth, const char *name, uint32_t tag);

/**
 * Gives an id for a pointer.
 *
 * @param pointer  What the id is to lead to; not NULL. It may have other ids.
 * @param table    The table.
 * @param tag      What the id is for.
 *
 * @return An id that is not live and was not live lately, or 0.
 */
uint32_t id_get(void *pointer, uint16_t table, uint32_t tag);

/**
 * Leads from an id to its pointer.
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
 * @return Non-zero when it was live.
 */
uint32_t id_delete(uint32_t id, uint16_t table);

/**
 * Ends a table with all its ids.
 *
 * @param table  The table.
 *
 * @return Non-zero when there was one.
 */
uint32_t id_destroy_table(uint16_t table);

/** @} */

/**
 * @name Pools of equal-sized records
 * @{
 */

/**
 * Makes a pool of records, which grows as needed.
 *
 * @param size       Bytes of a record.
 * @param per_chunk  How many records it grows by; a hint.
 * @param flags      Always 0x111.
 * @param reserved   Always 0.
 * @param tag        What the records are.
 *
 * @return The pool, or NULL; the library then asks again when it needs a record.
 */
chunk_pool *chunk_create_bmalloc(size_t size, uint32_t per_chunk, uint32_t flags, uint32_t reserved, uint32_t tag);

/**
 * Makes a pool of records under a display name.
 *
 * @param name        Its name; it lives as long as the process.
 * @param size        Bytes of a record.
 * @param per_chunk   How many records it grows by; a hint.
 * @param flags       Always 0x111.
 * @param reserved_1  Always 0.
 * @param reserved_2  Always 0.
 *
 * @return The pool, or NULL; the library then asks again when it needs a record.
 */
chunk_pool *chunk_create(const char *name, size_t size, uint32_t per_chunk, uint32_t flags, uint32_t reserved_1,
                         uint32_t reserved_2);

/**
 * Takes a record out of a pool.
 *
 * @param pool  The pool.
 *
 * @return A record that is aligned for pointers, of whatever content, or NULL.
 */
void *chunk_malloc(chunk_pool *pool);

/**
 * Gives a record back.
 *
 * @param pool    The pool that it was taken from.
 * @param record  The record, which stands in no tree and no queue.
 *
 * @return Non-zero when it was out of this pool.
 */
uint32_t chunk_free(chunk_pool *pool, void *record);

/** @} */

/**
 * @name AVL trees
 * An ::avl_node is the first member of each record. Whatever a comparator answers, the tree stays linked and loses no
 * node: those of the map trees are no consistent order.
 * @{
 */

/**
 * Makes an empty tree.
 *
 * @param tree       Where; zeroed.
 * @param compare    Its order.
 * @param free_node  What hears of each node when the tree is emptied.
 *
 * @return Non-zero on success.
 */
uint32_t i_avl_tree_init(avl_tree *tree, avl_compare_fn compare, avl_free_fn free_node);

/**
 * Enters a record.
 *
 * @param tree    The tree.
 * @param record  The record.
 *
 * @return Non-zero on success; 0 when an equal key is present or the record is in a tree already, whichever that is.
 */
uint32_t i_avl_insert(avl_tree *tree, void *record);

/**
 * Finds a record.
 *
 * @param tree   The tree.
 * @param probe  A record of which only the key is set.
 *
 * @return The record that compares equal, or NULL.
 */
void *i_avl_search(avl_tree *tree, const void *probe);

/**
 * Takes a record out: 'probe' itself when it is one of the tree, else the one that compares equal.
 *
 * @param tree     The tree.
 * @param probe    A record of the tree, or one of which only the key is set.
 * @param removed  Receives the record that was taken out.
 *
 * @return Non-zero on success; 0 when nothing compares equal.
 */
uint32_t i_avl_delete(avl_tree *tree, void *probe, void **removed);

/**
 * Empties a tree: unlinks each record, then calls the tree's free function on it, which may take further records out of
 * the tree.
 *
 * @param tree     The tree, which can be used again.
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
 * @param current  A record of the tree; or a probe, of which the first record that sorts after it is meant.
 * @param next     Receives the record, or NULL.
 */
void i_avl_get_next(avl_tree *tree, void *current, void **next);

/** @} */

/**
 * @name Queues
 * The first word of each element is its ::queue_link. One element may stand in several queues, and several times in one.
 * No queue service can fail.
 * @{
 */

/**
 * Makes an empty queue.
 *
 * @param queue  Where, of whatever content.
 * @param limit  The most elements; always 0: no limit.
 */
void queue_init(queue_head *queue, uint32_t limit);

/**
 * Puts an element at the tail.
 *
 * @param queue    The queue.
 * @param element  The element.
 */
void queue_enqueue(queue_head *queue, void *element);

/**
 * Takes the head out.
 *
 * @param queue  The queue.
 *
 * @return The element, or NULL when there is none.
 */
void *queue_dequeue(queue_head *queue);

/**
 * Goes on to the next element. An element that was given may be taken out and freed once the next one was fetched;
 * inserting never disturbs a cursor.
 *
 * @param queue   The queue.
 * @param cursor  Where the walk is; zeroed, before the first element. It is moved onto the element.
 *
 * @return The element, or NULL behind the last.
 */
void *queue_get_next(const queue_head *queue, queue_cursor *cursor);

/**
 * Puts an element right behind another.
 *
 * @param queue        The queue.
 * @param element      The element.
 * @param predecessor  The other, which is in the queue.
 */
void queue_insqueue(queue_head *queue, void *element, void *predecessor);

/**
 * Puts an element at the head.
 *
 * @param queue    The queue.
 * @param element  The element.
 */
void queue_requeue(queue_head *queue, void *element);

/**
 * Takes an element out: the first, where it stands several times; nothing, where it does not.
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
 * @param text    The text; good during the call only.
 * @param length  Its characters.
 * @param out     Receives a reference, which equal texts may share.
 * @param tag     What it is for.
 *
 * @return Non-zero on success.
 */
uint32_t sdb_add_block(const char *text, uint32_t length, sdb_ref *out, uint32_t tag);

/**
 * Ends one addition of a text. It stays for as long as it was added more often than removed.
 *
 * @param reference  The text.
 * @param tag        What it was for; it need not be the one that it was added with.
 *
 * @return Non-zero on success.
 */
uint32_t sdb_remove_block(sdb_ref reference, uint32_t tag);

/**
 * Leads from a reference to its text.
 *
 * @param reference  The text; not NULL.
 *
 * @return The text, ended by a NUL, at the same address for as long as it is kept.
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
 * @param size   Of how many bytes each.
 * @param tag    What they are for.
 *
 * @return The block, aligned for pointers, or NULL.
 */
void *bcalloc_named(size_t count, size_t size, uint32_t tag);

/**
 * Copies a text into a block of its own.
 *
 * @param text  The text.
 * @param tag   What it is for.
 *
 * @return The copy, which may be written to, or NULL.
 */
char *bstrdup_named(const char *text, uint32_t tag);

/**
 * Gives a block back.
 *
 * @param memory  What either of the two gave; NULL does nothing.
 */
void bfree_named(void *memory);

/**
 * Copies at most 'count' characters and a terminator, as in Annex K of C11.
 *
 * @param to       Where; left empty when they do not fit.
 * @param to_size  Bytes of that place.
 * @param from     The text.
 * @param count    The most characters.
 *
 * @return 0 on success, non-zero when they do not fit or 'from' is NULL.
 */
int strncpy_s(char *to, size_t to_size, const char *from, size_t count);

/** @} */

/**
 * @name Trace
 * @{
 */

/**
 * Whether messages are wanted.
 *
 * @param module  Of whom; the library gives 'kel_trace_id'.
 * @param level   Which: 3 for errors, 6 for information.
 *
 * @return Non-zero when they are.
 */
uint32_t btrace_module_test(uint32_t module, uint32_t level);

/**
 * Takes a message. Is called after btrace_module_test() said that it is wanted.
 *
 * @param module    Whose it is.
 * @param level     Which it is.
 * @param reserved  Always 0.
 * @param format    The message, with the conversions s, d, x, p and lu for values, which are good during the call only.
 */
void btrace_wrapper(uint32_t module, uint32_t level, uint32_t reserved, const char *format, ...) PLATFORM_PRINTF(4, 5);

/** @} */

/** @} */

#ifdef __cplusplus
}
#endif

#endif
