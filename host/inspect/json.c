/* The picture for programs; share/schema/inspect.json describes it. */
#include <stdio.h>

#include "host/inspect/contents.h"
#include "host/inspect/render.h"

/* A number as a text: targets may have identifiers that are too large for the numbers of JSON. */
typedef struct Digits {
  char text[24];
} Digits;

static Digits digits_of(uint64_t number) {
  Digits digits;
  snprintf(digits.text, sizeof digits.text, "%llu", (unsigned long long)number);
  return digits;
}

static void open_list(Output *out, const char *key) {
  zar_inspect_key(out, key);
  zar_inspect_open(out, "[");
}

static void write_element(Output *out, const char *text) {
  zar_inspect_element(out, &text, 1);
}

/* ---- Actions, rules, events ---- */

static void write_action(Output *out, const zar_action *action) {
  char *text = zar_get_action_nvgen_str(action->handle, 0);
  zar_inspect_open(out, "{");
  zar_inspect_number(out, "handle", action->handle);
  zar_inspect_number(out, "number", action->action_num);
  zar_inspect_number(out, "precedence", action->precedence);
  zar_inspect_text(out, "text", text);
  zar_inspect_number(out, "holders", action->ref_count);
  zar_inspect_number(out, "executed", action->executed_count);
  zar_inspect_close(out, "}");
  bfree_named(text);
}

static void write_actions(Output *out, const queue_head *actions) {
  queue_cursor cursor = {0};
  open_list(out, "actions");
  for (const zar_action *action = NULL; (action = queue_get_next(actions, &cursor));)
    write_action(out, action);
  zar_inspect_close(out, "]");
}

static void write_rules(Output *out, const zar_pmap *map, const queue_head *rules) {
  queue_cursor cursor = {0};
  open_list(out, "rules");
  for (const zar_class_action *rule = NULL; (rule = queue_get_next(rules, &cursor));) {
    zar_inspect_open(out, "{");
    zar_inspect_number(out, "handle", rule->handle);
    zar_inspect_number(out, "number", rule->class_num);
    zar_inspect_text(out, "class", zar_inspect_class_of(map, rule));
    zar_inspect_text(out, "execute", zar_inspect_exec_criteria(rule->exec_criteria));
    write_actions(out, &rule->actions);
    zar_inspect_close(out, "}");
  }
  zar_inspect_close(out, "]");
}

static void write_events(Output *out, const zar_pmap *map) {
  queue_cursor cursor = {0};
  open_list(out, "events");
  for (const zar_event_tuple *event = NULL; (event = queue_get_next(&map->rule_list, &cursor));) {
    zar_inspect_open(out, "{");
    zar_inspect_number(out, "handle", event->handle);
    zar_inspect_number(out, "id", zar_get_event_id(event->handle));
    zar_inspect_text(out, "name", zar_get_event_name(event->handle));
    zar_inspect_text(out, "match", zar_inspect_event_criteria(event->match_criteria));
    write_rules(out, map, &event->class_actions);
    zar_inspect_close(out, "}");
  }
  zar_inspect_close(out, "]");
}

/* ---- Objects ---- */

static void begin_object(Output *out, const char *kind, const zar_client_data *owner) {
  zar_inspect_open(out, "{");
  zar_inspect_text(out, "kind", kind);
  zar_inspect_text(out, "database", owner == zar_inspect_client(0) ? NULL : owner->name);
  open_list(out, "used_by");
}

/* After the users comes the object itself, which begins with its handle. */
static void end_users(Output *out, uint32_t handle) {
  zar_inspect_close(out, "]");
  zar_inspect_key(out, "object");
  zar_inspect_open(out, "{");
  zar_inspect_number(out, "handle", handle);
}

static void end_object(Output *out) {
  zar_inspect_close(out, "}");
  zar_inspect_close(out, "}");
}

static void write_stranger(Output *out, const char *kind, const zar_client_data *owner, uint32_t handle) {
  begin_object(out, kind, owner);
  end_users(out, handle);
  end_object(out);
}

