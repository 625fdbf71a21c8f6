// The engine's own access to parameter-maps: by name alone, in the domain "subscriber", as the owner of that domain.
#include "core/checks.h"
#include "core/text.h"
#include "platform/tags.h"
#include "zar/pmtr.h"

using namespace zar;

namespace {

// A map info with its own copies of the texts.
class CopiedInfo {
 public:
  CopiedInfo(const char *name, uint32_t domain_type, uint32_t name_tag, uint32_t domain_tag)
      : name_(OwnedText::copy_of(name, name_tag)),
        domain_(OwnedText::copy_of(kel_parameter_map_subscriber_domain_str, domain_tag)),
        info_{.domain = domain_.get(), .domain_type = domain_type, .map_name = name_.get(), .hidden = 0} {}
  const zar_map_info *get() const { return &info_; }

 private:
  OwnedText name_;
  OwnedText domain_;
  zar_map_info info_;
};

bool name_given(const char *operation, const char *name) {
  if (!name) TRACE_ERROR("(ERR): %s: input parameter-map name cannot be NULL", operation);
  return name;
}

}  // namespace

// Only a success without a handle counts as not found; a refused look-up is traced as found and its status returned.
uint32_t kel_find_subscriber_parameter_map_by_name(const char *name, uint32_t domain_type, uint32_t *pmtr_map_out) {
  if (!name_given("find_subscriber_parameter_map_by_name", name)) return kInvalidArgument;
  uint32_t owner = subscriber_owner();
  CopiedInfo info(name, domain_type, ZAR_TAG_FOUND_PMTR_MAP_NAME, ZAR_TAG_FOUND_PMTR_MAP_DOMAIN);
  uint32_t status = zar_retrieve_pmtr_map(owner, info.get(), pmtr_map_out);
  if (status == kSuccess && *pmtr_map_out == 0) {
    TRACE_ERROR("(ERR): pmtr-map not found: %s", name);
    return kNothingFound;
  }
  TRACE_INFO("(info): found pmtr-map: %s", name);
  return status;
}

// A parameter-map that cannot be stored stays, unstored, under the handle in the place.
uint32_t kel_create_subscriber_parameter_map(const char *name, uint32_t domain_type, uint32_t *pmtr_map_out) {
  if (!name_given("create_subscriber_parameter_map", name)) return kInvalidArgument;
  uint32_t owner = subscriber_owner();
  CopiedInfo info(name, domain_type, ZAR_TAG_MADE_PMTR_MAP_NAME, ZAR_TAG_MADE_PMTR_MAP_DOMAIN);
  uint32_t status = zar_create_pmtr_map(owner, info.get(), pmtr_map_out);
  if (status != kSuccess) {
    TRACE_ERROR("(ERR): Could not create pmtr-map: %s", name);
    return status;
  }
  TRACE_INFO("(info): Created pmtr-map: %s", name);
  status = zar_store_pmtr_map(owner, *pmtr_map_out);
  TRACE_INFO("(info): Stored pmtr-map: %s", name);
  return status;
}

uint32_t kel_delete_subscriber_parameter_map(const char *name, uint32_t domain_type) {
  if (!name_given("delete_subscriber_pmtr_map", name)) return kInvalidArgument;
  zar_db *database = database_of(subscriber_owner(), "delete_subscriber_pmtr_map");
  if (!database) return kFailed;
  uint32_t pmtr_map = 0;
  uint32_t status = kel_find_subscriber_parameter_map_by_name(name, domain_type, &pmtr_map);
  if (status != kSuccess) {
    TRACE_ERROR("(ERR): Could not find pmtr-map: %s", name);
    return kInvalidArgument;
  }
  TRACE_INFO("(info): Found pmtr-map: %s", name);
  status = zar_delete_stored_pmtr_map(pmtr_map, database);
  TRACE_INFO("(info): Deleted pmtr-map: %s", name);
  return status;
}

// A name that does not fit its buffer is searched for as the empty name, and counts as not found even if a map has that
// name.
uint32_t kel_is_pmap_created(const char *name) {
  constexpr size_t kNameSize = 100;
  const char *subscriber = kel_parameter_map_subscriber_domain_str;
  if (!name_given("is_pmap_created", name)) return 0;

  char domain[kNameSize] = {};
  strncpy_s(domain, sizeof domain, subscriber, length_of(subscriber) + 1);
  uint32_t type = 0;
  if (kel_parameter_map_get_type(domain, &type) != 0) {
    TRACE_INFO("(info): parameter-map:%s is not recognised\n", domain);
    return 0;
  }
  char copy[kNameSize] = {};
  const bool fits = strncpy_s(copy, sizeof copy, name, kNameSize) == 0;
  uint32_t pmtr_map = 0;
  const uint32_t status = kel_find_subscriber_parameter_map_by_name(copy, type, &pmtr_map);
  return fits && status != kNothingFound ? pmtr_map : 0;
}
