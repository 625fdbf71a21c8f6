// Policy composition: a policy-map with one event and two rules, in order of their numbers.
#include "sample.h"

int main(void) {
  zar_db *database;
  uint32_t clid = begin("guest", &database);
  //! [compose]
  const zar_map_info gold = {.domain = "guest", .domain_type = 1, .map_name = "gold"};
  const zar_map_info web = {.domain = "guest", .domain_type = 1, .map_name = "web"};
  const zar_map_info any = {.domain = "guest", .domain_type = 1, .map_name = "any"};
  const zar_event_context start = {.event_id = 1};
  uint32_t pmap, event, web_cmap, any_cmap, last, first, next;

  MUST(zar_create_class(clid, &web, 1, &web_cmap));
  MUST(zar_add_filter_to_class(web_cmap, new_filter("port 80")));
  MUST(zar_create_class(clid, &any, 1, &any_cmap));

  MUST(zar_create_policy(clid, &gold, &pmap));
  MUST(zar_create_event(&start, "session-start", &event));
  MUST(zar_add_event(pmap, event));
  MUST(zar_add_class_to_event(event, any_cmap, 1, 20, &last));
  MUST(zar_add_class_to_event(event, web_cmap, 1, 10, &first));  // goes before number 20
  MUST(zar_add_action_to_rule(first, new_action("redirect", 2)));
  MUST(zar_add_action_to_rule(first, new_action("log", 1)));  // goes before number 2
  MUST(zar_add_action_to_rule(last, new_action("deny", 1)));

  MUST(zar_get_class_action(clid, pmap, event, &next));
  while (next != 0) {
    uint32_t action;
    printf("%u %s:", zar_get_class_num_from_class_action(next), zar_get_class_name_from_class_action(next));
    MUST(zar_get_action(clid, next, &action));
    while (action != 0) {
      char *text = zar_get_action_nvgen_str(action, 0);
      printf(" %s", text);
      bfree_named(text);
      MUST(zar_get_next_action(clid, next, action, &action));
    }
    printf("\n");
    MUST(zar_get_next_class_action(clid, pmap, event, next, &next));
  }

  printf("deleting a class-map that is in use: %u\n", zar_delete_class(web_cmap));
  MUST(zar_delete_policy(pmap));     // with its event, rules and actions
  MUST(zar_delete_class(web_cmap));  // with its filters
  MUST(zar_delete_class(any_cmap));
  //! [compose]
  MUST(zar_destroy_database(database));
  return 0;
}
