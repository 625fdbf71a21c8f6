// A daemon that makes a mistake, for the library with checks:
//   mistaken early       calls an operation before zar_init
//   mistaken broken      deletes a policy-map that is still in its tree
//   mistaken none
// It ends well if nothing stops it.
#include <stdio.h>
#include <string.h>

#include "zar/platform/runtime.h"
#include "zar/zar.h"

static void delete_stored_policy(uint32_t clid) {
  const zar_map_info info = {.domain = "guest", .domain_type = 1, .map_name = "guest-access"};
  uint32_t pmap = 0;
  zar_create_policy(clid, &info, &pmap);
  zar_store_policy(clid, pmap);
  zar_delete_policy(pmap);
}

int main(int n_arguments, char **arguments) {
  const char *mistake = n_arguments == 2 ? arguments[1] : "";
  zar_db *database = NULL;
  uint32_t clid = 0;
  if (strcmp(mistake, "early") == 0) zar_get_pmap_name(1);
  zar_init();
  zar_create_database(&database);
  zar_client_register("guestd", database, &clid);
  if (strcmp(mistake, "broken") == 0) delete_stored_policy(clid);
  puts("nothing stopped it");
  return 0;
}
