// The clear operations: they reset what the engine counts in actions and filters.
#include "compose/rules.h"
#include "present/selection.h"
#include "zar/present.h"

using namespace zar;

namespace {

void clear_filters(zar_cmap &cmap) {
  for (zar_filter &filter : Elements<zar_filter>(cmap.filters))
    filter.exec_count = filter.hit_count = filter.miss_count = filter.comp_count = 0;
}

}  // namespace

void zar_clear_pmap_counters(zar_pmap *pmap) {
  if (!pmap) return;
  for_each_rule(*pmap, [](zar_class_action &rule) {
    for (zar_action &action : Elements<zar_action>(rule.actions))
      action.executed_count = 0;
  });
}

uint32_t zar_clear_policymap(const char *domain, const char *name, uint32_t all) {
  static constexpr char kName[] = "clear_policymap";
  Selection wanted{domain, name, all != 0};
  if (!valid_selection(kName, wanted)) return kInvalidArgument;
  return for_each_selected<zar_pmap>(kName, wanted, [](zar_pmap &pmap) {
    zar_clear_pmap_counters(&pmap);
    return kSuccess;
  });
}

// Hidden class-maps are cleared too.
uint32_t zar_clear_classmap(const char *domain, const char *name, uint32_t all) {
  static constexpr char kName[] = "clear_classmap";
  Selection wanted{domain, name, all != 0};
  if (!valid_selection(kName, wanted)) return kInvalidArgument;
  return for_each_selected<zar_cmap>(kName, wanted, [](zar_cmap &cmap) {
    clear_filters(cmap);
    return kSuccess;
  });
}
