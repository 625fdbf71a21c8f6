/* The picture for people: a line for each object, indented below what holds it. */
#include "host/inspect/contents.h"
#include "host/inspect/render.h"

/* Begins a line. */
static void begin(Output *out, unsigned depth, const char *word) {
  for (; depth > 0; --depth)
    zar_inspect_put(out, "  ");
  zar_inspect_put(out, word);
}

static void end(Output *out) {
  zar_inspect_put(out, "\n");
}

/* Words that follow others in a line. */
static void add(Output *out, const char *word) {
  zar_inspect_put(out, " ");
  zar_inspect_put(out, word);
}

static void add_name(Output *out, const char *name, const char *otherwise) {
  zar_inspect_put(out, " ");
  if (name)
    zar_inspect_put_name(out, name);
  else
    zar_inspect_put(out, otherwise);
}

static void add_count(Output *out, const char *word, uint32_t count) {
  zar_inspect_putf(out, ", %s %lu", word, (unsigned long)count);
}

static void end_with_handle(Output *out, uint32_t handle) {
  zar_inspect_putf(out, ", handle 0x%lx\n", (unsigned long)handle);
}

/* ---- Actions, rules, events ---- */

static void write_action(Output *out, unsigned depth, const zar_action *action) {
  char *text = zar_get_action_nvgen_str(action->handle, 0);
  begin(out, depth, "action");
  zar_inspect_putf(out, " %u", action->action_num);
  add_name(out, text, "(no text)");
  bfree_named(text);
  add_count(out, "precedence", action->precedence);
  add_count(out, "executed", action->executed_count);
  if (action->ref_count > 1) add_count(out, "holders", action->ref_count);
  end_with_handle(out, action->handle);
}

static void write_actions(Output *out, unsigned depth, const queue_head *actions) {
  queue_cursor cursor = {0};
  for (const zar_action *action = NULL; (action = queue_get_next(actions, &cursor));)
    write_action(out, depth, action);
}

static void write_rules(Output *out, unsigned depth, const zar_pmap *map, const queue_head *rules) {
  queue_cursor cursor = {0};
  for (const zar_class_action *rule = NULL; (rule = queue_get_next(rules, &cursor));) {
    begin(out, depth, "rule");
    zar_inspect_putf(out, " %u, class", rule->class_num);
    add_name(out, zar_inspect_class_of(map, rule), "(not stored)");
    add(out, zar_inspect_exec_criteria(rule->exec_criteria));
    end_with_handle(out, rule->handle);
    write_actions(out, depth + 1, &rule->actions);
  }
}

static void write_events(Output *out, unsigned depth, const zar_pmap *map) {
  queue_cursor cursor = {0};
  for (const zar_event_tuple *event = NULL; (event = queue_get_next(&map->rule_list, &cursor));) {
    begin(out, depth, "event");
    add_name(out, zar_get_event_name(event->handle), "(no name)");
    add(out, zar_inspect_event_criteria(event->match_criteria));
    add_count(out, "id", zar_get_event_id(event->handle));
    end_with_handle(out, event->handle);
    write_rules(out, depth + 1, map, &event->class_actions);
  }
}

/* ---- Maps ---- */

/* A map of another kind than its tree shows only its handle. */
static void write_stranger(Output *out, const char *kind, uint32_t handle) {
  begin(out, 1, kind);
  add(out, "(a map of another kind)");
  end_with_handle(out, handle);
}

static void begin_map(Output *out, const char *kind, const char *name, sdb_ref domain, uint32_t domain_type) {
  begin(out, 1, kind);
  add_name(out, name, "");
  zar_inspect_put(out, ", domain");
  add_name(out, zar_inspect_interned(domain), "(none)");
  add(out, zar_inspect_domain_type(domain_type));
}

static void end_map(Output *out, bool hidden, uint32_t handle) {
  if (hidden) zar_inspect_put(out, ", hidden");
  end_with_handle(out, handle);
}

static void write_places(Output *out, const zar_pmap *map) {
  queue_cursor cursor = {0};
  for (const zar_pmap_target_ref *ref = NULL; (ref = queue_get_next(&map->target_refs, &cursor));) {
    begin(out, 2, "active on target");
    zar_inspect_putf(out, " %llu", (unsigned long long)zar_inspect_target_id(ref->target));
    end_with_handle(out, ref->target->handle);
  }
}

static void write_policy(Output *out, const zar_pmap *map) {
  const char *name = zar_inspect_pmap_name(map);
  if (!name) {
    write_stranger(out, "policy-map", map->handle);
    return;
  }
  begin_map(out, "policy-map", name, map->domain, map->domain_type);
  end_map(out, map->hidden != 0, map->handle);
  if (zar_inspect_is_control(map))
    write_events(out, 2, map);
  else
    write_rules(out, 2, map, &map->rule_list);
  write_places(out, map);
}

