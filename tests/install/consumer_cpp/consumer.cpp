// A host in C++20. Built as it is, it is linked with the library; with CONSUMER_LOADS it loads the library that its
// argument names. Besides the results it checks its own runtime: a policy that was created and deleted leaves nothing
// behind.
#include <dlfcn.h>
#include <zar/platform/engine.h>
#include <zar/platform/runtime.h>
#include <zar/version.h>
#include <zar/zar.h>

#include <cstdio>
#include <cstdlib>
#include <set>
#include <string>
#include <tuple>
#include <utility>

#include "runtime.h"

namespace {

#ifdef CONSUMER_LOADS
void *the_library;

template <class Operation>
Operation *find(Operation *, const char *name) {
  void *found = dlsym(the_library, name);
  if (!found) std::fprintf(stderr, "%s\n", dlerror()), std::exit(1);
  return reinterpret_cast<Operation *>(found);
}
// Only the type of the operation is used: the program must not refer to the library by itself.
#define CALL(name) find(static_cast<decltype(&name)>(nullptr), #name)
#else
#define CALL(name) name
#endif

using Instance = std::tuple<uint32_t, std::string, std::string, uint32_t>;
std::set<Instance> instances;

Instance instance_of(uint32_t target, const zar_map_info &key) {
  return {target, key.map_name, key.domain, key.domain_type};
}

int n_errors;

void expect(bool is_so, const char *what) {
  if (!is_so) std::fprintf(stderr, "not so: %s\n", what);
  n_errors += !is_so;
}
#define EXPECT(condition) expect(condition, #condition)

struct Limit {
  int rate;
  int *frees;
};
Limit &limit_of(void *data) {
  return *static_cast<Limit *>(data);
}

queue_head *last_list;
int n_in_force;

zar_action_context describe(Limit &limit) {
  return {.action_data = &limit,
          .action_free_fn = [](void *data, void *) { ++*limit_of(data).frees; },
          .action_entry_fn = [](void *, void *) -> uint32_t { return 0; },
          .action_str_fn = [](void *data, uint32_t) -> char * {
            return bstrdup_named(("limit " + std::to_string(limit_of(data).rate)).c_str(), 0);
          },
          .action_compare_fn = [](void *stored, void *given) -> uint32_t {
            return limit_of(stored).rate == limit_of(given).rate;
          },
          .action_notify_fn =
              [](uint32_t removed, void *, queue_head *targets) {
                n_in_force += removed ? -1 : 1;
                last_list = targets;
              },
          .action_param_map_check_fn = nullptr};
}

// The target lists of notifications belong to the host.
void free_last_list() {
  while (queue_dequeue(last_list))
    continue;
  bfree_named(std::exchange(last_list, nullptr));
}

void come_and_go(uint32_t clid) {
  const zar_map_info silver{.domain = "access", .domain_type = 1, .map_name = "silver", .hidden = 0};
  const zar_map_info all{.domain = "access", .domain_type = 1, .map_name = "all", .hidden = 0};
  const zar_event_context start{.event_id = 2, .event_name = nullptr};
  zar_target_info line{.link = {}, .target_id = 9};
  int frees = 0;
  Limit limit{.rate = 64, .frees = &frees};
  const zar_action_context context = describe(limit);
  uint32_t cmap = 0, pmap = 0, event = 0, rule = 0, action = 0, target = 0, found = 0;
  zar_target_info *detached = nullptr;

  EXPECT(CALL(zar_create_class)(clid, &all, 2, &cmap) == 0);
  EXPECT(CALL(zar_store_class)(clid, cmap) == 0);
  EXPECT(CALL(zar_create_policy)(clid, &silver, &pmap) == 0);
  EXPECT(CALL(zar_create_event)(&start, "start", &event) == 0);
  EXPECT(CALL(zar_add_event)(pmap, event) == 0);
  EXPECT(CALL(zar_add_class_to_event)(event, cmap, 1, 10, &rule) == 0);
  EXPECT(CALL(zar_create_action)(&context, 1, 0, &action) == 0);
  EXPECT(CALL(zar_add_action_to_rule)(rule, action) == 0);
  EXPECT(CALL(zar_retrieve_action)(rule, &context, &found) == 0 && found == action);
  EXPECT(CALL(zar_store_policy)(clid, pmap) == 0);

  EXPECT(CALL(zar_add_target)(clid, &line, pmap, &target) == 0);
  EXPECT(instances.contains(instance_of(target, silver)) && n_in_force == 1);
  free_last_list();
  EXPECT(CALL(zar_deactivate_policy_by_name)(clid, target, &silver) == 0);
  EXPECT(instances.empty() && n_in_force == 0);
  free_last_list();

  EXPECT(CALL(zar_delete_stored_policy_by_name)(clid, &silver) == 0 && frees == 1);
  EXPECT(CALL(zar_delete_stored_class_by_name)(clid, &all) == 0);
  EXPECT(CALL(zar_remove_target)(clid, target, &detached) == 0 && detached == &line);
  EXPECT(CALL(zar_delete_target)(target) == 0);
}

}  // namespace

uint32_t kel_trace_id = 1, kel_clid = 1;
const char *BUILTIN_DEVICE_TO_TEMPLATE = "BUILTIN_DEVICE_TO_TEMPLATE";

uint32_t kel_create_policy_instance(void **instance_out, uint32_t target, uint32_t, const zar_map_info *key) {
  auto [at, is_new] = instances.insert(instance_of(target, *key));
  *instance_out = const_cast<Instance *>(&*at);
  return !is_new;
}
uint32_t kel_find_policy_instance(void **instance_out, uint32_t target, const zar_map_info *key) {
  auto at = instances.find(instance_of(target, *key));
  if (at == instances.end()) return 1;
  *instance_out = const_cast<Instance *>(&*at);
  return 0;
}
uint32_t kel_delete_policy_instance(void *instance) {
  return instances.erase(Instance(*static_cast<Instance *>(instance))) != 1;
}
uint32_t kel_free_all_policy_ae_context(void *) {
  return 0;
}
uint32_t kel_parameter_map_get_type(const char *, uint32_t *) {
  return 1;
}
const char *kel_cmap_match_criteria_get_string_short(uint32_t) {
  return "match";
}
const char *kel_pmap_class_match_get_string_short(uint32_t) {
  return "match";
}
const char *kel_pmap_action_exec_criteria_get_string_short(uint32_t) {
  return "run";
}

int main([[maybe_unused]] int n_arguments, [[maybe_unused]] char **arguments) {
#ifdef CONSUMER_LOADS
  the_library = n_arguments > 1 ? dlopen(arguments[1], RTLD_NOW | RTLD_LOCAL) : nullptr;
  if (!the_library) std::fprintf(stderr, "%s\n", dlerror()), std::exit(1);
#endif
  static_assert(ZAR_VERSION_AT_LEAST(1, 0, 0) && !ZAR_VERSION_AT_LEAST(ZAR_VERSION_MAJOR + 1, 0, 0));
  zar_db *database = nullptr;
  uint32_t clid = 0;
  CALL(zar_init)();
  EXPECT(CALL(zar_create_database)(&database) == 0);
  EXPECT(CALL(zar_client_register)("consumer", database, &clid) == 0 && clid == 1);

  const consumer::Live before = consumer::live_now();
  come_and_go(clid);
  come_and_go(clid);
  EXPECT(consumer::live_now() == before);

  EXPECT(CALL(zar_destroy_database)(database) == 0);
  std::puts(n_errors ? "failed" : "all as it should be");
  return n_errors != 0;
}
