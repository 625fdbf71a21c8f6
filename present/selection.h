// Which databases and maps the show and clear operations visit.
#pragma once

#include "core/checks.h"
#include "core/domains.h"
#include "core/maps.h"
#include "core/text.h"
#include "core/tree.h"

namespace zar {

// The first map of this kind, in key order, that 'wanted' accepts, or NULL; maps of another kind that were stored in
// the tree are skipped. Whatever 'wanted' does to the tree, it is not called with a map that was removed.
template <class Map, class Wanted>
Map *find_map(zar_db *database, Wanted wanted) {
  using Maps = MapsOf<Map>;
  TreeWalk walk(Maps::Tree::of(*database));
  Map *map = nullptr;
  Maps::get_first(database, &map);
  while (map) {
    walk.stand_on(map);
    if (is_kind(*map) && wanted(*map)) return map;
    Map *next = nullptr;
    if (walk.moved()) {
      next = static_cast<Map *>(walk.record());
    } else {
      Maps::get_next(database, map, &next);
    }
    map = next;
  }
  return nullptr;
}

// The selection of an operation: all maps of the domain's databases, or the first with a name in each.
struct Selection {
  const char *domain;
  const char *name;
  bool all;
};

template <class Map>
bool has_name(const Map &map, const char *name) {
  const char *text = text_of(map.name);
  return text && std::strcmp(text, name) == 0;
}

// Passes each selected map of a database to 'visit' until it returns anything but success.
template <class Map, class Visit>
Status for_each_selected_in(zar_db *database, const Selection &wanted, Visit visit) {
  Status status = kSuccess;
  find_map<Map>(database, [&, all = wanted.all](Map &map) {
    if (!all && !has_name(map, wanted.name)) return false;
    status = visit(map);
    return !all || status != kSuccess;
  });
  return status;
}

// Whether the selection is valid; 'operation' is the name of the caller.
inline bool valid_selection(const char *operation, const Selection &wanted) {
  if (!wanted.domain) TRACE_ERROR("(ERR): %s: input domain name cannot be NULL", operation);
  if (!wanted.name && !wanted.all) TRACE_ERROR("(ERR): %s: input map name cannot be NULL", operation);
  return wanted.domain && (wanted.name || wanted.all);
}

// Passes the database of each claim of the domain to 'visit', until it returns anything but success. An unclaimed
// domain has none.
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

// Passes each selected map to 'visit'.
template <class Map, class Visit>
Status for_each_selected(const char *operation, const Selection &wanted, Visit visit) {
  return for_each_database(operation, wanted.domain,
                           [&](zar_db *database) { return for_each_selected_in<Map>(database, wanted, visit); });
}

}  // namespace zar
