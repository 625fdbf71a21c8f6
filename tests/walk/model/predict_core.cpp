// What the operations on clients, domains, databases, trees and maps do.
#include <cstring>

#include "platform/engine.h"
#include "tests/walk/model/model.h"

namespace model::predict {

using calls::text;

// ---- Clients, domains, databases

void zar_client_register(Model &m, const Arguments &a, Seen &seen) {
  if (!a.given(0) || !a.given(2)) return seen.answers(kInvalid);
  seen.answers(0);
  for (size_t i = 0; i < m.clients.size(); ++i) {
    Client &client = m.clients[i];
    if (client.name != a.text(0)) continue;
    // A client that becomes active again receives its index, not its clid.
    if (!client.active) seen.puts(2, static_cast<uint32_t>(i));
    client.active = true;
    return;
  }
  m.clients.push_back({a.text(0), m.database_at(a.pointer<zar_db>(1)), true, false});
  seen.puts(2, static_cast<uint32_t>(m.clients.size()));
}

void zar_verify_client_id(Model &m, const Arguments &a, Seen &seen) {
  seen.answers(m.known(a.number(0)) ? 0 : 1);
}

void zar_get_client_database_handle(Model &m, const Arguments &a, Seen &seen) {
  Database *database = a.given(2) ? m.database_of(a.number(0)) : nullptr;
  seen.answers(database != nullptr ? 1 : 0);
  if (database == nullptr) return;
  seen.puts_pointer(2, database->record);
  if (a.given(3)) seen.puts(3, m.clients[a.number(0) - 1].database == nullptr ? 1 : 0);
}

void zar_get_first_client_with_database(Model &, const Arguments &, Seen &seen) {
  seen.answers(kel_clid);
}

void zar_get_next_client_with_database(Model &m, const Arguments &a, Seen &seen) {
  const uint32_t clid = a.number(0);
  if (!m.known(clid) || !m.clients[clid - 1].active) return seen.answers(0);
  for (size_t i = clid; i < m.clients.size(); ++i)
    if (m.clients[i].database != nullptr) return seen.answers(i + 1);
  seen.answers(0);
}

void zar_display_clients(Model &, const Arguments &, Seen &) {}

void zar_client_register_target_policy_removal_vector(Model &m, const Arguments &a, Seen &seen) {
  if (!m.known(a.number(0))) return seen.answers(kInvalid);
  Client &client = m.clients[a.number(0) - 1];
  if (!client.active) return seen.answers(kFailed);
  client.has_removal_function = a.given(1);
  seen.answers(0);
}

void zar_register_domain(Model &m, const Arguments &a, Seen &seen) {
  if (!m.known(a.number(0)) || !a.given(1)) return seen.answers(kInvalid);
  for (const auto &[domain, owner] : m.domains)
    if (domain == a.text(1)) return seen.answers(kInvalid);
  m.domains.emplace_back(a.text(1), a.number(0));
  seen.answers(0);
}

void zar_get_owner_for_domain(Model &m, const Arguments &a, Seen &seen) {
  if (!a.given(0) || !a.given(1)) return seen.answers(kInvalid);
  seen.answers(0);
  seen.puts(1, m.owner_of(a.text(0)));
}

void zar_create_database(Model &m, const Arguments &a, Seen &seen) {
  if (!a.given(0)) return seen.answers(kInvalid);
  seen.answers(0);
  auto database = std::make_unique<Database>();
  database->record = static_cast<zar_db *>(a.pointers_out[0]);
  seen.puts_pointer(0, database->record);
  m.databases.push_back(std::move(database));
}

void zar_destroy_database(Model &m, const Arguments &a, Seen &seen) {
  if (!a.given(0)) return seen.answers(kInvalid);
  m.destroy(*m.database_at(a.pointer<zar_db>(0)));
  seen.answers(0);
}

void zar_handle_get_context(Model &m, const Arguments &a, Seen &seen) {
  const Object *object = m.any_behind(a.handle(0));
  seen.answers(object == nullptr ? 0 : reinterpret_cast<uintptr_t>(object->record));
}

// ---- Trees

namespace {

void *record_of(const Object *object) {
  return object == nullptr ? nullptr : object->record;
}

void insert(Model &m, const Arguments &a, Seen &seen, Kind kind) {
  Database *database = m.database_at(a.pointer<zar_db>(0));
  Map *map = m.map_behind(a.handle(1));
  if (database == nullptr || map == nullptr) return seen.answers(0);
  seen.answers(m.insert(database->tree(kind), *map) ? 1 : 0);
}

void search(Model &m, const Arguments &a, Seen &seen, Kind kind) {
  Database *database = m.database_at(a.pointer<zar_db>(0));
  const Map *probe = m.map_behind(a.handle(1));
  if (database == nullptr || probe == nullptr) return seen.answers(0);
  seen.answers(1);
  seen.puts_pointer(2, record_of(m.search(database->tree(kind), probe->key)));
}

void remove(Model &m, const Arguments &a, Seen &seen, Kind kind) {
  Database *database = m.database_at(a.pointer<zar_db>(0));
  Map *probe = m.map_behind(a.handle(1));
  if (database == nullptr || probe == nullptr || !a.given(2)) return seen.answers(0);
  Tree &tree = database->tree(kind);
  Map *removed = probe->tree == &tree ? probe : m.search(tree, probe->key);
  seen.answers(removed == nullptr ? 0 : 1);
  // The place contains the record itself while the tree is searched.
  seen.puts_pointer(2, removed == nullptr ? probe->record : removed->record);
  if (removed != nullptr) Model::take_out(*removed);
}

void first(Model &m, const Arguments &a, Seen &seen, Kind kind) {
  Database *database = m.database_at(a.pointer<zar_db>(0));
  if (database == nullptr || !a.given(1)) return seen.answers(0);
  seen.answers(1);
  seen.puts_pointer(1, record_of(Model::first(database->tree(kind))));
}

void next(Model &m, const Arguments &a, Seen &seen, Kind kind) {
  Database *database = m.database_at(a.pointer<zar_db>(0));
  const Map *map = m.map_behind(a.handle(1));
  if (database == nullptr || map == nullptr || !a.given(2)) return seen.answers(0);
  seen.answers(1);
  seen.puts_pointer(2, record_of(Model::next(database->tree(kind), *map)));
}

}  // namespace

#define ON_EACH_TREE(operation, act)                                              \
  void zar_avl_##operation##_pmap(Model &m, const Arguments &a, Seen &seen) {     \
    act(m, a, seen, Kind::pmap);                                                  \
  }                                                                               \
  void zar_avl_##operation##_cmap(Model &m, const Arguments &a, Seen &seen) {     \
    act(m, a, seen, Kind::cmap);                                                  \
  }                                                                               \
  void zar_avl_##operation##_pmtr_map(Model &m, const Arguments &a, Seen &seen) { \
    act(m, a, seen, Kind::pmtr_map);                                              \
  }
