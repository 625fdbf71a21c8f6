// The shortest host: it has no runtime and no engine of its own, but those that are installed for a start.
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>

#include "zar/platform/engine.h"
#include "zar/zar.h"

static void must(uint32_t status, const char *call) {
  if (status != 0) fprintf(stderr, "%s: %s\n", call, zar_status_text(status)), exit(1);
}
#define MUST(call) must(call, #call)

__attribute__((format(printf, 1, 2))) static void print_line(const char *format, ...) {
  va_list values;
  va_start(values, format);
  vprintf(format, values);
  va_end(values);
  putchar('\n');
}

int main(void) {
  const zar_map_info policy = {.domain = "guest", .domain_type = ZAR_DOMAIN_CONTROL, .map_name = "guest-access"};
  const zar_map_info class = {.domain = "guest", .domain_type = ZAR_DOMAIN_CONTROL, .map_name = "everything"};
  const zar_event_context start = {.event_id = 1};
  zar_target_info session = {.target_id = 7}, *detached = NULL;
  zar_db *database = NULL;
  uint32_t clid = 0, cmap = 0, pmap = 0, event = 0, rule = 0, target = 0;

  if (zar_init() == 0) return 1;
  MUST(zar_create_database(&database));
  MUST(zar_client_register("quick", database, &clid));
  kel_clid = clid;
  MUST(zar_register_domain(clid, "guest"));

  MUST(zar_create_class(clid, &class, ZAR_CLASS_MATCH_ALL, &cmap));
  MUST(zar_store_class(clid, cmap));
  MUST(zar_create_policy(clid, &policy, &pmap));
  MUST(zar_create_event(&start, "start", &event));
  MUST(zar_add_event(pmap, event));
  MUST(zar_add_class_to_event(event, cmap, ZAR_EXEC_RUN_ALL, 10, &rule));
  MUST(zar_store_policy(clid, pmap));
  MUST(zar_add_target(clid, &session, pmap, &target));
  MUST(zar_print_policymap("", print_line, "guest", NULL, 1, 0));

  MUST(zar_delete_stored_policy(clid, pmap));
  MUST(zar_delete_stored_class(clid, cmap));
  MUST(zar_remove_target(clid, target, &detached));
  MUST(zar_delete_target(target));
  MUST(zar_destroy_database(database));
  return 0;
}
