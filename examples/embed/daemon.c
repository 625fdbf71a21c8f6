// A daemon that hosts the policy rule repository: it marks the web traffic of guests. docs/embedding.md walks through it.
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>

#include "zar/platform/engine.h"
#include "zar/platform/runtime.h"
#include "zar/zar.h"

// ---- The engine's side of the repository; this engine keeps nothing about the policies that run ----
uint32_t kel_trace_id = 1, kel_clid;
const char *BUILTIN_DEVICE_TO_TEMPLATE = "BUILTIN_DEVICE_TO_TEMPLATE";
static char the_instance;

uint32_t kel_find_policy_instance(void **instance_out, uint32_t target, const zar_map_info *key) {
  return (void)target, (void)key, *instance_out = &the_instance, 0;
}
uint32_t kel_create_policy_instance(void **instance_out, uint32_t target, uint32_t clid, const zar_map_info *key) {
  return (void)clid, printf("engine: %s begins\n", key->map_name), kel_find_policy_instance(instance_out, target, key);
}
uint32_t kel_delete_policy_instance(void *instance) { return (void)instance, puts("engine: it ends") < 0; }
uint32_t kel_free_all_policy_ae_context(void *ae_context) { return (void)ae_context, 0; }
uint32_t kel_parameter_map_get_type(const char *domain, uint32_t *type_out) { return (void)domain, (void)type_out, 1; }
const char *kel_cmap_match_criteria_get_string_short(uint32_t c) { return c == 1 ? "all" : c == 2 ? "any" : "none"; }
const char *kel_pmap_class_match_get_string_short(uint32_t c) { return c == 1 ? "all" : "first"; }
const char *kel_pmap_action_exec_criteria_get_string_short(uint32_t c) { return c == 1 ? "to the end" : "while good"; }

// ---- The filter "port N" and the action "mark N": both carry a number ----
enum { kPort, kMark };  // of a packet, which the engine of this daemon passes to both as 'run'
static uint32_t number(const void *data) { return *(const uint32_t *)data; }
static void *new_number(uint32_t value) {
  uint32_t *data = bcalloc_named(1, sizeof value, 0);
  if (data) *data = value;
  return data;
}
static char *text(const char *word, const void *data) {
  char line[32];
  snprintf(line, sizeof line, "%s %u", word, number(data));
  return bstrdup_named(line, 0);
}
static void free_number(void *data, void *context) { (void)context, bfree_named(data); }
static uint32_t same_number(void *stored, void *given) { return number(stored) == number(given); }
static char *port_text(void *data) { return text("port", data); }
static uint32_t port_holds(void *data, void *run) { return ((uint32_t *)run)[kPort] == number(data); }
static char *mark_text(void *data, uint32_t argument) { return (void)argument, text("mark", data); }
static uint32_t mark(void *data, void *run) { return ((uint32_t *)run)[kMark] = number(data), 0; }

// ---- Notifications from the repository ----
static queue_head *lists[8];
static size_t n_lists;

// One list is used for all notifications of an operation, so it is only kept here.
static void mark_is_in_force(uint32_t removed, void *data, queue_head *targets) {
  printf("notified: mark %u is %s force\n", number(data), removed ? "out of" : "in");
  if (n_lists < 8 && (n_lists == 0 || lists[n_lists - 1] != targets)) lists[n_lists++] = targets;
}
static void free_lists(void) {
  for (; n_lists; bfree_named(lists[--n_lists])) {
    while (queue_dequeue(lists[n_lists - 1]))
      continue;
  }
}
static void session_lost_policy(uint32_t target, uint32_t pmap) {
  const zar_target *record = zar_handle_get_context(target);
  printf("session %lu lost %s\n", (unsigned long)record->target_info->target_id, zar_get_pmap_name(pmap));
}
__attribute__((format(printf, 1, 2))) static void print_line(const char *format, ...) {
  va_list values;
  va_start(values, format);
  vprintf(format, values);
  va_end(values);
  putchar('\n');
}
static void must(uint32_t status, const char *call) {
  if (status != 0) fprintf(stderr, "%s: %u\n", call, status), exit(1);
}
#define MUST(call) must(call, #call)

int main(void) {
  const zar_map_info policy = {.domain = "guest", .domain_type = 1, .map_name = "guest-access"};
  const zar_map_info web = {.domain = "guest", .domain_type = 1, .map_name = "web"};
  const zar_event_context traffic = {.event_id = 1};
  const zar_filter_context port_80 = {new_number(80), free_number, port_holds, port_text, same_number};
  const zar_action_context mark_10 = {new_number(10), free_number,      mark, mark_text,
                                      same_number,    mark_is_in_force, NULL};
  static zar_target_info session = {.target_id = 7}, *detached;
  uint32_t clid, cmap, filter, pmap, event, rule, action, target;
  zar_db *database;

  zar_init();
  MUST(zar_create_database(&database));
  MUST(zar_client_register("guestd", database, &clid));
  kel_clid = clid;
  MUST(zar_register_domain(clid, "guest"));
  MUST(zar_client_register_target_policy_removal_vector(clid, session_lost_policy));

  MUST(zar_create_class(clid, &web, 1, &cmap));
  MUST(zar_create_filter(&port_80, &filter, 0));
  MUST(zar_add_filter_to_class(cmap, filter));
  MUST(zar_store_class(clid, cmap));

  MUST(zar_create_policy(clid, &policy, &pmap));
  MUST(zar_create_event(&traffic, "traffic", &event));
  MUST(zar_add_event(pmap, event));
  MUST(zar_add_class_to_event(event, cmap, 0, 1, &rule));
  MUST(zar_create_action(&mark_10, 1, 0, &action));
  MUST(zar_add_action_to_rule(rule, action));
  MUST(zar_store_policy(clid, pmap));

  MUST(zar_add_target(clid, &session, pmap, &target));
  MUST(zar_print_policymap("| ", print_line, policy.domain, policy.map_name, 0, 1));
  MUST(zar_print_classmap("| ", print_line, "", web.domain, web.map_name, 0));

  MUST(zar_delete_stored_policy_by_name(clid, &policy));
  MUST(zar_delete_stored_class_by_name(clid, &web));
  MUST(zar_remove_target(clid, target, &detached));
  MUST(zar_delete_target(target));
  MUST(zar_destroy_database(database));
  free_lists();
  return 0;
}
