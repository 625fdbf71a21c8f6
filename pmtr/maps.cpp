// Parameter-map records: creating, storing, retrieving, walking and deleting them.
#include <cstring>

#include "core/trees.h"
#include "lifecycle/tree_walks.h"
#include "objects/map_family.h"
#include "pmtr/statements.h"

using namespace zar;

const char *const zar_db_pmtr_map_chunk_str = "ZAR DB pmtr-map chunk";

namespace {

constexpr uint32_t kNameTextTag = 0x3e00032;

struct ParameterMaps {
  using Record = zar_pmtr_map;
  static Pool<zar_pmtr_map> &pool() { return pmtr_map_pool; }
  static constexpr uint32_t kNameTag = kNameTextTag;
  static constexpr uint32_t kKeyTag = 0x3e0005a;
  static constexpr auto insert = zar_avl_insert_pmtr_map;
  static constexpr auto search = zar_avl_search_pmtr_map;
  static constexpr auto place_given = pmtr_map_place_given;
  static constexpr bool kRetrieveStopsAtFirstFault = true;

  static void trace_no_record(uint32_t clid, const zar_map_info &info) {
    TRACE_ERROR("(ERR): create_pmtr_map: memory alloc for pmtr_map failed clid:%d, name:%s", clid, info.map_name);
  }
  static constexpr char kNoHandle[] = "(ERR): create_pmtr_map: Could not create id for pmtr-map clid:%d, name:%s";
  static constexpr char kNoName[] = "(ERR): create_pmtr_map: Could not add pmtr-map name to SDB clid:%d, name:%s";
  static constexpr char kNoDomain[] = "(ERR): create_pmtr_map: Could not add domain name to SDB  clid:%d, name:%s";
  static constexpr char kNoKey[] = "(ERR): create_pmtr_map: Could not create hash string  clid:%d, name:%s";
  static constexpr char kCreated[] = "(info): create_pmtr_map: successful, pmtr_map:0x%x";

  static constexpr char kStore[] = "store_pmtr_map";
  static constexpr char kStoreInvalid[] = "(ERR): store_pmtr_map: Error: invalid pmtr_map handle";
  static constexpr char kStoreFailed[] = "(ERR): store_pmtr_map: Error: avl insert failed";
  static void trace_stored(uint32_t, const zar_pmtr_map &) { TRACE_INFO("(info): store_pmtr_map: successful"); }

  static constexpr char kRetrieve[] = "retrieve_pmtr_map";
  static constexpr char kSearchFailed[] = "(info): retrieve_pmtr_map: search failed  clid:%d, name:%s";
  static constexpr char kNoMatch[] = "(info): retrieve_pmtr_map: search failed as there is no match clid:%d, name:%s";
  static constexpr char kRetrieved[] = "(info): retrieve_pmtr_map: successful, pmtr_map:%s";
};

struct ParameterMapWalk {
  using Record = zar_pmtr_map;
  static constexpr auto get_first = zar_avl_get_first_pmtr_map;
  static constexpr auto get_next = zar_avl_get_next_pmtr_map;
  static constexpr auto place_given = pmtr_map_place_given;
  static constexpr bool kStopsAtFirstFault = true;
  static constexpr char kFirst[] = "get_first_pmtr_map";
  static constexpr char kFirstFailed[] = "(ERR): Error: getting first pmtr_map";
  static constexpr char kNoFirst[] = "(info): %s: success, no first pmtr_map in the database";
  static constexpr char kFirstFound[] = "(info): %s: success, first pmtr-map:0x%x";
  static constexpr char kNext[] = "get_next_pmtr_map";
  static constexpr char kNextFailed[] = "(ERR): Error: getting next pmtr_map";
  static constexpr char kNoNext[] = "(info): %s: success, no next pmtr_map in the database";
  static constexpr char kNextFound[] = "(info): %s: success, next pmtr-map:0x%x";
};

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
  sdb_remove_block(map->name, kNameTextTag);
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
  if (!database) {
    TRACE_ERROR("(ERR): %s: input database handle cannot be NULL", kName);
    return kInvalidArgument;
  }
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
  return first_map<ParameterMapWalk>(clid, pmtr_map_out);
}

// The cursor is checked before the client, unlike in the walks over policy-maps and class-maps.
uint32_t zar_get_next_pmtr_map(uint32_t clid, uint32_t current_handle, uint32_t *pmtr_map_out) {
  auto *current = require_any_map<zar_pmtr_map>(ParameterMapWalk::kNext, current_handle);
  if (!current) return kInvalidArgument;
  if (!may_walk<ParameterMapWalk>(ParameterMapWalk::kNext, clid, pmtr_map_out)) return kInvalidArgument;
  return map_after<ParameterMapWalk>(clid, current, pmtr_map_out);
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
