// Which databases and maps the show and clear operations visit.
#pragma once

#include "core/checks.h"
#include "core/domains.h"
#include "core/text.h"
#include "core/tree.h"

namespace zar {

// The maps of a database in key order, as the operations on its trees give them.
inline avl_tree *tree_of(const zar_db &database, const zar_pmap *) {
  return database.pmap_tree;
}
inline avl_tree *tree_of(const zar_db &database, const zar_cmap *) {
  return database.cmap_tree;
}
inline zar_pmap *first_in(zar_db *database, const zar_pmap *) {
  zar_pmap *record = nullptr;
  zar_avl_get_first_pmap(database, &record);
  return record;
}
inline zar_cmap *first_in(zar_db *database, const zar_cmap *) {
  zar_cmap *record = nullptr;
  zar_avl_get_first_cmap(database, &record);
  return record;
}
inline zar_pmap *next_in(zar_db *database, zar_pmap *current) {
  zar_pmap *record = nullptr;
  zar_avl_get_next_pmap(database, current, &record);
  return record;
}
inline zar_cmap *next_in(zar_db *database, zar_cmap *current) {
  zar_cmap *record = nullptr;
  zar_avl_get_next_cmap(database, current, &record);
  return record;
}

// The maps of one kind in a database, in key order; maps of another kind that were stored in the tree are passed over.
// Whatever happens to the tree meanwhile, none that was taken out is given.
template <class Map>
class StoredMaps {
 public:
  explicit StoredMaps(zar_db *database) : database_(database), walk_(tree_of(*database, kNone)) {
    walk_.move_to(first_in(database, kNone));
  }

  // The next map, or NULL behind the last.
  Map *next() {
    auto *map = static_cast<Map *>(walk_.record());
    if (!walk_.moved()) map = next_in(database_, map);
    while (map && !is_kind(*map))
      map = next_in(database_, map);
    walk_.stand_on(map);
    return map;
  }

 private:
  static constexpr const Map *kNone = nullptr;

  zar_db *database_;
  TreeWalk walk_;
};

// Hands each map of this kind to 'visit' until that answers something else than success.
template <class Map, class Visit>
Status for_each_map(zar_db *database, Visit visit) {
  StoredMaps<Map> maps(database);
  while (Map *map = maps.next())
    if (Status status = visit(*map); status != kSuccess) return status;
  return kSuccess;
}

// The first map of this kind with this name, or NULL.
template <class Map>
Map *first_named(zar_db *database, const char *name) {
  StoredMaps<Map> maps(database);
  while (Map *map = maps.next()) {
    const char *text = text_of(map->name);
    if (text && std::strcmp(text, name) == 0) return map;
  }
  return nullptr;
}

// What an operation was asked for: all maps of the domain's databases, or the first with a name in each.
struct Selection {
  const char *domain;
  const char *name;
  bool all;
};

// Whether the selection can be served; 'operation' names the one that asks.
inline bool valid_selection(const char *operation, const Selection &wanted) {
  if (!wanted.domain) TRACE_ERROR("(ERR): %s: input domain name cannot be NULL", operation);
  if (!wanted.name && !wanted.all) TRACE_ERROR("(ERR): %s: input map name cannot be NULL", operation);
  return wanted.domain && (wanted.name || wanted.all);
}

// Hands the database of each claim of the domain to 'visit', until that answers something else than success. A domain
// that nobody claimed has none.
template <class Visit>
Status for_each_database(const char *operation, const char *domain, Visit visit) {
  for (const zar_domain_entry &entry : Elements<zar_domain_entry>(zar_domain_list)) {
    if (!is_domain(entry, domain)) continue;
    if (!valid_clid(operation, entry.owner_clid)) return kInvalidArgument;
    zar_db *database = database_of(entry.owner_clid, operation);
    if (!database) return kFailed;
    if (Status status = visit(database); status != kSuccess) return status;
  }
  return kSuccess;
}

// Hands each selected map to 'visit'.
template <class Map, class Visit>
Status for_each_selected(const char *operation, const Selection &wanted, Visit visit) {
  return for_each_database(operation, wanted.domain, [&](zar_db *database) {
    if (wanted.all) return for_each_map<Map>(database, visit);
    Map *map = first_named<Map>(database, wanted.name);
    return map ? visit(*map) : kSuccess;
  });
}

}  // namespace zar