static void write_names(Output *out, const char *name, sdb_ref domain, uint32_t domain_type, bool hidden) {
  zar_inspect_text(out, "name", name);
  zar_inspect_text(out, "domain", zar_inspect_interned(domain));
  zar_inspect_text(out, "type", zar_inspect_domain_type(domain_type));
  zar_inspect_bool(out, "hidden", hidden);
}

static void write_places(Output *out, const zar_pmap *map) {
  queue_cursor cursor = {0};
  for (const zar_pmap_target_ref *ref = NULL; (ref = queue_get_next(&map->target_refs, &cursor));)
    write_element(out, digits_of(zar_inspect_target_id(ref->target)).text);
}

static void write_policy(Output *out, const zar_client_data *owner, const zar_pmap *map) {
  const char *name = zar_inspect_pmap_name(map);
  if (!name) {
    write_stranger(out, "policy-map", owner, map->handle);
    return;
  }
  begin_object(out, "policy-map", owner);
  write_places(out, map);
  end_users(out, map->handle);
  write_names(out, name, map->domain, map->domain_type, map->hidden != 0);
  if (zar_inspect_is_control(map))
    write_events(out, map);
  else
    write_rules(out, map, &map->rule_list);
  end_object(out);
}

/* The rules of an event that use the class-map: POLICY/EVENT/NUMBER. */
static void write_uses_in(Output *out, const zar_pmap *policy, const zar_event_tuple *event, const zar_cmap *map) {
  queue_cursor cursor = {0};
  for (const zar_class_action *rule = NULL; (rule = queue_get_next(&event->class_actions, &cursor));) {
    if (rule->cmap != map) continue;
    const Digits number = digits_of(rule->class_num);
    const char *const texts[] = {zar_inspect_interned(policy->name), "/", zar_get_event_name(event->handle), "/",
                                 number.text};
    zar_inspect_element(out, texts, sizeof texts / sizeof texts[0]);
  }
}

static void write_uses(Output *out, const zar_cmap *map) {
  queue_cursor cursor = {0};
  for (const zar_cmap_pmap_ref *ref = NULL; (ref = queue_get_next(&map->pmap_refs, &cursor));) {
    if (!zar_inspect_is_control(ref->pmap)) continue;
    queue_cursor at = {0};
    for (const zar_event_tuple *event = NULL; (event = queue_get_next(&ref->pmap->rule_list, &at));)
      write_uses_in(out, ref->pmap, event, map);
  }
}

static void write_filters(Output *out, const zar_cmap *map) {
  queue_cursor cursor = {0};
  open_list(out, "filters");
  for (const zar_filter *filter = NULL; map && (filter = queue_get_next(&map->filters, &cursor));) {
    char *text = zar_get_filter_nvgen_str(filter->handle);
    zar_inspect_open(out, "{");
    zar_inspect_number(out, "handle", filter->handle);
    zar_inspect_text(out, "text", text);
    zar_inspect_bool(out, "no_match", filter->no_match != 0);
    zar_inspect_number(out, "executed", filter->exec_count);
    zar_inspect_number(out, "hits", filter->hit_count);
    zar_inspect_number(out, "misses", filter->miss_count);
    zar_inspect_number(out, "comparisons", filter->comp_count);
    zar_inspect_close(out, "}");
    bfree_named(text);
  }
  zar_inspect_close(out, "]");
}

static void write_class(Output *out, const zar_client_data *owner, const zar_cmap *map) {
  const char *name = zar_inspect_cmap_name(map);
  if (!name) {
    write_stranger(out, "class-map", owner, map->handle);
    return;
  }
  begin_object(out, "class-map", owner);
  write_uses(out, map);
  end_users(out, map->handle);
  write_names(out, name, map->domain, map->domain_type, map->hidden != 0);
  zar_inspect_text(out, "match", zar_inspect_class_criteria(map->match_criteria));
  write_filters(out, map);
  end_object(out);
}

static void write_statements(Output *out, const zar_pmtr_map *map) {
  queue_cursor cursor = {0};
  open_list(out, "statements");
  for (const zar_pmtr_map_stmt *statement = NULL; (statement = queue_get_next(&map->stmt_queue, &cursor));) {
    zar_inspect_open(out, "{");
    zar_inspect_number(out, "index", statement->map_index);
    write_filters(out, zar_inspect_class_of_statement(statement));
    write_actions(out, &statement->action_queue);
    zar_inspect_close(out, "}");
  }
  zar_inspect_close(out, "]");
}

