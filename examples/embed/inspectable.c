// A host that shows what its repository holds: kill -USR1 as text, kill -USR2 as JSON. docs/embedding.md explains it.
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>

#include "zar/inspect.h"
#include "zar/platform/engine.h"
#include "zar/zar.h"

// A handler may only set a flag: the signal may have arrived in the middle of an operation.
static volatile sig_atomic_t wanted;
static void want_text(int signal) { (void)signal, wanted = ZAR_INSPECT_TEXT; }
static void want_json(int signal) { (void)signal, wanted = ZAR_INSPECT_JSON; }

static int write_piece(void *file, const char *text, size_t size) { return fwrite(text, 1, size, file) != size; }

// The daemon calls this from its loop, between two operations, on the thread that calls them.
static void show_if_wanted(void) {
  if (wanted == 0) return;
  enum zar_inspect_form form = (enum zar_inspect_form)wanted;
  wanted = 0;
  enum zar_status status = zar_inspect(form, write_piece, stdout);
  if (status != ZAR_STATUS_SUCCESS) fprintf(stderr, "the repository cannot be shown: %s\n", zar_status_text(status));
}

static void must(uint32_t status, const char *call) {
  if (status != 0) fprintf(stderr, "%s: %s\n", call, zar_status_text(status)), exit(1);
}
#define MUST(call) must(call, #call)

int main(void) {
  const zar_map_info policy = {.domain = "guest", .domain_type = ZAR_DOMAIN_CONTROL, .map_name = "guest-access"};
  const zar_map_info class = {.domain = "guest", .domain_type = ZAR_DOMAIN_CONTROL, .map_name = "everything"};
  const zar_event_context start = {.event_id = 1};
  static zar_target_info session = {.target_id = 7};
  zar_db *database = NULL;
  uint32_t clid = 0, cmap = 0, pmap = 0, event = 0, rule = 0, target = 0;

  signal(SIGUSR1, want_text);
  signal(SIGUSR2, want_json);
  if (zar_init() == 0) return 1;
  MUST(zar_create_database(&database));
  MUST(zar_client_register("guestd", database, &clid));
  kel_clid = clid;
  MUST(zar_register_domain(clid, "guest"));

  MUST(zar_create_class(clid, &class, ZAR_CLASS_MATCH_ALL, &cmap));
  MUST(zar_store_class(clid, cmap));
  MUST(zar_create_policy(clid, &policy, &pmap));
  MUST(zar_create_event(&start, "start", &event));
  MUST(zar_add_event(pmap, event));
  MUST(zar_add_class_to_event(event, cmap, ZAR_EXEC_RUN_ALL, 10, &rule));
  MUST(zar_store_policy(clid, pmap));
  MUST(zar_add_target(clid, &session, pmap, &target));

  // Here somebody asks; in a real daemon this is its loop.
  raise(SIGUSR1);
  show_if_wanted();
  raise(SIGUSR2);
  show_if_wanted();
  return 0;
}
