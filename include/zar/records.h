/*
 * The records of the repository, as the engine and the clients read them behind a handle.
 *
 * Every record belongs to the repository from its creation to its deletion. Others may read any field and may write the
 * counters ('executed_count' of an action, the four counts of a filter) and the engine's words of a target's policy
 * context; every other field is written by the library alone.
 */
#ifndef ZAR_RECORDS_H
#define ZAR_RECORDS_H

#include "zar/types.h"

#ifdef __cplusplus
extern "C" {
#endif

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

/* One database: four keyed trees. Maps are keyed by their name key, targets by their handle. */
struct zar_db {
  avl_tree *pmap_tree;
  avl_tree *cmap_tree;
  avl_tree *target_tree;
  avl_tree *pmtr_map_tree;
};
ZAR_LAYOUT_SIZE(zar_db, 32);
ZAR_LAYOUT_FIELD(zar_db, cmap_tree, 8);
ZAR_LAYOUT_FIELD(zar_db, target_tree, 16);
ZAR_LAYOUT_FIELD(zar_db, pmtr_map_tree, 24);

/* One registered client, at index clid - 1 of the client table. */
struct zar_client_data {
  uint32_t status; /* 1: active; anything else: inactive */
  char *name;      /* owned copy; NULL when the copy failed at registration */
  uint32_t clid;
  zar_target_policy_removal_fn removal_vector; /* NULL until registered */
  zar_db *database;                            /* the client's own, or NULL: it works in the default database */
};
ZAR_LAYOUT_SIZE(zar_client_data, 40);
ZAR_LAYOUT_FIELD(zar_client_data, name, 8);
ZAR_LAYOUT_FIELD(zar_client_data, clid, 16);
ZAR_LAYOUT_FIELD(zar_client_data, removal_vector, 24);
ZAR_LAYOUT_FIELD(zar_client_data, database, 32);

/* One claimed domain; element of 'zar_domain_list', in the order of the claims. */
struct zar_domain_entry {
  queue_link link;
  char *domain; /* owned copy */
  uint32_t owner_clid;
};
ZAR_LAYOUT_SIZE(zar_domain_entry, 24);
ZAR_LAYOUT_FIELD(zar_domain_entry, domain, 8);
ZAR_LAYOUT_FIELD(zar_domain_entry, owner_clid, 16);

/* A policy-map. */
struct zar_pmap {
  avl_node node; /* in 'pmap_tree' of a database while stored */
  uint32_t handle;
  sdb_ref name;
  sdb_ref domain;
  uint32_t domain_type;   /* 1: CONTROL */
  uint32_t hidden;        /* 1 for the built-in policy-map until it is unhidden */
  char *hash_str;         /* the name key "name:domain:type", at most 99 characters */
  queue_head cmap_refs;   /* zar_pmap_cmap_ref: the class-maps that its rules use */
  queue_head target_refs; /* zar_pmap_target_ref: the targets on which it is active */
  queue_head rule_list;   /* CONTROL: zar_event_tuple in order of addition; else zar_class_action */
  uint32_t target_count;  /* 0 from creation on; nothing counts in it */
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

/* A class-map. */
struct zar_cmap {
  avl_node node; /* in 'cmap_tree' of a database while stored */
  uint32_t handle;
  sdb_ref name;
  sdb_ref domain;
  uint32_t domain_type;
  char *hash_str;            /* the name key */
  uint32_t match_criteria;   /* 1 match-all, 2 match-any, 3 match-none */
  uint32_t hidden;           /* 1: the internal class-map of a parameter-map statement */
  queue_head pmap_refs;      /* zar_cmap_pmap_ref: the policy-maps whose rules use it */
  queue_head filters;        /* zar_filter in order of evaluation */
  uint32_t filter_type_mask; /* hidden class-maps: bit n is set when a filter of type n was added */
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

/* An action: what a rule does. Shared by reference count between rules. */
struct zar_action {
  queue_link link; /* in the action list of a class-action or of a parameter-map statement */
  uint32_t handle;
  uint8_t action_num; /* order key within a rule */
  uint16_t precedence;
  uint32_t ref_count;      /* 1 at creation; the record dies when it reaches 0 */
  uint32_t executed_count; /* counted by the engine, printed and cleared by the show and clear operations */
  void *action_data;
  zar_free_fn action_free_fn;
  zar_action_entry_fn action_entry_fn;
  zar_action_str_fn action_str_fn;
  zar_compare_fn action_compare_fn;
  zar_action_notify_fn action_notify_fn;
  zar_action_param_map_check_fn action_param_map_check_fn;
};
ZAR_LAYOUT_SIZE(zar_action, 80);
ZAR_LAYOUT_FIELD(zar_action, handle, 8);
ZAR_LAYOUT_FIELD(zar_action, action_num, 12);
ZAR_LAYOUT_FIELD(zar_action, precedence, 14);
ZAR_LAYOUT_FIELD(zar_action, ref_count, 16);
ZAR_LAYOUT_FIELD(zar_action, executed_count, 20);
ZAR_LAYOUT_FIELD(zar_action, action_data, 24);
ZAR_LAYOUT_FIELD(zar_action, action_free_fn, 32);

/* A filter: one match statement of a class-map. The evaluation function stands before the free function, the other way
 * round than in the caller's context. */
struct zar_filter {
  queue_link link; /* in the filter list of a class-map */
  uint32_t handle;
  void *filter_data;
  zar_filter_eval_fn filter_eval_fn;
  zar_free_fn filter_free_fn;
  zar_filter_str_fn filter_str_fn;
  zar_compare_fn filter_compare_fn;
  uint8_t no_match;    /* 0: "match"; anything else: "no-match" */
  uint8_t regex;       /* parameter-map filters: the text is a regular expression */
  uint8_t pmtr_flag_1; /* parameter-map filters: opaque */
  uint8_t pmtr_flag_2; /* parameter-map filters: the filter type */
  uint32_t exec_count; /* the four counts are the engine's; the show and clear operations print and clear them */
  uint32_t hit_count;
  uint32_t miss_count;
  uint32_t comp_count;
};
ZAR_LAYOUT_SIZE(zar_filter, 80);
ZAR_LAYOUT_FIELD(zar_filter, handle, 8);
ZAR_LAYOUT_FIELD(zar_filter, filter_data, 16);
ZAR_LAYOUT_FIELD(zar_filter, filter_eval_fn, 24);
ZAR_LAYOUT_FIELD(zar_filter, filter_free_fn, 32);
ZAR_LAYOUT_FIELD(zar_filter, no_match, 56);
ZAR_LAYOUT_FIELD(zar_filter, pmtr_flag_2, 59);
ZAR_LAYOUT_FIELD(zar_filter, exec_count, 60);
ZAR_LAYOUT_FIELD(zar_filter, comp_count, 72);

/* What an event is. A caller's event context has the same type; only its 'event_id' is read. */
struct zar_event_context {
  uint32_t event_id;
  sdb_ref event_name;
};
ZAR_LAYOUT_SIZE(zar_event_context, 16);
ZAR_LAYOUT_FIELD(zar_event_context, event_name, 8);

/* An event of a CONTROL policy-map with its rules. */
struct zar_event_tuple {
  queue_link link; /* in the rule list of its policy-map */
  uint32_t handle;
  zar_pmap *pmap;          /* NULL until the event is added to a policy-map */
  uint32_t match_criteria; /* 1 match-all, 2 match-first */
  zar_event_context *event_context;
  queue_head class_actions; /* zar_class_action in class-number order */
};
ZAR_LAYOUT_SIZE(zar_event_tuple, 64);
ZAR_LAYOUT_FIELD(zar_event_tuple, handle, 8);
ZAR_LAYOUT_FIELD(zar_event_tuple, pmap, 16);
ZAR_LAYOUT_FIELD(zar_event_tuple, match_criteria, 24);
ZAR_LAYOUT_FIELD(zar_event_tuple, event_context, 32);
ZAR_LAYOUT_FIELD(zar_event_tuple, class_actions, 40);

/* A rule: a class-map and what to do when it matches. */
struct zar_class_action {
  queue_link link; /* under an event, or in the rule list of a policy-map that is not CONTROL */
  uint32_t handle;
  uint8_t class_num;      /* order key under an event */
  uint32_t exec_criteria; /* 1 run-all, 2 stop-on-failure (the default), 3 stop-on-success */
  zar_cmap *cmap;
  queue_head actions; /* zar_action in action-number order */
};
ZAR_LAYOUT_SIZE(zar_class_action, 56);
ZAR_LAYOUT_FIELD(zar_class_action, handle, 8);
ZAR_LAYOUT_FIELD(zar_class_action, class_num, 12);
ZAR_LAYOUT_FIELD(zar_class_action, exec_criteria, 16);
ZAR_LAYOUT_FIELD(zar_class_action, cmap, 24);
ZAR_LAYOUT_FIELD(zar_class_action, actions, 32);

/* A class-map that a policy-map uses; element of 'cmap_refs'. */
struct zar_pmap_cmap_ref {
  queue_link link;
  zar_cmap *cmap;
  uint32_t ref_count; /* the rules under the policy-map's events that use the class-map */
};
ZAR_LAYOUT_SIZE(zar_pmap_cmap_ref, 24);
ZAR_LAYOUT_FIELD(zar_pmap_cmap_ref, cmap, 8);
ZAR_LAYOUT_FIELD(zar_pmap_cmap_ref, ref_count, 16);

/* A policy-map that uses a class-map; element of 'pmap_refs', at most once for each policy-map. */
struct zar_cmap_pmap_ref {
  queue_link link;
  zar_pmap *pmap;
};
ZAR_LAYOUT_SIZE(zar_cmap_pmap_ref, 16);
ZAR_LAYOUT_FIELD(zar_cmap_pmap_ref, pmap, 8);

/* An attachment point on which policy-maps are active. */
struct zar_target {
  avl_node node; /* in 'target_tree' of a database while it is stored there */
  uint32_t handle;
  zar_target_info *target_info; /* the caller's; a target without one is refused everywhere */
  queue_head active_pmaps;      /* zar_target_pmap in order of activation */
  queue_head reserved_queue;    /* always empty */
  zar_target_policy_context *policy_context;
};
ZAR_LAYOUT_SIZE(zar_target, 104);
ZAR_LAYOUT_FIELD(zar_target, handle, 32);
ZAR_LAYOUT_FIELD(zar_target, target_info, 40);
ZAR_LAYOUT_FIELD(zar_target, active_pmaps, 48);
ZAR_LAYOUT_FIELD(zar_target, reserved_queue, 72);
ZAR_LAYOUT_FIELD(zar_target, policy_context, 96);

/* A policy-map that is active on a target; element of 'active_pmaps'. */
struct zar_target_pmap {
  queue_link link;
  zar_pmap *pmap;
};
ZAR_LAYOUT_SIZE(zar_target_pmap, 16);
ZAR_LAYOUT_FIELD(zar_target_pmap, pmap, 8);

/* A target on which a policy-map is active; element of 'target_refs'. */
struct zar_pmap_target_ref {
  queue_link link;
  zar_target *target;
};
ZAR_LAYOUT_SIZE(zar_pmap_target_ref, 16);
ZAR_LAYOUT_FIELD(zar_pmap_target_ref, target, 8);

/* What the engine keeps for a target. All but 'handle' is the engine's to write. */
struct zar_target_policy_context {
  uint32_t handle;
  void *ae_context; /* released through kel_free_all_policy_ae_context when the target is deleted */
  void *engine_word_1;
  void *engine_word_2;
};
ZAR_LAYOUT_SIZE(zar_target_policy_context, 32);
ZAR_LAYOUT_FIELD(zar_target_policy_context, ae_context, 8);
ZAR_LAYOUT_FIELD(zar_target_policy_context, engine_word_2, 24);

/* A parameter-map. */
struct zar_pmtr_map {
  avl_node node; /* in 'pmtr_map_tree' of a database while stored */
  uint32_t handle;
  sdb_ref name;
  uint32_t domain_type;
  sdb_ref domain;
  char *hash_str;        /* the name key */
  queue_head stmt_queue; /* zar_pmtr_map_stmt in map-index order */
  uint8_t hidden;        /* 1 when the name is a leading part of the engine's built-in template name */
};
ZAR_LAYOUT_SIZE(zar_pmtr_map, 104);
ZAR_LAYOUT_FIELD(zar_pmtr_map, handle, 32);
ZAR_LAYOUT_FIELD(zar_pmtr_map, name, 40);
ZAR_LAYOUT_FIELD(zar_pmtr_map, domain_type, 48);
ZAR_LAYOUT_FIELD(zar_pmtr_map, domain, 56);
ZAR_LAYOUT_FIELD(zar_pmtr_map, hash_str, 64);
ZAR_LAYOUT_FIELD(zar_pmtr_map, stmt_queue, 72);
ZAR_LAYOUT_FIELD(zar_pmtr_map, hidden, 96);

/* A statement of a parameter-map: filters, in a hidden class-map of its own, and actions. */
struct zar_pmtr_map_stmt {
  queue_link link; /* in 'stmt_queue' of its parameter-map */
  uint32_t map_index;
  uint32_t internal_cmap;  /* handle of the hidden class-map */
  queue_head action_queue; /* zar_action in action-number order */
};
ZAR_LAYOUT_SIZE(zar_pmtr_map_stmt, 40);
ZAR_LAYOUT_FIELD(zar_pmtr_map_stmt, map_index, 8);
ZAR_LAYOUT_FIELD(zar_pmtr_map_stmt, internal_cmap, 12);
ZAR_LAYOUT_FIELD(zar_pmtr_map_stmt, action_queue, 16);

/* A record of any map kind can be entered into any map tree under its name key, so the fields that the trees and the
 * by-name operations read stand at the same place in all three, and the handle of a target with them. */
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
