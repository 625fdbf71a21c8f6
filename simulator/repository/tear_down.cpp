// Taking a repository down, in the order that the library asks for.
#include "platform/engine.h"
#include "simulator/repository/actions.h"
#include "simulator/repository/repository.h"
#include "simulator/text/text.h"

namespace simulator {

void Repository::tear_down() {
  if (torn_down_) return;
  torn_down_ = true;

  deactivate_all();
  for (const BuiltMap &policy : policies_)
    take_down_policy(policy);
  for (const BuiltMap &map : classes_)
    take_down_class(map);
  for (const BuiltParameterMap &map : parameter_maps_) {
    expect_unused(map);
    take_down_parameter_map(map);
  }
  for (const TargetRecord &target : targets_)
    take_down_target(target);
  destroy_databases();

  constexpr uint32_t kFirstRoom = 10;
  kept_.grown_table = room_at_start_ == kFirstRoom && zar_allowed_max_clients != kFirstRoom;
  for (std::string &problem : find_leftovers(before_, kept_))
    problems_.push_back(std::move(problem));
  current = nullptr;
}

const Complaints &Repository::finish() {
  tear_down();
  return problems_;
}

void Repository::deactivate_all() {
  for (const TargetRecord &target : targets_) {
    if (target.handle == 0) continue;
    note_failure(zar_deactivate_any_policy_for_target(target.clid, target.handle), "the deactivation", target.name);
    engine::release_target_lists();
  }
}

bool Repository::deactivate(std::string_view target, const PolicyMap &policy) {
  const size_t before = problems_.size();
  const zar_map_info info = info_of(policy);
  note_failure(zar_deactivate_policy_by_name(clid_of_domain(policy.domain), target_handle(target), &info),
               concat("the deactivation on target '", target, "'"), policy.name.value);
  engine::release_target_lists();
  return problems_.size() == before;
}

bool Repository::take_down(const BuiltMap &map, uint32_t (*operation)(uint32_t clid, const zar_map_info *info)) {
  const zar_map_info info = info_of(map);
  const uint32_t status = operation(map.clid, &info);
  note_failure(status, "the deletion", map.name);
  return status == 0;
}

// The handlers of actions are called with the targets on which the actions are no longer in force.
bool Repository::take_down_policy(const BuiltMap &policy) {
  const bool done = take_down(policy, zar_delete_stored_policy_by_name);
  engine::release_target_lists();
  return done;
}

bool Repository::take_down_class(const BuiltMap &map) {
  return take_down(map, zar_delete_stored_class_by_name);
}

// No policy is left that could use it. The question goes to all actions of the repository.
void Repository::expect_unused(const BuiltParameterMap &map) {
  if (zar_is_param_map_assoc_with_policy(client::parameter_map_question(map.name)) == 0) return;
  problems_.push_back(concat("parameter-map '", map.name, "' is still in use"));
}

bool Repository::take_down_parameter_map(const BuiltParameterMap &map) {
  uint32_t type = 0;
  uint32_t status = kel_parameter_map_get_type(kel_parameter_map_subscriber_domain_str, &type);
  if (status == 0) status = kel_delete_subscriber_parameter_map(map.name.c_str(), type);
  note_failure(status, "the deletion", map.name);
  if (status == 0) ++kept_.deleted_parameter_maps;
  return status == 0;
}

bool Repository::take_down_target(const TargetRecord &target) {
  if (target.handle == 0) return true;
  zar_target_info *info = nullptr;
  const uint32_t removal = zar_remove_target(target.clid, target.handle, &info);
  note_failure(removal, "the removal", target.name);
  const uint32_t deletion = zar_delete_target(target.handle);
  note_failure(deletion, "the deletion", target.name);
  engine::release_target_lists();
  return removal == 0 && deletion == 0;
}

void Repository::destroy_databases() {
  for (zar_db *database : databases_)
    note_failure(zar_destroy_database(database), "the destruction", "a database");
}

// ---- Single objects -----------------------------------------------------------------------------------------------------------

bool Repository::delete_policy(std::string_view name) {
  if (!take_down_policy(*policies_.find(name))) return false;
  policies_.remove(name);
  return true;
}

bool Repository::delete_class(std::string_view name) {
  if (!take_down_class(*classes_.find(name))) return false;
  classes_.remove(name);
  return true;
}

bool Repository::delete_parameter_map(std::string_view name) {
  if (!take_down_parameter_map(*parameter_maps_.find(name))) return false;
  parameter_maps_.remove(name);
  return true;
}

bool Repository::delete_target(std::string_view name) {
  if (!take_down_target(*targets_.find(name))) return false;
  targets_.remove(name);
  return true;
}

namespace {

// What cannot be taken down is forgotten all the same: it must not stay in the way of what comes next.
template <class Object, class TakeDown>
void take_down_last(NamedList<Object> &objects, size_t size, TakeDown take_down) {
  while (objects.size() > size) {
    take_down(objects.back());
    objects.remove(objects.back().name);
  }
}

}  // namespace

// Deletes in reverse order of building.
void Repository::shrink_to(const Extent &extent) {
  take_down_last(targets_, extent.targets, [this](const TargetRecord &target) { take_down_target(target); });
  take_down_last(policies_, extent.policies, [this](const BuiltMap &policy) { take_down_policy(policy); });
  take_down_last(classes_, extent.classes, [this](const BuiltMap &map) { take_down_class(map); });
  take_down_last(parameter_maps_, extent.parameter_maps,
                 [this](const BuiltParameterMap &map) { take_down_parameter_map(map); });
}

}  // namespace simulator
