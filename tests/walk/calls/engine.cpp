// The engine of sequences of calls: it defines every name that the library imports from its engine, keeps instances,
// and refuses what it is scripted to refuse.
#include "platform/engine.h"
#include "tests/walk/calls/client.h"

namespace calls {
namespace {

std::string place_of(uint32_t target, const zar_map_info *key) {
  return text("0x%x/", target) + instance_key(key->map_name, key->domain, key->domain_type);
}

// Whether this is the request that it is scripted to refuse; it refuses once.
bool refuses(Refusal request) {
  if (engine().refusal != request) return false;
  engine().refusal = Refusal::none;
  return true;
}

}  // namespace

Engine &engine() {
  static Engine the_engine;
  return the_engine;
}

std::string instance_key(const char *name, const char *domain, uint32_t type) {
  return text("%s:%s:%u", name, domain, type);
}

const char *cmap_criteria_text(uint32_t criteria) {
  return criteria == 1 ? "match-all" : criteria == 2 ? "match-any" : "match-none";
}
const char *event_criteria_text(uint32_t criteria) {
  return criteria == 1 ? "match-all" : "match-first";
}
const char *exec_criteria_text(uint32_t criteria) {
  return criteria == 1 ? "do-all" : criteria == 2 ? "do-until-failure" : "do-until-success";
}

}  // namespace calls

extern "C" {

uint32_t kel_trace_id = 0x7a;
uint32_t kel_clid = 1;
const char *BUILTIN_DEVICE_TO_TEMPLATE = "BUILTIN_DEVICE_TO_TEMPLATE";

uint32_t kel_create_policy_instance(void **instance_out, uint32_t target, uint32_t clid, const zar_map_info *key) {
  const std::string place = calls::place_of(target, key);
  calls::log().push_back("create " + place + calls::text(" clid:%u", clid));
  calls::engine().last_target = target;
  if (calls::refuses(calls::Refusal::create)) return 1;
  std::string &instance = calls::engine().instances[place];
  instance = place;
  *instance_out = &instance;
  return 0;
}

uint32_t kel_find_policy_instance(void **instance_out, uint32_t target, const zar_map_info *key) {
  const std::string place = calls::place_of(target, key);
  calls::log().push_back("find " + place);
  if (calls::refuses(calls::Refusal::find)) return 1;
  const auto found = calls::engine().instances.find(place);
  if (found == calls::engine().instances.end()) return 1;
  *instance_out = &found->second;
  return 0;
}

uint32_t kel_delete_policy_instance(void *instance) {
  const std::string place = *static_cast<std::string *>(instance);
  calls::log().push_back("delete " + place);
  if (calls::refuses(calls::Refusal::remove)) return 1;
  calls::engine().instances.erase(place);
  return 0;
}

uint32_t kel_free_all_policy_ae_context(void *) {
  calls::log().push_back("free the context");
  return calls::refuses(calls::Refusal::free_context) ? 1 : 0;
}

uint32_t kel_parameter_map_get_type(const char *domain, uint32_t *type_out) {
  calls::log().push_back(std::string("type of ") + domain);
  if (calls::refuses(calls::Refusal::parameter_map_type)) return 1;
  *type_out = 1;
  return 0;
}

const char *kel_cmap_match_criteria_get_string_short(uint32_t criteria) {
  return calls::cmap_criteria_text(criteria);
}

const char *kel_pmap_class_match_get_string_short(uint32_t criteria) {
  return calls::event_criteria_text(criteria);
}

const char *kel_pmap_action_exec_criteria_get_string_short(uint32_t criteria) {
  return calls::exec_criteria_text(criteria);
}
}
