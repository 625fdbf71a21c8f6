// Presentation: a listing of a policy-map is passed line by line to the caller's printer.
#include "sample.h"

//! [printer]
__attribute__((format(printf, 1, 2))) static void print_line(const char *format, ...) {
  va_list values;
  va_start(values, format);
  vprintf(format, values);
  va_end(values);
  printf("\n");
}
//! [printer]

int main(void) {
  zar_db *database;
  uint32_t clid = begin("guest", &database);
  const zar_map_info gold = {.domain = "guest", .domain_type = 1, .map_name = "gold"};
  const zar_map_info web = {.domain = "guest", .domain_type = 1, .map_name = "web"};
  const zar_event_context start = {.event_id = 1};
  uint32_t pmap, cmap, event, rule, filter = new_filter("port 80"), action = new_action("permit", 1);

  MUST(zar_create_class(clid, &web, 1, &cmap));
  MUST(zar_add_filter_to_class(cmap, filter));
  MUST(zar_store_class(clid, cmap));
  MUST(zar_create_policy(clid, &gold, &pmap));
  MUST(zar_create_event(&start, "session-start", &event));
  MUST(zar_add_event(pmap, event));
  MUST(zar_add_class_to_event(event, cmap, 1, 10, &rule));
  MUST(zar_add_action_to_rule(rule, action));
  MUST(zar_store_policy(clid, pmap));
  //! [present]
  zar_action *record = zar_handle_get_context(action);
  record->executed_count = 3;  // counted by the engine, which may write the counters

  MUST(zar_print_policymap("", print_line, "guest", "gold", 0, 1));
  MUST(zar_clear_policymap("guest", NULL, 1));  // of all policy-maps
  printf("cleared: %u\n", record->executed_count);

  char *text = zar_get_filter_nvgen_str(filter);  // as in a configuration
  printf("class %s: %s\n", zar_get_cmap_name(cmap), text);
  bfree_named(text);
  //! [present]
  MUST(zar_delete_stored_policy_by_name(clid, &gold));
  MUST(zar_delete_stored_class_by_name(clid, &web));
  MUST(zar_destroy_database(database));
  return 0;
}
