// Calls operations that succeed, that return early, that return nothing, and one that a function of a client calls within
// another: what probes.sh expects to see at their probes.
#include <stddef.h>
#include <stdlib.h>

#include "zar/platform/runtime.h"
#include "zar/zar.h"

static void free_data(void *data, void *context) {
  (void)data, (void)context;
}
static uint32_t run(void *data, void *context) {
  return data != context;
}
static uint32_t same(void *stored, void *given) {
  return stored == given;
}
static char *text(void *data, uint32_t argument) {
  (void)data, (void)argument;
  zar_display_clients();
  return NULL;
}

int main(void) {
  const zar_map_info info = {.domain = "guest", .domain_type = 1, .map_name = "guest-access"};
  const zar_action_context mark = {NULL, free_data, run, text, same, NULL, NULL};
  uint32_t pmap = 0, action = 0, clid = 0;
  zar_db *database = NULL;

  zar_init();
  zar_create_database(&database);
  zar_client_register("guestd", database, &clid);
  zar_create_policy(clid, &info, &pmap);
  zar_store_policy(clid, pmap);
  zar_store_policy(clid, 0xdead);
  zar_create_action(&mark, 5, 3, &action);
  zar_get_action_nvgen_str(action, 0);
  return zar_get_pmap_name(pmap) ? EXIT_SUCCESS : EXIT_FAILURE;
}
