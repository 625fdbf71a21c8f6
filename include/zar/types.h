/*
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

#ifdef __cplusplus
#define ZAR_LAYOUT_ASSERT(condition) static_assert(condition, #condition)
extern "C" {
#else
#define ZAR_LAYOUT_ASSERT(condition) _Static_assert(condition, #condition)
#endif

/* 'type' is 'bytes' long. */
#define ZAR_LAYOUT_SIZE(type, bytes) ZAR_LAYOUT_ASSERT(sizeof(type) == (bytes))
/* 'field' of 'type' begins at byte 'at'. */
#define ZAR_LAYOUT_FIELD(type, field, at) ZAR_LAYOUT_ASSERT(offsetof(type, field) == (at))

/* ---- Containers of the platform, as they lie in records ------------------------------------------------------- */

/* The linkage of a record in a keyed tree; the first member of every record that a tree holds. Only the platform's
 * tree service reads or writes it. A record that was never in a tree carries zeros. */
typedef struct avl_node {
  struct avl_node *parent;
  struct avl_node *left;
  struct avl_node *right;
  intptr_t balance;
} avl_node;
ZAR_LAYOUT_SIZE(avl_node, 32);

/* Orders a node that is sought or inserted ('nascent') against one in the tree: 0 before, 1 equal, 2 after. */
typedef uint32_t (*avl_compare_fn)(const void *nascent, const void *tree);
/* Told of a node when its whole tree is emptied; called once for each node, after it was unlinked. */
typedef void (*avl_free_fn)(void *node);

/* A keyed tree. 'top.parent', its first word, is the root node or NULL. */
typedef struct avl_tree {
  avl_node top;
  avl_compare_fn compare;
  avl_free_fn free_node;
} avl_tree;
ZAR_LAYOUT_SIZE(avl_tree, 48);
ZAR_LAYOUT_FIELD(avl_tree, compare, 32);
ZAR_LAYOUT_FIELD(avl_tree, free_node, 40);

/* The linkage of a record in a queue; the first word of every record that a queue holds. */
typedef struct queue_link {
  void *next;
} queue_link;
ZAR_LAYOUT_SIZE(queue_link, 8);

/* A queue of records. 'count' is the number of elements and may be read by anyone; the rest belongs to the platform's
 * queue service. 'limit' 0 means no limit. */
typedef struct queue_head {
  void *head;
  void *tail;
  uint32_t count;
  uint32_t limit;
} queue_head;
ZAR_LAYOUT_SIZE(queue_head, 24);
ZAR_LAYOUT_FIELD(queue_head, count, 16);

/* A position in a queue; zeroed, it stands before the first element. */
typedef struct queue_cursor {
  void *position;
} queue_cursor;
ZAR_LAYOUT_SIZE(queue_cursor, 8);

/* A counted reference to an interned text of the platform's string database. */
typedef struct sdb_block *sdb_ref;
ZAR_LAYOUT_SIZE(sdb_ref, 8);

/* A pool of records of one size. */
typedef struct chunk_pool chunk_pool;

/* ---- Functions that callers hand in --------------------------------------------------------------------------- */

/* Frees 'data' of an action or filter ('context' is 0), or a caller's context block ('data' is 0 or the block's first
 * word, 'context' the block). Never called twice for the same data. */
typedef void (*zar_free_fn)(void *data, void *context);

/* Runs an action. The library only stores and compares it; the engine calls it. */
typedef uint32_t (*zar_action_entry_fn)(void *action_data, void *run);

/* The configuration text of an action, from the platform's named allocation, or NULL. The receiver frees it. */
typedef char *(*zar_action_str_fn)(void *action_data, uint32_t argument);

/* Whether the data of a caller's context equals stored data; any non-zero answer means equal. */
typedef uint32_t (*zar_compare_fn)(void *stored_data, void *new_data);

