// Operations among many objects, to be counted under callgrind:
//   bench_costs --list             the groups, with the largest number of objects that makes sense for each
//   bench_costs GROUP OBJECTS      builds the objects of the group, and makes each operation many times
//   bench_costs beside OBJECTS     does jobs of the library, and the same with the alternatives of docs/performance.md; it
//                                  deletes some of the objects, so there must be at least 200
//
// Only the operations are counted. The counts of each are dumped under "NAME|TIMES". scripts/costs runs this and reads
// the dumps.
#include <absl/container/btree_map.h>
#include <malloc.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "by_hand/key.h"
#include "by_hand/repository.h"
#include "called/handles.h"
#include "host/engine/engine.h"
#include "platform/runtime.h"
#include "simulator/session/session.h"
#include "support/counting.h"
#include "support/random.h"
#include "support/repository.h"

namespace {

using bench::clid;
using bench::dump;
using bench::must;
using bench::once;
using bench::Random;

using Handles = std::vector<uint32_t>;

constexpr uint32_t kMost = 60000;
constexpr uint32_t kTimes = 200;

Random any;

// Inlined whatever else is in this file, since it is counted.
[[gnu::always_inline]] inline uint32_t any_of(const Handles &handles) {
  return handles[any.below(static_cast<uint32_t>(handles.size()))];
}

constexpr uint32_t kUncounted = kTimes / 10;

// Counts many calls. The first ones, which fill the simulated caches, do not count.
template <class Operation>
void repeated(const std::string &name, Operation operation, uint32_t n_uncounted = kUncounted) {
  CALLGRIND_START_INSTRUMENTATION;
  for (uint32_t number = 0; number < n_uncounted; ++number)
    operation();
  bench::forget();
  for (uint32_t number = kUncounted; number < kTimes; ++number)
    operation();
  CALLGRIND_STOP_INSTRUMENTATION;
  dump(name, kTimes - kUncounted);
}

// ---- Objects

uint32_t new_class(const char *name) {
  const zar_map_info info = bench::info_of(name);
  uint32_t cmap = 0;
  must(zar_create_class(clid(), &info, 1, &cmap), "zar_create_class");
  return cmap;
}
uint32_t new_action() {
  const zar_action_context context = bench::action_context("count");
  uint32_t action = 0;
  must(zar_create_action(&context, 1, 0, &action), "zar_create_action");
  return action;
}
uint32_t new_filter() {
  const zar_filter_context context = bench::filter_context("state");
  uint32_t filter = 0;
  must(zar_create_filter(&context, &filter, 0), "zar_create_filter");
  return filter;
}
uint32_t new_event(uint32_t id) {
  const zar_event_context context{.event_id = id, .event_name = nullptr};
  uint32_t event = 0;
  must(zar_create_event(&context, "session-start", &event), "zar_create_event");
  return event;
}
uint32_t event_in(uint32_t pmap, uint32_t id) {
  const uint32_t event = new_event(id);
  must(zar_add_event(pmap, event), "zar_add_event");
  return event;
}
uint32_t rule_in(uint32_t event, uint32_t cmap) {
  uint32_t rule = 0;
  must(zar_add_class_to_event(event, cmap, 0, 1, &rule), "zar_add_class_to_event");
  return rule;
}

// ---- Maps by name

void store_and_delete(const char *name) {
  const zar_map_info info = bench::info_of(name);
  must(zar_store_policy(clid(), bench::new_policy(clid(), name)), "zar_store_policy");
  must(zar_delete_stored_policy_by_name(clid(), &info), "zar_delete_stored_policy_by_name");
}

void print_nothing(const char *, ...) {}

void names(uint32_t n_objects) {
  const std::vector<std::string> stored = bench::names(n_objects), absent = bench::names(n_objects, "x");
  Handles policies, classes;
  for (const std::string &name : stored) {
    policies.push_back(bench::new_policy(clid(), name.c_str()));
    must(zar_store_policy(clid(), policies.back()), "zar_store_policy");
    classes.push_back(new_class(name.c_str()));
    must(zar_store_class(clid(), classes.back()), "zar_store_class");
  }
  const auto retrieve = [n_objects](const std::vector<std::string> &names) {
    const zar_map_info info = bench::info_of(names[any.below(n_objects)].c_str());
    uint32_t pmap = 0;
    return zar_retrieve_policy(clid(), &info, &pmap);
  };
  repeated("retrieve a policy-map", [&] { must(retrieve(stored), "zar_retrieve_policy"); });
  repeated("retrieve a policy-map that is missing", [&] { retrieve(absent); });
  repeated("create, store and delete a policy-map by name",
           [&] { store_and_delete(absent[any.below(n_objects)].c_str()); });
  repeated("next policy-map", [&] {
    uint32_t next = 0;
    must(zar_get_next_policy(clid(), any_of(policies), &next), "zar_get_next_policy");
  });
  repeated("next class-map", [&] {
    uint32_t next = 0;
    must(zar_get_next_class(clid(), any_of(classes), &next), "zar_get_next_class");
  });
  repeated("show a policy-map by name", [&] {
    const std::string &name = stored[any.below(n_objects)];
    must(zar_print_policymap("", print_nothing, bench::kDomain, name.c_str(), 0, 1), "zar_print_policymap");
  });
}

// ---- Handles and leaves

constexpr char kName[] = "customer-99999";

// Created and deleted at once.
void make_policy() {
  must(zar_delete_policy(bench::new_policy(clid(), kName)), "zar_delete_policy");
}
void make_class() {
  must(zar_delete_class(new_class(kName)), "zar_delete_class");
}
void make_event() {
  must(zar_delete_event(new_event(1)), "zar_delete_event");
}

void handles(uint32_t n_objects) {
  clid();  // starts the library
  Handles live, stale;
  while (live.size() < n_objects)
    live.push_back(new_action());
  while (stale.size() < 1000)
    stale.push_back(new_action());
  for (const uint32_t handle : stale)
    must(zar_delete_action(handle), "zar_delete_action");
  repeated("resolve a handle", [&] { zar_get_action_num(any_of(live)); });
  repeated("refuse a stale handle", [&] { zar_get_action_num(any_of(stale)); });
  repeated("create and delete a policy-map", make_policy);
  repeated("create and delete a class-map", make_class);
  repeated("create and delete an action", [] { must(zar_delete_action(new_action()), "zar_delete_action"); });
  repeated("create and delete a filter", [] { must(zar_delete_filter(new_filter()), "zar_delete_filter"); });
  repeated("create and delete an event", make_event);
}

// ---- Targets

uint32_t new_target(zar_target_info *info, uint32_t pmap) {
  uint32_t target = 0;
  must(zar_add_target(clid(), info, pmap, &target), "zar_add_target");
  return target;
}
void remove_target(uint32_t target) {
  bench::delete_target(clid(), target);
}

void targets(uint32_t n_objects) {
  const uint32_t first = bench::new_policy(clid(), "first"), second = bench::new_policy(clid(), "second");
  std::vector<zar_target_info> infos(n_objects);
  zar_target_info session{};
  Handles all(n_objects);
  const auto activate = [second](uint32_t target) {
    must(zar_activate_policy(clid(), second, target), "zar_activate_policy");
  };
  for (uint32_t at = 0; at < n_objects; ++at)
    all[at] = new_target(&infos[at], first);
  once("activate a policy-map, per target", n_objects, [&] { std::for_each(all.begin(), all.end(), activate); });
  once("deactivate a policy-map everywhere, per target", n_objects,
       [second] { must(zar_deactivate_policy_by_handle_from_all_targets(clid(), second), "deactivation"); });
  std::for_each(all.begin(), all.end(), activate);
  repeated("session comes and goes", [&] {
    const uint32_t target = new_target(&session, first);
    activate(target);
    remove_target(target);
  });
  repeated("session replaces any other", [&] {
    const uint32_t at = any.below(n_objects);
    remove_target(all[at]);
    all[at] = new_target(&infos[at], first);
    activate(all[at]);
  });
  zar_db *database = nullptr;
  must(!zar_get_client_database_handle(clid(), "bench", &database, nullptr), "zar_get_client_database_handle");
  repeated("find a target", [&] {
    zar_target probe{}, *found = nullptr;
    probe.handle = any_of(all);
    must(!zar_avl_search_target_client_db(database, &probe, &found), "zar_avl_search_target_client_db");
  });
  std::shuffle(all.begin(), all.end(), std::mt19937(1));
  once("delete a target, any order", n_objects, [&] { std::for_each(all.begin(), all.end(), remove_target); });
}

// Its notification function gets the targets of the policy-map.
void notifications(uint32_t n_objects) {
  const uint32_t pmap = bench::new_policy(clid(), "first");
  std::vector<zar_target_info> infos(n_objects);
  for (zar_target_info &info : infos)
    new_target(&info, pmap);
  zar_action_context context = bench::action_context("count");
  context.action_notify_fn = [](uint32_t, void *, queue_head *list) { engine::keep_target_list(list); };
  uint32_t action = 0;
  must(zar_create_action(&context, 1, 0, &action), "zar_create_action");
  once("notify an action of all targets, per target", n_objects,
       [&] { zar_shim_action_added_removed(action, pmap, 1); });
  engine::release_target_lists();
}

// ---- What is active on one target

void active(uint32_t n_objects) {
  Handles policies;
  for (const std::string &name : bench::names(n_objects + 1)) {
    policies.push_back(bench::new_policy(clid(), name.c_str()));
    must(zar_store_policy(clid(), policies.back()), "zar_store_policy");
  }
  const std::string last = bench::names(n_objects + 1).back();
  zar_target_info session{};
  const uint32_t target = new_target(&session, policies[0]);
  for (uint32_t at = 1; at < n_objects; ++at)
    must(zar_activate_policy(clid(), policies[at], target), "zar_activate_policy");
  repeated("activate and deactivate beside others on a target", [&] {
    const zar_map_info info = bench::info_of(last.c_str());
    must(zar_activate_policy(clid(), policies.back(), target), "zar_activate_policy");
    must(zar_deactivate_policy_by_name(clid(), target, &info), "zar_deactivate_policy_by_name");
  });
  repeated("next active policy-map of a target", [&] {
    uint32_t next = 0;
    must(zar_get_next_active_policy_on_target(target, any_of(policies), nullptr, nullptr, &next), "the next one");
  });
}

// ---- Texts of the platform

// Names that differ in a few of their few characters, as the names of sessions do, must not get into each other's way.
void texts(uint32_t n_objects) {
  const auto added = [](const std::string &text) {
    sdb_ref reference = nullptr;
    if (sdb_add_block(text.c_str(), static_cast<uint32_t>(text.size()), &reference, 0) == 0) std::abort();
    return reference;
  };
  for (const char *prefix : {"", "s", "ip"}) {
    std::vector<std::string> others;
    for (uint32_t number = 0; number < n_objects + kTimes; ++number)
      others.push_back(prefix + std::to_string(100000 + number));
    for (uint32_t number = 0; number < n_objects; ++number)
      added(others[number]);
    repeated("intern and remove a text like " + others.front(), [&, at = n_objects]() mutable {
      if (sdb_remove_block(added(others[at++]), 0) == 0) std::abort();
    });
  }
}

// ---- Lists under a map

void events(uint32_t n_objects) {
  const uint32_t pmap = bench::new_policy(clid(), "first");
  Handles all;
  for (uint32_t id = 1; id <= n_objects; ++id)
    all.push_back(event_in(pmap, id));
  repeated("add an event, and delete it",
           [&] { must(zar_delete_event(event_in(pmap, n_objects + 1)), "zar_delete_event"); });
  repeated("find an event by its id", [&] {
    const zar_event_context context{.event_id = 1 + any.below(n_objects), .event_name = nullptr};
    uint32_t event = 0;
    must(zar_retrieve_event(pmap, &context, &event), "zar_retrieve_event");
  });
  repeated("next event", [&] {
    uint32_t next = 0;
    must(zar_get_next_event_class(clid(), pmap, any_of(all), &next), "zar_get_next_event_class");
  });
  once("delete a policy-map, per event", n_objects, [pmap] { must(zar_delete_policy(pmap), "zar_delete_policy"); });
}

void rules(uint32_t n_objects) {
  const uint32_t pmap = bench::new_policy(clid(), "first"), cmap = new_class("class");
  const uint32_t event = event_in(pmap, 1);
  Handles all;
  while (all.size() < n_objects)
    all.push_back(rule_in(event, cmap));
  repeated("add a rule", [&] { rule_in(event, cmap); });
  repeated("next rule", [&] {
    uint32_t next = 0;
    must(zar_get_next_class_action(clid(), pmap, event, any_of(all), &next), "zar_get_next_class_action");
  });
  once("delete an event, per rule", n_objects + kTimes, [event] { must(zar_delete_event(event), "zar_delete_event"); });
}

void actions(uint32_t n_objects) {
  const uint32_t event = event_in(bench::new_policy(clid(), "first"), 1);
  const uint32_t rule = rule_in(event, new_class("class"));
  Handles all = {new_action()};
  must(zar_add_action_to_rule(rule, all[0]), "zar_add_action_to_rule");
  while (all.size() < n_objects) {
    const uint32_t before = all.back();
    all.push_back(new_action());
    must(zar_add_action_to_rule_before_action(rule, all.back(), before), "zar_add_action_to_rule_before_action");
  }
  const uint32_t another = new_action();
  repeated("add an action, and remove it", [&] {
    must(zar_add_action_to_rule(rule, another), "zar_add_action_to_rule");
    must(zar_remove_action_from_class_action(rule, another), "zar_remove_action_from_class_action");
  });
  repeated("next action", [&] {
    uint32_t next = 0;
    must(zar_get_next_action(clid(), rule, any_of(all), &next), "zar_get_next_action");
  });
  repeated("find an action by its content", [&] {
    const zar_action_context context = bench::action_context("another");
    uint32_t found = 0;
    zar_retrieve_action(rule, &context, &found);
  });
}

void filters(uint32_t n_objects) {
  const uint32_t cmap = new_class("class");
  Handles all;
  while (all.size() < n_objects) {
    all.push_back(new_filter());
    must(zar_add_filter_to_class(cmap, all.back()), "zar_add_filter_to_class");
  }
  repeated("add a filter, and remove and delete it", [&] {
    const uint32_t another = new_filter();
    must(zar_add_filter_to_class(cmap, another), "zar_add_filter_to_class");
    must(zar_remove_filter_from_class(cmap, another), "zar_remove_filter_from_class");
    must(zar_delete_filter(another), "zar_delete_filter");
  });
  repeated("next filter", [&] {
    uint32_t next = 0;
    must(zar_get_next_filter(clid(), cmap, any_of(all), &next), "zar_get_next_filter");
  });
  repeated("find a filter by its content", [&] {
    const zar_filter_context context = bench::filter_context("another");
    uint32_t found = 0;
    zar_retrieve_filter(cmap, &context, 0, &found);
  });
}

// A class-map that many policy-maps use.
void uses(uint32_t n_objects) {
  const uint32_t cmap = new_class("class");
  const auto use = [cmap] {
    const uint32_t pmap = bench::new_policy(clid(), "user");
    rule_in(event_in(pmap, 1), cmap);
    return pmap;
  };
  Handles all;
  while (all.size() < n_objects)
    all.push_back(use());
  repeated("use a class-map in another policy-map, and delete that",
           [&] { must(zar_delete_policy(use()), "zar_delete_policy"); });
}

void statements(uint32_t n_objects) {
  const zar_map_info info{.domain = "subscriber", .domain_type = bench::kControl, .map_name = "values", .hidden = 0};
  uint32_t map = 0;
  must(zar_create_pmtr_map(clid(), &info, &map), "zar_create_pmtr_map");
  const zar_filter_context context = bench::filter_context("state");
  for (uint32_t index = 1; index <= n_objects; ++index)
    must(zar_pmtr_create_or_add_filter(map, &context, 0, 0, 0, index, 0, 0), "zar_pmtr_create_or_add_filter");
  repeated("add a statement to a parameter-map, and delete it", [&] {
    must(zar_pmtr_create_or_add_filter(map, &context, 0, 0, 0, n_objects + 1, 0, 0), "zar_pmtr_create_or_add_filter");
    must(zar_pmtr_delete_filter(map, n_objects + 1), "zar_pmtr_delete_filter");
  });
  repeated("next statement", [&] {
    uint32_t next = 0;
    must(zar_get_next_pmtr_map_index(clid(), map, 1 + any.below(n_objects - 1), &next), "zar_get_next_pmtr_map_index");
  });
}

// ---- Domains and clients

void domains(uint32_t n_objects) {
  for (const std::string &name : bench::names(n_objects))
    must(zar_register_domain(clid(), name.c_str()), "zar_register_domain");
  const std::vector<std::string> more = bench::names(kTimes, "x");
  uint32_t next = 0;
  repeated("register a domain",
           [&] { must(zar_register_domain(clid(), more[next++].c_str()), "zar_register_domain"); });
}

// ---- The simulator's session, which builds one object after the other

void session(uint32_t n_objects) {
  static simulator::session::Session live;
  static simulator::session::Trouble trouble;
  uint32_t line = 0;
  const auto create = [&line](const char *kind, const std::string &name) {
    const bool created = live.create(*simulator::find_kind(kind), name, "{}", ++line, trouble);
    must(created ? 0 : 1, "a session's create");
  };
  must(live.begin(trouble) ? 0 : 1, "a session's begin");
  create("domain", "domain");
  for (const std::string &name : bench::names(n_objects))
    create("class", name);
  const std::vector<std::string> more = bench::names(kTimes, "x");
  uint32_t next = 0;
  repeated("create a class-map in a session", [&] { create("class", more[next++]); });
}

// ---- Beside the alternatives

template <class Operation, class Alternative>
void beside(const std::string &name, Operation operation, Alternative alternative, uint32_t n_uncounted = kUncounted) {
  malloc_trim(0);  // otherwise the heap joins what was freed before during one of the operations
  repeated(name, operation, n_uncounted);
  repeated("beside " + name, alternative, n_uncounted);
}

// Each part deletes the library's objects, so that there are handles for the next one.
void maps_beside(uint32_t n_objects) {
  by_hand::Repository hand;
  Handles stored;
  for (const std::string &name : bench::names(n_objects)) {
    stored.push_back(bench::new_policy(clid(), name.c_str()));
    must(zar_store_policy(clid(), stored.back()), "zar_store_policy");
    hand.store_policy(hand.create_policy(bench::info_of(name.c_str())));
  }
  const zar_map_info info = bench::info_of(kName);
  beside("create and delete a policy-map", make_policy, [&] { hand.delete_policy(hand.create_policy(info)); });
  beside("create and delete a class-map", make_class, [&] { hand.delete_class(hand.create_class(info, 1)); });
  beside("create and delete an event", make_event, [&] { hand.delete_event(hand.create_event(1, "session-start")); });
  const std::vector<std::string> absent = bench::names(n_objects, "x");
  beside(
      "create, store and delete a policy-map by name", [&] { store_and_delete(absent[any.below(n_objects)].c_str()); },
      [&] {
        const zar_map_info other = bench::info_of(absent[any.below(n_objects)].c_str());
        hand.store_policy(hand.create_policy(other));
        hand.delete_policy(hand.retrieve_policy(other));
      });
  for (const uint32_t pmap : stored)
    must(zar_delete_stored_policy(clid(), pmap), "zar_delete_stored_policy");
}

void names_beside(uint32_t n_objects) {
  const std::vector<std::string> names = bench::names(n_objects);
  absl::btree_map<std::string, uint32_t> by_name;
  Handles stored;
  for (const std::string &name : names) {
    stored.push_back(bench::new_policy(clid(), name.c_str()));
    must(zar_store_policy(clid(), stored.back()), "zar_store_policy");
    by_name.emplace(bench::Key(bench::info_of(name.c_str())).view(), stored.back());
  }
  const auto info_of_any = [&] { return bench::info_of(names[any.below(n_objects)].c_str()); };
  const auto retrieve = [&] {
    const zar_map_info info = info_of_any();
    uint32_t pmap = 0;
    must(zar_retrieve_policy(clid(), &info, &pmap), "zar_retrieve_policy");
  };
  const auto find = [&] {
    bench::Key key(info_of_any());
    must(by_name.contains(absl::string_view(key.text(), key.view().size())) ? 0 : 1, "a look-up in the B-tree");
  };
  // First the upper levels of the trees get into the caches.
  beside("look up a policy-map by name", retrieve, find, n_objects);
  for (const uint32_t pmap : stored)
    must(zar_delete_stored_policy(clid(), pmap), "zar_delete_stored_policy");
}

void handles_beside(uint32_t n_objects) {
  by_hand::Repository hand;
  Handles library, by_hand, least, stale, stale_slots, stale_ids;
  const zar_action_context context = bench::action_context("count");
  const auto delete_action = [](uint32_t action) { must(zar_delete_action(action), "zar_delete_action"); };
  for (uint32_t at = 0; at < n_objects; ++at) {
    stale.push_back(new_action());
    stale_slots.push_back(called_slot_map_add(called_action_new(1)));
    stale_ids.push_back(called_id_add(called_action_new(1)));
  }
  std::for_each(stale.begin(), stale.end(), delete_action);
  std::for_each(stale_slots.begin(), stale_slots.end(), called_slot_map_remove);
  std::for_each(stale_ids.begin(), stale_ids.end(), called_id_remove);
  for (uint32_t at = 0; at < n_objects; ++at) {
    library.push_back(new_action());
    by_hand.push_back(hand.create_action(context, 1, 0));
    least.push_back(called_id_add(called_action_new(1)));
  }
  beside(
      "resolve a handle", [&] { zar_get_action_num(any_of(library)); },
      [&] { must(hand.get<by_hand::Action>(any_of(by_hand))->number == 1 ? 0 : 1, "an action by hand"); }, n_objects);
  repeated(
      "least of resolve a handle",
      [&] { must(called_id_action_number(any_of(least)) == 1 ? 0 : 1, "an action of an id"); }, n_objects);
  beside(
      "refuse a stale handle", [&] { zar_get_action_num(any_of(stale)); },
      [&] { called_slot_map_action_number(any_of(stale_slots)); }, n_objects);
  repeated("least of refuse a stale handle", [&] { called_id_action_number(any_of(stale_ids)); }, n_objects);
  std::for_each(library.begin(), library.end(), delete_action);
}

void sessions_beside(uint32_t n_objects) {
  by_hand::Repository hand;
  const uint32_t first = bench::new_policy(clid(), "first"), second = bench::new_policy(clid(), "second");
  const uint32_t hand_first = hand.create_policy(bench::info_of("first by hand"));
  const uint32_t hand_second = hand.create_policy(bench::info_of("second by hand"));
  std::vector<zar_target_info> infos(n_objects + 1), hand_infos(n_objects + 1);
  const auto comes = [&](zar_target_info &info) {
    const uint32_t target = new_target(&info, first);
    must(zar_activate_policy(clid(), second, target), "zar_activate_policy");
    return target;
  };
  const auto comes_by_hand = [&](zar_target_info &info) {
    const uint32_t target = hand.add_target(&info, hand_first);
    hand.activate(hand_second, target);
    return target;
  };
  Handles all, all_by_hand;
  for (uint32_t at = 0; at < n_objects; ++at) {
    all.push_back(comes(infos[at]));
    all_by_hand.push_back(comes_by_hand(hand_infos[at]));
  }
  beside(
      "session comes and goes", [&] { remove_target(comes(infos.back())); },
      [&] { hand.delete_target(comes_by_hand(hand_infos.back())); });
  std::shuffle(all.begin(), all.end(), std::mt19937(1));
  std::shuffle(all_by_hand.begin(), all_by_hand.end(), std::mt19937(1));
  // Each is used up by one operation.
  const uint32_t n_some = n_objects / 3;
  uint32_t next = 0, next_by_hand = 0;
  beside(
      "delete a target, any order", [&] { remove_target(all[next++]); },
      [&] { hand.delete_target(all_by_hand[next_by_hand++]); }, n_some);
  const uint32_t third = bench::new_policy(clid(), "third"),
                 hand_third = hand.create_policy(bench::info_of("third by hand"));
  beside(
      "activate a policy-map on a target",
      [&] { must(zar_activate_policy(clid(), third, all[next++]), "zar_activate_policy"); },
      [&] { hand.activate(hand_third, all_by_hand[next_by_hand++]); }, n_some);
}

void beside_alternatives(uint32_t n_objects) {
  maps_beside(n_objects);
  names_beside(n_objects);
  handles_beside(n_objects);
  sessions_beside(n_objects);
}

struct Group {
  const char *name;
  void (*count)(uint32_t n_objects);
  uint32_t most;  // building more takes too long, because it is one of the operations that grow
};
constexpr Group kGroups[] = {
    {"names", names, kMost / 2},      {"handles", handles, kMost},
    {"targets", targets, kMost},      {"notifications", notifications, kMost},
    {"active", active, 8000},         {"events", events, 8000},
    {"rules", rules, 8000},           {"actions", actions, kMost},
    {"filters", filters, kMost},      {"uses", uses, 8000},
    {"statements", statements, 8000}, {"domains", domains, 8000},
    {"session", session, 8000},       {"texts", texts, 16000},
};

// Not in the list: what alternatives cost has no budget.
constexpr Group kBeside = {"beside", beside_alternatives, kMost};

int usage() {
  std::fprintf(stderr, "usage: bench_costs --list | bench_costs GROUP OBJECTS | bench_costs beside OBJECTS\n");
  return 2;
}

int count_group(const Group &group, uint32_t n_objects) {
  if (n_objects < 2 || n_objects > group.most) return usage();
  group.count(n_objects);
  return 0;
}

}  // namespace

int main(int count, char **arguments) {
  if (count == 2 && std::strcmp(arguments[1], "--list") == 0) {
    for (const Group &group : kGroups)
      std::printf("%s %u\n", group.name, group.most);
    return 0;
  }
  if (count != 3) return usage();
  const auto n_objects = static_cast<uint32_t>(std::strtoul(arguments[2], nullptr, 10));
  if (std::strcmp(kBeside.name, arguments[1]) == 0)
    return n_objects < kTimes ? usage() : count_group(kBeside, n_objects);
  for (const Group &group : kGroups) {
    if (std::strcmp(group.name, arguments[1]) == 0) return count_group(group, n_objects);
  }
  return usage();
}
