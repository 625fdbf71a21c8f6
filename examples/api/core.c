// Repository core: two clients, one using the database of the other, and a domain.
#include "sample.h"

int main(void) {
  //! [core]
  zar_db *database, *found;
  uint32_t engine, portal, is_default, owner;

  zar_init();
  MUST(zar_create_database(&database));
  MUST(zar_client_register("engine", database, &engine));  // the first one: its database is the default one
  MUST(zar_client_register("portal", NULL, &portal));      // no database of its own
  MUST(zar_register_domain(portal, "guest"));

  if (zar_get_client_database_handle(portal, "sample", &found, &is_default)) {
    printf("client %u works in the %s database\n", portal, is_default ? "default" : "own");
  }
  MUST(zar_get_owner_for_domain("guest", &owner));
  printf("client %u owns the domain guest\n", owner);
  MUST(zar_get_owner_for_domain("lobby", &owner));
  printf("client %u owns the domain lobby, which nobody claimed\n", owner);

  static int session;                            // a record of the caller's own
  uint32_t handle = zar_handle_alloc(&session);  // and a name for it
  printf("the handle leads to it: %s\n", zar_handle_get_context(handle) == &session ? "yes" : "no");
  zar_handle_release(handle);
  printf("and after its release: %s\n", zar_handle_get_context(handle) == &session ? "yes" : "no");

  MUST(zar_destroy_database(database));
  //! [core]
  return 0;
}