ON_EACH_TREE(insert, insert)
ON_EACH_TREE(search, search)
ON_EACH_TREE(delete, remove)
ON_EACH_TREE(get_first, first)
ON_EACH_TREE(get_next, next)
#undef ON_EACH_TREE

void zar_avl_insert_target_client_db(Model &m, const Arguments &a, Seen &seen) {
  Database *database = m.database_at(a.pointer<zar_db>(0));
  Target *target = m.behind<Target>(a.handle(1));
  const bool refused =
      database == nullptr || target == nullptr || target->being_deleted || target->stored_in != nullptr;
  if (refused) return seen.answers(0);
  database->targets[target->handle] = target;
  target->stored_in = database;
  seen.answers(1);
}

void zar_avl_search_target_client_db(Model &m, const Arguments &a, Seen &seen) {
  Database *database = m.database_at(a.pointer<zar_db>(0));
  Target *target = m.behind<Target>(a.handle(1));
  if (database == nullptr || target == nullptr || !a.given(2)) return seen.answers(0);
  const bool found = target->stored_in == database;
  seen.answers(found ? 1 : 0);
  seen.puts_pointer(2, found ? target->record : nullptr);
}

void zar_avl_delete_target_client_db(Model &m, const Arguments &a, Seen &seen) {
  Database *database = m.database_at(a.pointer<zar_db>(0));
  Target *target = m.behind<Target>(a.handle(1));
  if (database == nullptr || target == nullptr || !a.given(2)) return seen.answers(0);
  seen.puts_pointer(2, target->record);
  if (target->stored_in != database) return seen.answers(0);
  database->targets.erase(target->handle);
  target->stored_in = nullptr;
  seen.answers(1);
}

