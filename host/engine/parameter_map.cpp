// Parameter-maps: finding the first statement that matches a subscriber's values, with the repository's compare table.
//
// The table has a slot for each filter type. A statement marks the slots of its filters' types; for each value offered
// to a slot it is recorded whether one of the statement's filters matches; the statement matches if every marked slot
// was matched. A value offered to an unmarked slot would make the statement fail, so only the types of the statement
// are offered.
#include "engine/records.h"
#include "engine/walk.h"

namespace engine {

namespace {

// The filters of one type in one statement are all match filters or all no-match filters, so the first one shows which.
uint32_t no_match_of_type(const zar_cmap &cmap, uint32_t filter_type) {
  for (const zar_filter &filter : Records<zar_filter>(cmap.filters)) {
    if (filter.pmtr_flag_2 == filter_type) return filter.no_match;
  }
  return 0;
}

bool has_filters_of_type(const zar_cmap &cmap, uint32_t filter_type) {
  return filter_type < kFilterTypes && (cmap.filter_type_mask >> filter_type & 1U) != 0;
}

// Keeps the count of running parameter-maps correct on every return.
struct Nested {
  explicit Nested(unsigned &depth) : depth_(depth) { ++depth_; }
  ~Nested() { --depth_; }
  Nested(const Nested &) = delete;
  Nested &operator=(const Nested &) = delete;

 private:
  unsigned &depth_;
};

}  // namespace

Applied Run::apply(uint32_t pmtr_map, std::span<const OfferedValue> offered) {
  // Reading the name fails for the handle of anything but a parameter-map.
  if (!zar_get_pmtr_map_name(pmtr_map)) return Applied::no_map;
  if (maps_under_way_ >= kMaxDepth || !take_nested()) {
    if (current_observer) current_observer->nested_too_deep(*this);
    return Applied::too_deep;
  }

  const auto *map = static_cast<const zar_pmtr_map *>(zar_handle_get_context(pmtr_map));
  const Nested nested(maps_under_way_);
  for (const zar_pmtr_map_stmt &statement : Records<zar_pmtr_map_stmt>(map->stmt_queue)) {
    const bool matches = statement_matches(statement, offered);
    if (current_observer) current_observer->statement_evaluated(*map, statement, matches);
    if (matches) return run_statement(statement);
  }
  return Applied::no_statement;
}

bool Run::statement_matches(const zar_pmtr_map_stmt &statement, std::span<const OfferedValue> offered) {
  const auto *cmap = static_cast<const zar_cmap *>(zar_handle_get_context(statement.internal_cmap));
  if (!cmap) return false;

  zar_init_internal_cmap_compare(cmap->handle);
  for (const OfferedValue &value : offered) {
    if (!has_filters_of_type(*cmap, value.filter_type)) continue;
    const uint32_t no_match = no_match_of_type(*cmap, value.filter_type);
    zar_add_to_internal_cmap_compare(cmap->handle, no_match ? &value.inverted : &value.plain, no_match,
                                     value.filter_type);
  }
  return zar_internal_cmap_compare() != 0;
}

Applied Run::run_statement(const zar_pmtr_map_stmt &statement) {
  Applied applied = Applied::done;
  for (zar_action &action : Records<zar_action>(statement.action_queue)) {
    if (run_action(action) != 0) applied = Applied::action_failed;
  }
  return applied;
}

}  // namespace engine
