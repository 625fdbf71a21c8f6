// The statements of parameter-maps.
//
// A statement keeps its filters in a class-map of its own, an ordinary one of the domain "subscriber" that is hidden
// from listings. Its name consists of "__PMTR__", the parameter-map's name and the map-index. It lives as long as the
// statement.
#include "pmtr/statements.h"

#include <cstdio>

#include "core/pool.h"
#include "core/text.h"
#include "objects/leaves.h"
#include "platform/tags.h"
#include "zar/compose.h"
#include "zar/lifecycle.h"
#include "zar/objects.h"
#include "zar/present.h"

using namespace zar;

const char *const zar_db_pmtr_map_stmt_chunk_str = "ZAR DB pmtr-map stmt chunk";

namespace {

constexpr char kAddFilter[] = "add_filter_to_pmtr_map";
constexpr char kAddStatement[] = "add_pmtr_map_stmt_to_pmtr_map";
constexpr char kDeleteStatement[] = "delete_pmtr_map_statement";
constexpr uint32_t kMatchAll = 1;

// The differences between a statement that is new and one that replaces another.
struct Making {
  uint32_t domain_tag;
  uint32_t name_tag;
  uint32_t name_room;  // bytes of the name buffer beyond the parameter-map's name
  bool names_map;      // whether a missing record is reported with the parameter-map's name
  bool keeps_texts;    // whether the copies of domain and name are kept until the statement is in its list
};
constexpr Making kFirstTime{.domain_tag = ZAR_TAG_STATEMENT_DOMAIN,
                            .name_tag = ZAR_TAG_STATEMENT_NAME,
                            .name_room = 11,
                            .names_map = true,
                            .keeps_texts = false};
constexpr Making kReplacing{.domain_tag = ZAR_TAG_REPLACING_STATEMENT_DOMAIN,
                            .name_tag = ZAR_TAG_REPLACING_STATEMENT_NAME,
                            .name_room = 12,
                            .names_map = false,
                            .keeps_texts = true};

// ---- Creating statements

void trace_no_statement_record(const Making &making, uint32_t owner, const char *map_name) {
  if (making.names_map) {
    TRACE_ERROR("(ERR): create_pmtr_map: memory alloc for pmtr_map stmt failed clid:%d, name:%s", owner, map_name);
  } else {
    TRACE_ERROR("(ERR): create_pmtr_map: memory alloc for pmtr_map stmt failed clid:%d", owner);
  }
}

// The name of the hidden class-map. Its buffer has room for an index of any length.
OwnedText hidden_name(const Making &making, const char *map_name, uint32_t map_index) {
  constexpr char kFormat[] = "__PMTR__%s%d";
  const size_t needed = static_cast<size_t>(std::snprintf(nullptr, 0, kFormat, map_name, map_index)) + 1;
  const size_t usual = std::strlen(map_name) + making.name_room;
  const size_t size = needed > usual ? needed : usual;
  OwnedText name = OwnedText::of_size(size, making.name_tag);
  if (name) std::snprintf(name.get(), size, kFormat, map_name, map_index);
  return name;
}

// Creates the hidden class-map and stores it; 0 if either fails, with nothing left behind.
uint32_t make_hidden_class(uint32_t owner, const char *domain, const char *name) {
  zar_map_info info{.domain = domain, .domain_type = kControl, .map_name = name, .hidden = 1};
  uint32_t cmap = 0;
  if (zar_create_class(owner, &info, kMatchAll, &cmap) == kSuccess && zar_store_class(owner, cmap) == kSuccess)
    return cmap;
  TRACE_ERROR("(ERR): Failure creating pmtr_internal_classmap: %s", name);
  zar_delete_class(cmap);
  return 0;
}

void clear_filter_types(uint32_t cmap_handle) {
  if (auto *cmap = resolve<zar_cmap>(cmap_handle)) {
    cmap->filter_type_mask = 0;
  } else {
    TRACE_ERROR("(ERR): %s: class-map handle context cannot be NULL", kAddFilter);
  }
}

// Adds a statement with its hidden class-map; a failure leaves nothing of either behind.
uint32_t make_statement(const Making &making, uint32_t owner, uint32_t map_handle, const char *map_name,
                        uint32_t map_index, uint32_t *cmap_out) {
  Pooled<zar_pmtr_map_stmt> statement = pmtr_map_stmt_pool.take();
  if (!statement) {
    trace_no_statement_record(making, owner, map_name);
    return kNoMemory;
  }
  make_empty(statement->action_queue);

  OwnedText domain = OwnedText::copy_of(kel_parameter_map_subscriber_domain_str, making.domain_tag);
  if (domain) zar_get_owner_for_domain(domain.get(), &owner);
  OwnedText name = domain ? hidden_name(making, map_name, map_index) : OwnedText();
  if (!name) {
    TRACE_ERROR("(ERR): create_pmtr_map: memory alloc for map_info map_name failed clid:%d", owner);
    return kNoMemory;
  }
  TRACE_INFO("(info): Hidden classmap name: %s", name.get());

  uint32_t cmap = make_hidden_class(owner, domain.get(), name.get());
  if (cmap == 0) return kInvalidArgument;
  statement->internal_cmap = cmap;
  statement->map_index = map_index;
  TRACE_INFO("(info): Created pmtr_internal_classmap: %s", name.get());
  clear_filter_types(cmap);
  if (!making.keeps_texts) {
    name.give_back();
    domain.give_back();
  }
  if (zar_add_statement_to_pmtr_map(map_handle, statement.get()) != kSuccess) {
    TRACE_ERROR("(ERR): Failure enqueing pmtr map statement withmap-index: %d", map_index);
    zar_delete_stored_class(owner, cmap);
    return kFailed;
  }
  statement.keep();
  *cmap_out = cmap;
  return kSuccess;
}

// ---- Filters of statements

struct FilterRequest {
  const zar_filter_context *context;
  uint8_t no_match;
  uint8_t regex;
  uint8_t flag;
  uint8_t type;
};

// A filter that cannot be created or added is not reported.
void add_new_filter(zar_cmap &cmap, const FilterRequest &wanted) {
  uint32_t filter = 0;
  if (zar_pmtr_create_filter(wanted.context, &filter, wanted.no_match, wanted.regex, wanted.flag, wanted.type) !=
      kSuccess)
    return;
  TRACE_INFO("(info): Created filter for internal class");
  if (zar_add_filter_to_class(cmap.handle, filter) == kSuccess) {
    cmap.filter_type_mask |= 1u << (wanted.type % 32);
    TRACE_INFO("(info): Added filter to internal class");
  } else {
    zar_delete_filter(filter);
    TRACE_ERROR("(ERR): Failure creating filter for internal class");
  }
}

// An equal filter takes over the new data instead of a second filter being added.
uint32_t add_or_replace_filter(uint32_t cmap_handle, const FilterRequest &wanted) {
  uint32_t equal_filter = 0;
  uint32_t status = zar_retrieve_filter(cmap_handle, wanted.context, wanted.no_match, &equal_filter);
  auto *cmap = resolve<zar_cmap>(cmap_handle);
  if (!cmap) {
    TRACE_ERROR("(ERR): Failed to get context for internal class");
    return kFailed;
  }
  if (status != kSuccess) return kSuccess;
  if (equal_filter != 0) {
    zar_replace_old_filter_hdl(equal_filter, wanted.context);
  } else {
    add_new_filter(*cmap, wanted);
  }
  return kSuccess;
}

// ---- Deleting statements

// Frees the actions of a statement and its hidden class-map. For callbacks that run during this the statement does not
// exist.
void free_contents(zar_pmtr_map_stmt &statement, uint32_t owner) {
  const Ending ending(&statement);
  while (auto *action = take_first<zar_action>(statement.action_queue)) {
    TRACE_INFO("(info): %s: Freeing action:0x%x", kDeleteStatement, action->handle);
    zar_free_action(action);
  }
  if (zar_delete_stored_class(owner, statement.internal_cmap) == kSuccess) {
    TRACE_INFO("(info): internal class-map for map index %dremoved", statement.map_index);
  } else {
    TRACE_ERROR("(ERR): internal class-map for map index %dcannot be removed", statement.map_index);
  }
}

void free_record(zar_pmtr_map_stmt *statement) {
  pmtr_map_stmt_pool.give_back(statement);
  TRACE_INFO("(info): %s: Pmtr-map stmt:0x%p removed", kDeleteStatement, address(statement));
}

}  // namespace

