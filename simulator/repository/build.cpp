// Building a repository from a policy file.
#include <algorithm>

#include "platform/engine.h"
#include "platform/runtime.h"
#include "simulator/repository/actions.h"
#include "simulator/repository/filters.h"
#include "simulator/repository/registrations.h"
#include "simulator/repository/repository.h"
#include "simulator/text/interruption.h"
#include "simulator/text/text.h"

namespace simulator {

namespace {

// Ends a build: the library refused something that a good file needs.
struct Refused {
  std::string what;
};

void expect(bool good, std::string_view operation, std::string_view object, uint32_t status = 0) {
  if (good) return;
  const std::string with = status != 0 ? concat(" with status ", status) : "";
  throw Refused{concat(operation, " of '", object, "' failed", with)};
}

void expect_success(uint32_t status, std::string_view operation, std::string_view object) {
  expect(status == 0, operation, object, status);
}

template <class Object, class Build>
void build_from(const std::vector<Object> &objects, size_t first, Build build) {
  for (size_t at = first; at < objects.size(); ++at) {
    interruption::check();
    build(objects[at]);
  }
}

}  // namespace

bool Repository::build() {
  if (current && current != this) {
    problems_.push_back("another repository of this process is not taken down yet");
    return false;
  }
  current = this;
  torn_down_ = false;
  try {
    if (!started_) start();
    build_from(file_->clients, clids_.size(), [this](const Client &client) { register_client(client); });
    build_from(file_->domains, registered_domains_, [this](const Domain &domain) { register_domain(domain); });
    build_from(file_->class_maps, classes_.size(), [this](const ClassMap &map) { build_class(map); });
    build_from(file_->parameter_maps, parameter_maps_.size(),
               [this](const ParameterMap &map) { build_parameter_map(map); });
    build_from(file_->policy_maps, policies_.size(), [this](const PolicyMap &policy) { build_policy(policy); });
    build_from(file_->targets, targets_.size(), [this](const Target &target) { build_target(target); });
    return true;
  } catch (const Refused &refused) {
    problems_.push_back(refused.what);
    return false;
  }
}

namespace {

// After this the library no longer knows the clients, domains and handles, and will not read the table of clients
// again. The records and names of clients and domains stay allocated.
void give_up_registrations() {
  if (!zar_clients_info) return;
  zar_handle_table_destroy();
  bfree_named(zar_clients_info);
}

}  // namespace

void Repository::start() {
  started_ = true;
  engine::forget_attributes();
  const bool anew = registrations_ == Registrations::renew || !registrations::suit(*file_);
  if (anew) give_up_registrations();
  before_ = take_stock();
  if (anew) start_library();
  room_at_start_ = zar_allowed_max_clients;
  zar_db *database = nullptr;
  expect(zar_get_client_database_handle(kel_clid, "start", &database, nullptr) != 0, "the database",
         engine::kClientName);
  databases_.push_back(database);
}

void Repository::start_library() {
  const uint16_t table = zar_init();
  kept_.first_table = zar_clients_info != nullptr;
  expect(table != 0, "the handle table", "repository");
  expect_success(engine::start(), "the registration", engine::kClientName);
  ++kept_.clients;
  ++kept_.databases;
}

void Repository::register_client(const Client &client) {
  const zar_client_data *registered = registrations::find_client(client.name.value);
  expect(!registered || registrations::is_same(*registered, client),
         "the registration with another kind of database than before", client.name.value);
  const uint32_t clid = registered ? registered->clid : register_new(client);
  if (registered && registered->database) databases_.push_back(registered->database);
  clids_.push_back(clid);
  clid_by_name_.emplace(client.name.value, clid);
}

uint32_t Repository::register_new(const Client &client) {
  zar_db *database = nullptr;
  if (client.own_database) {
    expect_success(zar_create_database(&database), "the database", client.name.value);
    databases_.push_back(database);
    ++kept_.databases;
  }
  uint32_t clid = 0;
  expect_success(zar_client_register(client.name.value.c_str(), database, &clid), "the registration",
                 client.name.value);
  ++kept_.clients;
  // The library does not report a name that it could not copy as a failure.
  expect(zar_clients_info[clid - 1]->name != nullptr, "the name", client.name.value);
  return clid;
}

void Repository::register_domain(const Domain &domain) {
  const uint32_t owner = clid_of(domain.owner);
  const zar_domain_entry *registered = registrations::find_domain(domain.name.value);
  expect(!registered || registrations::is_same(*registered, owner), "the claim for another owner than before",
         domain.name.value);
  if (!registered) {
    expect_success(zar_register_domain(owner, domain.name.value.c_str()), "the claim", domain.name.value);
    ++kept_.domains;
  }
  ++registered_domains_;
}

void Repository::build_class(const ClassMap &map) {
  const uint32_t clid = clid_of_domain(map.domain);
  const zar_map_info info = info_of(map);
  uint32_t cmap = 0;
  expect_success(zar_create_class(clid, &info, static_cast<uint32_t>(map.match), &cmap), "the class-map",
                 map.name.value);
  if (const uint32_t status = zar_store_class(clid, cmap)) {
    zar_delete_class(cmap);
    expect_success(status, "the storing", map.name.value);
  }
  classes_.add({map.name.value, map.domain.value, clid});
  for (const Filter &filter : map.filters)
    add_filter(cmap, filter);
}

void Repository::add_filter(uint32_t cmap, const Filter &filter) {
  const zar_filter_context context = client::make_filter_context(filter);
  uint32_t handle = 0;
  if (const uint32_t status = zar_create_filter(&context, &handle, filter.no_match)) {
    client::give_back(context);
    expect_success(status, "the filter", to_string(filter));
  }
  if (const uint32_t status = zar_add_filter_to_class(cmap, handle)) {
    zar_delete_filter(handle);
    expect_success(status, "the adding", to_string(filter));
  }
}

void Repository::build_parameter_map(const ParameterMap &map) {
  uint32_t type = 0;
  uint32_t pmtr_map = 0;
  expect(kel_parameter_map_get_type(kel_parameter_map_subscriber_domain_str, &type) == 0, "the type", map.name.value);
  const uint32_t status = kel_create_subscriber_parameter_map(map.name.value.c_str(), type, &pmtr_map);
  // If the map was made but not stored, its maker has to delete it.
  if (status != 0 && pmtr_map != 0) zar_delete_pmtr_map(pmtr_map);
  expect_success(status, "the parameter-map", map.name.value);
  parameter_maps_.add({map.name.value});

  for (const Statement &statement : map.statements) {
    for (const Filter &filter : statement.filters)
      add_statement_filter(pmtr_map, map, statement, filter);
    for (const Action &action : statement.actions)
      add_statement_action(pmtr_map, statement, action);
  }
}

namespace {

bool holds_data(uint32_t cmap, const void *filter_data) {
  const auto *record = static_cast<const zar_cmap *>(zar_handle_get_context(cmap));
  uint32_t clid = kel_clid;
  uint32_t filter = 0;
  if (!record || zar_get_filter(clid, cmap, &filter) != 0) return false;
  while (filter != 0) {
    if (static_cast<const zar_filter *>(zar_handle_get_context(filter))->filter_data == filter_data) return true;
    const uint32_t current = filter;
    if (zar_get_next_filter(clid, cmap, current, &filter) != 0) return false;
  }
  return false;
}

}  // namespace

void Repository::add_statement_filter(uint32_t pmtr_map, const ParameterMap &map, const Statement &statement,
                                      const Filter &filter) {
  const zar_filter_context context = client::make_filter_context(filter);
  const uint32_t status =
      zar_pmtr_create_or_add_filter(pmtr_map, &context, filter.no_match, filter.kind == FilterKind::regex, 0,
                                    statement.index, 0, map.filter_type_of(filter.attribute.value));
  // The operation does not report every failure, so its status alone does not show who owns the data now.
  if (status == 0 && holds_data(zar_get_internal_class_map(pmtr_map, statement.index), context.filter_data)) return;
  client::give_back(context);
  expect(false, "the filter", to_string(filter), status);
}

namespace {

bool holds_data(uint32_t pmtr_map, uint32_t index, uint32_t number, const void *action_data) {
  uint32_t action = 0;
  if (zar_retrieve_action_num_in_pmtr_stmt_action(pmtr_map, index, number, &action) != 0 || action == 0) return false;
  return static_cast<const zar_action *>(zar_handle_get_context(action))->action_data == action_data;
}

}  // namespace

void Repository::add_statement_action(uint32_t pmtr_map, const Statement &statement, const Action &action) {
  const zar_action_context context = client::make_action_context(action, *file_);
  zar_action_context *block = client::make_block(context);
  const uint32_t status = zar_pmtr_map_create_action(pmtr_map, statement.index, static_cast<uint8_t>(action.number),
                                                     static_cast<uint16_t>(action.precedence), block);
  if (status != 0) {
    // The operation made an action from the context and deleted it again, with its data, but did not free the block.
    client::give_back(block);
    expect_success(status, "the action", to_string(action));
  }
  // The operation does not report an action that it could not make as a failure; it then freed only the block.
  if (holds_data(pmtr_map, statement.index, action.number, context.action_data)) return;
  client::give_back(context);
  expect(false, "the action", to_string(action));
}

void Repository::build_policy(const PolicyMap &policy) {
  const uint32_t clid = clid_of_domain(policy.domain);
  const zar_map_info info = info_of(policy);
  uint32_t pmap = 0;
  expect_success(zar_create_policy(clid, &info, &pmap), "the policy-map", policy.name.value);
  if (const uint32_t status = zar_store_policy(clid, pmap)) {
    zar_delete_policy(pmap);
    expect_success(status, "the storing", policy.name.value);
  }
  policies_.add({policy.name.value, policy.domain.value, clid});
  for (const EventRules &event : policy.events)
    add_event(policy, pmap, event);
}

void Repository::add_event(const PolicyMap &policy, uint32_t pmap, const EventRules &event) {
  const zar_event_context context = {file_->event_id(event.event.value), nullptr};
  uint32_t tuple = 0;
  expect_success(zar_create_event(&context, event.event.value.c_str(), &tuple), "the event", event.event.value);
  if (const uint32_t status = zar_add_event(pmap, tuple)) {
    zar_delete_event(tuple);
    expect_success(status, "the adding", event.event.value);
  }
  expect_success(zar_event_set_match_criteria(tuple, static_cast<uint32_t>(event.match)), "the match criteria",
                 event.event.value);
  for (const Rule &rule : event.rules)
    add_rule(policy, context, rule);
}

void Repository::add_rule(const PolicyMap &policy, const zar_event_context &event, const Rule &rule) {
  const uint32_t clid = clid_of_domain(policy.domain);
  const zar_map_info policy_info = info_of(policy);
  const zar_map_info class_info = info_of(*file_->find_class_map(rule.class_map.value));
  expect_success(zar_add_class_to_stored_policy(clid, &policy_info, &event, nullptr,
                                                static_cast<uint32_t>(rule.execute), rule.number, &class_info),
                 "the rule for class-map", rule.class_map.value);
  for (const Action &action : rule.actions)
    add_action(policy, event, rule, action);
}

void Repository::add_action(const PolicyMap &policy, const zar_event_context &event, const Rule &rule,
                            const Action &action) {
  const zar_action_context context = client::make_action_context(action, *file_);
  uint32_t handle = 0;
  if (const uint32_t status = zar_create_action(&context, action.number, action.precedence, &handle)) {
    client::give_back(context);
    expect_success(status, "the action", to_string(action));
  }
  const zar_map_info policy_info = info_of(policy);
  const zar_map_info class_info = info_of(*file_->find_class_map(rule.class_map.value));
  if (const uint32_t status =
          zar_add_action_to_stored_policy(clid_of_domain(policy.domain), &policy_info, &event, &class_info, handle)) {
    zar_delete_action(handle);
    expect_success(status, "the adding", to_string(action));
  }
}

void Repository::build_target(const Target &target) {
  TargetRecord &record = new_target(target.name.value, clid_of(target.client));
  for (const Name &policy : target.policies)
    put_policy(record, *file_->find_policy_map(policy.value));
  engine::Attributes &attributes = attributes_of(record);
  for (const Assignment &assignment : target.attributes)
    attributes.set(engine::register_attribute(assignment.attribute.value), assignment.text);
}

engine::Attributes *Repository::add_target(std::string_view name, const Client *client,
                                           std::span<const PolicyMap *const> policies) {
  try {
    TargetRecord &record = new_target(name, client ? clid_by_name_.find(client->name.value)->second : kel_clid);
    for (const PolicyMap *policy : policies)
      put_policy(record, *policy);
    return &attributes_of(record);
  } catch (const Refused &refused) {
    problems_.push_back(refused.what);
    return nullptr;
  }
}

Repository::TargetRecord &Repository::new_target(std::string_view name, uint32_t clid) {
  TargetRecord fresh{};
  fresh.target_id = ++last_target_id_;
  fresh.clid = clid;
  fresh.name = name;
  return targets_.add(std::move(fresh));
}

engine::Attributes &Repository::attributes_of(const TargetRecord &target) {
  engine::Attributes *attributes = engine::attributes_of(target.handle);
  expect(attributes != nullptr, "the state", target.name);
  return *attributes;
}

// The first policy-map creates the target; the others are activated on it. The lists of targets that the actions
// received are released at once, so that no more of them are kept than one activation makes.
void Repository::put_policy(TargetRecord &target, const PolicyMap &policy) {
  const uint32_t clid = clid_of_domain(policy.domain);
  const zar_map_info info = info_of(policy);
  uint32_t status = 0;
  if (target.handle == 0) {
    uint32_t pmap = 0;
    expect_success(zar_retrieve_policy(clid, &info, &pmap), "the look-up", policy.name.value);
    status = zar_add_target(target.clid, &target, pmap, &target.handle);
  } else {
    status = zar_activate_policy_by_name(clid, target.handle, &info);
  }
  engine::release_target_lists();
  if (status != 0) expect_success(status, concat("the activation on target '", target.name, "'"), policy.name.value);
}

bool Repository::activate(std::string_view target, const PolicyMap &policy) {
  try {
    put_policy(*targets_.find(target), policy);
    return true;
  } catch (const Refused &refused) {
    problems_.push_back(refused.what);
    return false;
  }
}

}  // namespace simulator