// The operations on the default database differ only in what they trace.
void zar_avl_insert_target_default_db(Model &m, const Arguments &a, Seen &seen) {
  zar_avl_insert_target_client_db(m, a, seen);
}
void zar_avl_search_target_default_db(Model &m, const Arguments &a, Seen &seen) {
  zar_avl_search_target_client_db(m, a, seen);
}
void zar_avl_delete_target_default_db(Model &m, const Arguments &a, Seen &seen) {
  zar_avl_delete_target_client_db(m, a, seen);
}

// ---- Maps

void zar_verify_map_info(Model &, const Arguments &a, Seen &seen) {
  seen.answers(valid(a.info(0)) ? 0 : 1);
}

void zar_create_policy(Model &m, const Arguments &a, Seen &seen) {
  if (!m.known(a.number(0)) || !valid(a.info(1)) || !a.given(2)) return seen.answers(kInvalid);
  seen.answers(0);
  Pmap &pmap = m.add_map<Pmap>(seen.fresh(2), *a.info(1));
  pmap.hidden = pmap.name == kAutoconf ? 1 : 0;
}

void zar_create_class(Model &m, const Arguments &a, Seen &seen) {
  const bool criteria = a.number(2) >= 1 && a.number(2) <= 3;
  if (!m.known(a.number(0)) || !valid(a.info(1)) || !criteria || !a.given(3)) return seen.answers(kInvalid);
  seen.answers(0);
  Cmap &cmap = m.add_map<Cmap>(seen.fresh(3), *a.info(1));
  cmap.hidden = a.info(1)->hidden == 1 ? 1 : 0;
  cmap.match_criteria = a.number(2);
}

void zar_create_pmtr_map(Model &m, const Arguments &a, Seen &seen) {
  if (!m.known(a.number(0)) || !valid(a.info(1)) || !a.given(2)) return seen.answers(kInvalid);
  seen.answers(0);
  PmtrMap &map = m.add_map<PmtrMap>(seen.fresh(2), *a.info(1));
  map.hidden = std::strncmp(map.name.c_str(), BUILTIN_DEVICE_TO_TEMPLATE, map.name.size()) == 0 ? 1 : 0;
}

void zar_is_autoconf_policy(Model &, const Arguments &a, Seen &seen) {
  seen.answers(a.given(0) && std::string(a.text(0)) == kAutoconf ? 1 : 0);
}

