/**
 * @file
 * The shapes that cross the library's border: the platform's intrusive containers as they lie in the records, the
 * functions that callers hand in, and the records that callers fill.
 *
 * Everything here is plain data of LP64 layout. Nothing is packed; the sizes and offsets that both sides rely on are
 * asserted beside each type, in both languages.
 */
#ifndef ZAR_TYPES_H
#define ZAR_TYPES_H

#include <stddef.h>
#include <stdint.h>

/** Opens the declarations of what the library exports: C linkage, visible however the library is compiled. */
#ifdef __cplusplus
#define ZAR_BEGIN_EXPORTS \
  extern "C" {            \
  _Pragma("GCC visibility push(default)")
#else
#define ZAR_BEGIN_EXPORTS _Pragma("GCC visibility push(default)")
#endif
/** Closes them. */
#ifdef __cplusplus
#define ZAR_END_EXPORTS         \
  _Pragma("GCC visibility pop") \
  }
#else
#define ZAR_END_EXPORTS _Pragma("GCC visibility pop")
#endif

/** Refuses to compile where 'condition' does not hold.
 *  @param condition  An integer constant expression. */
#ifdef __cplusplus
#define ZAR_LAYOUT_ASSERT(condition) static_assert(condition, #condition)
extern "C" {
#else
#define ZAR_LAYOUT_ASSERT(condition) _Static_assert(condition, #condition)
#endif

/** Refuses to compile where 'type' is not 'bytes' long.
 *  @param type   A complete type.
 *  @param bytes  Its promised size. */
#define ZAR_LAYOUT_SIZE(type, bytes) ZAR_LAYOUT_ASSERT(sizeof(type) == (bytes))

/** Refuses to compile where 'field' of 'type' does not begin at byte 'at'.
 *  @param type   A record type.
 *  @param field  One of its fields.
 *  @param at     Its promised offset, in bytes. */
#define ZAR_LAYOUT_FIELD(type, field, at) ZAR_LAYOUT_ASSERT(offsetof(type, field) == (at))

/**
 * @defgroup zar_types Types at the border
 * The containers that lie in the records, the callers' functions, and the records that callers fill.
 * @{
 */

/**
 * @name Containers of the platform, as they lie in records
 * Only the platform's tree and queue services look inside; the library and its callers go through the services. The one
 * exception is 'count' of a queue, which anyone may read.
 * @{
 */

/** The linkage of a record in a keyed tree; the first member of every record that a tree holds. All zeros in a record
 *  that was never in a tree. */
typedef struct avl_node {
  struct avl_node *parent; /**< The node above, or NULL. */
  struct avl_node *left;   /**< The subtree of the nodes that sort before this one. */
  struct avl_node *right;  /**< The subtree of the nodes that sort after this one. */
  intptr_t balance;        /**< The tree service's own. */
} avl_node;
ZAR_LAYOUT_SIZE(avl_node, 32);
ZAR_LAYOUT_FIELD(avl_node, left, 8);
ZAR_LAYOUT_FIELD(avl_node, right, 16);
ZAR_LAYOUT_FIELD(avl_node, balance, 24);

/**
 * Orders a node that is sought or inserted against one that is in the tree. The library gives it to the tree service
 * when it makes a database; the service calls it once for each node that a search, an insertion or a deletion passes.
 * It must not change the tree.
 *
 * @param nascent  The node that is sought or inserted; a probe carries nothing but its key.
 * @param tree     A node of the tree.
 *
 * @retval 0  'nascent' sorts before 'tree'.
 * @retval 1  They are equal.
 * @retval 2  'nascent' sorts after 'tree'.
 */
typedef uint32_t (*avl_compare_fn)(const void *nascent, const void *tree);

/**
 * Hears of a node when its whole tree is emptied. The library gives it to the tree service when it makes a database;
 * the service calls it once for each node, after it has unlinked the node, so that the record may go.
 *
 * @param node  The unlinked node.
 */
typedef void (*avl_free_fn)(void *node);

/** A keyed tree. */
typedef struct avl_tree {
  avl_node top;           /**< 'top.parent', the first word, is the root, or NULL while the tree is empty. */
  avl_compare_fn compare; /**< The order of the tree. */
  avl_free_fn free_node;  /**< What hears of the nodes when the tree is emptied. */
} avl_tree;
ZAR_LAYOUT_SIZE(avl_tree, 48);
ZAR_LAYOUT_FIELD(avl_tree, compare, 32);
ZAR_LAYOUT_FIELD(avl_tree, free_node, 40);

/** The linkage of a record in a queue; the first word of every record that a queue holds. */
typedef struct queue_link {
  void *next; /**< The queue service's own. */
} queue_link;
ZAR_LAYOUT_SIZE(queue_link, 8);

/** A queue of records. */
typedef struct queue_head {
  void *head;     /**< The queue service's own. */
  void *tail;     /**< The queue service's own. */
  uint32_t count; /**< The number of elements. */
  uint32_t limit; /**< The most elements that it takes; 0: no limit. */
} queue_head;
ZAR_LAYOUT_SIZE(queue_head, 24);
ZAR_LAYOUT_FIELD(queue_head, tail, 8);
ZAR_LAYOUT_FIELD(queue_head, count, 16);
ZAR_LAYOUT_FIELD(queue_head, limit, 20);

/** A position in a queue; zeroed, it stands before the first element. */
typedef struct queue_cursor {
  void *position; /**< The queue service's own. */
} queue_cursor;
ZAR_LAYOUT_SIZE(queue_cursor, 8);

/** A counted reference to an interned text of the platform's string database, which gives the text for it. */
typedef struct sdb_block *sdb_ref;
ZAR_LAYOUT_SIZE(sdb_ref, 8);

/** A pool of records of one size; the platform's own. */
typedef struct chunk_pool chunk_pool;

/** @} */

/**
 * @name Functions that callers hand in
 * The library calls them only inside an operation that needs them, on the thread of that operation. The data word of a
 * context is passed through unread: it is NULL where the owner gave NULL, unless stated otherwise. Each may call the
 * library in its turn; what it may do there stands among the conventions (@ref conv_callbacks).
 * @{
 */

/**
 * Frees what a context carries: the data of an action or filter, the caller's own context block, or both. It is called
 * in three ways:
 *
 * | Call          | When                                                                                            |
 * |---------------|-------------------------------------------------------------------------------------------------|
 * | (data, NULL)  | an action loses its last reference, a filter is deleted, or newer data takes the data's place   |
 * | (NULL, block) | zar_free_client_action_context() and zar_free_client_filter_context(): the data is kept         |
 * | (data, block) | zar_free_client_filter_params_context()                                                         |
 *
 * The library calls it once for the same data and once for the same block, and uses neither afterwards. Every context
 * needs this function; where it frees nothing, the data stays with its owner.
 *
 * In the first way the library no longer uses the data when it makes the call: an object that is being deleted does not
 * resolve any more, and one that took newer data over holds that already.
 *
 * @param data     The data to free, or NULL. In the first and the third way it is NULL where the owner gave NULL.
 * @param context  The context block to free, or NULL.
 */
typedef void (*zar_free_fn)(void *data, void *context);

/**
 * Runs an action. The library never calls it: it stores it for the engine, and takes two actions for the same only if
 * they have the same one. Every action context needs it.
 *
 * @param action_data  The action's data.
 * @param run          The engine's own.
 *
 * @return The engine's own.
 */
typedef uint32_t (*zar_action_entry_fn)(void *action_data, void *run);

/**
 * Gives the configuration text of an action. It is called once for each text that is wanted: by
 * zar_get_action_nvgen_str() with the argument of that call, and by zar_print_policymap() with 0. An action cannot be
 * made without it.
 *
 * @param action_data  The action's data.
 * @param argument     Passed through from zar_get_action_nvgen_str(); its meaning is the engine's.
 *
 * @return A new text from the platform's named allocation, or NULL for none. Who asked frees it: the caller of
 *         zar_get_action_nvgen_str(), or the library when it has printed it.
 */
typedef char *(*zar_action_str_fn)(void *action_data, uint32_t argument);

/**
 * Whether the data of a caller's context equals the data of a stored action or filter. The stored record's function is
 * called, never that of the caller's context, and only when the free function and the entry (or evaluation) function
 * were found equal on both sides: both data come from the same owner. A search calls it once for each such candidate up
 * to the first match; for filters, before it looks at the no-match flag. Neither an action nor a filter can be made
 * without it.
 *
 * It must change neither data, and keep neither. It may change the list that is searched: what it takes out is not
 * found, and the search goes on with what stands behind.
 *
 * @param stored_data  The data of the stored record.
 * @param new_data     The data of the caller's context.
 *
 * @return Non-zero when they are equal, else 0.
 */
typedef uint32_t (*zar_compare_fn)(void *stored_data, void *new_data);

/**
 * Reports to the owner of an action that it became active, or is not active any more, on targets. It is called
 * afterwards: when the engine has made or deleted the instance of a CONTROL policy-map on a target, once for each place
 * of the action in the rules of that policy-map; and when a notification operation is called. A context may do without
 * it; such an action is passed over.
 *
 * The list is never NULL and never empty: where a target cannot be put into it, the function is called for the targets
 * that are in it, or not at all. It lies in the platform's named allocation and holds the callers' own target records,
 * the same one possibly several times. The library does not free it: it belongs to the side of the handlers. The
 * function must not free it or take anything out of it inside the call, since the same list serves the following calls
 * of the operation.
 *
 * @param removed       0 when the action became active, 1 when it is not active any more.
 * @param action_data   The action's data; never NULL in zar_shim_action_added_removed(), which passes over such
 *                      actions.
 * @param target_infos  The targets concerned: a queue of #zar_target_info.
 */
typedef void (*zar_action_notify_fn)(uint32_t removed, void *action_data, queue_head *target_infos);

/**
 * Whether an action uses a parameter-map. zar_is_param_map_assoc_with_policy() calls it for one action after another,
 * until one says yes. A context may do without it; the question then also passes over the actions that follow this one
 * in its class-action.
 *
 * @param action_data  The action's data.
 * @param param_map    The value that the question was asked with. The library does not look into it, and it may be
 *                     NULL.
 *
 * @return Non-zero when the action uses it, else 0.
 */
typedef uint32_t (*zar_action_param_map_check_fn)(void *action_data, const void *param_map);

/**
 * Evaluates a filter. The library never calls it: it stores it for the engine, and takes two filters for the same only
 * if they have the same one. Every filter context needs it.
 *
 * @param filter_data  The filter's data.
 * @param run          The engine's own.
 *
 * @return The engine's own.
 */
typedef uint32_t (*zar_filter_eval_fn)(void *filter_data, void *run);

/**
 * Gives the configuration text of a filter, without the word "match" or "no-match". It is called once for each text
 * that is wanted: by zar_get_filter_nvgen_str(), zar_get_filter_nvgen_str_internal() and zar_print_classmap(), and by
 * kel_pmtr_map_get_filter_expr_by_type() for each filter up to the one sought. A filter cannot be made without it.
 *
 * @param filter_data  The filter's data.
 *
 * @return A new text from the platform's named allocation, or NULL for none. The library frees it.
 */
typedef char *(*zar_filter_str_fn)(void *filter_data);

/**
 * Reports to a client that a target lost a policy-map because the stored policy-map is being deleted. The two deletions
 * of stored policy-maps call it for the client whose clid they are given, once for each target on which the policy-map
 * is still active when the turn of that target comes; no other deactivation calls it. By then the policy-map was taken
 * out of its tree, the pair is unlinked, and the engine has been asked to delete its instance, whatever it answered.
 * Only where the target has lost its 'target_info' is the engine not asked. Both handles still resolve. A client may do
 * without it.
 *
 * It may delete any target, this one included, and activate, deactivate and store policy-maps. A target that it
 * deletes, or on which it deactivates this policy-map, is not reported any more; the remaining ones are. The policy-map
 * itself it leaves to the deletion: where it activates it again, on whatever target, the pair is taken apart before the
 * deletion returns, and a tree that it stores it in does not hold it then.
 *
 * @param target  The target.
 * @param pmap    The policy-map.
 */
typedef void (*zar_target_policy_removal_fn)(uint32_t target, uint32_t pmap);

/**
 * Receives a listing, as printf would. The show operations call it once for each line, in order; they refuse a NULL
 * one.
 *
 * @param format  A format of printf, which begins with "%s" for the line prefix.
 * @param ...     The values, the line prefix first. Texts among them are good inside the call only.
 */
typedef void (*zar_printer_fn)(const char *format, ...);

/** @} */

/**
 * @name Records that callers fill
 * The library reads them during the call and keeps no pointer to them; #zar_target_info alone is kept.
 * @{
 */

/** Names a map: name, domain and domain type together are the key that it is stored under. The engine's key of a policy
 *  instance has the same layout, with 'hidden' 0. */
typedef struct zar_map_info {
  const char *domain;   /**< The domain that the map belongs to; not NULL. */
  uint32_t domain_type; /**< 1: CONTROL, a policy-map of this type holds events; 2: the other kind. */
  const char *map_name; /**< The name of the map; not NULL. */
  uint32_t hidden;      /**< Read by zar_create_class() only: 1 makes the class-map hidden. */
} zar_map_info;
ZAR_LAYOUT_SIZE(zar_map_info, 32);
ZAR_LAYOUT_FIELD(zar_map_info, domain_type, 8);
ZAR_LAYOUT_FIELD(zar_map_info, map_name, 16);
ZAR_LAYOUT_FIELD(zar_map_info, hidden, 24);

/**
 * An action as its owner sees it: data, and what can be done with it. How a context lives is told among the
 * conventions.
 *
 * A block that only describes an action to be found or compared with needs its first three words.
 */
typedef struct zar_action_context {
  void *action_data;                                       /**< Opaque; every function is given it. May be NULL. */
  zar_free_fn action_free_fn;                              /**< Required. */
  zar_action_entry_fn action_entry_fn;                     /**< Required. */
  zar_action_str_fn action_str_fn;                         /**< Required to make an action. */
  zar_compare_fn action_compare_fn;                        /**< Required to make an action. */
  zar_action_notify_fn action_notify_fn;                   /**< NULL: the owner wants no notifications. */
  zar_action_param_map_check_fn action_param_map_check_fn; /**< NULL: the action cannot be asked. */
} zar_action_context;
ZAR_LAYOUT_SIZE(zar_action_context, 56);
ZAR_LAYOUT_FIELD(zar_action_context, action_free_fn, 8);
ZAR_LAYOUT_FIELD(zar_action_context, action_entry_fn, 16);
ZAR_LAYOUT_FIELD(zar_action_context, action_str_fn, 24);
ZAR_LAYOUT_FIELD(zar_action_context, action_compare_fn, 32);
ZAR_LAYOUT_FIELD(zar_action_context, action_notify_fn, 40);
ZAR_LAYOUT_FIELD(zar_action_context, action_param_map_check_fn, 48);

/**
 * A filter (match statement) as its owner sees it: data, and what can be done with it. How a context lives is told
 * among the conventions.
 *
 * A block that only describes a filter to be found or compared with needs its first three words.
 */
typedef struct zar_filter_context {
  void *filter_data;                 /**< Opaque; every function is given it. May be NULL. */
  zar_free_fn filter_free_fn;        /**< Required. */
  zar_filter_eval_fn filter_eval_fn; /**< Required. */
  zar_filter_str_fn filter_str_fn;   /**< Required to make a filter. */
  zar_compare_fn filter_compare_fn;  /**< Required to make a filter. */
} zar_filter_context;
ZAR_LAYOUT_SIZE(zar_filter_context, 40);
ZAR_LAYOUT_FIELD(zar_filter_context, filter_free_fn, 8);
ZAR_LAYOUT_FIELD(zar_filter_context, filter_eval_fn, 16);
ZAR_LAYOUT_FIELD(zar_filter_context, filter_str_fn, 24);
ZAR_LAYOUT_FIELD(zar_filter_context, filter_compare_fn, 32);

/**
 * The beginning of the caller's own record of a target.
 *
 * The record stays the caller's. While the target lives, the library keeps the pointer, puts the record into the target
 * lists of notifications and prints 'target_id' in one trace message; it neither reads nor frees more. The record must
 * outlive the target and every target list that it stands in.
 */
typedef struct zar_target_info {
  queue_link link;     /**< For the target lists; the queue service's own. */
  uintptr_t target_id; /**< What the caller calls the target. */
} zar_target_info;
ZAR_LAYOUT_SIZE(zar_target_info, 16);
ZAR_LAYOUT_FIELD(zar_target_info, target_id, 8);

/** @} */
/** @} */

#ifdef __cplusplus
}
#endif

#endif
