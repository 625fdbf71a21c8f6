/* Counts handles. Rules share actions, so the handles of actions with several holders are collected, and equal ones
   count once. */
#include <stdlib.h>

#include "host/inspect/contents.h"

typedef struct Count {
  uint32_t handles; /* of records that were met once */
  uint32_t *shared; /* handles of shared actions, as often as they were met */
  size_t n_shared;
  size_t capacity;
  bool out_of_memory;
} Count;

static bool has_room(Count *count) {
  if (count->n_shared < count->capacity) return true;
  size_t capacity = count->capacity > 0 ? 2 * count->capacity : 64;
  uint32_t *grown = realloc(count->shared, capacity * sizeof *grown);
  if (!grown) return false;
  count->shared = grown;
  count->capacity = capacity;
  return true;
}

static void count_action(Count *count, const zar_action *action) {
  if (action->ref_count <= 1)
    ++count->handles;
  else if (has_room(count))
    count->shared[count->n_shared++] = action->handle;
  else
    count->out_of_memory = true;
}

static void count_actions(Count *count, const queue_head *actions) {
  queue_cursor cursor = {0};
  for (const zar_action *action = NULL; (action = queue_get_next(actions, &cursor));)
    count_action(count, action);
}

static void count_rules(Count *count, const queue_head *rules) {
  queue_cursor cursor = {0};
  for (const zar_class_action *rule = NULL; (rule = queue_get_next(rules, &cursor));) {
    ++count->handles;
    count_actions(count, &rule->actions);
  }
}

static void count_policy(Count *count, const zar_pmap *map) {
  ++count->handles;
  if (!zar_inspect_pmap_name(map)) return;
  if (!zar_inspect_is_control(map)) {
    count_rules(count, &map->rule_list);
    return;
  }
  queue_cursor cursor = {0};
  for (const zar_event_tuple *event = NULL; (event = queue_get_next(&map->rule_list, &cursor));) {
    ++count->handles;
    count_rules(count, &event->class_actions);
  }
}

static void count_statements(Count *count, const zar_pmtr_map *map) {
  ++count->handles;
  if (!zar_inspect_pmtr_map_name(map)) return;
  queue_cursor cursor = {0};
  for (const zar_pmtr_map_stmt *statement = NULL; (statement = queue_get_next(&map->stmt_queue, &cursor));)
    count_actions(count, &statement->action_queue);
}

static void count_database(Count *count, zar_db *database) {
  for (zar_pmap *map = zar_inspect_first_pmap(database); map; map = zar_inspect_next_pmap(database, map))
    count_policy(count, map);
  for (zar_cmap *map = zar_inspect_first_cmap(database); map; map = zar_inspect_next_cmap(database, map))
    count->handles += 1 + (zar_inspect_cmap_name(map) ? map->filters.count : 0);
  for (zar_target *target = zar_inspect_first_target(database); target;
       target = zar_inspect_next_target(database, target))
    count->handles += target->policy_context ? 2 : 1;
  for (zar_pmtr_map *map = zar_inspect_first_pmtr_map(database); map; map = zar_inspect_next_pmtr_map(database, map))
    count_statements(count, map);
}

static int by_handle(const void *one, const void *other) {
  const uint32_t *first = one, *second = other;
  return (*first > *second) - (*first < *second);
}

static uint32_t different(uint32_t *handles, size_t n_handles) {
  if (n_handles == 0) return 0;
  uint32_t n_different = 1;
  qsort(handles, n_handles, sizeof *handles, by_handle);
  for (size_t at = 1; at < n_handles; ++at)
    n_different += handles[at] != handles[at - 1];
  return n_different;
}

bool zar_inspect_count_handles(uint32_t *count_out) {
  Count count = {0};
  for (uint32_t index = 0; index < zar_current_max_clients; ++index) {
    const zar_client_data *client = zar_inspect_shows_database(index);
    if (client) count_database(&count, client->database);
  }
  *count_out = count.handles + different(count.shared, count.n_shared);
  free(count.shared);
  return !count.out_of_memory;
}
