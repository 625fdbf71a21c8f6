/**
 * @file
 * The types that cross the library's boundary: the platform's intrusive containers as they are embedded in the records,
 * the functions that callers pass in, and the records that callers fill.
 *
 * Everything here is plain data with LP64 layout. Nothing is packed; the sizes and offsets that both sides rely on are
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

/** Refuses to compile if 'condition' does not hold.
 *  @param condition  An integer constant expression. */
#ifdef __cplusplus
#define ZAR_LAYOUT_ASSERT(condition) static_assert(condition, #condition)
extern "C" {
#else
#define ZAR_LAYOUT_ASSERT(condition) _Static_assert(condition, #condition)
#endif

/** Refuses to compile if 'type' is not 'bytes' long.
 *  @param type   A complete type.
 *  @param bytes  Its promised size. */
#define ZAR_LAYOUT_SIZE(type, bytes) ZAR_LAYOUT_ASSERT(sizeof(type) == (bytes))

/** Refuses to compile if 'field' of 'type' does not begin at byte 'at'.
 *  @param type   A record type.
 *  @param field  One of its fields.
 *  @param at  Its promised offset, in bytes. */
#define ZAR_LAYOUT_FIELD(type, field, at) ZAR_LAYOUT_ASSERT(offsetof(type, field) == (at))

/**
 * @defgroup zar_types Types at the boundary
 * The containers in the records, the callers' functions, and the records that callers fill.
 * @{
 */

/**
 * @name Containers of the platform, as embedded in records
 * Only the platform's tree and queue services look inside; the library and its callers go through the services. The one
 * exception is 'count' of a queue, which anyone may read.
 * @{
 */

/**
 * Links a record into a keyed tree; the first member of every record that a tree holds. All zeros in a record that was
 * never in a tree.
 */
typedef struct avl_node {
  struct avl_node *parent; /**< The node above, or NULL. */
  struct avl_node *left;   /**< The subtree of the nodes that sort before this one. */
  struct avl_node *right;  /**< The subtree of the nodes that sort after this one. */
  intptr_t balance;        /**< Belongs to the tree service. */
} avl_node;
ZAR_LAYOUT_SIZE(avl_node, 32);
ZAR_LAYOUT_FIELD(avl_node, left, 8);
ZAR_LAYOUT_FIELD(avl_node, right, 16);
ZAR_LAYOUT_FIELD(avl_node, balance, 24);

/**
 * Compares a node that is being searched for or inserted with one that is in the tree. The library passes it to the
 * tree service when it creates a database; the service calls it once for each node that a search, an insertion or a
 * deletion visits. It must not change the tree.
 *
 * @param nascent  The node being searched for or inserted; a probe has only its key set.
 * @param tree     A node of the tree.
 *
 * @retval 0  'nascent' sorts before 'tree'.
 * @retval 1  They are equal.
 * @retval 2  'nascent' sorts after 'tree'.
 */
typedef uint32_t (*avl_compare_fn)(const void *nascent, const void *tree);

/**
 * Is called for a node when its whole tree is emptied. The library passes it to the tree service when it creates a
 * database; the service calls it once for each node, after it has unlinked the node, so that the record may be freed.
 *
 * @param node  The unlinked node.
 */
typedef void (*avl_free_fn)(void *node);

/** A keyed tree. */
typedef struct avl_tree {
  avl_node top;           /**< 'top.parent', the first word, is the root, or NULL while the tree is empty. */
  avl_compare_fn compare; /**< The order of the tree. */
  avl_free_fn free_node;  /**< Called for each node when the tree is emptied. */
} avl_tree;
ZAR_LAYOUT_SIZE(avl_tree, 48);
ZAR_LAYOUT_FIELD(avl_tree, compare, 32);
ZAR_LAYOUT_FIELD(avl_tree, free_node, 40);

/** Links a record into a queue; the first word of every record that a queue holds. */
typedef struct queue_link {
  void *next; /**< Belongs to the queue service. */
} queue_link;
ZAR_LAYOUT_SIZE(queue_link, 8);

/** A queue of records. */
typedef struct queue_head {
  void *head;     /**< Belongs to the queue service. */
  void *tail;     /**< Belongs to the queue service. */
  uint32_t count; /**< The number of elements. */
  uint32_t limit; /**< The maximum number of elements; 0: no limit. */
} queue_head;
ZAR_LAYOUT_SIZE(queue_head, 24);
ZAR_LAYOUT_FIELD(queue_head, tail, 8);
ZAR_LAYOUT_FIELD(queue_head, count, 16);
ZAR_LAYOUT_FIELD(queue_head, limit, 20);

/** A position in a queue; zeroed, it stands before the first element. */
typedef struct queue_cursor {
  void *position; /**< Belongs to the queue service. */
} queue_cursor;
ZAR_LAYOUT_SIZE(queue_cursor, 8);

/** A counted reference to an interned text of the platform's string database, which gives the text for it. */
typedef struct sdb_block *sdb_ref;
ZAR_LAYOUT_SIZE(sdb_ref, 8);

/** A pool of records of one size; the platform's own. */
typedef struct chunk_pool chunk_pool;

/** @} */

/**
 * @name Functions that callers pass in
 * The library calls them only inside an operation that needs them, on the thread of that operation. The data word of a
 * context is passed through unread: it is NULL if the owner gave NULL, unless stated otherwise. Each may call the
 * library back; the conventions say what it may do there (@ref conv_callbacks).
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
 * needs this function; if it frees nothing, the data stays with its owner.
 *
 * In the first way the library no longer uses the data when it makes the call: an object that is being deleted no
 * longer resolves, and one that received newer data already holds that.
 *
 * @param data     The data to free, or NULL. In the first and the third way it is NULL if the owner gave NULL.
 * @param context  The context block to free, or NULL.
 */
typedef void (*zar_free_fn)(void *data, void *context);

/**
 * Runs an action. The library never calls it: it stores it for the engine, and considers two actions the same only if
 * they have the same one. Every action context needs it.
 *
 * @param action_data  The action's data.
 * @param run          The engine's own.
 *
 * @return The engine's own.
 */
typedef uint32_t (*zar_action_entry_fn)(void *action_data, void *run);

/**
 * Returns the configuration text of an action. It is called once for each text that is needed: by
 * zar_get_action_nvgen_str() with the argument of that call, and by zar_print_policymap() with 0. An action cannot be
 * created without it.
 *
 * @param action_data  The action's data.
 * @param argument     Passed through from zar_get_action_nvgen_str(); its meaning is the engine's.
 *
 * @return A new text from the platform's named allocation, or NULL for none. It is freed by the caller of
 *         zar_get_action_nvgen_str(), or by the library after printing it.
 */
typedef char *(*zar_action_str_fn)(void *action_data, uint32_t argument);

/**
 * Returns whether the data of a caller's context equals the data of a stored action or filter. The library calls the
 * stored record's function, never that of the caller's context, and only if the free function and the entry (or
 * evaluation) function are equal on both sides: then both data come from the same owner. A search calls it once for
 * each such candidate up to the first match; for filters, before it checks the no-match flag. Neither an action nor a
 * filter can be created without it.
 *
 * It must neither change nor keep either data. It may change the list that is searched: an element that it removes is
 * not found, and the search continues with the elements after it.
 *
 * @param stored_data  The data of the stored record.
 * @param new_data     The data of the caller's context.
 *
 * @return Non-zero if they are equal, else 0.
 */
typedef uint32_t (*zar_compare_fn)(void *stored_data, void *new_data);

/**
 * Notifies the owner of an action that the action became active or inactive on targets. It is called afterwards: when
 * the engine has created or deleted the instance of a CONTROL policy-map on a target, once for each occurrence of the
 * action in the rules of that policy-map; and when a notification operation is called. It is optional; an action
 * without it is skipped.
 *
 * The list is never NULL and never empty: if a target cannot be added to it, the function is called for the targets
 * that are in it, or not at all. It comes from the platform's named allocation and holds the callers' own target
 * records, possibly the same one several times. The library does not free it: it belongs to the handlers. The function
 * must not free it or remove anything from it during the call, since the operation passes the same list to its further
 * calls.
 *
 * @param removed       0 if the action became active, 1 if it became inactive.
 * @param action_data   The action's data; never NULL in zar_shim_action_added_removed(), which skips such actions.
 * @param target_infos  The targets concerned: a queue of #zar_target_info.
 */
typedef void (*zar_action_notify_fn)(uint32_t removed, void *action_data, queue_head *target_infos);

/**
 * Returns whether an action uses a parameter-map. zar_is_param_map_assoc_with_policy() calls it for one action after
 * another, until one says yes. It is optional; if an action lacks it, the actions that follow in the same class-action
 * are skipped too.
 *
 * @param action_data  The action's data.
 * @param param_map    The value passed to that operation. The library does not interpret it, and it may be NULL.
 *
 * @return Non-zero if the action uses it, else 0.
 */
typedef uint32_t (*zar_action_param_map_check_fn)(void *action_data, const void *param_map);

/**
 * Evaluates a filter. The library never calls it: it stores it for the engine, and considers two filters the same only
 * if they have the same one. Every filter context needs it.
 *
 * @param filter_data  The filter's data.
 * @param run          The engine's own.
 *
 * @return The engine's own.
 */
typedef uint32_t (*zar_filter_eval_fn)(void *filter_data, void *run);

/**
 * Returns the configuration text of a filter, without the word "match" or "no-match". It is called once for each text
 * that is needed: by zar_get_filter_nvgen_str(), zar_get_filter_nvgen_str_internal() and zar_print_classmap(), and by
 * kel_pmtr_map_get_filter_expr_by_type() for each filter up to the one it finds. A filter cannot be created without it.
 *
 * @param filter_data  The filter's data.
 *
 * @return A new text from the platform's named allocation, or NULL for none. The library frees it.
 */
typedef char *(*zar_filter_str_fn)(void *filter_data);

/**
 * Notifies a client that a target lost a policy-map because the stored policy-map is being deleted. The two operations
 * that delete stored policy-maps call it for the client whose clid they are given, once for each target on which the
 * policy-map is still active when it is that target's turn; no other deactivation calls it. By then the policy-map has
 * been removed from its tree, the pair is unlinked, and the engine has been asked to delete its instance, whatever it
 * returned. If the target has lost its 'target_info', the engine is not asked. Both handles still resolve. It is
 * optional.
 *
 * It may delete any target, this one included, and activate, deactivate and store policy-maps. A target that it
 * deletes, or on which it deactivates this policy-map, is no longer reported; the remaining ones are. It must leave the
 * policy-map itself to the deletion: if it activates the policy-map again, on any target, the pair is unlinked before
 * the deletion returns, and if it stores the policy-map again, it is in no tree by then.
 *
 * @param target  The target.
 * @param pmap    The policy-map.
 */
typedef void (*zar_target_policy_removal_fn)(uint32_t target, uint32_t pmap);

/**
 * Receives a listing, with the arguments of printf. The show operations call it once for each line, in order; they
 * refuse NULL.
 *
 * @param format  A format of printf, which begins with "%s" for the line prefix.
 * @param ...     The values, the line prefix first. Texts among them are valid only during the call.
 */
typedef void (*zar_printer_fn)(const char *format, ...);

/** @} */

/**
 * @name Records that callers fill
 * The library reads them during the call and keeps no pointer to them; #zar_target_info alone is kept.
 * @{
 */

/**
 * Names a map: name, domain and domain type together are the key under which it is stored. The engine's key of a policy
 * instance has the same layout, with 'hidden' 0.
 */
typedef struct zar_map_info {
  const char *domain;   /**< The domain that the map belongs to; not NULL. */
  uint32_t domain_type; /**< 1: CONTROL, the type of policy-maps that hold events; 2: the other type. */
  const char *map_name; /**< The name of the map; not NULL. */
  uint32_t hidden;      /**< Read by zar_create_class() only: 1 makes the class-map hidden. */
} zar_map_info;
ZAR_LAYOUT_SIZE(zar_map_info, 32);
ZAR_LAYOUT_FIELD(zar_map_info, domain_type, 8);
ZAR_LAYOUT_FIELD(zar_map_info, map_name, 16);
ZAR_LAYOUT_FIELD(zar_map_info, hidden, 24);

/**
 * An action as its owner sees it: data, and functions that work on it. The conventions describe the life of a context.
 *
 * A block that only describes an action to find or to compare with needs only its first three words.
 */
typedef struct zar_action_context {
  void *action_data;                                       /**< Opaque; passed to every function. May be NULL. */
  zar_free_fn action_free_fn;                              /**< Required. */
  zar_action_entry_fn action_entry_fn;                     /**< Required. */
  zar_action_str_fn action_str_fn;                         /**< Required to create an action. */
  zar_compare_fn action_compare_fn;                        /**< Required to create an action. */
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
 * A filter (match statement) as its owner sees it: data, and functions that work on it. The conventions describe the
 * life of a context.
 *
 * A block that only describes a filter to find or to compare with needs only its first three words.
 */
typedef struct zar_filter_context {
  void *filter_data;                 /**< Opaque; passed to every function. May be NULL. */
  zar_free_fn filter_free_fn;        /**< Required. */
  zar_filter_eval_fn filter_eval_fn; /**< Required. */
  zar_filter_str_fn filter_str_fn;   /**< Required to create a filter. */
  zar_compare_fn filter_compare_fn;  /**< Required to create a filter. */
} zar_filter_context;
ZAR_LAYOUT_SIZE(zar_filter_context, 40);
ZAR_LAYOUT_FIELD(zar_filter_context, filter_free_fn, 8);
ZAR_LAYOUT_FIELD(zar_filter_context, filter_eval_fn, 16);
ZAR_LAYOUT_FIELD(zar_filter_context, filter_str_fn, 24);
ZAR_LAYOUT_FIELD(zar_filter_context, filter_compare_fn, 32);

/**
 * The beginning of the caller's own record of a target.
 *
 * The record belongs to the caller. While the target lives, the library keeps the pointer, adds the record to the
 * target lists of notifications and prints 'target_id' in one trace message; it reads nothing else and frees nothing.
 * The record must outlive the target and every target list that contains it.
 */
typedef struct zar_target_info {
  queue_link link;     /**< For the target lists; zeroed by the caller at first, then the queue service's. */
  uintptr_t target_id; /**< The caller's identifier of the target. */
} zar_target_info;
ZAR_LAYOUT_SIZE(zar_target_info, 16);
ZAR_LAYOUT_FIELD(zar_target_info, target_id, 8);

/** @} */
/** @} */

#ifdef __cplusplus
}
#endif

#endif
