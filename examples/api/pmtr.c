// Parameter-maps: the statements of a map, and whether a subscriber's value satisfies one of them.
#include "sample.h"

int main(void) {
  zar_db *database;
  uint32_t clid = begin(kel_parameter_map_subscriber_domain_str, &database);
  //! [pmtr]
  enum { kName = 0 };  // the filter type, one of five
  const zar_filter_context alice = {copy_text("name alice"), free_text, do_nothing, filter_text, same_text};
  const zar_filter_context bob = {copy_text("name bob"), free_text, do_nothing, filter_text, same_text};
  uint32_t map, action;

  MUST(kel_create_subscriber_parameter_map("users", 1, &map));  // made and stored
  MUST(zar_pmtr_create_or_add_filter(map, &alice, 0, 0, 0, 10, 0, kName));
  MUST(zar_pmtr_create_or_add_filter(map, &bob, 0, 0, 0, 20, 0, kName));
  MUST(zar_add_action_to_pmtr_map_rule(map, 20, new_action("tunnel", 1)));

  // Which statement does bob satisfy?
  uint32_t index = 0, status = zar_get_first_pmtr_map_index(clid, map, &index);
  for (; status == 0; status = zar_get_next_pmtr_map_index(clid, map, index, &index)) {
    uint32_t cmap = zar_get_internal_class_map(map, index);
    zar_init_internal_cmap_compare(cmap);
    zar_add_to_internal_cmap_compare(cmap, &bob, 0, kName);
    printf("statement %u: %s\n", index, zar_internal_cmap_compare() ? "satisfied" : "not satisfied");
  }

  char text[32];
  MUST(kel_pmtr_map_get_filter_expr_by_type(map, 20, "name", text));
  MUST(zar_retrieve_action_num_in_pmtr_stmt_action(map, 20, 1, &action));
  printf("statement 20: %s, action %u\n", text, zar_get_action_num(action));
  MUST(kel_delete_subscriber_parameter_map("users", 1));  // with its statements and their actions
  //! [pmtr]
  MUST(zar_destroy_database(database));
  return 0;
}