void zar::trace_statement_removal(uint32_t map_index, bool removed) {
  if (removed) {
    TRACE_INFO("(info): Pmtr-map statement for map index %dremoved", map_index);
  } else {
    TRACE_ERROR("(ERR): Pmtr-map statement for map index %dcannot be removed", map_index);
  }
}

uint32_t zar_pmtr_create_or_add_filter(uint32_t pmtr_map, const zar_filter_context *filter, uint8_t no_match,
                                       uint8_t regex, uint8_t flag_3, uint32_t map_index, uint8_t replace,
                                       uint8_t filter_type) {
  uint32_t owner = subscriber_owner();
  auto *record = require<zar_pmtr_map>(kAddFilter, pmtr_map);
  if (!record) return kInvalidArgument;
  if (!filter) {
    TRACE_ERROR("(ERR): %s: Error: input filter context cannot be NULL", kAddFilter);
    return kInvalidArgument;
  }
  FilterRequest wanted{.context = filter, .no_match = no_match, .regex = regex, .flag = flag_3, .type = filter_type};

  const Watched<zar_pmtr_map> map(record);
  const zar_pmtr_map_stmt *statement = find_statement(*record, map_index);
  if (statement && !replace) return add_or_replace_filter(statement->internal_cmap, wanted);
  if (statement) trace_statement_removal(map_index, zar_pmtr_delete_filter(pmtr_map, map_index) == kSuccess);
  // A free function may have deleted the parameter-map.
  if (!map) return kInvalidArgument;

  uint32_t cmap = 0;
  const Making &making = statement ? kReplacing : kFirstTime;
  uint32_t status = make_statement(making, owner, pmtr_map, or_null(text_of(map->name)), map_index, &cmap);
  return status == kSuccess ? add_or_replace_filter(cmap, wanted) : status;
}

