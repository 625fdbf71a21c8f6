// Policy objects: a map is created, stored and found again by name, and a second one with the same name is refused.
#include "sample.h"

int main(void) {
  zar_db *database;
  uint32_t clid = begin("guest", &database);
  //! [objects]
  const zar_map_info gold = {.domain = "guest", .domain_type = 1, .map_name = "gold"};
  uint32_t pmap, twin, found;

  MUST(zar_create_policy(clid, &gold, &pmap));
  MUST(zar_retrieve_policy(clid, &gold, &found));  // finding nothing is not a failure: the handle is 0
  printf("before it is stored: %s\n", found == pmap ? "found" : "not found");
  MUST(zar_store_policy(clid, pmap));
  MUST(zar_retrieve_policy(clid, &gold, &found));
  printf("afterwards: %s\n", found == pmap ? "found" : "not found");

  MUST(zar_create_policy(clid, &gold, &twin));  // only the database refuses an equal name
  printf("storing another of that name: %u\n", zar_store_policy(clid, twin));
  MUST(zar_delete_policy(twin));
  MUST(zar_delete_stored_policy_by_name(clid, &gold));
  //! [objects]
  MUST(zar_destroy_database(database));
  return 0;
}
