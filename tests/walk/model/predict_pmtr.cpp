// What the operations on parameter-maps and their statements do.
#include <algorithm>
#include <cstring>

#include "host/runtime/control.h"
#include "tests/walk/model/model.h"

namespace model::predict {

// ---- Parameter-maps

void zar_delete_stored_pmtr_map(Model &m, const Arguments &a, Seen &seen) {
  PmtrMap *map = m.resolve<PmtrMap>(a.handle(0));
  Database *database = m.database_at(a.pointer<zar_db>(1));
  if (map == nullptr || database == nullptr) return seen.answers(kInvalid);
  if (map->tree != &database->pmtr_maps) return seen.answers(kTree);
  Model::take_out(*map);
  m.delete_pmtr_map(*map);
  seen.answers(0);
}

void zar_delete_pmtr_map(Model &m, const Arguments &a, Seen &seen) {
  PmtrMap *map = m.resolve<PmtrMap>(a.handle(0));
  seen.answers(map == nullptr ? kInvalid : 0);
  if (map != nullptr) m.delete_pmtr_map(*map);
}

void kel_find_subscriber_parameter_map_by_name(Model &m, const Arguments &a, Seen &seen) {
  if (!a.given(2)) return seen.answers(kInvalid);
  uint32_t handle = 0;
  const uint32_t status = m.find_subscriber_map(a.text(0), a.number(1), &handle);
  seen.answers(status);
  if (status == 0 || status == kNothing) seen.puts(2, handle);
}

void kel_create_subscriber_parameter_map(Model &m, const Arguments &a, Seen &seen) {
  const zar_map_info info{kSubscriber, a.number(1), a.text(0), 0};
  if (!valid(&info) || !a.given(2)) return seen.answers(kInvalid);
  PmtrMap &map = m.add_map<PmtrMap>(seen.fresh(2), info);
  map.hidden = std::strncmp(map.name.c_str(), "BUILTIN_DEVICE_TO_TEMPLATE", map.name.size()) == 0 ? 1 : 0;
  Database *database = m.database_of(m.owner_of(kSubscriber));
  if (database == nullptr) return seen.answers(kFailed);
  seen.answers(m.insert(database->pmtr_maps, map) ? 0 : kTree);
}

void kel_delete_subscriber_parameter_map(Model &m, const Arguments &a, Seen &seen) {
  Database *database = m.database_of(m.owner_of(kSubscriber));
  if (database == nullptr) return seen.answers(kFailed);
  uint32_t handle = 0;
  const uint32_t status = m.find_subscriber_map(a.text(0), a.number(1), &handle);
  if (status != 0 || handle == 0) return seen.answers(kInvalid);
  PmtrMap *map = m.resolve<PmtrMap>(handle);
  if (map == nullptr) return seen.answers(kInvalid);
  Model::take_out(*map);
  m.delete_pmtr_map(*map);
  seen.answers(0);
}

void kel_is_pmap_created(Model &m, const Arguments &a, Seen &seen) {
  if (!a.given(0)) return seen.answers(0);
  m.called("type of subscriber");
  if (m.refuses(calls::Refusal::parameter_map_type)) return seen.answers(0);
  uint32_t handle = 0;
  constexpr size_t kLongestName = 99;
  if (std::strlen(a.text(0)) <= kLongestName) m.find_subscriber_map(a.text(0), 1, &handle);
  seen.answers(handle);
}

// ---- Statements

namespace {

// The hidden class-map of the statement that was never seen before, or 0.
uint32_t new_hidden_class(const Model &m, const PmtrMap &map) {
  for (const void *element : runtime::elements(&static_cast<const zar_pmtr_map *>(map.record)->stmt_queue)) {
    const auto *record = static_cast<const zar_pmtr_map_stmt *>(element);
    if (!m.was_seen(record->internal_cmap)) return record->internal_cmap;
  }
  return 0;
}

// The new statement with its hidden class-map, or NULL if the class-map cannot be created.
std::shared_ptr<Statement> add_statement(Model &m, PmtrMap &map, uint32_t index, Seen &seen) {
  const std::string name = "__PMTR__" + map.name + std::to_string(static_cast<int32_t>(index));
  const zar_map_info info{kSubscriber, 1, name.c_str(), 1};
  Database *database = m.database_of(m.owner_of(kSubscriber));
  if (database == nullptr) return nullptr;
  // The class-map of a replaced statement has left the tree since the tree was searched.
  const std::string key = Model::key_of(info);
  const uint32_t handle = new_hidden_class(m, map);
  const bool refused =
      Model::open_to_the_tree(database->cmaps, key) ? handle == 0 : m.search(database->cmaps, key) != nullptr;
  if (refused) return nullptr;
  if (handle == 0) seen.fail("there is no new statement");
  Cmap &cmap = m.add_map<Cmap>(handle, info);
  cmap.hidden = 1;
  cmap.match_criteria = 1;
  m.enter(database->cmaps, cmap);
  const auto place = std::find_if(map.statements.begin(), map.statements.end(),
                                  [&](const auto &present) { return present->index > index; });
  auto statement = std::make_shared<Statement>();
  statement->index = index;
  statement->cmap = handle;
  map.statements.insert(place, statement);
  return statement;
}

}  // namespace

void zar_pmtr_create_or_add_filter(Model &m, const Arguments &a, Seen &seen) {
  PmtrMap *map = m.resolve<PmtrMap>(a.handle(0));
  const auto *context = a.pointer<const zar_filter_context>(1);
  if (map == nullptr || context == nullptr) return seen.answers(kInvalid);
  const uint32_t index = a.number(5);
  std::shared_ptr<Statement> statement = Model::statement_of(*map, index);
  if (statement != nullptr && a.given(6)) {
    m.delete_statement(*map, index);
    statement = nullptr;
  }
  if (statement == nullptr) statement = add_statement(m, *map, index, seen);
  if (statement == nullptr) return seen.answers(kInvalid);

  Cmap *cmap = m.resolve<Cmap>(statement->cmap);
  if (cmap == nullptr) return seen.answers(kFailed);
  seen.answers(0);
  if (!usable(context)) return;
  const Model::Busy busy(m, {cmap});
  if (Filter *present = m.filter_like(*cmap, *context, a.number(2))) return m.replace_data(*present, *context);
  if (!complete(context) || !m.leaves_can_be_created) return;
  Filter &filter = m.add<Filter>(m.new_filter(*cmap, seen));
  filter.context = *context;
  filter.no_match = static_cast<uint8_t>(a.number(2));
  filter.regex = static_cast<uint8_t>(a.number(3));
  filter.flag_1 = static_cast<uint8_t>(a.number(4));
  filter.flag_2 = static_cast<uint8_t>(a.number(7));
  filter.listed = true;
  cmap->filters.push_back(&filter);
  cmap->mask |= 1U << (static_cast<uint8_t>(a.number(7)) % 32);
}

void zar_pmtr_delete_filter(Model &m, const Arguments &a, Seen &seen) {
  PmtrMap *map = m.resolve<PmtrMap>(a.handle(0));
  if (map == nullptr) return seen.answers(kInvalid);
  if (Model::statement_of(*map, a.number(1)) == nullptr) return seen.answers(kFailed);
  m.delete_statement(*map, a.number(1));
  seen.answers(0);
}

void zar_get_first_pmtr_map_index(Model &m, const Arguments &a, Seen &seen) {
  const PmtrMap *map = m.resolve<PmtrMap>(a.handle(1));
  if (!m.known(a.number(0)) || map == nullptr || !a.given(2)) return seen.answers(kInvalid);
  if (m.database_of(a.number(0)) == nullptr) return seen.answers(kFailed);
  seen.answers(map->statements.empty() ? kNothing : 0);
  seen.puts(2, map->statements.empty() ? 0 : map->statements.front()->index);
}

void zar_get_next_pmtr_map_index(Model &m, const Arguments &a, Seen &seen) {
  const PmtrMap *map = m.resolve<PmtrMap>(a.handle(1));
  if (!m.known(a.number(0)) || map == nullptr || !a.given(3)) return seen.answers(kInvalid);
  if (m.database_of(a.number(0)) == nullptr) return seen.answers(kFailed);
  for (size_t i = 0; i + 1 < map->statements.size(); ++i) {
    if (map->statements[i]->index != a.number(2)) continue;
    seen.answers(0);
    return seen.puts(3, map->statements[i + 1]->index);
  }
  seen.answers(kNothing);
  seen.puts(3, 0);
}

void zar_get_internal_class_map(Model &m, const Arguments &a, Seen &seen) {
  PmtrMap *map = m.resolve<PmtrMap>(a.handle(0));
  const auto statement = map == nullptr ? nullptr : Model::statement_of(*map, a.number(1));
  seen.answers(statement == nullptr ? 0 : statement->cmap);
}

void kel_pmtr_map_get_filter_expr_by_type(Model &m, const Arguments &a, Seen &seen) {
  PmtrMap *map = m.resolve<PmtrMap>(a.handle(0));
  const auto statement = map == nullptr ? nullptr : Model::statement_of(*map, static_cast<uint8_t>(a.number(1)));
  Cmap *cmap = statement == nullptr ? nullptr : m.resolve<Cmap>(statement->cmap);
  if (cmap == nullptr || !a.given(3)) return seen.answers(kInvalid);
  for (Walk filters(cmap->filters); const Filter *filter = filters.next();) {
    const std::string expression = m.text_of(*filter).value_or("");
    if (!a.given(2)) continue;
    const std::string keyword = a.text(2);
    if (expression.size() <= keyword.size() || expression.compare(0, keyword.size(), keyword) != 0) continue;
    if (a.text(3) != expression) seen.fail(std::string("the expression is ") + a.text(3));
    return seen.answers(0);
  }
  seen.answers(kNothing);
}

// ---- The compare table

void zar_init_internal_cmap_compare(Model &m, const Arguments &a, Seen &) {
  const Cmap *cmap = m.resolve<Cmap>(a.handle(0));
  for (size_t i = 0; i < m.compare_table.size(); ++i)
    m.compare_table[i] = cmap != nullptr && (cmap->mask >> i & 1U) != 0 ? 'N' : '\0';
}

void zar_add_to_internal_cmap_compare(Model &m, const Arguments &a, Seen &) {
  if (a.number(3) >= m.compare_table.size()) return;
  Cmap *cmap = m.resolve<Cmap>(a.handle(0));
  const auto *context = a.pointer<const zar_filter_context>(1);
  const bool found = cmap != nullptr && usable(context) && m.filter_like(*cmap, *context, a.number(2)) != nullptr;
  m.compare_table[a.number(3)] = found ? 'M' : 'N';
}

void zar_internal_cmap_compare(Model &m, const Arguments &, Seen &seen) {
  const auto &table = m.compare_table;
  const bool failed = std::find(table.begin(), table.end(), 'N') != table.end();
  seen.answers(!failed && std::find(table.begin(), table.end(), 'M') != table.end() ? 1 : 0);
}

}  // namespace model::predict
