#include "core/domains.h"

#include "core/checks.h"
#include "core/pool.h"
#include "core/text.h"
#include "platform/tags.h"
#include "zar/pmtr.h"

using namespace zar;

queue_head zar_domain_list;

const char *const zar_domain_list_chunk_str = "ZAR domain list";
const char *const kel_parameter_map_subscriber_domain_str = "subscriber";

namespace {

constexpr uint32_t kDefaultOwner = 1;

const zar_domain_entry *find_claim(const char *domain) {
  return find<zar_domain_entry>(zar_domain_list,
                                [domain](const zar_domain_entry &entry) { return is_domain(entry, domain); });
}

}  // namespace

uint32_t zar_register_domain(uint32_t clid, const char *domain) {
  if (!valid_clid("register_domain", clid)) return kInvalidArgument;
  if (!domain) {
    TRACE_ERROR("(ERR): domain registration, null domain is not allowed");
    return kInvalidArgument;
  }
  domain_entry_pool.ready();
  if (const zar_domain_entry *claim = find_claim(domain)) {
    TRACE_ERROR("(ERR): domain:%s already registered by client:%d", domain, claim->owner_clid);
    return kInvalidArgument;
  }

  Pooled<zar_domain_entry> entry = domain_entry_pool.take_if_ready();
  if (!entry) {
    TRACE_ERROR("(ERR): domain registration, memory alloc failure");
    return kNoMemory;
  }
  entry->owner_clid = clid;
  entry->domain = bstrdup_named(domain, ZAR_TAG_DOMAIN_NAME);
  if (!entry->domain) {
    TRACE_ERROR("(ERR): domain registration, memory alloc failure for domain");
    return kNoMemory;
  }
  append(zar_domain_list, entry.keep());
  TRACE_INFO("(info): domain:%s enqueued for client:%d", domain, clid);
  return kSuccess;
}

uint32_t zar_get_owner_for_domain(const char *domain, uint32_t *owner_out) {
  if (!domain) {
    TRACE_ERROR("(ERR): owner lookup, domain name cannot be null");
    return kInvalidArgument;
  }
  if (!owner_out) {
    TRACE_ERROR("(ERR): owner lookup, clid ptr cannot be null");
    return kInvalidArgument;
  }
  const zar_domain_entry *claim = find_claim(domain);
  if (claim) {
    TRACE_INFO("(info): domain:%s, owner  client:%d", domain, claim->owner_clid);
  } else {
    TRACE_INFO("(info): no registered owner for domain:%s, using default", domain);
  }
  *owner_out = claim ? claim->owner_clid : kDefaultOwner;
  return kSuccess;
}
