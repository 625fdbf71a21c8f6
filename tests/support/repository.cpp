#include "support/repository.h"

#include <algorithm>
#include <cstdlib>
#include <iostream>

#include "platform/runtime.h"

namespace rig {
namespace {

int rigs = 0;

// How a maker handles a status: the test fails, but continues with handle 0.
void expect_made(uint32_t status) {
  EXPECT_EQ(status, 0U) << "a maker failed; the end of the trace:"
                        << (traced().empty() ? " none" : traced().back().text);
}

Handles handles_in(const avl_tree *tree, uint32_t (*handle_of)(const void *)) {
  const Quiet quiet;
  Handles handles;
  void *record = nullptr;
  i_avl_get_first(tree->top.parent, &record);
  while (record != nullptr) {
    handles.push_back(handle_of(record));
    i_avl_get_next(const_cast<avl_tree *>(tree), record, &record);
  }
  return handles;
}

// Handles are at the same offset in all records that a map tree can hold.
uint32_t map_handle(const void *record) {
  return static_cast<const zar_pmap *>(record)->handle;
}
uint32_t target_handle(const void *record) {
  return static_cast<const zar_target *>(record)->handle;
}

template <typename Record>
Handles handles_of(const queue_head &queue) {
  Handles handles;
  for (const void *element : runtime::elements(&queue))
    handles.push_back(static_cast<const Record *>(element)->handle);
  return handles;
}

uint32_t client_or_one(const World &world, const MapOptions &options) {
  return options.clid == 0 ? world.one : options.clid;
}

}  // namespace

void start_rig() {
  ++rigs;
  setenv("ZAR_CHECKS", "on", 1);
  runtime::clear_faults();
  runtime::clear_complaints();
  runtime::record_requests(false);
  lost_on_purpose(zar_clients_info);  // a further start makes a new table and forgets the old one
  reset_engine();
  on_policy_removed = nullptr;
  on_printed = nullptr;
  calls().clear();
  printed().clear();
  start_trace();
}

void breaks_invariants(const char *) {
  unsetenv("ZAR_CHECKS");
}

int rigs_started() {
  return rigs;
}

World::World() {
  start_rig();
  zar_init();
  db = database();
  one = client("one", db);
  two = client("two");
  forget_trace();
}

World::~World() {
  free_target_lists();
  runtime::want_trace_levels(0);
  runtime::trace_to(nullptr);
  zar_handle_table_destroy();
}

zar_db *World::database() {
  const Quiet quiet;
  zar_db *out = nullptr;
  expect_made(zar_create_database(&out));
  databases_.push_back(out);
  return out;
}

uint32_t World::client(const char *name, zar_db *database) {
  const Quiet quiet;
  uint32_t clid = 0;
  expect_made(zar_client_register(name, database, &clid));
  return clid;
}

uint32_t World::pmap(const char *name, const MapOptions &options) {
  const Quiet quiet;
  uint32_t handle = 0;
  const zar_map_info key = map_info(name, options);
  expect_made(zar_create_policy(client_or_one(*this, options), &key, &handle));
  return note(Kind::pmap, handle);
}

uint32_t World::stored_pmap(const char *name, const MapOptions &options) {
  const Quiet quiet;
  const uint32_t handle = pmap(name, options);
  expect_made(zar_store_policy(client_or_one(*this, options), handle));
  return handle;
}

uint32_t World::cmap(const char *name, const MapOptions &options) {
  const Quiet quiet;
  uint32_t handle = 0;
  const zar_map_info key = map_info(name, options);
  expect_made(zar_create_class(client_or_one(*this, options), &key, options.match_criteria, &handle));
  return note(Kind::cmap, handle);
}

uint32_t World::stored_cmap(const char *name, const MapOptions &options) {
  const Quiet quiet;
  const uint32_t handle = cmap(name, options);
  expect_made(zar_store_class(client_or_one(*this, options), handle));
  return handle;
}

uint32_t World::pmtr_map(const char *name, const MapOptions &options) {
  const Quiet quiet;
  uint32_t handle = 0;
  const zar_map_info key = map_info(name, options);
  expect_made(zar_create_pmtr_map(client_or_one(*this, options), &key, &handle));
  return note(Kind::pmtr_map, handle);
}

uint32_t World::stored_pmtr_map(const char *name, const MapOptions &options) {
  const Quiet quiet;
  const uint32_t handle = pmtr_map(name, options);
  expect_made(zar_store_pmtr_map(client_or_one(*this, options), handle));
  return handle;
}

uint32_t World::action(const std::string &name, uint32_t action_num, uint32_t precedence) {
  const Quiet quiet;
  uint32_t handle = 0;
  const zar_action_context context = action_context(name);
  expect_made(zar_create_action(&context, action_num, precedence, &handle));
  return note(Kind::action, handle);
}

uint32_t World::filter(const std::string &name, uint32_t no_match) {
  const Quiet quiet;
  uint32_t handle = 0;
  const zar_filter_context context = filter_context(name);
  expect_made(zar_create_filter(&context, &handle, no_match));
  return note(Kind::filter, handle);
}

uint32_t World::event(uint32_t id, const char *name) {
  const Quiet quiet;
  uint32_t handle = 0;
  const zar_event_context context = event_context(id);
  expect_made(zar_create_event(&context, name, &handle));
  return note(Kind::event, handle);
}

void World::add_filter(uint32_t cmap, uint32_t filter) {
  const Quiet quiet;
  expect_made(zar_add_filter_to_class(cmap, filter));
}

uint32_t World::filter_in(uint32_t cmap, const std::string &name, uint32_t no_match) {
  const uint32_t handle = filter(name, no_match);
  add_filter(cmap, handle);
  return handle;
}

void World::add_event(uint32_t pmap, uint32_t event) {
  const Quiet quiet;
  expect_made(zar_add_event(pmap, event));
}

uint32_t World::event_in(uint32_t pmap, uint32_t id, const char *name) {
  const uint32_t handle = event(id, name);
  add_event(pmap, handle);
  return handle;
}

uint32_t World::rule(uint32_t event, uint32_t cmap, uint32_t class_num, uint32_t exec_criteria) {
  const Quiet quiet;
  uint32_t handle = 0;
  expect_made(zar_add_class_to_event(event, cmap, exec_criteria, class_num, &handle));
  return note(Kind::rule, handle);
}

uint32_t World::plain_rule(const char *policy, const char *class_name, const MapOptions &options) {
  const Quiet quiet;
  const uint32_t clid = client_or_one(*this, options);
  const zar_map_info policy_info = map_info(policy, options);
  const zar_map_info class_info = map_info(class_name, options);
  expect_made(zar_add_class_to_stored_policy(clid, &policy_info, nullptr, nullptr, 0, 0, &class_info));
  uint32_t pmap = 0;
  expect_made(zar_retrieve_policy(clid, &policy_info, &pmap));
  return pmap == 0 ? 0 : plain_rules_of(pmap).back();
}

void World::add_action(uint32_t rule, uint32_t action) {
  const Quiet quiet;
  expect_made(zar_add_action_to_rule(rule, action));
}

uint32_t World::action_in(uint32_t rule, const std::string &name, uint32_t action_num) {
  const uint32_t handle = action(name, action_num);
  add_action(rule, handle);
  return handle;
}

uint32_t World::target(uint32_t pmap, uintptr_t target_id, uint32_t clid) {
  const Quiet quiet;
  uint32_t handle = 0;
  expect_made(zar_add_target(clid == 0 ? one : clid, target_info(target_id), pmap, &handle));
  return note(Kind::target, handle);
}

void World::activate(uint32_t pmap, uint32_t target) {
  const Quiet quiet;
  expect_made(zar_activate_policy(one, pmap, target));
}

zar_pmtr_map_stmt *World::statement(uint32_t pmtr_map, uint32_t map_index, const std::string &name) {
  const Quiet quiet;
  const zar_filter_context context = filter_context(name);
  expect_made(zar_pmtr_create_or_add_filter(pmtr_map, &context, 0, 0, 0, map_index, 0, 0));
  return statement_of(pmtr_map, map_index);
}

uint32_t World::statement_action(uint32_t pmtr_map, uint32_t map_index, uint8_t action_num, const std::string &name) {
  const Quiet quiet;
  zar_action_context context = action_context(name);
  expect_made(zar_pmtr_map_create_action(pmtr_map, map_index, action_num, 0, &context));
  uint32_t handle = 0;
  expect_made(zar_retrieve_action_num_in_pmtr_stmt_action(pmtr_map, map_index, action_num, &handle));
  EXPECT_NE(handle, 0U) << "the statement did not get its action";
  return note(Kind::action, handle);
}

uint32_t World::note(Kind kind, uint32_t handle) {
  if (handle != 0) noted_[handle] = kind;
  return handle;
}

void World::start_again() {
  const Quiet quiet;
  lost_on_purpose(zar_clients_info);
  zar_init();
}

zar_map_info World::map_info(const char *name, const MapOptions &options) {
  return {options.domain, options.type, name, options.hidden};
}

zar_event_context World::event_context(uint32_t id) {
  return {id, nullptr};
}

Data &World::data(const std::string &name) {
  return data(name, name);
}

Data &World::data(const std::string &name, const std::string &value) {
  Data &block = data_.emplace_back();
  block.name = name;
  block.value = value;
  return block;
}

zar_action_context World::action_context(const std::string &name) {
  return rig::action_context(data(name));
}
zar_action_context World::action_context(const std::string &name, const std::string &value) {
  return rig::action_context(data(name, value));
}
zar_filter_context World::filter_context(const std::string &name) {
  return rig::filter_context(data(name));
}
zar_filter_context World::filter_context(const std::string &name, const std::string &value) {
  return rig::filter_context(data(name, value));
}

zar_target_info *World::target_info(uintptr_t target_id) {
  target_infos_.push_back({{nullptr}, target_id});
  return &target_infos_.back();
}

void *World::record_of(uint32_t handle) {
  const Quiet quiet;
  void *record = zar_handle_get_context(handle);
  EXPECT_NE(record, nullptr) << "no record behind handle 0x" << std::hex << handle;
  return record;
}

bool World::live(uint32_t handle) {
  const std::vector<uint32_t> ids = runtime::live_ids();
  return std::find(ids.begin(), ids.end(), handle) != ids.end();
}

Data &World::data_of_action(uint32_t action) {
  return *static_cast<Data *>(at<zar_action>(action)->action_data);
}
Data &World::data_of_filter(uint32_t filter) {
  return *static_cast<Data *>(at<zar_filter>(filter)->filter_data);
}

Handles World::pmaps_in(const zar_db *database) {
  return handles_in(database->pmap_tree, map_handle);
}
Handles World::cmaps_in(const zar_db *database) {
  return handles_in(database->cmap_tree, map_handle);
}
Handles World::pmtr_maps_in(const zar_db *database) {
  return handles_in(database->pmtr_map_tree, map_handle);
}
Handles World::targets_in(const zar_db *database) {
  return handles_in(database->target_tree, target_handle);
}

Handles World::filters_of(uint32_t cmap) {
  return handles_of<zar_filter>(at<zar_cmap>(cmap)->filters);
}
Handles World::events_of(uint32_t pmap) {
  return handles_of<zar_event_tuple>(at<zar_pmap>(pmap)->rule_list);
}
Handles World::plain_rules_of(uint32_t pmap) {
  return handles_of<zar_class_action>(at<zar_pmap>(pmap)->rule_list);
}
Handles World::rules_of(uint32_t event) {
  return handles_of<zar_class_action>(at<zar_event_tuple>(event)->class_actions);
}
Handles World::actions_of(uint32_t rule) {
  return handles_of<zar_action>(at<zar_class_action>(rule)->actions);
}

std::vector<std::pair<uint32_t, uint32_t>> World::cmap_refs_of(uint32_t pmap) {
  std::vector<std::pair<uint32_t, uint32_t>> refs;
  for (const void *element : runtime::elements(&at<zar_pmap>(pmap)->cmap_refs)) {
    const auto *ref = static_cast<const zar_pmap_cmap_ref *>(element);
    refs.emplace_back(ref->cmap->handle, ref->ref_count);
  }
  return refs;
}

Handles World::pmap_refs_of(uint32_t cmap) {
  Handles handles;
  for (const void *element : runtime::elements(&at<zar_cmap>(cmap)->pmap_refs))
    handles.push_back(static_cast<const zar_cmap_pmap_ref *>(element)->pmap->handle);
  return handles;
}

Handles World::active_on(uint32_t target) {
  Handles handles;
  for (const void *element : runtime::elements(&at<zar_target>(target)->active_pmaps))
    handles.push_back(static_cast<const zar_target_pmap *>(element)->pmap->handle);
  return handles;
}

Handles World::targets_of(uint32_t pmap) {
  Handles handles;
  for (const void *element : runtime::elements(&at<zar_pmap>(pmap)->target_refs))
    handles.push_back(static_cast<const zar_pmap_target_ref *>(element)->target->handle);
  return handles;
}

std::vector<uint32_t> World::map_indexes_of(uint32_t pmtr_map) {
  std::vector<uint32_t> indexes;
  for (const void *element : runtime::elements(&at<zar_pmtr_map>(pmtr_map)->stmt_queue))
    indexes.push_back(static_cast<const zar_pmtr_map_stmt *>(element)->map_index);
  return indexes;
}

zar_pmtr_map_stmt *World::statement_of(uint32_t pmtr_map, uint32_t map_index) {
  for (void *element : runtime::elements(&at<zar_pmtr_map>(pmtr_map)->stmt_queue)) {
    auto *statement = static_cast<zar_pmtr_map_stmt *>(element);
    if (statement->map_index == map_index) return statement;
  }
  ADD_FAILURE() << "no statement with map-index " << map_index;
  return nullptr;
}

Handles World::statement_actions_of(uint32_t pmtr_map, uint32_t map_index) {
  return handles_of<zar_action>(statement_of(pmtr_map, map_index)->action_queue);
}

std::string World::everything() const {
  return digest() + to_string(runtime::inventory());
}

namespace {

void end_test(const std::function<std::string()> &digest) {
  EXPECT_EQ(runtime::complaints(), std::vector<std::string>{}) << "misuse of the runtime";
  if (!::testing::Test::HasFailure()) return;
  std::cout << "the whole trace of the test:";
  for (const Line &line : trace_history())
    std::cout << line;
  std::cout << "\n" << digest();
}

}  // namespace

void Repository::TearDown() {
  end_test([this] { return "the repository at its end:\n" + digest(); });
}

void BareProcess::TearDown() {
  end_test([] { return std::string(); });
}

}  // namespace rig