/* Tells an action's owner that the action came into force ('removed' 0) or went out of force ('removed' 1) on the
 * targets whose information records 'target_infos' lists. The list belongs to the handlers' side, which must not free
 * it inside the call: the same list serves the following calls. */
typedef void (*zar_action_notify_fn)(uint32_t removed, void *action_data, queue_head *target_infos);

/* Whether the action uses the parameter-map 'param_map' (an opaque value); non-zero means it does. */
typedef uint32_t (*zar_action_param_map_check_fn)(void *action_data, const void *param_map);

/* Evaluates a filter. The library only stores and compares it; the engine calls it. */
typedef uint32_t (*zar_filter_eval_fn)(void *filter_data, void *run);

/* The configuration text of a filter, from the platform's named allocation, or NULL. The receiver frees it. */
typedef char *(*zar_filter_str_fn)(void *filter_data);

/* Tells a client that the policy-map 'pmap' was taken off the target 'target' because its stored record is being
 * deleted. The pair is already unlinked and its engine instance gone. The callback may call any operation. */
typedef void (*zar_target_policy_removal_fn)(uint32_t target, uint32_t pmap);

/* Receives the lines of a listing; a printf-like function whose first value is always the line prefix. */
typedef void (*zar_printer_fn)(const char *format, ...);

/* ---- Records that callers fill -------------------------------------------------------------------------------- */

/* Names a map. The engine's key of a policy instance has the same layout, with 'hidden' 0. */
typedef struct zar_map_info {
  const char *domain;   /* never NULL */
  uint32_t domain_type; /* 1 (CONTROL: a policy-map of this type holds events) or 2 */
  const char *map_name; /* never NULL */
  uint32_t hidden;      /* read by class-map creation only: 1 makes the class-map hidden */
} zar_map_info;
ZAR_LAYOUT_SIZE(zar_map_info, 32);
ZAR_LAYOUT_FIELD(zar_map_info, domain_type, 8);
ZAR_LAYOUT_FIELD(zar_map_info, map_name, 16);
ZAR_LAYOUT_FIELD(zar_map_info, hidden, 24);

/* An action as its owner sees it: data and what can be done with it. Copied when an action is made of it. */
typedef struct zar_action_context {
  void *action_data;
  zar_free_fn action_free_fn;                              /* required */
  zar_action_entry_fn action_entry_fn;                     /* required */
  zar_action_str_fn action_str_fn;                         /* required to create an action */
  zar_compare_fn action_compare_fn;                        /* required to create an action */
  zar_action_notify_fn action_notify_fn;                   /* may be NULL */
  zar_action_param_map_check_fn action_param_map_check_fn; /* may be NULL */
} zar_action_context;
ZAR_LAYOUT_SIZE(zar_action_context, 56);
ZAR_LAYOUT_FIELD(zar_action_context, action_free_fn, 8);

/* A filter (match statement) as its owner sees it. Copied when a filter is made of it. */
typedef struct zar_filter_context {
  void *filter_data;
  zar_free_fn filter_free_fn;        /* required */
  zar_filter_eval_fn filter_eval_fn; /* required */
  zar_filter_str_fn filter_str_fn;   /* required to create a filter */
  zar_compare_fn filter_compare_fn;  /* required to create a filter */
} zar_filter_context;
ZAR_LAYOUT_SIZE(zar_filter_context, 40);
ZAR_LAYOUT_FIELD(zar_filter_context, filter_free_fn, 8);

/* The beginning of the caller's own record of a target. The library keeps the pointer, never the contents; it queues
 * the record in the target lists of notifications and prints 'target_id' in one trace message. */
typedef struct zar_target_info {
  queue_link link;
  uintptr_t target_id;
} zar_target_info;
ZAR_LAYOUT_SIZE(zar_target_info, 16);
ZAR_LAYOUT_FIELD(zar_target_info, target_id, 8);

#ifdef __cplusplus
}
#endif

#endif
