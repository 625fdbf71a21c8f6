// The calls that no client may make. What is deleted must stand in no list that outlives it, and what is counted must be
// counted for each of its users; the headers name each of these as the caller's part.
#include <algorithm>

#include "fuzz/model/model.h"

namespace model {
namespace {

bool contains(const List<Action *> &list, const Action &action) {
  return std::find(list.begin(), list.end(), &action) != list.end();
}

// One more list may hold the action when one more reference than lists is there.
bool may_enter(const Action *action, const List<Action *> *list) {
  return action == nullptr || (action->listed < action->refs && (list == nullptr || !contains(*list, *action)));
}

bool may_lose_a_reference(const Action *action) {
  return action == nullptr || action->refs > action->listed;
}

// The library sees who uses a class-map only where references are counted.
bool may_go(const Cmap *cmap) {
  return cmap == nullptr || cmap->uncounted == 0 || !cmap->pmap_refs.empty();
}

bool may_go(const Model &m, const PmtrMap *map) {
  return map == nullptr || std::all_of(map->statements.begin(), map->statements.end(),
                                       [&](const auto &statement) { return may_go(m.resolve<Cmap>(statement->cmap)); });
}

constexpr size_t kMostDatabases = 6;

}  // namespace

bool Model::fair(const calls::Call &call, const Arguments &a) {
  using enum calls::Op;
  switch (call.op) {
    case zar_create_database:
      return databases.size() < kMostDatabases;
    case zar_avl_search_pmap:
    case zar_avl_search_cmap:
    case zar_avl_search_pmtr_map:
      return a.given(2);  // they do not look at it
    case zar_free_action_from_action_chunk:
      return !a.given(0);  // it knows nothing of handles and data
    case zar_add_filter_to_class:
    case zar_add_filter_to_class_before_filter:
    case zar_add_filter_to_class_after_filter: {
      const Filter *filter = resolve<Filter>(a.handle(1));
      return filter == nullptr || !filter->listed;
    }
    case zar_delete_filter: {
      const Filter *filter = resolve<Filter>(a.handle(0));
      return filter == nullptr || !filter->listed;
    }
    case zar_add_action_to_rule:
    case zar_add_action_to_rule_before_action:
    case zar_add_action_to_rule_after_action: {
      const Rule *rule = resolve<Rule>(a.handle(0));
      return may_enter(resolve<Action>(a.handle(1)), rule == nullptr ? nullptr : &rule->actions);
    }
    case zar_add_class_action_to_stored_policy:
      return may_enter(resolve<Action>(a.handle(6)), nullptr);
    case zar_add_action_to_stored_policy: {
      const Rule *rule = stored_rule(a);
      return may_enter(resolve<Action>(a.handle(4)), rule == nullptr ? nullptr : &rule->actions);
    }
    case zar_add_action_to_pmtr_map_rule: {
      const PmtrMap *map = resolve<PmtrMap>(a.handle(0));
      const auto statement = map == nullptr ? nullptr : statement_of(*map, a.number(1));
      return may_enter(resolve<Action>(a.handle(2)), statement == nullptr ? nullptr : &statement->actions);
    }
    case zar_delete_action:
    case zar_free_action:
      return may_lose_a_reference(resolve<Action>(a.handle(0)));
    case zar_delete_policy: {
      const Pmap *pmap = resolve<Pmap>(a.handle(0));
      return pmap == nullptr || pmap->tree == nullptr || pmap->name == kAutoconf;
    }
    case zar_delete_class: {
      const Cmap *cmap = resolve<Cmap>(a.handle(0));
      return cmap == nullptr || (cmap->tree == nullptr && may_go(cmap));
    }
    case zar_delete_stored_class:
      return may_go(resolve<Cmap>(a.handle(1)));
    case zar_delete_stored_class_by_name:
      return may_go(resolve<Cmap>(retrieve(a.number(0), a.info(1), Kind::cmap).handle));
    case zar_delete_target: {
      const Target *target = resolve<Target>(a.handle(0));
      return target == nullptr || target->stored_in == nullptr;
    }
    case zar_delete_pmtr_map: {
      const PmtrMap *map = resolve<PmtrMap>(a.handle(0));
      return map == nullptr || (map->tree == nullptr && may_go(*this, map));
    }
    case zar_delete_stored_pmtr_map:
    case zar_pmtr_delete_filter:
    case zar_pmtr_create_or_add_filter:
      return may_go(*this, resolve<PmtrMap>(a.handle(0)));
    case kel_delete_subscriber_parameter_map: {
      uint32_t handle = 0;
      find_subscriber_map(a.text(0), a.number(1), &handle);
      return may_go(*this, resolve<PmtrMap>(handle));
    }
    default:
      return true;
  }
}

}  // namespace model
