#include "support/scripted_engine.h"

#include "platform/engine.h"
#include "support/call_log.h"

namespace rig {
namespace {

std::string key_text(const zar_map_info *key) {
  std::string out = text("%s:%s:%u", key->map_name, key->domain, key->domain_type);
  return key->hidden == 0 ? out : out + text(" hidden:%u", key->hidden);
}

std::string place(uint32_t target, const std::string &key) {
  return text("0x%x/%s", target, key);
}

void called(const std::string &call) {
  log_call(call);
  if (engine().on_call) engine().on_call(call);
}

const char *name_of(uint32_t criteria, const char *first, const char *second, const char *third) {
  switch (criteria) {
    case 1:
      return first;
    case 2:
      return second;
    case 3:
      return third;
    default:
      return "unknown";
  }
}

}  // namespace

Engine &engine() {
  static Engine the_engine;
  return the_engine;
}

void reset_engine() {
  engine() = Engine{};
  engine().parameter_map_types["subscriber"] = 1;
}

std::string instance_created(uint32_t target, uint32_t clid, const std::string &key) {
  return text("create instance %s clid:%u", place(target, key), clid);
}
std::string instance_sought(uint32_t target, const std::string &key) {
  return "find instance " + place(target, key);
}
std::string instance_deleted(uint32_t target, const std::string &key) {
  return "delete instance " + place(target, key);
}
std::string ae_context_freed(const void *ae_context) {
  return text("free ae context %p", ae_context);
}
std::string type_asked(const std::string &domain) {
  return "type of parameter-maps in " + domain;
}

}  // namespace rig

using rig::engine;

extern "C" {

uint32_t kel_trace_id = 0x7a;
uint32_t kel_clid = 1;
const char *BUILTIN_DEVICE_TO_TEMPLATE = "BUILTIN_DEVICE_TO_TEMPLATE";

uint32_t kel_create_policy_instance(void **instance_out, uint32_t target, uint32_t clid, const zar_map_info *key) {
  rig::called(rig::instance_created(target, clid, rig::key_text(key)));
  if (engine().create_status != 0) return engine().create_status;
  // The address of the map's own entry serves as instance: unique, stable, and never dereferenced.
  auto &entry = *engine().instances_.try_emplace(rig::place(target, rig::key_text(key))).first;
  entry.second = &entry;
  *instance_out = entry.second;
  return 0;
}

uint32_t kel_find_policy_instance(void **instance_out, uint32_t target, const zar_map_info *key) {
  rig::called(rig::instance_sought(target, rig::key_text(key)));
  if (engine().find_status != 0) return engine().find_status;
  const auto found = engine().instances_.find(rig::place(target, rig::key_text(key)));
  if (found == engine().instances_.end()) return 1;
  *instance_out = found->second;
  return 0;
}

uint32_t kel_delete_policy_instance(void *instance) {
  for (auto at = engine().instances_.begin(); at != engine().instances_.end(); ++at) {
    if (at->second != instance) continue;
    const std::string place = at->first;
    if (engine().delete_status == 0) engine().instances_.erase(at);
    rig::called("delete instance " + place);
    return engine().delete_status;
  }
  rig::called("delete unknown instance");
  return 1;
}

uint32_t kel_free_all_policy_ae_context(void *ae_context) {
  rig::called(rig::ae_context_freed(ae_context));
  return engine().free_ae_status;
}

uint32_t kel_parameter_map_get_type(const char *domain, uint32_t *type_out) {
  rig::called(rig::type_asked(domain));
  const auto found = engine().parameter_map_types.find(domain);
  if (found == engine().parameter_map_types.end()) return 1;
  *type_out = found->second;
  return 0;
}

const char *kel_cmap_match_criteria_get_string_short(uint32_t criteria) {
  return rig::name_of(criteria, "match-all", "match-any", "match-none");
}

const char *kel_pmap_class_match_get_string_short(uint32_t criteria) {
  return rig::name_of(criteria, "match-all", "match-first", "unknown");
}

const char *kel_pmap_action_exec_criteria_get_string_short(uint32_t criteria) {
  return rig::name_of(criteria, "do-all", "do-until-failure", "do-until-success");
}
}
