// A host for a debugger: its repository contains one of everything, and a class-map with a long list of filters. It stops
// itself with SIGUSR1.
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>

#include "zar/platform/engine.h"
#include "zar/platform/runtime.h"
#include "zar/zar.h"

static void must(int good, const char *call) {
  if (!good) fprintf(stderr, "%s failed\n", call), exit(1);
}
#define MUST(call) must((call) == 0, #call)

static int the_data;
void free_data(void *data, void *context) {
  (void)data, (void)context;
}
uint32_t is_port(void *data, void *run) {
  return data == run;
}
uint32_t mark_packet(void *data, void *run) {
  return data != run;
}
uint32_t is_same(void *stored, void *given) {
  return stored == given;
}
static char *filter_text(void *data) {
  return data ? bstrdup_named("port", 0) : NULL;
}
static char *action_text(void *data, uint32_t argument) {
  return data && !argument ? bstrdup_named("mark", 0) : NULL;
}

static const zar_filter_context port = {&the_data, free_data, is_port, filter_text, is_same};
static const zar_action_context mark = {&the_data, free_data, mark_packet, action_text, is_same, NULL, NULL};

static uint32_t new_class(uint32_t clid, const char *name, uint32_t domain_type, unsigned n_filters) {
  const zar_map_info info = {.domain = "guest", .domain_type = domain_type, .map_name = name};
  uint32_t cmap = 0, filter = 0;
  MUST(zar_create_class(clid, &info, ZAR_CLASS_MATCH_ANY, &cmap));
  for (; n_filters > 0; --n_filters) {
    MUST(zar_create_filter(&port, &filter, n_filters % 2));
    MUST(zar_add_filter_to_class(cmap, filter));
  }
  MUST(zar_store_class(clid, cmap));
  return cmap;
}

static uint32_t new_policy(uint32_t clid, const char *name, uint32_t domain_type) {
  const zar_map_info info = {.domain = "guest", .domain_type = domain_type, .map_name = name};
  uint32_t pmap = 0;
  MUST(zar_create_policy(clid, &info, &pmap));
  MUST(zar_store_policy(clid, pmap));
  return pmap;
}

static void fill(uint32_t clid) {
  static zar_target_info session = {.target_id = 7};
  const zar_event_context start = {.event_id = 1};
  const zar_map_info parameters = {.domain = "subscriber", .domain_type = 1, .map_name = "parameters"};
  uint32_t cmap = new_class(clid, "many-ports", ZAR_DOMAIN_CONTROL, 40);
  uint32_t pmap = new_policy(clid, "guest-access", ZAR_DOMAIN_CONTROL);
  uint32_t event = 0, rule = 0, action = 0, target = 0, map = 0, unstored = 0;
  new_policy(clid, "plain", ZAR_DOMAIN_OTHER);
  MUST(zar_create_event(&start, "start", &event));
  MUST(zar_add_event(pmap, event));
  MUST(zar_add_class_to_event(event, cmap, ZAR_EXEC_RUN_ALL, 10, &rule));
  MUST(zar_create_action(&mark, 5, 3, &action));
  MUST(zar_add_action_to_rule(rule, action));
  MUST(zar_add_target(clid, &session, pmap, &target));
  MUST(zar_create_policy_context(target) == NULL);
  MUST(zar_create_pmtr_map(clid, &parameters, &map));
  MUST(zar_store_pmtr_map(clid, map));
  MUST(zar_pmtr_create_or_add_filter(map, &port, 0, 0, 0, 10, 0, 0));
  MUST(zar_create_action(&mark, 1, 0, &unstored));
  printf("pmap=%#x cmap=%#x event=%#x rule=%#x action=%#x target=%#x map=%#x unstored=%#x\n", pmap, cmap, event, rule,
         action, target, map, unstored);
}

int main(void) {
  zar_db *database = NULL;
  uint32_t clid = 0;
  setvbuf(stdout, NULL, _IONBF, 0);
  if (zar_init() == 0) return 1;
  MUST(zar_create_database(&database));
  MUST(zar_client_register("guestd", database, &clid));
  kel_clid = clid;
  MUST(zar_register_domain(clid, "guest"));
  fill(clid);
  raise(SIGUSR1);
  return 0;
}