uint32_t zar_add_statement_to_pmtr_map(uint32_t pmtr_map, zar_pmtr_map_stmt *statement) {
  auto *map = require<zar_pmtr_map>(kAddStatement, pmtr_map);
  if (!map) return kInvalidArgument;
  if (!statement || is_ending(statement)) {
    TRACE_ERROR("(ERR): %s: input pmtr-map statement cannot be NULL", kAddStatement);
    return kInvalidArgument;
  }
  uint32_t map_index = statement->map_index;
  auto number_of = [](const zar_pmtr_map_stmt &other) { return other.map_index; };
  Place place = insert_by_number(map->stmt_queue, statement, number_of, [=] {
    TRACE_INFO("(info): %s: pmtr-map-stmt:0x%p adding statement with index:%d as first entry as pmtr-map statement",
               kAddStatement, address(statement), map_index);
  });
  if (place == Place::first) {
    TRACE_INFO("(info): Queued statement for map index: %d at pmtr-map", map_index);
  } else {
    TRACE_INFO("(info): Inserted statement for map index: %d into pmtr-map", map_index);
  }
  TRACE_INFO("(info): %s: added statement:0x%p with index:%d into pmtr-map statement list", kAddStatement,
             address(statement), map_index);
  return kSuccess;
}

uint32_t zar_pmtr_delete_filter(uint32_t pmtr_map, uint32_t map_index) {
  uint32_t owner = subscriber_owner();
  auto *record = require<zar_pmtr_map>(kDeleteStatement, pmtr_map);
  if (!record) return kInvalidArgument;
  const Watched<zar_pmtr_map> map(record);
  zar_pmtr_map_stmt *statement = find_statement(*record, map_index);
  if (!statement) {
    TRACE_ERROR("(ERR): delete_pmtr_map_stmt: pmtr_map stmt not found for map-index %d", map_index);
    return kFailed;
  }
  free_contents(*statement, owner);
  if (map) unlink(map->stmt_queue, statement);
  free_record(statement);
  return kSuccess;
}

uint32_t zar_pmtr_delete_filter_by_stmt(zar_pmtr_map_stmt *statement) {
  if (!statement || is_ending(statement)) {
    TRACE_ERROR("(ERR): Cannot delete null pmtr-map statement.");
    return kInvalidArgument;
  }
  free_contents(*statement, subscriber_owner());
  free_record(statement);
  return kSuccess;
}

uint32_t zar_get_first_pmtr_map_index(uint32_t clid, uint32_t pmtr_map, uint32_t *index_out) {
  static constexpr char kName[] = "get_first_pmtr_map_index";
  if (!valid_clid(kName, clid)) return kInvalidArgument;
  const auto *map = require<zar_pmtr_map>(kName, pmtr_map);
  if (!map) return kInvalidArgument;
  if (!index_out) {
    TRACE_ERROR("(ERR): %s: Error: input map-index place cannot be NULL", kName);
    return kInvalidArgument;
  }
  if (!database_of(clid, kName)) return kFailed;

  const auto *statement = first<zar_pmtr_map_stmt>(map->stmt_queue);
  *index_out = statement ? statement->map_index : 0;
  if (statement) return kSuccess;
  TRACE_ERROR("(ERR): Error: No map statements for this pmtr_map");
  return kNothingFound;
}

uint32_t zar_get_next_pmtr_map_index(uint32_t clid, uint32_t pmtr_map, uint32_t current, uint32_t *index_out) {
  static constexpr char kName[] = "get_next_pmtr_map_index";
  if (!valid_clid(kName, clid)) return kInvalidArgument;
  auto *map = require<zar_pmtr_map>(kName, pmtr_map);
  if (!map || !index_out) return kInvalidArgument;
  if (!database_of(clid, kName)) return kFailed;

  auto found = find_with_next<zar_pmtr_map_stmt>(
      map->stmt_queue, [current](const zar_pmtr_map_stmt &statement) { return statement.map_index == current; });
  *index_out = found.next ? found.next->map_index : 0;
  if (found.next) return kSuccess;
  TRACE_ERROR("(ERR): Error: No next map statements for this pmtr_map");
  return kNothingFound;
}

uint32_t zar_get_internal_class_map(uint32_t pmtr_map, uint32_t map_index) {
  const auto *map = require<zar_pmtr_map>("find_internal_classmap", pmtr_map);
  const zar_pmtr_map_stmt *statement = map ? find_statement(*map, map_index) : nullptr;
  return statement ? statement->internal_cmap : 0;
}
