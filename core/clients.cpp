#include "core/clients.h"

#include <cstring>

#include "core/pool.h"
#include "core/status.h"
#include "core/text.h"
#include "core/trace.h"
#include "platform/tags.h"

using namespace zar;

zar_client_data **zar_clients_info;
uint32_t zar_allowed_max_clients;
uint32_t zar_current_max_clients;

const char *const zar_client_data_chunk_str = "ZAR client data chunk";

namespace {

constexpr uint32_t kTableStep = 10;
constexpr uint32_t kLastCapacity = 0U - kTableStep;  // growing from here would wrap to a capacity of 0
constexpr uint32_t kActive = 1;

bool in_range(uint32_t clid) {
  return clid - 1 < zar_current_max_clients;
}

// An entry whose name could not be copied has a NULL name, which matches no name.
bool is_named(const zar_client_data *entry, const char *name) {
  return entry && entry->name && std::strcmp(entry->name, name) == 0;
}

// The index of the client with this name, or the number of clients.
uint32_t find_client(const char *name) {
  uint32_t index = 0;
  while (index < zar_current_max_clients && !is_named(zar_clients_info[index], name))
    ++index;
  return index;
}

// Makes an inactive client active again. The out place receives the index, one below the clid in the entry.
void reactivate(uint32_t index, uint32_t *clid_out) {
  zar_client_data *entry = zar_clients_info[index];
  TRACE_INFO("(info): client registration, already existing but inactive client:%s", entry->name);
  TRACE_INFO("(info): reusing existing index:%d for client:%s", index, entry->name);
  entry->clid = index + 1;
  entry->status = kActive;
  *clid_out = index;
}

bool grow_table() {
  TRACE_INFO("(info): Growing the ZAR clients data array");
  if (zar_allowed_max_clients == kLastCapacity) return false;
  uint32_t capacity = zar_allowed_max_clients + kTableStep;
  zar_client_data **grown = allocate_table<zar_client_data>(capacity, ZAR_TAG_GROWN_CLIENT_TABLE);
  if (!grown) return false;
  for (uint32_t index = 0; index < zar_current_max_clients; ++index)
    grown[index] = zar_clients_info[index];
  bfree_named(zar_clients_info);
  zar_clients_info = grown;
  zar_allowed_max_clients = capacity;
  return true;
}

uint32_t register_new(const char *name, zar_db *database, uint32_t *clid_out) {
  zar_client_data *entry = client_pool.take_if_ready().keep();
  if (!entry) {
    TRACE_ERROR("(ERR): client registration, memory alloc failure");
    *clid_out = 0;
    return kFailed;
  }
  entry->name = bstrdup_named(name, ZAR_TAG_CLIENT_NAME);
  entry->database = database;
  // If the table cannot grow, the new entry and its name stay allocated, uncounted.
  if (zar_current_max_clients >= zar_allowed_max_clients && !grow_table()) return kFailed;

  uint32_t clid = ++zar_current_max_clients;
  TRACE_INFO("(info): %s registered with the id:%d", name, clid);
  entry->clid = clid;
  entry->status = kActive;
  zar_clients_info[clid - 1] = entry;
  *clid_out = clid;
  return kSuccess;
}

}  // namespace

uint32_t zar_client_register(const char *name, zar_db *database, uint32_t *clid_out) {
  if (!name) {
    TRACE_ERROR("(ERR): client registration, client name cannot be NULL");
    return kInvalidArgument;
  }
  if (!clid_out) {
    TRACE_ERROR("(ERR): client registration, clid cannot be NULL");
    return kInvalidArgument;
  }
  if (!zar_clients_info) {
    TRACE_ERROR("(ERR): client registration, Malloc must have failed during zar_init");
    return kFailed;
  }
  if (!client_pool.ready()) {
    TRACE_ERROR("(ERR): Client Register: client data chunk error");
    return kNoMemory;
  }
  TRACE_INFO("(info): client registration, name:%s, db hdl:0x%p", name, address(database));

  uint32_t index = find_client(name);
  if (index == zar_current_max_clients) return register_new(name, database, clid_out);
  if (zar_clients_info[index]->status == kActive) {
    TRACE_INFO("(info): client registration, already existing client:%s", name);
  } else {
    reactivate(index, clid_out);
  }
  return kSuccess;
}

