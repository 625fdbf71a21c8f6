/**
 * @file
 * The records of the repository, as the engine and the clients read them through a handle.
 */
#ifndef ZAR_RECORDS_H
#define ZAR_RECORDS_H

#include "zar/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * @defgroup zar_records Records
 * The contents of the repository. Every record belongs to the repository from its creation to its deletion and is
 * zeroed before it is filled. After the fields shown here, a record that the library created may have private fields.
 * Others may read any field. They may write the counters ('executed_count' of an action, the four counts of a filter)
 * and the engine's words of a target's policy context; only the library writes the rest.
 *
 * A numbered list above a record states what always holds between two operations.
 * @{
 */

/** @cond */
typedef struct zar_db zar_db;
typedef struct zar_client_data zar_client_data;
typedef struct zar_domain_entry zar_domain_entry;
typedef struct zar_pmap zar_pmap;
typedef struct zar_cmap zar_cmap;
typedef struct zar_action zar_action;
typedef struct zar_filter zar_filter;
typedef struct zar_event_context zar_event_context;
typedef struct zar_event_tuple zar_event_tuple;
typedef struct zar_class_action zar_class_action;
typedef struct zar_pmap_cmap_ref zar_pmap_cmap_ref;
typedef struct zar_cmap_pmap_ref zar_cmap_pmap_ref;
typedef struct zar_target zar_target;
typedef struct zar_target_pmap zar_target_pmap;
typedef struct zar_pmap_target_ref zar_pmap_target_ref;
typedef struct zar_target_policy_context zar_target_policy_context;
typedef struct zar_pmtr_map zar_pmtr_map;
typedef struct zar_pmtr_map_stmt zar_pmtr_map_stmt;
/** @endcond */

/**
 * @name Databases, clients, domains
 * @{
 */

/**
 * One database: four keyed trees. Maps are stored under their name keys, targets under their handles.
 *
 * 1. A record is in one tree at most, and only once; it is live.
 * 2. 'target_tree' is in ascending order of the handles.
 */
struct zar_db {
  avl_tree *pmap_tree;     /**< The stored policy-maps (#zar_pmap). */
  avl_tree *cmap_tree;     /**< The stored class-maps (#zar_cmap), the hidden ones of parameter-maps included. */
  avl_tree *target_tree;   /**< The targets (#zar_target). */
  avl_tree *pmtr_map_tree; /**< The stored parameter-maps (#zar_pmtr_map). */
};
ZAR_LAYOUT_SIZE(zar_db, 32);
ZAR_LAYOUT_FIELD(zar_db, cmap_tree, 8);
ZAR_LAYOUT_FIELD(zar_db, target_tree, 16);
ZAR_LAYOUT_FIELD(zar_db, pmtr_map_tree, 24);

/**
 * One registered client.
 *
 * 1. It is at index 'clid' - 1 of the client table, which has room for all clients.
 */
struct zar_client_data {
  uint32_t status;                             /**< 1: active; anything else: inactive. */
  char *name;                                  /**< Its own copy; NULL when the copy failed at registration. */
  uint32_t clid;                               /**< The client id. */
  zar_target_policy_removal_fn removal_vector; /**< Called for lost policy-maps; NULL for none. */
  zar_db *database;                            /**< The client's own, or NULL: it uses the default database. */
};
ZAR_LAYOUT_SIZE(zar_client_data, 40);
ZAR_LAYOUT_FIELD(zar_client_data, name, 8);
ZAR_LAYOUT_FIELD(zar_client_data, clid, 16);
ZAR_LAYOUT_FIELD(zar_client_data, removal_vector, 24);
ZAR_LAYOUT_FIELD(zar_client_data, database, 32);

/**
 * One claimed domain; element of 'zar_domain_list', in the order of the claims.
 *
 * 1. No domain is claimed twice.
 */
struct zar_domain_entry {
  queue_link link;     /**< In 'zar_domain_list'. */
  char *domain;        /**< Its own copy of the name. */
  uint32_t owner_clid; /**< The client that claimed it. */
};
ZAR_LAYOUT_SIZE(zar_domain_entry, 24);
ZAR_LAYOUT_FIELD(zar_domain_entry, domain, 8);
ZAR_LAYOUT_FIELD(zar_domain_entry, owner_clid, 16);

/** @} */

/**
 * @name Policy-maps and their rules
 * A CONTROL policy-map holds events, and an event holds class-actions. Any other policy-map holds class-actions
 * directly.
 * @{
 */

/**
 * A policy-map.
 *
 * 1. 'handle', 'name', 'domain', 'domain_type' and 'hash_str' never change.
 * 2. The elements of 'rule_list' are all of the kind given by 'domain_type', in order of addition, and no two events
 *    have the same event id.
 * 3. A class-map is in 'cmap_refs' at most once; its count is the number of class-actions under the events that use it,
 *    minus those for which there was no memory to count.
 * 4. A target is in 'target_refs' at most once, and exactly when the policy-map is in its 'active_pmaps'.
 */
struct zar_pmap {
  avl_node node;          /**< In the 'pmap_tree' of a database while the policy-map is stored. */
  uint32_t handle;        /**< Names this record. */
  sdb_ref name;           /**< The name. */
  sdb_ref domain;         /**< The domain. */
  uint32_t domain_type;   /**< 1: CONTROL; 2: the other kind. */
  uint32_t hidden;        /**< 1 for the built-in policy-map until zar_unhide_policy(), else 0. */
  char *hash_str;         /**< The name key, at most 99 characters. */
  queue_head cmap_refs;   /**< The class-maps that the rules under its events use (#zar_pmap_cmap_ref). */
  queue_head target_refs; /**< The targets on which it is active (#zar_pmap_target_ref), in order of activation. */
  queue_head rule_list;   /**< Its events (#zar_event_tuple), or class-actions (#zar_class_action), as added. */
  uint32_t target_count;  /**< Always 0; nothing updates it. */
};
ZAR_LAYOUT_SIZE(zar_pmap, 152);
ZAR_LAYOUT_FIELD(zar_pmap, handle, 32);
ZAR_LAYOUT_FIELD(zar_pmap, name, 40);
ZAR_LAYOUT_FIELD(zar_pmap, domain, 48);
ZAR_LAYOUT_FIELD(zar_pmap, domain_type, 56);
ZAR_LAYOUT_FIELD(zar_pmap, hidden, 60);
ZAR_LAYOUT_FIELD(zar_pmap, hash_str, 64);
ZAR_LAYOUT_FIELD(zar_pmap, cmap_refs, 72);
ZAR_LAYOUT_FIELD(zar_pmap, target_refs, 96);
ZAR_LAYOUT_FIELD(zar_pmap, rule_list, 120);
ZAR_LAYOUT_FIELD(zar_pmap, target_count, 144);

/** Identifies an event. A caller's event context has the same type; only its 'event_id' is read. */
struct zar_event_context {
  uint32_t event_id;  /**< The number by which the engine knows the event. */
  sdb_ref event_name; /**< The name, for listings. */
};
ZAR_LAYOUT_SIZE(zar_event_context, 16);
ZAR_LAYOUT_FIELD(zar_event_context, event_name, 8);

/**
 * An event of a CONTROL policy-map, with its rules.
 *
 * 1. 'pmap' is NULL exactly while the event is in no rule list, and it is in one at most.
 * 2. 'class_actions' is in ascending order of the class numbers; equal numbers are in order of addition.
 */
struct zar_event_tuple {
  queue_link link;                  /**< In the 'rule_list' of its policy-map. */
  uint32_t handle;                  /**< Names this record. */
  zar_pmap *pmap;                   /**< The policy-map that it was added to, or NULL. */
  uint32_t match_criteria;          /**< How its class-maps are tried: 1 match-all (from the start), 2 match-first. */
  zar_event_context *event_context; /**< Which event it is; NULL while the event is being deleted. */
  queue_head class_actions;         /**< Its rules (#zar_class_action), in order of their class numbers. */
};
ZAR_LAYOUT_SIZE(zar_event_tuple, 64);
ZAR_LAYOUT_FIELD(zar_event_tuple, handle, 8);
ZAR_LAYOUT_FIELD(zar_event_tuple, pmap, 16);
ZAR_LAYOUT_FIELD(zar_event_tuple, match_criteria, 24);
ZAR_LAYOUT_FIELD(zar_event_tuple, event_context, 32);
ZAR_LAYOUT_FIELD(zar_event_tuple, class_actions, 40);

/**
 * A rule: a class-map, and what to do if it matches.
 *
 * 1. It is in one list at most.
 * 2. The elements of 'actions' are live.
 * 3. Under an event of a policy-map, 'cmap' is live, unless there was no memory to count the use.
 */
struct zar_class_action {
  queue_link link;        /**< In the 'class_actions' of an event, or the 'rule_list' of a policy-map not CONTROL. */
  uint32_t handle;        /**< Names this record. */
  uint8_t class_num;      /**< The order key under an event; 0 in a policy-map that is not CONTROL. */
  uint32_t exec_criteria; /**< How its actions run: 1 run-all, 2 stop-on-failure (the default), 3 stop-on-success. */
  zar_cmap *cmap;         /**< The class-map. */
  queue_head actions;     /**< What to do (#zar_action), in order of action numbers unless placed explicitly. */
};
ZAR_LAYOUT_SIZE(zar_class_action, 56);
ZAR_LAYOUT_FIELD(zar_class_action, handle, 8);
ZAR_LAYOUT_FIELD(zar_class_action, class_num, 12);
ZAR_LAYOUT_FIELD(zar_class_action, exec_criteria, 16);
ZAR_LAYOUT_FIELD(zar_class_action, cmap, 24);
ZAR_LAYOUT_FIELD(zar_class_action, actions, 32);

/** A class-map that a policy-map uses; element of 'cmap_refs'. */
struct zar_pmap_cmap_ref {
  queue_link link;    /**< In the 'cmap_refs' of the policy-map. */
  zar_cmap *cmap;     /**< The class-map. */
  uint32_t ref_count; /**< The number of class-actions under the policy-map's events that use it; never 0. */
};
ZAR_LAYOUT_SIZE(zar_pmap_cmap_ref, 24);
ZAR_LAYOUT_FIELD(zar_pmap_cmap_ref, cmap, 8);
ZAR_LAYOUT_FIELD(zar_pmap_cmap_ref, ref_count, 16);

/** @} */

/**
 * @name Class-maps
 * @{
 */

/**
 * A class-map.
 *
 * 1. 'handle', 'name', 'domain', 'domain_type', 'hash_str', 'match_criteria' and 'hidden' never change.
 * 2. A policy-map is in 'pmap_refs' at most once, and only if the class-map is in its 'cmap_refs'. The converse holds
 *    too, unless there was no memory for the reference.
 * 3. The elements of 'filters' are live.
 */
struct zar_cmap {
  avl_node node;             /**< In the 'cmap_tree' of a database while the class-map is stored. */
  uint32_t handle;           /**< Names this record. */
  sdb_ref name;              /**< The name. */
  sdb_ref domain;            /**< The domain. */
  uint32_t domain_type;      /**< 1 or 2, as given by the map info. */
  char *hash_str;            /**< The name key, at most 99 characters. */
  uint32_t match_criteria;   /**< How its filters decide: 1 match-all, 2 match-any, 3 match-none. */
  uint32_t hidden;           /**< 1: hidden, as the class-maps of parameter-map statements are; else 0. */
  queue_head pmap_refs;      /**< The policy-maps with rules that use it (#zar_cmap_pmap_ref). */
  queue_head filters;        /**< Its match statements (#zar_filter), in order of evaluation. */
  uint32_t filter_type_mask; /**< In parameter-maps: bit n (modulo 32) is set once a filter of type n was added. */
};
ZAR_LAYOUT_SIZE(zar_cmap, 136);
ZAR_LAYOUT_FIELD(zar_cmap, handle, 32);
ZAR_LAYOUT_FIELD(zar_cmap, name, 40);
ZAR_LAYOUT_FIELD(zar_cmap, domain, 48);
ZAR_LAYOUT_FIELD(zar_cmap, domain_type, 56);
ZAR_LAYOUT_FIELD(zar_cmap, hash_str, 64);
ZAR_LAYOUT_FIELD(zar_cmap, match_criteria, 72);
ZAR_LAYOUT_FIELD(zar_cmap, hidden, 76);
ZAR_LAYOUT_FIELD(zar_cmap, pmap_refs, 80);
ZAR_LAYOUT_FIELD(zar_cmap, filters, 104);
ZAR_LAYOUT_FIELD(zar_cmap, filter_type_mask, 128);

/** A policy-map that uses a class-map; element of 'pmap_refs'. */
struct zar_cmap_pmap_ref {
  queue_link link; /**< In the 'pmap_refs' of the class-map. */
  zar_pmap *pmap;  /**< The policy-map. */
};
ZAR_LAYOUT_SIZE(zar_cmap_pmap_ref, 16);
ZAR_LAYOUT_FIELD(zar_cmap_pmap_ref, pmap, 8);

/** @} */

/**
 * @name Actions and filters
 * @{
 */

/**
 * An action: what a rule does. Rules share it by counting references.
 *
 * 1. 'ref_count' is at least 1, and not less than the number of times that the action is in a list.
 * 2. The four functions that are required to create an action are present.
 */
struct zar_action {
  queue_link link;                     /**< In the 'actions' of class-actions, or the 'action_queue' of a statement. */
  uint32_t handle;                     /**< Names this record. */
  uint8_t action_num;                  /**< The order key within a rule. */
  uint16_t precedence;                 /**< A second number, for the engine. */
  uint32_t ref_count;                  /**< The number of holders: 1 at creation; the last one frees the action. */
  uint32_t executed_count;             /**< How often it ran: counted by the engine, shown and cleared here. */
  void *action_data;                   /**< The owner's data. */
  zar_free_fn action_free_fn;          /**< Frees the data. */
  zar_action_entry_fn action_entry_fn; /**< Runs the action. */
  zar_action_str_fn action_str_fn;     /**< Gives the configuration text. */
  zar_compare_fn action_compare_fn;    /**< Compares the data with that of another context. */
  zar_action_notify_fn action_notify_fn;                   /**< Notified of activations, or NULL. */
  zar_action_param_map_check_fn action_param_map_check_fn; /**< Checks for a parameter-map, or NULL. */
};
ZAR_LAYOUT_SIZE(zar_action, 80);
ZAR_LAYOUT_FIELD(zar_action, handle, 8);
ZAR_LAYOUT_FIELD(zar_action, action_num, 12);
ZAR_LAYOUT_FIELD(zar_action, precedence, 14);
ZAR_LAYOUT_FIELD(zar_action, ref_count, 16);
ZAR_LAYOUT_FIELD(zar_action, executed_count, 20);
ZAR_LAYOUT_FIELD(zar_action, action_data, 24);
ZAR_LAYOUT_FIELD(zar_action, action_free_fn, 32);
ZAR_LAYOUT_FIELD(zar_action, action_entry_fn, 40);
ZAR_LAYOUT_FIELD(zar_action, action_str_fn, 48);
ZAR_LAYOUT_FIELD(zar_action, action_compare_fn, 56);
ZAR_LAYOUT_FIELD(zar_action, action_notify_fn, 64);
ZAR_LAYOUT_FIELD(zar_action, action_param_map_check_fn, 72);

/**
 * A filter: one match statement of a class-map. The evaluation function comes before the free function, in contrast to
 * the caller's context.
 *
 * 1. The four functions are present.
 */
struct zar_filter {
  queue_link link;                   /**< In the 'filters' of a class-map. */
  uint32_t handle;                   /**< Names this record. */
  void *filter_data;                 /**< The owner's data. */
  zar_filter_eval_fn filter_eval_fn; /**< Evaluates the filter. */
  zar_free_fn filter_free_fn;        /**< Frees the data. */
  zar_filter_str_fn filter_str_fn;   /**< Gives the configuration text. */
  zar_compare_fn filter_compare_fn;  /**< Compares the data with that of another context. */
  uint8_t no_match;                  /**< 0: "match"; anything else: "no-match". */
  uint8_t regex;                     /**< In parameter-maps: whether the text is a regular expression; else 0. */
  uint8_t pmtr_flag_1;               /**< In parameter-maps: a flag for the engine; else 0. */
  uint8_t pmtr_flag_2;               /**< In parameter-maps: the filter type; else 0. */
  uint32_t exec_count;               /**< Evaluations. The engine counts all four; they are shown and cleared here. */
  uint32_t hit_count;                /**< Matches. */
  uint32_t miss_count;               /**< Misses. */
  uint32_t comp_count;               /**< Comparisons. */
};
ZAR_LAYOUT_SIZE(zar_filter, 80);
ZAR_LAYOUT_FIELD(zar_filter, handle, 8);
ZAR_LAYOUT_FIELD(zar_filter, filter_data, 16);
ZAR_LAYOUT_FIELD(zar_filter, filter_eval_fn, 24);
ZAR_LAYOUT_FIELD(zar_filter, filter_free_fn, 32);
ZAR_LAYOUT_FIELD(zar_filter, filter_str_fn, 40);
ZAR_LAYOUT_FIELD(zar_filter, filter_compare_fn, 48);
ZAR_LAYOUT_FIELD(zar_filter, no_match, 56);
ZAR_LAYOUT_FIELD(zar_filter, regex, 57);
ZAR_LAYOUT_FIELD(zar_filter, pmtr_flag_1, 58);
ZAR_LAYOUT_FIELD(zar_filter, pmtr_flag_2, 59);
ZAR_LAYOUT_FIELD(zar_filter, exec_count, 60);
ZAR_LAYOUT_FIELD(zar_filter, hit_count, 64);
ZAR_LAYOUT_FIELD(zar_filter, miss_count, 68);
ZAR_LAYOUT_FIELD(zar_filter, comp_count, 72);

/** @} */

/**
 * @name Targets
 * @{
 */

/**
 * An attachment point on which policy-maps are active.
 *
 * 1. 'handle' is the key in the tree and never changes.
 * 2. A policy-map is in 'active_pmaps' at most once, and exactly when the target is in its 'target_refs'.
 * 3. 'reserved_queue' is empty.
 */
struct zar_target {
  avl_node node;                             /**< In the 'target_tree' of a database until zar_remove_target(). */
  uint32_t handle;                           /**< Names this record, and is its key. */
  zar_target_info *target_info;              /**< The caller's own record; a target without one is broken. */
  queue_head active_pmaps;                   /**< What is active on it (#zar_target_pmap), in order of activation. */
  queue_head reserved_queue;                 /**< Always empty. */
  zar_target_policy_context *policy_context; /**< What the engine keeps for it; NULL until requested. */
};
ZAR_LAYOUT_SIZE(zar_target, 104);
ZAR_LAYOUT_FIELD(zar_target, handle, 32);
ZAR_LAYOUT_FIELD(zar_target, target_info, 40);
ZAR_LAYOUT_FIELD(zar_target, active_pmaps, 48);
ZAR_LAYOUT_FIELD(zar_target, reserved_queue, 72);
ZAR_LAYOUT_FIELD(zar_target, policy_context, 96);

/** A policy-map that is active on a target; element of 'active_pmaps'. */
struct zar_target_pmap {
  queue_link link; /**< In the 'active_pmaps' of the target. */
  zar_pmap *pmap;  /**< The policy-map. */
};
ZAR_LAYOUT_SIZE(zar_target_pmap, 16);
ZAR_LAYOUT_FIELD(zar_target_pmap, pmap, 8);

/** A target on which a policy-map is active; element of 'target_refs'. */
struct zar_pmap_target_ref {
  queue_link link;    /**< In the 'target_refs' of the policy-map. */
  zar_target *target; /**< The target. */
};
ZAR_LAYOUT_SIZE(zar_pmap_target_ref, 16);
ZAR_LAYOUT_FIELD(zar_pmap_target_ref, target, 8);

/** What the engine keeps for a target. The engine may write all fields but 'handle'. */
struct zar_target_policy_context {
  uint32_t handle;     /**< Names this record. */
  void *ae_context;    /**< The engine's, or NULL; released through the engine when the target is deleted. */
  void *engine_word_1; /**< The engine's; 0 at first, never read here. */
  void *engine_word_2; /**< The engine's; 0 at first, never read here. */
};
ZAR_LAYOUT_SIZE(zar_target_policy_context, 32);
ZAR_LAYOUT_FIELD(zar_target_policy_context, ae_context, 8);
ZAR_LAYOUT_FIELD(zar_target_policy_context, engine_word_1, 16);
ZAR_LAYOUT_FIELD(zar_target_policy_context, engine_word_2, 24);

/** @} */

/**
 * @name Parameter-maps
 * @{
 */

/**
 * A parameter-map.
 *
 * 1. 'handle', 'name', 'domain', 'domain_type' and 'hash_str' never change.
 * 2. 'stmt_queue' is in ascending order of the map-indices; equal ones are in order of addition.
 */
struct zar_pmtr_map {
  avl_node node;         /**< In the 'pmtr_map_tree' of a database while the parameter-map is stored. */
  uint32_t handle;       /**< Names this record. */
  sdb_ref name;          /**< The name. */
  uint32_t domain_type;  /**< 1 or 2, as given by the map info. */
  sdb_ref domain;        /**< The domain. */
  char *hash_str;        /**< The name key, at most 99 characters. */
  queue_head stmt_queue; /**< Its statements (#zar_pmtr_map_stmt), in order of their map-indices. */
  uint8_t hidden;        /**< 1 if the engine's built-in template name begins with the name, until unhidden; else 0. */
};
ZAR_LAYOUT_SIZE(zar_pmtr_map, 104);
ZAR_LAYOUT_FIELD(zar_pmtr_map, handle, 32);
ZAR_LAYOUT_FIELD(zar_pmtr_map, name, 40);
ZAR_LAYOUT_FIELD(zar_pmtr_map, domain_type, 48);
ZAR_LAYOUT_FIELD(zar_pmtr_map, domain, 56);
ZAR_LAYOUT_FIELD(zar_pmtr_map, hash_str, 64);
ZAR_LAYOUT_FIELD(zar_pmtr_map, stmt_queue, 72);
ZAR_LAYOUT_FIELD(zar_pmtr_map, hidden, 96);

/**
 * A statement of a parameter-map: filters, in a hidden class-map of its own, and actions.
 *
 * 1. 'action_queue' is in ascending order of the action numbers; equal ones are in order of addition. All are live.
 */
struct zar_pmtr_map_stmt {
  queue_link link;         /**< In the 'stmt_queue' of its parameter-map. */
  uint32_t map_index;      /**< The number of the statement. */
  uint32_t internal_cmap;  /**< Handle of the hidden class-map, deleted with the statement. */
  queue_head action_queue; /**< What to do (#zar_action), in order of action numbers. */
};
ZAR_LAYOUT_SIZE(zar_pmtr_map_stmt, 40);
ZAR_LAYOUT_FIELD(zar_pmtr_map_stmt, map_index, 8);
ZAR_LAYOUT_FIELD(zar_pmtr_map_stmt, internal_cmap, 12);
ZAR_LAYOUT_FIELD(zar_pmtr_map_stmt, action_queue, 16);

/** @} */
/** @} */

/*
 * A record of any map kind can be inserted into any map tree under its name key, so the fields that the trees and the
 * by-name operations read are at the same offsets in all three.
 */
ZAR_LAYOUT_ASSERT(offsetof(zar_pmap, hash_str) == offsetof(zar_cmap, hash_str));
ZAR_LAYOUT_ASSERT(offsetof(zar_pmap, hash_str) == offsetof(zar_pmtr_map, hash_str));
ZAR_LAYOUT_ASSERT(offsetof(zar_pmap, handle) == offsetof(zar_cmap, handle));
ZAR_LAYOUT_ASSERT(offsetof(zar_pmap, handle) == offsetof(zar_pmtr_map, handle));
ZAR_LAYOUT_ASSERT(offsetof(zar_pmap, name) == offsetof(zar_cmap, name));
ZAR_LAYOUT_ASSERT(offsetof(zar_pmap, name) == offsetof(zar_pmtr_map, name));

#ifdef __cplusplus
}
#endif

#endif
