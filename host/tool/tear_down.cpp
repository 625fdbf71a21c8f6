// Taking a repository down, in the order that the library asks for.
#include "engine/engine.h"
#include "platform/engine.h"
#include "tool/client/actions.h"
#include "tool/leftovers.h"
#include "tool/policy/text.h"
#include "tool/repository.h"

namespace tool {

void Repository::note_failure(uint32_t status, std::string_view operation, std::string_view object) {
  if (status == 0) return;
  problems_.push_back(text_of(operation, " of '", object, "' failed with status ", status));
}

void Repository::tear_down() {
  if (torn_down_) return;
  torn_down_ = true;

  deactivate_all();
  delete_policies();
  delete_classes();
  delete_parameter_maps();
  delete_targets();
  destroy_databases();

  const Permanent permanent = {registered_clients_, registered_domains_, databases_.size(), deleted_parameter_maps_};
  for (std::string &problem : find_leftovers(permanent))
    problems_.push_back(std::move(problem));
}

void Repository::deactivate_all() {
  for (const TargetRecord &target : targets_) {
    if (target.handle == 0) continue;
    note_failure(zar_deactivate_any_policy_for_target(target.clid, target.handle), "the deactivation",
                 target.target->name.value);
    engine::release_target_lists();
  }
}

void Repository::delete_policies() {
  for (const PolicyMap *policy : policies_) {
    const zar_map_info info = info_of(*policy);
    note_failure(zar_delete_stored_policy_by_name(clid_of_domain(policy->domain), &info), "the deletion",
                 policy->name.value);
  }
}

void Repository::delete_classes() {
  for (const ClassMap *map : classes_) {
    const zar_map_info info = info_of(*map);
    note_failure(zar_delete_stored_class_by_name(clid_of_domain(map->domain), &info), "the deletion", map->name.value);
  }
}

// By now no policy is left that could use one.
void Repository::delete_parameter_maps() {
  for (const ParameterMap *map : parameter_maps_) {
    const std::string &name = map->name.value;
    if (zar_is_param_map_assoc_with_policy(client::parameter_map_question(name)) != 0) {
      problems_.push_back(text_of("parameter-map '", name, "' is still in use"));
    }
    uint32_t type = 0;
    uint32_t status = kel_parameter_map_get_type(kel_parameter_map_subscriber_domain_str, &type);
    if (status == 0) status = kel_delete_subscriber_parameter_map(name.c_str(), type);
    note_failure(status, "the deletion", name);
    if (status == 0) ++deleted_parameter_maps_;
  }
}

void Repository::delete_targets() {
  for (const TargetRecord &target : targets_) {
    if (target.handle == 0) continue;
    zar_target_info *info = nullptr;
    const std::string &name = target.target->name.value;
    note_failure(zar_remove_target(target.clid, target.handle, &info), "the removal", name);
    note_failure(zar_delete_target(target.handle), "the deletion", name);
  }
}

void Repository::destroy_databases() {
  for (zar_db *database : databases_)
    note_failure(zar_destroy_database(database), "the destruction", "a database");
}

}  // namespace tool