static void write_filters(Output *out, unsigned depth, const zar_cmap *map) {
  queue_cursor cursor = {0};
  for (const zar_filter *filter = NULL; (filter = queue_get_next(&map->filters, &cursor));) {
    char *text = zar_get_filter_nvgen_str(filter->handle);
    begin(out, depth, "filter");
    add_name(out, text, "(no text)");
    bfree_named(text);
    add_count(out, "executed", filter->exec_count);
    add_count(out, "hit", filter->hit_count);
    add_count(out, "missed", filter->miss_count);
    add_count(out, "compared", filter->comp_count);
    end_with_handle(out, filter->handle);
  }
}

static void write_class(Output *out, const zar_cmap *map) {
  const char *name = zar_inspect_cmap_name(map);
  if (!name) {
    write_stranger(out, "class-map", map->handle);
    return;
  }
  begin_map(out, "class-map", name, map->domain, map->domain_type);
  zar_inspect_put(out, ",");
  add(out, zar_inspect_class_criteria(map->match_criteria));
  add_count(out, "used by policy-maps:", map->pmap_refs.count);
  end_map(out, map->hidden != 0, map->handle);
  write_filters(out, 2, map);
}

static void write_parameter_map(Output *out, const zar_pmtr_map *map) {
  const char *name = zar_inspect_pmtr_map_name(map);
  if (!name) {
    write_stranger(out, "parameter-map", map->handle);
    return;
  }
  begin_map(out, "parameter-map", name, map->domain, map->domain_type);
  end_map(out, map->hidden != 0, map->handle);
  queue_cursor cursor = {0};
  for (const zar_pmtr_map_stmt *statement = NULL; (statement = queue_get_next(&map->stmt_queue, &cursor));) {
    begin(out, 2, "statement");
    zar_inspect_putf(out, " %lu\n", (unsigned long)statement->map_index);
    const zar_cmap *filters = zar_inspect_class_of_statement(statement);
    if (filters) write_filters(out, 3, filters);
    write_actions(out, 3, &statement->action_queue);
  }
}

/* ---- Targets ---- */

static void write_target(Output *out, const zar_target *target) {
  begin(out, 1, "target");
  zar_inspect_putf(out, " %llu", (unsigned long long)zar_inspect_target_id(target));
  if (target->policy_context) zar_inspect_put(out, ", with a policy context");
  end_with_handle(out, target->handle);
  queue_cursor cursor = {0};
  for (const zar_target_pmap *active = NULL; (active = queue_get_next(&target->active_pmaps, &cursor));) {
    begin(out, 2, "policy-map");
    add_name(out, zar_inspect_pmap_name(active->pmap), "(no name)");
    end(out);
  }
}

/* ---- Clients, domains, databases ---- */

static void write_clients(Output *out) {
  for (uint32_t index = 0; index < zar_current_max_clients; ++index) {
    const zar_client_data *client = zar_inspect_client(index);
    if (!client) continue;
    begin(out, 0, "client");
    zar_inspect_putf(out, " %lu", (unsigned long)client->clid);
    add_name(out, client->name, "(no name)");
    zar_inspect_put(out, client->database ? ", own database" : ", default database");
    zar_inspect_put(out, client->status == 1 ? "\n" : ", inactive\n");
  }
}

static void write_domains(Output *out) {
  queue_cursor cursor = {0};
  for (const zar_domain_entry *domain = NULL; (domain = queue_get_next(&zar_domain_list, &cursor));) {
    begin(out, 0, "domain");
    add_name(out, domain->domain, "(no name)");
    zar_inspect_putf(out, ", client %lu", (unsigned long)domain->owner_clid);
    add_name(out, zar_inspect_client_name(domain->owner_clid), "(no name)");
    end(out);
  }
}

static void write_database(Output *out, zar_db *database) {
  for (zar_pmap *map = zar_inspect_first_pmap(database); map; map = zar_inspect_next_pmap(database, map))
    write_policy(out, map);
  for (zar_cmap *map = zar_inspect_first_cmap(database); map; map = zar_inspect_next_cmap(database, map))
    write_class(out, map);
  for (zar_pmtr_map *map = zar_inspect_first_pmtr_map(database); map; map = zar_inspect_next_pmtr_map(database, map))
    write_parameter_map(out, map);
  for (zar_target *target = zar_inspect_first_target(database); target;
       target = zar_inspect_next_target(database, target))
    write_target(out, target);
}

void zar_inspect_write_text(Output *out, uint32_t n_handles) {
  zar_inspect_putf(out, "handles %lu of %d in databases\n", (unsigned long)n_handles, kHandleLimit);
  write_clients(out);
  write_domains(out);
  for (uint32_t index = 0; index < zar_current_max_clients; ++index) {
    const zar_client_data *client = zar_inspect_shows_database(index);
    if (!client) continue;
    begin(out, 0, "database of client");
    zar_inspect_putf(out, " %lu", (unsigned long)client->clid);
    add_name(out, client->name, "(no name)");
    zar_inspect_put(out, index == 0 ? ", the default\n" : "\n");
    write_database(out, client->database);
  }
}
