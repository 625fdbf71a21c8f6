// Taking a repository down, in the order that the library asks for.
#include <algorithm>

#include "engine/engine.h"
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
  for (const std::string &map : parameter_maps_)
    take_down_parameter_map(map);
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

// The handlers of actions are called with the targets on which the actions are no longer in force.
void Repository::take_down_policy(const BuiltMap &policy) {
  const zar_map_info info = info_of(policy);
  note_failure(zar_delete_stored_policy_by_name(policy.clid, &info), "the deletion", policy.name);
  engine::release_target_lists();
}

void Repository::take_down_class(const BuiltMap &map) {
  const zar_map_info info = info_of(map);
  note_failure(zar_delete_stored_class_by_name(map.clid, &info), "the deletion", map.name);
}

// No policy is left that could use it.
void Repository::take_down_parameter_map(const std::string &name) {
  if (zar_is_param_map_assoc_with_policy(client::parameter_map_question(name)) != 0) {
    problems_.push_back(concat("parameter-map '", name, "' is still in use"));
  }
  uint32_t type = 0;
  uint32_t status = kel_parameter_map_get_type(kel_parameter_map_subscriber_domain_str, &type);
  if (status == 0) status = kel_delete_subscriber_parameter_map(name.c_str(), type);
  note_failure(status, "the deletion", name);
  if (status == 0) ++kept_.deleted_parameter_maps;
}

void Repository::take_down_target(const TargetRecord &target) {
  if (target.handle == 0) return;
  zar_target_info *info = nullptr;
  note_failure(zar_remove_target(target.clid, target.handle, &info), "the removal", target.name);
  note_failure(zar_delete_target(target.handle), "the deletion", target.name);
  engine::release_target_lists();
}

void Repository::destroy_databases() {
  for (zar_db *database : databases_)
    note_failure(zar_destroy_database(database), "the destruction", "a database");
}

// ---- Single objects -----------------------------------------------------------------------------------------------------------

namespace {

template <class Objects, class IsNamed>
auto take_out(Objects &objects, IsNamed is_named) {
  const auto found = std::find_if(objects.begin(), objects.end(), is_named);
  auto object = std::move(*found);
  objects.erase(found);
  return object;
}

}  // namespace

bool Repository::delete_policy(std::string_view name) {
  const size_t before = problems_.size();
  take_down_policy(take_out(policies_, [&](const BuiltMap &map) { return map.name == name; }));
  return problems_.size() == before;
}

bool Repository::delete_class(std::string_view name) {
  const size_t before = problems_.size();
  take_down_class(take_out(classes_, [&](const BuiltMap &map) { return map.name == name; }));
  return problems_.size() == before;
}

bool Repository::delete_parameter_map(std::string_view name) {
  const size_t before = problems_.size();
  take_down_parameter_map(take_out(parameter_maps_, [&](const std::string &map) { return map == name; }));
  return problems_.size() == before;
}

bool Repository::delete_target(std::string_view name) {
  const size_t before = problems_.size();
  const auto found =
      std::find_if(targets_.begin(), targets_.end(), [&](const TargetRecord &target) { return target.name == name; });
  take_down_target(*found);
  target_handles_.erase(found->name);
  targets_.erase(found);
  return problems_.size() == before;
}

// Deletes in reverse order of building.
void Repository::shrink_to(const Extent &extent) {
  while (targets_.size() > extent.targets)
    delete_target(std::string(targets_.back().name));
  while (policies_.size() > extent.policies)
    delete_policy(std::string(policies_.back().name));
  while (classes_.size() > extent.classes)
    delete_class(std::string(classes_.back().name));
  while (parameter_maps_.size() > extent.parameter_maps)
    delete_parameter_map(std::string(parameter_maps_.back()));
}

}  // namespace simulator
