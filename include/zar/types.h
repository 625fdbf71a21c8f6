/**
 * @file
 * The shapes that cross the library's border: the platform's intrusive containers as they lie in the records, the
 * functions that callers hand in, and the records that callers fill.
 *
 * Everything here is plain data of LP64 layout. Nothing is packed; the sizes and offsets that both sides rely on are
 * asserted at the end, in both languages.
 */
#ifndef ZAR_TYPES_H
#define ZAR_TYPES_H

#include <stddef.h>
#include <stdint.h>

/** Refuses to compile where 'condition' does not hold.
 *  @param condition an integer constant expression */
#ifdef __cplusplus
#define ZAR_LAYOUT_ASSERT(condition) static_assert(condition, #condition)
extern "C" {
#else
#define ZAR_LAYOUT_ASSERT(condition) _Static_assert(condition, #condition)
#endif

/** Refuses to compile where 'type' is not 'bytes' long.
 *  @param type a complete type
 *  @param bytes its promised size */
#define ZAR_LAYOUT_SIZE(type, bytes) ZAR_LAYOUT_ASSERT(sizeof(type) == (bytes))

/** Refuses to compile where 'field' of 'type' does not begin at byte 'at'.
 *  @param type a record type
 *  @param field one of its fields
 *  @param at the promised offset, in bytes */
#define ZAR_LAYOUT_FIELD(type, field, at) ZAR_LAYOUT_ASSERT(offsetof(type, field) == (at))

/**
 * @defgroup zar_types Types at the border
 * The containers that lie in the records, the callers' functions, and the records that callers fill.
 * @{
 */

/**
 * @name Containers of the platform, as they lie in records
 *
 * Only the platform's tree and queue services look inside; the library and its callers go through the services. The one
 * exception is 'count' of a queue, which anyone may read.
 * @{
 */

/**
 * The linkage of a record in a keyed tree; the first member of every record that a tree holds.
 *
 * All zeros in a record that was never in a tree.
 */
typedef struct avl_node {
  struct avl_node *parent; /**< the node above, or NULL */
  struct avl_node *left;   /**< the subtree of the nodes that sort before this one */
  struct avl_node *right;  /**< the subtree of the nodes that sort after this one */
  intptr_t balance;        /**< the tree service's own */
} avl_node;

/**
 * Orders a node that is sought or inserted against one that is in the tree.
 *
 * Supplied by the library at the creation of a database and called by the tree service, once for each node that a
 * search, an insert or a deletion passes. It must not change the tree.
 *
 * @param nascent the node sought or inserted; a probe carries only the key
 * @param tree a node of the tree
 * @retval 0 'nascent' sorts before 'tree'
 * @retval 1 the keys are equal
 * @retval 2 'nascent' sorts after 'tree'
 */
typedef uint32_t (*avl_compare_fn)(const void *nascent, const void *tree);

/**
 * Takes over a node whose whole tree is being emptied.
 *
 * Supplied by the library at the creation of a database and called by the tree service once for each node, after the
 * node was unlinked, so that it may free the record.
 *
 * @param node the unlinked node
 */
typedef void (*avl_free_fn)(void *node);

/** A keyed tree. */
typedef struct avl_tree {
  avl_node top;           /**< 'top.parent', the first word, is the root node, or NULL while the tree is empty */
  avl_compare_fn compare; /**< the order of the tree */
  avl_free_fn free_node;  /**< what becomes of the nodes when the tree is emptied */
} avl_tree;

/** The linkage of a record in a queue; the first word of every record that a queue holds. */
typedef struct queue_link {
  void *next; /**< the queue service's own */
} queue_link;

/** A queue of records. */
typedef struct queue_head {
  void *head;     /**< the queue service's own */
  void *tail;     /**< the queue service's own */
  uint32_t count; /**< the number of elements */
  uint32_t limit; /**< the most elements that it takes; 0: no limit */
} queue_head;

/**
 * A position in a queue; zeroed, it stands before the first element.
 *
 * An element that the cursor has given may be taken out and freed only once the next one has been fetched. Inserting
 * does not disturb a cursor.
 */
typedef struct queue_cursor {
  void *position; /**< the queue service's own */
} queue_cursor;

/** A counted reference to an interned text of the platform's string database; the service gives the text of it. */
typedef struct sdb_block *sdb_ref;

/** A pool of records of one size, the platform's own. */
typedef struct chunk_pool chunk_pool;

/** @} */

/**
 * @name Functions that callers hand in
 *
 * What holds for all of them:
 *
 * - A function is called on the thread of the operation that needs it, inside that operation, and never later.
 * - 'action_data' and 'filter_data' are the words that the caller's context carried, passed through unread. They are
 *   NULL where the caller gave NULL, unless it is said otherwise.
 * - A function may call back into the library. It must leave alone the object that it is called for, and the lists in
 *   which that object stands: the operation around it still holds them. Only #zar_target_policy_removal_fn may do
 *   anything at all.
 * - A function must return; it must not throw an exception or jump out through the library.
 * @{
 */

/**
 * Frees what a context carries: the data of an action or a filter, or the caller's own context block, or both.
 *
 * The library calls it in three ways:
 *
 * | Call | When |
 * |---|---|
 * | (data, NULL) | the last reference of an action is dropped, a filter is deleted, or the data of either is replaced |
 * | (NULL, block) | zar_free_client_action_context and zar_free_client_filter_context: free the block, keep the data |
 * | (data, block) | zar_free_client_filter_params_context: free both |
 *
 * It is called once for the same data and once for the same block; afterwards the library does not use them again. In
 * the first form the action or filter is in the middle of its release or replacement: its handle must not be used.
 *
 * The function is required in every context. Whether it frees anything is its own affair; where it does nothing, the
 * data simply stays with its owner. It must accept NULL data if the owner makes contexts without data.
 *
 * @param data the data to free, or NULL
 * @param context the caller's context block to free, or NULL
 */
typedef void (*zar_free_fn)(void *data, void *context);

/**
 * Runs an action.
 *
 * The library stores it and compares its address (two actions are the same only if they run the same function); it
 * never calls it. The engine does. Required in every action context.
 *
 * @param action_data the action's data
 * @param run the engine's own
 * @return the engine's own
 */
typedef uint32_t (*zar_action_entry_fn)(void *action_data, void *run);

/**
 * Gives the configuration text of an action.
 *
 * Called once for each text that is asked for: by zar_get_action_nvgen_str with the argument of that call, and by
 * zar_print_policymap with 0. Required to create an action.
 *
 * @param action_data the action's data
 * @param argument passed through from zar_get_action_nvgen_str; its meaning is the engine's
 * @return the text, a fresh block of the platform's named allocation, or NULL for none. The receiver frees it: the
 *         library after printing it, or the caller of zar_get_action_nvgen_str.
 */
typedef char *(*zar_action_str_fn)(void *action_data, uint32_t argument);

/**
 * Whether the data of a caller's context equals the data of a stored action or filter.
 *
 * The function of the stored record is called, never that of the caller's context. It is called only after the free
 * functions and the entry (or evaluation) functions of both sides were found equal, so both data come from the same
 * owner; in a search once for each such candidate, up to the first match. A search for a filter asks it before it looks
 * at the no-match flag. Required to create an action or a filter.
 *
 * It must not change or keep either data.
 *
 * @param stored_data the data of the stored record
 * @param new_data the data of the caller's context
 * @return non-zero if they are equal, else 0
 */
typedef uint32_t (*zar_compare_fn)(void *stored_data, void *new_data);

/**
 * Tells an action's owner that the action came into force, or went out of force, on targets.
 *
 * Called after the fact: once for each action of a CONTROL policy-map when the engine has made the instance of that
 * policy-map on a target or has deleted it, and as the notification operations (present.h) tell. May be NULL in a
 * context; the action is then passed over.
 *
 * The list is never NULL and never empty; it is allocated from the platform's named allocation and holds the callers'
 * own target records, a record possibly more than once. The library never frees it: it belongs to the side of the
 * handlers. It must not be freed, nor its elements taken out, inside the call, since the same list serves the following
 * calls of the same operation.
 *
 * @param removed 0 when the action came into force, 1 when it went out of force
 * @param action_data the action's data
 * @param target_infos the targets concerned: a queue of #zar_target_info
 */
typedef void (*zar_action_notify_fn)(uint32_t removed, void *action_data, queue_head *target_infos);

/**
 * Whether an action uses a parameter-map.
 *
 * Called by zar_is_param_map_assoc_with_policy, at most once for each action, up to the first that answers yes. May be
 * NULL in a context; the question then also passes over the actions that follow this one in its class-action.
 *
 * @param action_data the action's data
 * @param param_map the value that the question was asked with, opaque to the library, NULL included
 * @return non-zero if the action uses it, else 0
 */
typedef uint32_t (*zar_action_param_map_check_fn)(void *action_data, const void *param_map);

/**
 * Evaluates a filter.
 *
 * The library stores it and compares its address (two filters are the same only if they are evaluated by the same
 * function); it never calls it. The engine does. Required in every filter context.
 *
 * @param filter_data the filter's data
 * @param run the engine's own
 * @return the engine's own
 */
typedef uint32_t (*zar_filter_eval_fn)(void *filter_data, void *run);

/**
 * Gives the configuration text of a filter, without the word "match" or "no-match" before it.
 *
 * Called once for each text that is asked for: by the two filter text operations, by zar_print_classmap, and by
 * kel_pmtr_map_get_filter_expr_by_type for each filter up to the one sought. Required to create a filter.
 *
 * @param filter_data the filter's data
 * @return the text, a fresh block of the platform's named allocation, or NULL for none. The library frees it.
 */
typedef char *(*zar_filter_str_fn)(void *filter_data);

/**
 * Tells a client that one of its policy-maps was taken off a target because the stored policy-map is being deleted.
 *
 * Called by the two deletions of stored policy-maps, for the client whose clid they were given, once for each target on
 * which the policy-map was active. By then the pair is unlinked, the engine's instance is gone and the handlers were
 * told; both handles are still valid. No other deactivation calls it. It may be NULL: the client then hears nothing.
 *
 * The callback may call any operation, the deletion of any target included. A target that it deletes is not reported
 * again; the remaining ones are.
 *
 * @param target handle of the target
 * @param pmap handle of the policy-map
 */
typedef void (*zar_target_policy_removal_fn)(uint32_t target, uint32_t pmap);

/**
 * Receives the lines of a listing, as printf would.
 *
 * Called once for each line by the show operations, in the order of the listing. The first value is always the line
 * prefix; the values are valid only inside the call. Never NULL: the show operations refuse a NULL printer.
 *
 * The printer must not create, store or delete maps, nor change their rules, while the listing runs.
 *
 * @param format a printf format, which begins with "%s" for the line prefix
 * @param ... the values, the line prefix first
 */
typedef void (*zar_printer_fn)(const char *format, ...);

/** @} */

/**
 * @name Records that callers fill
 *
 * The library reads them inside the call and keeps no pointer to them; #zar_target_info is the exception.
 * @{
 */

/**
 * Names a map.
 *
 * The name, the domain and the domain type together are the key under which a map is stored. The engine's key of a
 * policy instance has the same layout, with 'hidden' 0.
 */
typedef struct zar_map_info {
  const char *domain;   /**< the domain that the map belongs to; not NULL */
  uint32_t domain_type; /**< 1 (CONTROL: a policy-map of this type holds events) or 2 */
  const char *map_name; /**< the map's name; not NULL */
  uint32_t hidden;      /**< read by zar_create_class only: 1 makes the class-map hidden */
} zar_map_info;

/**
 * An action as its owner sees it: data, and what can be done with it.
 *
 * The life of a context:
 *
 * 1. The owner fills a block and hands it to zar_create_action, which copies the seven words into the action. From a
 *    success on the data belongs to the action; the block stays the owner's, to use again or to free. A refused
 *    creation takes nothing over.
 * 2. While the action lives, its functions are called with its data, as each of them tells.
 * 3. zar_replace_old_action_hdl may put the data of a newer block in the place of the old data, which is freed once.
 *    The functions stay those of the creation.
 * 4. When the last reference of the action is dropped, 'action_free_fn' is called with the data and NULL. It is the
 *    last call that the action makes.
 *
 * A block that only describes what is sought (zar_retrieve_action, zar_compare_actions, zar_match_action_parameters)
 * needs the first three words; nothing of it is taken over. zar_pmtr_map_create_action takes over the block as well as
 * the data, and says when.
 */
typedef struct zar_action_context {
  void *action_data;                                       /**< opaque; handed to every function; may be NULL */
  zar_free_fn action_free_fn;                              /**< required */
  zar_action_entry_fn action_entry_fn;                     /**< required */
  zar_action_str_fn action_str_fn;                         /**< required to create an action */
  zar_compare_fn action_compare_fn;                        /**< required to create an action */
  zar_action_notify_fn action_notify_fn;                   /**< may be NULL: the owner wants no notifications */
  zar_action_param_map_check_fn action_param_map_check_fn; /**< may be NULL: the action cannot be asked */
} zar_action_context;

/**
 * A filter (match statement) as its owner sees it.
 *
 * The life of a context:
 *
 * 1. The owner fills a block and hands it to zar_create_filter, zar_pmtr_create_filter or
 *    zar_pmtr_create_or_add_filter, which copies the five words into the filter. From a success on the data belongs to
 *    the filter; the block stays the owner's. A refused creation takes nothing over.
 * 2. While the filter lives, its functions are called with its data, as each of them tells.
 * 3. zar_replace_old_filter_hdl may put the data of a newer block in the place of the old data, which is freed once.
 *    The functions stay those of the creation.
 * 4. When the filter is deleted, alone or with its class-map, 'filter_free_fn' is called with the data and NULL. It is
 *    the last call that the filter makes.
 *
 * A block that only describes what is sought (zar_retrieve_filter, zar_match_filter_parameters,
 * zar_add_to_internal_cmap_compare) needs the first three words; nothing of it is taken over.
 */
typedef struct zar_filter_context {
  void *filter_data;                 /**< opaque; handed to every function; may be NULL */
  zar_free_fn filter_free_fn;        /**< required */
  zar_filter_eval_fn filter_eval_fn; /**< required */
  zar_filter_str_fn filter_str_fn;   /**< required to create a filter */
  zar_compare_fn filter_compare_fn;  /**< required to create a filter */
} zar_filter_context;

/**
 * The beginning of the caller's own record of a target.
 *
 * The record stays the caller's. The library keeps the pointer while the target lives, queues the record in the target
 * lists of notifications, and prints 'target_id' in one trace message; it reads and frees nothing else. The record must
 * outlive the target and every target list in which it stands.
 */
typedef struct zar_target_info {
  queue_link link;     /**< for the target lists; the queue service's own */
  uintptr_t target_id; /**< what the caller calls the target */
} zar_target_info;

/** @} */
/** @} */

/** @cond */
/* The promised layout. */
ZAR_LAYOUT_SIZE(avl_node, 32);
ZAR_LAYOUT_SIZE(avl_tree, 48);
ZAR_LAYOUT_FIELD(avl_tree, compare, 32);
ZAR_LAYOUT_FIELD(avl_tree, free_node, 40);
ZAR_LAYOUT_SIZE(queue_link, 8);
ZAR_LAYOUT_SIZE(queue_head, 24);
ZAR_LAYOUT_FIELD(queue_head, count, 16);
ZAR_LAYOUT_SIZE(queue_cursor, 8);
ZAR_LAYOUT_SIZE(sdb_ref, 8);
ZAR_LAYOUT_SIZE(zar_map_info, 32);
ZAR_LAYOUT_FIELD(zar_map_info, domain_type, 8);
ZAR_LAYOUT_FIELD(zar_map_info, map_name, 16);
ZAR_LAYOUT_FIELD(zar_map_info, hidden, 24);
ZAR_LAYOUT_SIZE(zar_action_context, 56);
ZAR_LAYOUT_FIELD(zar_action_context, action_free_fn, 8);
ZAR_LAYOUT_SIZE(zar_filter_context, 40);
ZAR_LAYOUT_FIELD(zar_filter_context, filter_free_fn, 8);
ZAR_LAYOUT_SIZE(zar_target_info, 16);
ZAR_LAYOUT_FIELD(zar_target_info, target_id, 8);
/** @endcond */

#ifdef __cplusplus
}
#endif

#endif