namespace {

// Any map can be stored in any tree.
void store(Model &m, const Arguments &a, Seen &seen, Kind kind) {
  Map *map = m.resolve_map(a.handle(1));
  if (!m.known(a.number(0)) || map == nullptr) return seen.answers(kInvalid);
  Database *database = m.database_of(a.number(0));
  if (database == nullptr) return seen.answers(kFailed);
  seen.answers(m.insert(database->tree(kind), *map) ? 0 : kTree);
}

void retrieve(Model &m, const Arguments &a, Seen &seen, Kind kind) {
  const Found found = m.retrieve(a.number(0), a.info(1), kind);
  if (!a.given(2)) return seen.answers(kInvalid);
  seen.answers(found.status);
  if (found.status == 0) seen.puts(2, found.handle);
}

void first_stored(Model &m, const Arguments &a, Seen &seen, Kind kind) {
  if (!m.known(a.number(0)) || !a.given(1)) return seen.answers(kInvalid);
  Database *database = m.database_of(a.number(0));
  if (database == nullptr) return seen.answers(kFailed);
  const Map *map = Model::first(database->tree(kind));
  seen.answers(0);
  seen.puts(1, map == nullptr ? 0 : map->handle);
}

void next_stored(Model &m, const Arguments &a, Seen &seen, Kind kind) {
  const Map *current = m.resolve_map(a.handle(1));
  if (!m.known(a.number(0)) || current == nullptr || !a.given(2)) return seen.answers(kInvalid);
  Database *database = m.database_of(a.number(0));
  if (database == nullptr) return seen.answers(kFailed);
  const Map *map = Model::next(database->tree(kind), *current);
  seen.answers(0);
  seen.puts(2, map == nullptr ? 0 : map->handle);
}

}  // namespace

void zar_store_policy(Model &m, const Arguments &a, Seen &seen) {
  store(m, a, seen, Kind::pmap);
}
void zar_store_class(Model &m, const Arguments &a, Seen &seen) {
  store(m, a, seen, Kind::cmap);
}
void zar_store_pmtr_map(Model &m, const Arguments &a, Seen &seen) {
  store(m, a, seen, Kind::pmtr_map);
}
void zar_retrieve_policy(Model &m, const Arguments &a, Seen &seen) {
  retrieve(m, a, seen, Kind::pmap);
}
void zar_retrieve_class(Model &m, const Arguments &a, Seen &seen) {
  retrieve(m, a, seen, Kind::cmap);
}
void zar_retrieve_pmtr_map(Model &m, const Arguments &a, Seen &seen) {
  retrieve(m, a, seen, Kind::pmtr_map);
}
void zar_get_first_policy(Model &m, const Arguments &a, Seen &seen) {
  first_stored(m, a, seen, Kind::pmap);
}
void zar_get_first_class(Model &m, const Arguments &a, Seen &seen) {
  first_stored(m, a, seen, Kind::cmap);
}
void zar_get_first_pmtr_map(Model &m, const Arguments &a, Seen &seen) {
  first_stored(m, a, seen, Kind::pmtr_map);
}
void zar_get_next_policy(Model &m, const Arguments &a, Seen &seen) {
  next_stored(m, a, seen, Kind::pmap);
}
void zar_get_next_class(Model &m, const Arguments &a, Seen &seen) {
  next_stored(m, a, seen, Kind::cmap);
}
void zar_get_next_pmtr_map(Model &m, const Arguments &a, Seen &seen) {
  next_stored(m, a, seen, Kind::pmtr_map);
}

// ---- What the host does

void host_has_the_engine_refuse(Model &m, const Arguments &a, Seen &) {
  m.refusal = calls::engine().refusal;
  (void)a;
}

void host_counts_an_execution(Model &m, const Arguments &a, Seen &) {
  if (Action *action = m.behind<Action>(a.handle(0))) action->executed += a.number(1);
}

void host_counts_a_match(Model &m, const Arguments &a, Seen &) {
  Filter *filter = m.behind<Filter>(a.handle(0));
  if (filter == nullptr) return;
  for (uint32_t i = 0; i < filter->counts.size(); ++i)
    filter->counts[i] += a.number(1) / (i + 1);
}

void host_keeps_a_context(Model &m, const Arguments &a, Seen &) {
  Target *target = m.behind<Target>(a.handle(0));
  if (target != nullptr && target->context != nullptr) target->context->used = true;
}

void host_ends_a_client(Model &m, const Arguments &a, Seen &) {
  if (a.number(0) > 3 && m.known(a.number(0))) m.clients[a.number(0) - 1].active = false;
}

}  // namespace model::predict
