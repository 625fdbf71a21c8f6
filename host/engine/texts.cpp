// The engine's data and texts, as the library imports them.
#include <cstring>

#include "engine/records.h"
#include "platform/engine.h"

uint32_t kel_trace_id = 0x3e;
uint32_t kel_clid = 1;
const char *BUILTIN_DEVICE_TO_TEMPLATE = "BUILTIN_DEVICE_TO_TEMPLATE";

namespace {

// Listings print the text in any case, so a value without a text still needs one.
constexpr const char *kUnknown = "unknown";

}  // namespace

const char *kel_cmap_match_criteria_get_string_short(uint32_t criteria) {
  switch (criteria) {
    case engine::kClassMatchAll:
      return "match-all";
    case engine::kClassMatchAny:
      return "match-any";
    case engine::kClassMatchNone:
      return "match-none";
    default:
      return kUnknown;
  }
}

const char *kel_pmap_class_match_get_string_short(uint32_t criteria) {
  switch (criteria) {
    case engine::kEventMatchAll:
      return "match-all";
    case engine::kEventMatchFirst:
      return "match-first";
    default:
      return kUnknown;
  }
}

const char *kel_pmap_action_exec_criteria_get_string_short(uint32_t criteria) {
  switch (criteria) {
    case engine::kRunAll:
      return "run-all";
    case engine::kStopOnFailure:
      return "stop-on-failure";
    case engine::kStopOnSuccess:
      return "stop-on-success";
    default:
      return kUnknown;
  }
}

// Only subscribers have parameter-maps, of the type of their policies.
uint32_t kel_parameter_map_get_type(const char *domain, uint32_t *type_out) {
  if (!domain || !type_out || std::strcmp(domain, kel_parameter_map_subscriber_domain_str) != 0) return 1;
  *type_out = engine::kControl;
  return 0;
}