static void write_parameter_map(Output *out, const zar_client_data *owner, const zar_pmtr_map *map) {
  const char *name = zar_inspect_pmtr_map_name(map);
  if (!name) {
    write_stranger(out, "parameter-map", owner, map->handle);
    return;
  }
  begin_object(out, "parameter-map", owner);
  end_users(out, map->handle);
  write_names(out, name, map->domain, map->domain_type, map->hidden != 0);
  write_statements(out, map);
  end_object(out);
}

static void write_target(Output *out, const zar_client_data *owner, const zar_target *target) {
  begin_object(out, "target", owner);
  end_users(out, target->handle);
  zar_inspect_text(out, "id", digits_of(zar_inspect_target_id(target)).text);
  zar_inspect_number(out, "context", target->policy_context ? target->policy_context->handle : 0);
  queue_cursor cursor = {0};
  open_list(out, "policies");
  for (const zar_target_pmap *active = NULL; (active = queue_get_next(&target->active_pmaps, &cursor));)
    write_element(out, zar_inspect_pmap_name(active->pmap));
  zar_inspect_close(out, "]");
  end_object(out);
}

static void write_database(Output *out, const zar_client_data *owner) {
  zar_db *database = owner->database;
  for (zar_pmap *map = zar_inspect_first_pmap(database); map; map = zar_inspect_next_pmap(database, map))
    write_policy(out, owner, map);
  for (zar_cmap *map = zar_inspect_first_cmap(database); map; map = zar_inspect_next_cmap(database, map))
    write_class(out, owner, map);
  for (zar_pmtr_map *map = zar_inspect_first_pmtr_map(database); map; map = zar_inspect_next_pmtr_map(database, map))
    write_parameter_map(out, owner, map);
  for (zar_target *target = zar_inspect_first_target(database); target;
       target = zar_inspect_next_target(database, target))
    write_target(out, owner, target);
}

/* ---- Clients and domains ---- */

static void write_clients(Output *out) {
  open_list(out, "clients");
  for (uint32_t index = 0; index < zar_current_max_clients; ++index) {
    const zar_client_data *client = zar_inspect_client(index);
    if (!client) continue;
    zar_inspect_open(out, "{");
    zar_inspect_text(out, "name", client->name);
    zar_inspect_text(out, "database", client->database ? "own" : "default");
    zar_inspect_number(out, "clid", client->clid);
    zar_inspect_bool(out, "active", client->status == 1);
    zar_inspect_close(out, "}");
  }
  zar_inspect_close(out, "]");
}

static void write_domains(Output *out) {
  queue_cursor cursor = {0};
  open_list(out, "domains");
  for (const zar_domain_entry *domain = NULL; (domain = queue_get_next(&zar_domain_list, &cursor));) {
    zar_inspect_open(out, "{");
    zar_inspect_text(out, "name", domain->domain);
    zar_inspect_text(out, "owner", zar_inspect_client_name(domain->owner_clid));
    zar_inspect_close(out, "}");
  }
  zar_inspect_close(out, "]");
}

static void write_handles(Output *out, uint32_t n_handles) {
  zar_inspect_key(out, "handles");
  zar_inspect_open(out, "{");
  zar_inspect_number(out, "in_databases", n_handles);
  zar_inspect_number(out, "limit", kHandleLimit);
  zar_inspect_close(out, "}");
}

void zar_inspect_write_json(Output *out, uint32_t n_handles) {
  zar_inspect_open(out, "{");
  zar_inspect_number(out, "schema_version", 1);
  zar_inspect_text(out, "command", "inspect");
  write_handles(out, n_handles);
  write_clients(out);
  write_domains(out);
  open_list(out, "objects");
  for (uint32_t index = 0; index < zar_current_max_clients; ++index) {
    const zar_client_data *client = zar_inspect_shows_database(index);
    if (client) write_database(out, client);
  }
  zar_inspect_close(out, "]");
  zar_inspect_close(out, "}");
  zar_inspect_put(out, "\n");
}
