// The calls that clients must not make. A deleted object must be in no list that outlives it, and references must be
// counted for each user; the headers document each of these as the caller's duty.
#include <algorithm>

#include "tests/walk/model/model.h"

namespace model {
namespace {

bool contains(const List<Action *> &list, const Action &action) {
  return std::find(list.begin(), list.end(), &action) != list.end();
}

// The action may enter one more list if it has more references than lists that hold it.
bool may_enter(const Action *action, const List<Action *> *list) {
  return action == nullptr || (action->listed < action->refs && (list == nullptr || !contains(*list, *action)));
}

bool may_lose_a_reference(const Action *action) {
  return action == nullptr || action->refs > action->listed;
}

// The library knows the users of a class-map only if their references are counted.
bool may_be_deleted(const Cmap *cmap) {
  return cmap == nullptr || cmap->uncounted == 0 || !cmap->pmap_refs.empty();
}

bool may_be_deleted(const Model &m, const PmtrMap *map) {
  return map == nullptr || std::all_of(map->statements.begin(), map->statements.end(), [&](const auto &statement) {
           return may_be_deleted(m.resolve<Cmap>(statement->cmap));
         });
}

constexpr size_t kMostDatabases = 6;

}  // namespace

// ---- Objects that hold something busy

bool Model::busy(const Rule &rule) const {
  return is_busy(&rule) ||
         std::any_of(rule.actions.begin(), rule.actions.end(), [&](const Action *action) { return is_busy(action); });
}

bool Model::busy(const Event &event) const {
  return is_busy(&event) ||
         std::any_of(event.rules.begin(), event.rules.end(), [&](const Rule *rule) { return busy(*rule); });
}

bool Model::busy(const Pmap &pmap) const {
  return is_busy(&pmap) ||
         std::any_of(pmap.events.begin(), pmap.events.end(), [&](const Event *event) { return busy(*event); }) ||
         std::any_of(pmap.rules.begin(), pmap.rules.end(), [&](const Rule *rule) { return busy(*rule); });
}

bool Model::busy(const Cmap &cmap) const {
  return is_busy(&cmap) ||
         std::any_of(cmap.filters.begin(), cmap.filters.end(), [&](const Filter *filter) { return is_busy(filter); });
}

bool Model::busy(const Statement &statement) const {
  const Cmap *cmap = resolve<Cmap>(statement.cmap);
  return is_busy(&statement) || (cmap != nullptr && busy(*cmap)) ||
         std::any_of(statement.actions.begin(), statement.actions.end(),
                     [&](const Action *action) { return is_busy(action); });
}

bool Model::busy(const PmtrMap &map) const {
  return is_busy(&map) || std::any_of(map.statements.begin(), map.statements.end(),
                                      [&](const auto &statement) { return busy(*statement); });
}

bool Model::leaves_alone(const calls::Call &call, const Arguments &a) {
  using enum calls::Op;
  const auto not_busy = [&](const auto *object) { return object == nullptr || !busy(*object); };
  switch (call.op) {
    case zar_delete_action:
    case zar_free_action: {
      const Action *action = behind<Action>(a.handle(0));
      return action == nullptr || action->refs > 1 || !is_busy(action);
    }
    case zar_delete_filter:
      return !is_busy(resolve<Filter>(a.handle(0)));
    case zar_delete_event:
      return not_busy(resolve<Event>(a.handle(0)));
    case zar_delete_policy:
    case zar_delete_autoconf_policy: {
      const zar_map_info autoconf{kSubscriber, 1, kAutoconf, 0};
      const Found found = retrieve(owner_of(kSubscriber), &autoconf, Kind::pmap);
      return not_busy(resolve<Pmap>(a.handle(0))) && not_busy(resolve<Pmap>(found.handle));
    }
    case zar_delete_stored_policy:
      return not_busy(resolve<Pmap>(a.handle(1)));
    case zar_delete_stored_policy_by_name:
      return not_busy(resolve<Pmap>(retrieve(a.number(0), a.info(1), Kind::pmap).handle));
    case zar_remove_class_from_policy: {
      const Pmap *pmap = resolve<Pmap>(a.handle(0));
      const Event *event = pmap == nullptr || !pmap->control() || !a.given(1)
                               ? nullptr
                               : event_of(*pmap, a.pointer<const zar_event_context>(1)->event_id);
      return event == nullptr || std::none_of(event->rules.begin(), event->rules.end(), [&](const Rule *rule) {
               return rule->cmap->handle == a.handle(2) && busy(*rule);
             });
    }
    case zar_delete_class:
      return not_busy(resolve<Cmap>(a.handle(0)));
    case zar_delete_stored_class:
      return not_busy(resolve<Cmap>(a.handle(1)));
    case zar_delete_stored_class_by_name:
      return not_busy(resolve<Cmap>(retrieve(a.number(0), a.info(1), Kind::cmap).handle));
    case zar_delete_target: {
      const Target *target = resolve<Target>(a.handle(0));
      return target == nullptr || target->being_deleted || !is_busy(target);
    }
    case zar_destroy_database: {
      const Database *database = database_at(a.pointer<zar_db>(0));
      return database == nullptr || std::none_of(database->targets.begin(), database->targets.end(),
                                                 [&](const auto &stored) { return is_busy(stored.second); });
    }
    case zar_delete_pmtr_map:
    case zar_delete_stored_pmtr_map:
      return not_busy(resolve<PmtrMap>(a.handle(0)));
    case kel_delete_subscriber_parameter_map: {
      uint32_t handle = 0;
      find_subscriber_map(a.text(0), a.number(1), &handle);
      return not_busy(resolve<PmtrMap>(handle));
    }
    case zar_pmtr_delete_filter:
    case zar_pmtr_create_or_add_filter: {
      const bool deletes = call.op == zar_pmtr_delete_filter || a.given(6);
      const PmtrMap *map = deletes ? resolve<PmtrMap>(a.handle(0)) : nullptr;
      return map == nullptr || not_busy(statement_of(*map, a.number(call.op == zar_pmtr_delete_filter ? 1 : 5)).get());
    }
    default:
      return true;
  }
}

bool Model::fair(const calls::Call &call, const Arguments &a) {
  using enum calls::Op;
  if (!busy_.empty() && !leaves_alone(call, a)) return false;
  switch (call.op) {
    case zar_create_database:
      return databases.size() < kMostDatabases;
    case zar_avl_search_pmap:
    case zar_avl_search_cmap:
    case zar_avl_search_pmtr_map:
      return a.given(2);  // they do not check it
    case zar_free_action_from_action_chunk:
      return !a.given(0);  // it releases neither the handle nor the data
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
      return cmap == nullptr || (cmap->tree == nullptr && may_be_deleted(cmap));
    }
    case zar_delete_stored_class:
      return may_be_deleted(resolve<Cmap>(a.handle(1)));
    case zar_delete_stored_class_by_name:
      return may_be_deleted(resolve<Cmap>(retrieve(a.number(0), a.info(1), Kind::cmap).handle));
    case zar_delete_target: {
      const Target *target = resolve<Target>(a.handle(0));
      return target == nullptr || target->being_deleted || target->stored_in == nullptr;
    }
    case zar_delete_pmtr_map: {
      const PmtrMap *map = resolve<PmtrMap>(a.handle(0));
      return map == nullptr || (map->tree == nullptr && may_be_deleted(*this, map));
    }
    case zar_delete_stored_pmtr_map:
    case zar_pmtr_delete_filter:
    case zar_pmtr_create_or_add_filter:
      return may_be_deleted(*this, resolve<PmtrMap>(a.handle(0)));
    case kel_delete_subscriber_parameter_map: {
      uint32_t handle = 0;
      find_subscriber_map(a.text(0), a.number(1), &handle);
      return may_be_deleted(*this, resolve<PmtrMap>(handle));
    }
    default:
      return true;
  }
}

}  // namespace model