uint32_t zar_verify_client_id(uint32_t clid, const char *caller) {
  if (in_range(clid)) [[likely]]
    return kSuccess;
  TRACE_ERROR("(ERR): %s: Wrong clid:%d, expected range: 1 - %d", or_blank(caller), clid, zar_current_max_clients);
  return kCheckFailed;
}

uint32_t zar::zar_verify_client_active(uint32_t clid, const char *caller) {
  const zar_client_data *entry = client_entry(clid);
  if (!entry) {
    TRACE_ERROR("(ERR): %s: clid:%d, Client entry is in ZAR is NULL", or_blank(caller), clid);
    return kCheckFailed;
  }
  if (entry->status != kActive) {
    TRACE_ERROR("(ERR): %s: clid:%d, Client status in ZAR is INACTIVE", or_blank(caller), clid);
    return kCheckFailed;
  }
  return kSuccess;
}

uint32_t zar_get_client_database_handle(uint32_t clid, const char *caller, zar_db **out, uint32_t *is_default_out) {
  if (zar_verify_client_id(clid, caller) != kSuccess) return kNo;
  if (!out) return kNo;
  if (zar_verify_client_active(clid, caller) != kSuccess) return kNo;

  zar_db *own = client_entry(clid)->database;
  if (own) {
    *out = own;
    if (is_default_out) *is_default_out = kNo;
    TRACE_INFO("(info): %s: using client specific database", or_blank(caller));
    return kYes;
  }
  // The default database is that of the first client.
  const zar_client_data *first_client = zar_clients_info[0];
  *out = first_client ? first_client->database : nullptr;
  if (!*out) {
    TRACE_ERROR("(ERR): Could not find default db");
    return kNo;
  }
  if (is_default_out) *is_default_out = kYes;
  TRACE_INFO("(info): %s: using default database", or_blank(caller));
  return kYes;
}

uint32_t zar_get_first_client_with_database(void) {
  return kel_clid;
}

uint32_t zar_get_next_client_with_database(uint32_t clid) {
  if (zar_verify_client_id(clid, nullptr) != kSuccess) return 0;
  if (zar_verify_client_active(clid, nullptr) != kSuccess) return 0;
  for (uint32_t index = clid; index < zar_current_max_clients; ++index) {
    const zar_client_data *entry = zar_clients_info[index];
    if (!entry || !entry->database) continue;
    TRACE_INFO("(info): get next client, sending:%d", entry->clid);
    return entry->clid;
  }
  return 0;
}

// Any status but 0 prints as active here, while the operations treat only 1 as active.
void zar_display_clients(void) {
  TRACE_INFO("(info): Total clients:%d, max entries:%d\n", zar_current_max_clients, zar_allowed_max_clients);
  for (uint32_t index = 0; index < zar_current_max_clients; ++index) {
    const zar_client_data *entry = zar_clients_info[index];
    if (!entry) continue;
    TRACE_INFO("(info): Client id:%d\n", entry->clid);
    TRACE_INFO("(info): Client status:%s\n", entry->status ? "Active" : "Inactive");
    TRACE_INFO("(info): Client name:%s\n", or_blank(entry->name));
  }
}

uint32_t zar_client_register_target_policy_removal_vector(uint32_t clid, zar_target_policy_removal_fn callback) {
  static constexpr char kName[] = "client_register_target_policy_removal_vector";
  if (zar_verify_client_id(clid, kName) != kSuccess) return kInvalidArgument;
  if (zar_verify_client_active(clid, kName) != kSuccess) return kFailed;
  client_entry(clid)->removal_vector = callback;
  TRACE_INFO("(info): %s: successful, clid:%d", kName, clid);
  return kSuccess;
}
