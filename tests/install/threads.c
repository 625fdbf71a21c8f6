/* A host whose threads take turns: one lock around all calls is enough, whichever thread calls. */
#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>

#include "zar/zar.h"

enum { kThreads = 4, kTurns = 50, kControl = 1 };

static pthread_mutex_t turn = PTHREAD_MUTEX_INITIALIZER;
static uint32_t clid;

static void must(uint32_t status, const char *call) {
  if (status != 0) fprintf(stderr, "%s: %u\n", call, status), exit(1);
}
#define MUST(call) must(call, #call)

/* One step of a thread: each of its calls may follow a call of another thread. */
#define IN_TURN(call)            \
  do {                           \
    pthread_mutex_lock(&turn);   \
    MUST(call);                  \
    pthread_mutex_unlock(&turn); \
  } while (0)

static void *come_and_go(void *argument) {
  const char *const *name = argument;
  const zar_map_info policy = {.domain = "guest", .domain_type = kControl, .map_name = *name, .hidden = 0};
  zar_target_info info = {.target_id = 1}, *detached = NULL;
  for (int i = 0; i < kTurns; i++) {
    uint32_t pmap = 0, target = 0, found = 0;
    IN_TURN(zar_create_policy(clid, &policy, &pmap));
    IN_TURN(zar_store_policy(clid, pmap));
    IN_TURN(zar_add_target(clid, &info, pmap, &target));
    IN_TURN(zar_retrieve_policy(clid, &policy, &found));
    IN_TURN(found != pmap);
    IN_TURN(zar_delete_stored_policy(clid, pmap));
    IN_TURN(zar_remove_target(clid, target, &detached));
    IN_TURN(zar_delete_target(target));
  }
  return NULL;
}

int main(void) {
  static const char *const names[kThreads] = {"north", "east", "south", "west"};
  pthread_t threads[kThreads];
  zar_db *database = NULL;
  if (zar_init() == 0) return 1;
  MUST(zar_create_database(&database));
  MUST(zar_client_register("threads", database, &clid));
  for (int i = 0; i < kThreads; i++)
    if (pthread_create(&threads[i], NULL, come_and_go, (void *)&names[i]) != 0) return 1;
  for (int i = 0; i < kThreads; i++)
    pthread_join(threads[i], NULL);
  MUST(zar_destroy_database(database));
  return 0;
}
