#include "host/inspect/contents.h"

/* ---- Clients and their databases ---- */

const zar_client_data *zar_inspect_client(uint32_t index) {
  return zar_clients_info[index];
}

const char *zar_inspect_client_name(uint32_t clid) {
  if (clid == 0 || clid > zar_current_max_clients) return NULL;
  const zar_client_data *client = zar_inspect_client(clid - 1);
  return client ? client->name : NULL;
}

const zar_client_data *zar_inspect_shows_database(uint32_t index) {
  const zar_client_data *client = zar_inspect_client(index);
  if (!client || !client->database) return NULL;
  for (uint32_t earlier = 0; earlier < index; ++earlier) {
    const zar_client_data *other = zar_inspect_client(earlier);
    if (other && other->database == client->database) return NULL;
  }
  return client;
}

/* ---- Maps and targets ---- */

zar_pmap *zar_inspect_first_pmap(zar_db *database) {
  zar_pmap *first = NULL;
  zar_avl_get_first_pmap(database, &first);
  return first;
}

zar_pmap *zar_inspect_next_pmap(zar_db *database, zar_pmap *map) {
  zar_pmap *next = NULL;
  zar_avl_get_next_pmap(database, map, &next);
  return next;
}

zar_cmap *zar_inspect_first_cmap(zar_db *database) {
  zar_cmap *first = NULL;
  zar_avl_get_first_cmap(database, &first);
  return first;
}

zar_cmap *zar_inspect_next_cmap(zar_db *database, zar_cmap *map) {
  zar_cmap *next = NULL;
  zar_avl_get_next_cmap(database, map, &next);
  return next;
}

zar_pmtr_map *zar_inspect_first_pmtr_map(zar_db *database) {
  zar_pmtr_map *first = NULL;
  zar_avl_get_first_pmtr_map(database, &first);
  return first;
}

zar_pmtr_map *zar_inspect_next_pmtr_map(zar_db *database, zar_pmtr_map *map) {
  zar_pmtr_map *next = NULL;
  zar_avl_get_next_pmtr_map(database, map, &next);
  return next;
}

/* No operation walks the targets of a database, so the platform's services do. */
zar_target *zar_inspect_first_target(zar_db *database) {
  void *first = NULL;
  if (database->target_tree) i_avl_get_first(database->target_tree->top.parent, &first);
  return first;
}

zar_target *zar_inspect_next_target(zar_db *database, zar_target *target) {
  void *next = NULL;
  i_avl_get_next(database->target_tree, target, &next);
  return next;
}

uint64_t zar_inspect_target_id(const zar_target *target) {
  return target->target_info ? target->target_info->target_id : 0;
}

/* ---- Names ---- */

const char *zar_inspect_pmap_name(const zar_pmap *map) {
  return zar_get_pmap_name(map->handle);
}

const char *zar_inspect_cmap_name(const zar_cmap *map) {
  return zar_get_cmap_name(map->handle);
}

const char *zar_inspect_pmtr_map_name(const zar_pmtr_map *map) {
  return zar_get_pmtr_map_name(map->handle);
}

const char *zar_inspect_interned(sdb_ref text) {
  return text ? sdb_string_addr_ptr(text) : NULL;
}

/* ---- Rules and statements ---- */

bool zar_inspect_is_control(const zar_pmap *map) {
  return map->domain_type == ZAR_DOMAIN_CONTROL;
}

static bool is_stored_in(zar_db *database, const zar_cmap *wanted) {
  for (zar_cmap *map = zar_inspect_first_cmap(database); map; map = zar_inspect_next_cmap(database, map))
    if (map == wanted) return true;
  return false;
}

static bool is_stored(const zar_cmap *wanted) {
  for (uint32_t index = 0; index < zar_current_max_clients; ++index) {
    const zar_client_data *client = zar_inspect_shows_database(index);
    if (client && is_stored_in(client->database, wanted)) return true;
  }
  return false;
}

const char *zar_inspect_class_of(const zar_pmap *map, const zar_class_action *rule) {
  if (!rule->cmap) return NULL;
  if (!zar_inspect_is_control(map) && !is_stored(rule->cmap)) return NULL;
  return zar_inspect_cmap_name(rule->cmap);
}

const zar_cmap *zar_inspect_class_of_statement(const zar_pmtr_map_stmt *statement) {
  if (!zar_get_cmap_name(statement->internal_cmap)) return NULL;
  return zar_handle_get_context(statement->internal_cmap);
}

/* ---- Words ---- */

const char *zar_inspect_class_criteria(uint32_t criteria) {
  switch (criteria) {
    case ZAR_CLASS_MATCH_ALL:
      return "match-all";
    case ZAR_CLASS_MATCH_ANY:
      return "match-any";
    case ZAR_CLASS_MATCH_NONE:
      return "match-none";
    default:
      return "unknown";
  }
}

const char *zar_inspect_event_criteria(uint32_t criteria) {
  switch (criteria) {
    case ZAR_EVENT_MATCH_ALL:
      return "match-all";
    case ZAR_EVENT_MATCH_FIRST:
      return "match-first";
    default:
      return "unknown";
  }
}

const char *zar_inspect_exec_criteria(uint32_t criteria) {
  switch (criteria) {
    case ZAR_EXEC_RUN_ALL:
      return "run-all";
    case ZAR_EXEC_STOP_ON_FAILURE:
      return "stop-on-failure";
    case ZAR_EXEC_STOP_ON_SUCCESS:
      return "stop-on-success";
    default:
      return "unknown";
  }
}

const char *zar_inspect_domain_type(uint32_t domain_type) {
  return domain_type == ZAR_DOMAIN_CONTROL ? "control" : "other";
}
