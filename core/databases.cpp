#include "core/checks.h"
#include "core/debug/ledger.h"
#include "core/exported.h"
#include "core/handles.h"
#include "core/pool.h"
#include "core/queue.h"
#include "core/status.h"
#include "core/text.h"
#include "core/trace.h"
#include "platform/tags.h"

using namespace zar;

const char *const zar_db_chunk_str = "ZAR DB chunk";

namespace {

constexpr uint32_t kFirstTableSize = 10;

// False if the tree cannot be created; whatever was allocated for it stays with the database.
bool make_tree(avl_tree *&place, uint32_t tag, avl_compare_fn compare, avl_free_fn free_node) {
  place = allocate<avl_tree>(tag);
  if (!place) return false;
  place->top.parent = nullptr;
  if (i_avl_tree_init(place, compare, free_node)) return true;
  TRACE_INFO("(info): \nError while initialising\n");
  return false;
}

bool make_trees(zar_db &database) {
  return make_tree(database.pmap_tree, ZAR_TAG_PMAP_TREE, ZAR_EXPORTED(zar_pmap_compare_string),
                   ZAR_EXPORTED(zar_avl_free_pmap)) &&
         make_tree(database.cmap_tree, ZAR_TAG_CMAP_TREE, ZAR_EXPORTED(zar_cmap_compare_string),
                   ZAR_EXPORTED(zar_avl_free_cmap)) &&
         make_tree(database.target_tree, ZAR_TAG_TARGET_TREE, ZAR_EXPORTED(zar_target_compare_int),
                   ZAR_EXPORTED(zar_avl_free_target)) &&
         make_tree(database.pmtr_map_tree, ZAR_TAG_PMTR_MAP_TREE, ZAR_EXPORTED(zar_pmtr_map_compare_string),
                   ZAR_EXPORTED(zar_avl_free_pmtr_map));
}

constexpr char kDestroy[] = "destroy_database";

void empty_trees(zar_db *database) {
  if (database->pmap_tree) {
    zar_avl_remove_pmap(database);
  } else {
    TRACE_INFO("(info): %s: pmap tree is null, nothing to destroy", kDestroy);
  }
  if (database->cmap_tree) {
    zar_avl_remove_cmap(database);
  } else {
    TRACE_INFO("(info): %s: cmap tree is null, nothing to destroy", kDestroy);
  }
  if (database->target_tree) {
    zar_avl_remove_target(database);
  } else {
    TRACE_INFO("(info): %s: target tree is null, nothing to destroy", kDestroy);
  }
  if (database->pmtr_map_tree) {
    zar_avl_remove_pmtr_map(database);
  } else {
    TRACE_INFO("(info): %s: pmtr-map tree is null, nothing to destroy", kDestroy);
  }
}

}  // namespace

// Not protected against a second call: everything starts again and the previous state is lost.
uint16_t zar_init(void) {
  zar_clients_info = allocate_table<zar_client_data>(kFirstTableSize, ZAR_TAG_CLIENT_TABLE);
  if (!zar_clients_info) TRACE_ERROR("(ERR): ZAR malloc for clients data error");
  zar_allowed_max_clients = kFirstTableSize;
  zar_current_max_clients = 0;
  make_empty(zar_domain_list);
  return zar_handle_table_init();
}

uint32_t zar_create_database(zar_db **out) {
  if (!database_pool.ready()) {
    TRACE_ERROR("(ERR): Create Database: db create chunk error");
    return kNoMemory;
  }
  if (!out) return kInvalidArgument;
  TRACE_INFO("(info): Creating Database");

  // If not all trees can be created, the database is left as it is: the record and its trees stay allocated.
  zar_db *database = database_pool.take_if_ready().keep();
  if (!database) {
    *out = nullptr;
    return kNoMemory;
  }
  if (!make_trees(*database)) return kNoMemory;
  *out = database;
  debug::note_database(database);
  TRACE_INFO("(info): Database created, hdl:0x%p", address(database));
  return kSuccess;
}

// The record and its tree objects stay allocated and clients still point to them; only the trees are emptied.
uint32_t zar_destroy_database(zar_db *database) {
  if (!database_given(kDestroy, database)) return kInvalidArgument;
  TRACE_INFO("(info): %s: Destroying database handle:0x%p", kDestroy, address(database));
  empty_trees(database);
  TRACE_INFO("(info): %s: destroyed database, hdl:0x%p", kDestroy, address(database));
  return kSuccess;
}
