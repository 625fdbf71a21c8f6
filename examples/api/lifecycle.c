// Lifecycle: policy-maps are activated and deactivated on a target, and the client is notified when one is deleted.
#include "sample.h"

//! [callback]
static void target_lost_policy(uint32_t target, uint32_t pmap) {
  const zar_target *record = zar_handle_get_context(target);
  printf("target %u lost %s\n", (unsigned)record->target_info->target_id, zar_get_pmap_name(pmap));
}
//! [callback]

static void list_active(uint32_t target) {
  uint32_t pmap;
  printf("active:");
  MUST(zar_get_first_active_policy_on_target(target, NULL, NULL, &pmap));
  while (pmap != 0) {
    printf(" %s", zar_get_pmap_name(pmap));
    MUST(zar_get_next_active_policy_on_target(target, pmap, NULL, NULL, &pmap));
  }
  printf("\n");
}

int main(void) {
  zar_db *database;
  uint32_t clid = begin("guest", &database);
  //! [lifecycle]
  const zar_map_info gold = {.domain = "guest", .domain_type = 1, .map_name = "gold"};
  const zar_map_info silver = {.domain = "guest", .domain_type = 1, .map_name = "silver"};
  static zar_target_info port = {.target_id = 7};
  zar_target_info *detached;
  uint32_t gold_pmap, silver_pmap, target;

  MUST(zar_client_register_target_policy_removal_vector(clid, target_lost_policy));
  MUST(zar_create_policy(clid, &gold, &gold_pmap));
  MUST(zar_store_policy(clid, gold_pmap));
  MUST(zar_create_policy(clid, &silver, &silver_pmap));
  MUST(zar_store_policy(clid, silver_pmap));

  MUST(zar_add_target(clid, &port, gold_pmap, &target));  // a target begins with a policy-map
  MUST(zar_activate_policy_by_name(clid, target, &silver));
  list_active(target);
  MUST(zar_deactivate_policy_by_name(clid, target, &gold));  // no callback: nothing is deleted
  list_active(target);
  MUST(zar_delete_stored_policy_by_name(clid, &silver));
  list_active(target);

  MUST(zar_remove_target(clid, target, &detached));  // out of the database first
  MUST(zar_delete_target(target));
  MUST(zar_delete_stored_policy_by_name(clid, &gold));
  //! [lifecycle]
  MUST(zar_destroy_database(database));
  return 0;
}
