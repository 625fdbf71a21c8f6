// Parameter-map records: creating, storing, retrieving, walking and deleting them.
#include <cstring>

#include "core/trees.h"
#include "lifecycle/tree_walks.h"
#include "objects/map_family.h"
#include "pmtr/statements.h"

using namespace zar;

const char *const zar_db_pmtr_map_chunk_str = "ZAR DB pmtr-map chunk";

namespace {

// A leading part of the built-in template's name, the empty name included, makes a parameter-map hidden.
bool begins_template(const char *name) {
  return BUILTIN_DEVICE_TO_TEMPLATE && std::strncmp(BUILTIN_DEVICE_TO_TEMPLATE, name, std::strlen(name)) == 0;
}

void free_statements(zar_pmtr_map &map, const char *name) {
  while (auto *statement = take_first<zar_pmtr_map_stmt>(map.stmt_queue)) {
    uint32_t map_index = statement->map_index;
    TRACE_INFO("(info): %s: Freeing statement:0x%p map-index: %d", name, address(statement), map_index);
    trace_statement_removal(map_index, zar_pmtr_delete_filter_by_stmt(statement) == kSuccess);
  }
}

// The domain's text is not released: it stays interned once for each deleted parameter-map.
void zar_release_pmtr_map(uint32_t handle, const char *name) {
  auto *map = resolve<zar_pmtr_map>(handle);
  if (!map) {
    TRACE_INFO("(info): Cannot find context for parameter-map handle %u", handle);
    return;
  }
  retire(handle);
  free_statements(*map, name);
  zar_handle_release(handle);
  sdb_remove_block(map->name, ParameterMaps::kNameTag);
  release_key(*map);
  pmtr_map_pool.give_back(map);
}

void trace_deleted(const char *name, uint32_t handle) {
  TRACE_INFO("(info): %s: successfully delete pmtr_map:0x%x", name, handle);
}

}  // namespace

uint32_t zar_create_pmtr_map(uint32_t clid, const zar_map_info *info, uint32_t *pmtr_map_out) {
  static constexpr char kName[] = "create_pmtr_map";
  if (!valid_clid(kName, clid)) return kInvalidArgument;
  if (!pmtr_map_place_given(kName, clid, pmtr_map_out)) return kInvalidArgument;
  if (zar_verify_map_info(info, kName) != kSuccess) return kInvalidArgument;

  auto fill = [info](zar_pmtr_map &map) { map.hidden = begins_template(info->map_name); };
  return create_map<ParameterMaps>(clid, *info, pmtr_map_out, fill,
                                   [](zar_pmtr_map &map) { make_empty(map.stmt_queue); });
}

uint32_t zar_store_pmtr_map(uint32_t clid, uint32_t pmtr_map) {
  return store_map<ParameterMaps>(clid, pmtr_map);
}

uint32_t zar_retrieve_pmtr_map(uint32_t clid, const zar_map_info *info, uint32_t *pmtr_map_out) {
  return retrieve_map<ParameterMaps>(clid, info, pmtr_map_out);
}

uint32_t zar_delete_stored_pmtr_map(uint32_t pmtr_map, zar_db *database) {
  static constexpr char kName[] = "delete_stored_pmtr_map";
  auto *map = require<zar_pmtr_map>(kName, pmtr_map);
  if (!map) return kInvalidArgument;
  if (!database_given(kName, database)) return kInvalidArgument;
  if (!remove_itself(database, map)) {
    TRACE_ERROR("(ERR): %s: Error: avl delete failed", kName);
    return kTreeFailed;
  }
  zar_release_pmtr_map(map->handle, kName);
  trace_deleted(kName, pmtr_map);
  return kSuccess;
}

// A stored parameter-map deleted in this way stays in its tree: callers must delete it with the operation above.
uint32_t zar_delete_pmtr_map(uint32_t pmtr_map) {
  static constexpr char kName[] = "delete_pmtr_map";
  if (!require<zar_pmtr_map>(kName, pmtr_map)) return kInvalidArgument;
  zar_release_pmtr_map(pmtr_map, kName);
  trace_deleted(kName, pmtr_map);
  return kSuccess;
}

const char *zar_get_pmtr_map_name(uint32_t pmtr_map) {
  auto *map = require<zar_pmtr_map>(" ", pmtr_map);
  return map ? text_of(map->name) : nullptr;
}

uint32_t zar_get_first_pmtr_map(uint32_t clid, uint32_t *pmtr_map_out) {
  return first_map<ParameterMaps>(clid, pmtr_map_out);
}

// The cursor is checked before the client, unlike in the walks over policy-maps and class-maps.
uint32_t zar_get_next_pmtr_map(uint32_t clid, uint32_t current_handle, uint32_t *pmtr_map_out) {
  auto *current = require_any_map<zar_pmtr_map>(ParameterMaps::Walk::kNext, current_handle);
  if (!current) return kInvalidArgument;
  if (!may_walk<ParameterMaps>(ParameterMaps::Walk::kNext, clid, pmtr_map_out)) return kInvalidArgument;
  return map_after<ParameterMaps>(clid, current, pmtr_map_out);
}

void zar_unhide_pmap(uint32_t pmtr_map) {
  auto *map = require<zar_pmtr_map>(" ", pmtr_map);
  if (!map) {
    TRACE_ERROR("(ERR): Null context - cannot unhide parameter-map");
    return;
  }
  map->hidden = 0;
}

uint32_t zar_is_pmap_hidden(uint32_t pmtr_map) {
  auto *map = require<zar_pmtr_map>(" ", pmtr_map);
  return map ? map->hidden : 0;
}
