/* A host in C11. Built as it is, it is linked with the library; with CONSUMER_LOADS it loads the library that its argument
 * names. Its platform runtime is another file; the engine is here. It creates a policy, activates it on a target, walks
 * what the target runs, and deletes everything again. */
#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <zar/platform/engine.h>
#include <zar/platform/runtime.h>
#include <zar/version.h>
#include <zar/zar.h>

/* What this host uses from the library. */
#define OPERATIONS(X)                      \
  X(zar_init)                              \
  X(zar_create_database)                   \
  X(zar_client_register)                   \
  X(zar_create_class)                      \
  X(zar_store_class)                       \
  X(zar_create_policy)                     \
  X(zar_create_event)                      \
  X(zar_add_event)                         \
  X(zar_add_class_to_event)                \
  X(zar_create_action)                     \
  X(zar_add_action_to_rule)                \
  X(zar_store_policy)                      \
  X(zar_add_target)                        \
  X(zar_get_first_active_policy_on_target) \
  X(zar_get_pmap_name)                     \
  X(zar_get_action_nvgen_str)              \
  X(zar_delete_stored_policy)              \
  X(zar_delete_stored_class)               \
  X(zar_remove_target)                     \
  X(zar_delete_target)                     \
  X(zar_destroy_database)

static struct {
#define DECLARE(name) __typeof__(name) *name;
  OPERATIONS(DECLARE)
} library;

#ifdef CONSUMER_LOADS
static void *find(void *handle, const char *name) {
  void *found = dlsym(handle, name);
  if (!found) fprintf(stderr, "%s\n", dlerror()), exit(1);
  return found;
}
static void find_library(const char *path) {
  void *handle = dlopen(path, RTLD_NOW | RTLD_LOCAL);
  if (!handle) fprintf(stderr, "%s\n", dlerror()), exit(1);
#define FIND(name) *(void **)(&library.name) = find(handle, #name);
  OPERATIONS(FIND)
}
#else
static void find_library(const char *path) {
  (void)path;
#define TAKE(name) library.name = name;
  OPERATIONS(TAKE)
}
#endif

/* ---- The engine ---- */

uint32_t kel_trace_id = 1, kel_clid = 1;
const char *BUILTIN_DEVICE_TO_TEMPLATE = "BUILTIN_DEVICE_TO_TEMPLATE";
static int n_instances, n_made;

uint32_t kel_create_policy_instance(void **instance_out, uint32_t target, uint32_t clid, const zar_map_info *key) {
  (void)target, (void)clid;
  n_instances++;
  n_made += strcmp(key->map_name, "gold") == 0;
  *instance_out = &n_instances;
  return 0;
}
uint32_t kel_find_policy_instance(void **instance_out, uint32_t target, const zar_map_info *key) {
  (void)target, (void)key;
  *instance_out = &n_instances;
  return n_instances > 0 ? 0 : 1;
}
uint32_t kel_delete_policy_instance(void *instance) {
  --*(int *)instance;
  return 0;
}
uint32_t kel_free_all_policy_ae_context(void *ae_context) {
  (void)ae_context;
  return 0;
}
uint32_t kel_parameter_map_get_type(const char *domain, uint32_t *type_out) {
  (void)domain, (void)type_out;
  return 1;
}
const char *kel_cmap_match_criteria_get_string_short(uint32_t criteria) {
  return criteria == 1 ? "match-all" : "match-any";
}
const char *kel_pmap_class_match_get_string_short(uint32_t criteria) {
  return criteria == 1 ? "match-all" : "match-first";
}
const char *kel_pmap_action_exec_criteria_get_string_short(uint32_t criteria) {
  return criteria == 1 ? "run-all" : "stop";
}

/* ---- The action ---- */

static int n_frees;

static void free_action(void *data, void *context) {
  (void)data, (void)context;
  n_frees++;
}
static uint32_t run_action(void *data, void *run) {
  (void)data, (void)run;
  return 0;
}
static char *action_text(void *data, uint32_t argument) {
  (void)argument;
  return bstrdup_named(data, 0);
}
static uint32_t same_action(void *stored, void *given) {
  return strcmp(stored, given) == 0;
}

static int n_errors;

static void expect(int is_so, const char *what) {
  if (!is_so) fprintf(stderr, "not so: %s\n", what);
  n_errors += !is_so;
}
#define EXPECT(condition) expect(condition, #condition)

int main(int n_arguments, char **arguments) {
  static char permit[] = "permit";
  static zar_target_info line = {.target_id = 3};
  const zar_map_info gold = {.domain = "access", .domain_type = 1, .map_name = "gold"};
  const zar_map_info any = {.domain = "access", .domain_type = 1, .map_name = "any"};
  const zar_event_context up = {.event_id = 4};
  const zar_action_context context = {permit, free_action, run_action, action_text, same_action, NULL, NULL};
  uint32_t clid = 0, cmap = 0, pmap = 0, event = 0, rule = 0, action = 0, target = 0, active = 0;
  zar_target_info *detached = NULL;
  zar_db *database = NULL;

  find_library(n_arguments > 1 ? arguments[1] : "");
  EXPECT(strcmp(zar_version(), ZAR_VERSION_STRING) == 0 && ZAR_VERSION_AT_LEAST(1, 0, 0));
  library.zar_init();
  EXPECT(library.zar_create_database(&database) == 0);
  EXPECT(library.zar_client_register("consumer", database, &clid) == 0 && clid == 1);

  EXPECT(library.zar_create_class(clid, &any, 1, &cmap) == 0);
  EXPECT(library.zar_store_class(clid, cmap) == 0);
  EXPECT(library.zar_create_policy(clid, &gold, &pmap) == 0);
  EXPECT(library.zar_create_event(&up, "up", &event) == 0);
  EXPECT(library.zar_add_event(pmap, event) == 0);
  EXPECT(library.zar_add_class_to_event(event, cmap, 1, 10, &rule) == 0);
  EXPECT(library.zar_create_action(&context, 5, 0, &action) == 0);
  EXPECT(library.zar_add_action_to_rule(rule, action) == 0);
  EXPECT(library.zar_store_policy(clid, pmap) == 0);

  EXPECT(library.zar_add_target(clid, &line, pmap, &target) == 0);
  EXPECT(n_made == 1 && n_instances == 1);
  EXPECT(library.zar_get_first_active_policy_on_target(target, NULL, NULL, &active) == 0 && active == pmap);
  EXPECT(strcmp(library.zar_get_pmap_name(active), "gold") == 0);
  char *text = library.zar_get_action_nvgen_str(action, 0);
  EXPECT(text && strcmp(text, "permit") == 0);
  bfree_named(text);

  EXPECT(library.zar_delete_stored_class(clid, cmap) == 39);
  EXPECT(library.zar_delete_stored_policy(clid, pmap) == 0);
  EXPECT(n_instances == 0 && n_frees == 1);
  EXPECT(library.zar_delete_stored_class(clid, cmap) == 0);
  EXPECT(library.zar_remove_target(clid, target, &detached) == 0 && detached == &line);
  EXPECT(library.zar_delete_target(target) == 0);
  EXPECT(library.zar_destroy_database(database) == 0);
  puts(n_errors ? "failed" : "all as it should be");
  return n_errors != 0;
}
