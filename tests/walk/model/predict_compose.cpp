// What the operations on leaves, class-maps' filters, events, class-actions and actions do.
#include <algorithm>
#include <cstddef>

#include "host/runtime/control.h"
#include "tests/walk/model/model.h"

namespace model::predict {

// ---- Leaves

void zar_create_action(Model &m, const Arguments &a, Seen &seen) {
  const auto *context = a.pointer<const zar_action_context>(0);
  if (!a.given(3) || !complete(context)) return seen.answers(kInvalid);
  seen.answers(0);
  Action &action = m.add<Action>(seen.fresh(3));
  action.context = *context;
  action.number = static_cast<uint8_t>(a.number(1));
  action.precedence = static_cast<uint16_t>(a.number(2));
}

namespace {

Filter *create_filter(Model &m, const Arguments &a, Seen &seen) {
  const auto *context = a.pointer<const zar_filter_context>(0);
  if (!a.given(1) || !complete(context)) {
    seen.answers(kInvalid);
    return nullptr;
  }
  seen.answers(0);
  Filter &filter = m.add<Filter>(seen.fresh(1));
  filter.context = *context;
  filter.no_match = static_cast<uint8_t>(a.number(2));
  return &filter;
}

}  // namespace

void zar_create_filter(Model &m, const Arguments &a, Seen &seen) {
  create_filter(m, a, seen);
}

void zar_pmtr_create_filter(Model &m, const Arguments &a, Seen &seen) {
  Filter *filter = create_filter(m, a, seen);
  if (filter == nullptr) return;
  filter->regex = static_cast<uint8_t>(a.number(3));
  filter->flag_1 = static_cast<uint8_t>(a.number(4));
  filter->flag_2 = static_cast<uint8_t>(a.number(5));
}

void zar_create_event(Model &m, const Arguments &a, Seen &seen) {
  if (!a.given(0) || !a.given(2)) return seen.answers(kInvalid);
  if (!a.given(1)) return seen.answers(kFailed);
  seen.answers(0);
  Event &event = m.add<Event>(seen.fresh(2));
  event.id = a.pointer<const zar_event_context>(0)->event_id;
  event.name = a.text(1);
}

void zar_event_set_match_criteria(Model &m, const Arguments &a, Seen &seen) {
  Event *event = m.resolve<Event>(a.handle(0));
  if (event == nullptr || a.number(1) >= 3) return seen.answers(kInvalid);
  event->criteria = a.number(1) == 0 ? 1 : a.number(1);
  seen.answers(0);
}

void zar_event_get_match_criteria(Model &m, const Arguments &a, Seen &seen) {
  const Event *event = m.resolve<Event>(a.handle(0));
  seen.answers(event == nullptr ? 0 : event->criteria);
}

void zar_free_action_from_action_chunk(Model &, const Arguments &, Seen &seen) {
  seen.answers(0);
}

// ---- Filters in class-maps

namespace {

template <typename Type>
auto with_handle(const List<Type *> &list, uint32_t handle) {
  return std::find_if(list.begin(), list.end(), [&](const Type *element) { return element->handle == handle; });
}

}  // namespace

void zar_add_filter_to_class(Model &m, const Arguments &a, Seen &seen) {
  Cmap *cmap = m.resolve<Cmap>(a.handle(0));
  Filter *filter = m.resolve<Filter>(a.handle(1));
  if (cmap == nullptr || filter == nullptr) return seen.answers(kInvalid);
  cmap->filters.push_back(filter);
  filter->listed = true;
  seen.answers(0);
}

namespace {

void add_filter_beside(Model &m, const Arguments &a, Seen &seen, int steps) {
  Cmap *cmap = m.resolve<Cmap>(a.handle(0));
  Filter *filter = m.resolve<Filter>(a.handle(1));
  if (cmap == nullptr || filter == nullptr) return seen.answers(kInvalid);
  const auto reference = with_handle(cmap->filters, a.handle(2));
  if (reference == cmap->filters.end()) return seen.answers(kInvalid);
  cmap->filters.insert(reference + steps, filter);
  filter->listed = true;
  seen.answers(0);
}

}  // namespace

void zar_add_filter_to_class_before_filter(Model &m, const Arguments &a, Seen &seen) {
  add_filter_beside(m, a, seen, 0);
}
void zar_add_filter_to_class_after_filter(Model &m, const Arguments &a, Seen &seen) {
  add_filter_beside(m, a, seen, 1);
}

void zar_retrieve_filter(Model &m, const Arguments &a, Seen &seen) {
  Cmap *cmap = m.resolve<Cmap>(a.handle(0));
  const auto *context = a.pointer<const zar_filter_context>(1);
  if (cmap == nullptr || !usable(context) || !a.given(3)) return seen.answers(kInvalid);
  const Filter *filter = m.filter_like(*cmap, *context, a.number(2));
  seen.answers(0);
  seen.puts(3, filter == nullptr ? 0 : filter->handle);
}

void zar_match_filter_parameters(Model &m, const Arguments &a, Seen &seen) {
  const Filter *filter = m.behind<Filter>(a.handle(0));
  const auto *context = a.pointer<const zar_filter_context>(1);
  seen.answers(filter != nullptr && context != nullptr && m.same(*filter, *context) ? 1 : 0);
}

void zar_remove_filter_from_class(Model &m, const Arguments &a, Seen &seen) {
  Cmap *cmap = m.resolve<Cmap>(a.handle(0));
  Filter *filter = m.resolve<Filter>(a.handle(1));
  if (cmap == nullptr || filter == nullptr) return seen.answers(kInvalid);
  const auto found = with_handle(cmap->filters, filter->handle);
  if (found != cmap->filters.end()) {
    cmap->filters.erase(found);
    filter->listed = false;
  }
  seen.answers(0);
}

// ---- Events and class-actions

void zar_add_class_to_event(Model &m, const Arguments &a, Seen &seen) {
  Event *event = m.resolve<Event>(a.handle(0));
  Cmap *cmap = m.resolve<Cmap>(a.handle(1));
  if (event == nullptr || cmap == nullptr || a.number(2) >= 4 || !a.given(4)) return seen.answers(kInvalid);
  seen.answers(0);
  m.add_rule(seen.fresh(4), *cmap, a.number(2), event, a.number(3));
}

void zar_add_event(Model &m, const Arguments &a, Seen &seen) {
  Pmap *pmap = m.resolve<Pmap>(a.handle(0));
  Event *event = m.resolve<Event>(a.handle(1));
  const bool refused = pmap == nullptr || !pmap->control() || event == nullptr || event->pmap != nullptr;
  if (refused || m.event_of(*pmap, event->id) != nullptr) return seen.answers(kInvalid);
  pmap->events.push_back(event);
  event->pmap = pmap;
  for (Rule *rule : event->rules) {
    --rule->cmap->uncounted;
    Model::update_references(*pmap, *rule->cmap);
  }
  seen.answers(0);
}

void zar_retrieve_event(Model &m, const Arguments &a, Seen &seen) {
  const Pmap *pmap = m.resolve<Pmap>(a.handle(0));
  if (pmap == nullptr || !pmap->control() || !a.given(1) || !a.given(2)) return seen.answers(kInvalid);
  const Event *event = m.event_of(*pmap, a.pointer<const zar_event_context>(1)->event_id);
  seen.answers(0);
  seen.puts(2, event == nullptr ? 0 : event->handle);
}

void zar_retrieve_class_action(Model &m, const Arguments &a, Seen &seen) {
  const Pmap *pmap = m.resolve<Pmap>(a.handle(0));
  const Cmap *cmap = m.resolve<Cmap>(a.handle(2));
  if (pmap == nullptr || cmap == nullptr || !a.given(3)) return seen.answers(kInvalid);
  if (!pmap->control()) return seen.answers(0);
  const Event *given = m.resolve<Event>(a.handle(1));
  const Event *event = given == nullptr ? nullptr : m.event_of(*pmap, given->id);
  if (event == nullptr) return seen.answers(kInvalid);
  const Rule *rule = Model::rule_of(*event, *cmap);
  seen.answers(0);
  seen.puts(3, rule == nullptr ? 0 : rule->handle);
}

void zar_retrieve_class_num_in_event(Model &m, const Arguments &a, Seen &seen) {
  const Event *event = m.resolve<Event>(a.handle(0));
  if (event == nullptr || !a.given(2)) return seen.answers(kInvalid);
  seen.answers(0);
  for (const Rule *rule : event->rules)
    if (rule->number == a.number(1)) return seen.puts(2, rule->handle);
  seen.puts(2, 0);
}

void zar_get_cmap_from_class_action(Model &m, const Arguments &a, Seen &seen) {
  const Rule *rule = m.resolve<Rule>(a.handle(0));
  seen.answers(rule == nullptr ? 0 : rule->cmap->handle);
}

// ---- Actions in rules

void zar_verify_action_content(Model &m, const Arguments &a, Seen &seen) {
  seen.answers(m.behind<Action>(a.handle(0)) == nullptr ? 1 : 0);
}

namespace {

void put_in_order(List<Action *> &list, Action &action) {
  const auto place =
      std::find_if(list.begin(), list.end(), [&](const Action *present) { return present->number > action.number; });
  list.insert(place, &action);
  ++action.listed;
}

}  // namespace

void zar_add_action_to_rule(Model &m, const Arguments &a, Seen &seen) {
  Rule *rule = m.resolve<Rule>(a.handle(0));
  Action *action = m.resolve<Action>(a.handle(1));
  if (rule == nullptr || action == nullptr) return seen.answers(kInvalid);
  put_in_order(rule->actions, *action);
  seen.answers(0);
}

namespace {

void add_action_beside(Model &m, const Arguments &a, Seen &seen, int steps) {
  Rule *rule = m.resolve<Rule>(a.handle(0));
  Action *action = m.resolve<Action>(a.handle(1));
  if (rule == nullptr || action == nullptr) return seen.answers(kInvalid);
  const auto reference = with_handle(rule->actions, a.handle(2));
  if (reference == rule->actions.end()) return seen.answers(kInvalid);
  rule->actions.insert(reference + steps, action);
  ++action->listed;
  seen.answers(0);
}

// False if the action is not in the list.
bool unlink(List<Action *> &list, Action &action) {
  const auto found = with_handle(list, action.handle);
  if (found == list.end()) return false;
  list.erase(found);
  --action.listed;
  return true;
}

}  // namespace

void zar_add_action_to_rule_before_action(Model &m, const Arguments &a, Seen &seen) {
  add_action_beside(m, a, seen, 0);
}
void zar_add_action_to_rule_after_action(Model &m, const Arguments &a, Seen &seen) {
  add_action_beside(m, a, seen, 1);
}

void zar_remove_action_from_class_action(Model &m, const Arguments &a, Seen &seen) {
  Rule *rule = m.resolve<Rule>(a.handle(0));
  Action *action = m.resolve<Action>(a.handle(1));
  if (rule == nullptr || action == nullptr) return seen.answers(kInvalid);
  unlink(rule->actions, *action);
  seen.answers(0);
}

void zar_retrieve_action(Model &m, const Arguments &a, Seen &seen) {
  Rule *rule = m.resolve<Rule>(a.handle(0));
  const auto *context = a.pointer<const zar_action_context>(1);
  if (rule == nullptr || !usable(context) || !a.given(2)) return seen.answers(kInvalid);
  seen.answers(0);
  for (Walk actions(rule->actions); const Action *action = actions.next();)
    if (m.same(*action, *context) && actions.still_in_list()) return seen.puts(2, action->handle);
  seen.puts(2, 0);
}

void zar_retrieve_action_num_in_class_action(Model &m, const Arguments &a, Seen &seen) {
  const Rule *rule = m.resolve<Rule>(a.handle(0));
  if (rule == nullptr || !a.given(2)) return seen.answers(kInvalid);
  seen.answers(0);
  for (const Action *action : rule->actions)
    if (action->number == static_cast<uint8_t>(a.number(1))) return seen.puts(2, action->handle);
  seen.puts(2, 0);
}

void zar_match_action_parameters(Model &m, const Arguments &a, Seen &seen) {
  const Action *action = m.behind<Action>(a.handle(0));
  const auto *context = a.pointer<const zar_action_context>(1);
  seen.answers(action != nullptr && context != nullptr && m.same(*action, *context) ? 1 : 0);
}

void zar_compare_actions(Model &m, const Arguments &a, Seen &seen) {
  const Action *action = m.resolve<Action>(a.handle(0));
  const auto *context = a.pointer<const zar_action_context>(1);
  seen.answers(action != nullptr && context != nullptr && m.same(*action, *context) ? 1 : 0);
}

void zar_increment_action(Model &m, const Arguments &a, Seen &seen) {
  Action *action = m.behind<Action>(a.handle(0));
  if (action != nullptr) ++action->refs;
  seen.answers(action == nullptr ? 0 : 1);
}

void zar_free_action(Model &m, const Arguments &a, Seen &seen) {
  Action *action = m.behind<Action>(a.handle(0));
  seen.answers(action == nullptr ? 0 : 1);
  if (action != nullptr) m.drop_reference(*action);
}

// ---- Stored policies

namespace {

// The policy-map that a stored-policy operation works on, or NULL if it refuses.
Pmap *policy(const Model &m, uint32_t handle, bool with_event) {
  Pmap *pmap = m.resolve<Pmap>(handle);
  return pmap == nullptr || (pmap->control() && !with_event) ? nullptr : pmap;
}

}  // namespace

void zar_add_class_to_stored_policy(Model &m, const Arguments &a, Seen &seen) {
  const Found stored_policy = m.retrieve(a.number(0), a.info(1), Kind::pmap);
  const Found stored_class = m.retrieve(a.number(0), a.info(6), Kind::cmap);
  Pmap *pmap = policy(m, stored_policy.handle, a.given(2));
  Cmap *cmap = m.resolve<Cmap>(stored_class.handle);
  if (pmap == nullptr || cmap == nullptr || a.number(4) >= 4) return seen.answers(kInvalid);
  if (!pmap->control()) {
    seen.answers(0);
    pmap->rules.push_back(&m.add_rule(m.new_rule(*pmap, seen), *cmap, a.number(4), nullptr, 0));
    return;
  }
  const uint32_t id = a.pointer<const zar_event_context>(2)->event_id;
  Event *event = m.event_of(*pmap, id);
  if (event == nullptr) {
    if (!a.given(3)) return seen.answers(kFailed);
    event = &m.add<Event>(m.new_event(*pmap, seen));
    event->id = id;
    event->name = a.text(3);
    event->pmap = pmap;
    pmap->events.push_back(event);
  }
  seen.answers(0);
  if (Model::rule_of(*event, *cmap) != nullptr) return;
  m.add_rule(m.new_rule(*event, seen), *cmap, a.number(4), event, a.number(5));
}

void zar_add_class_action_to_stored_policy(Model &m, const Arguments &a, Seen &seen) {
  const Found stored_policy = m.retrieve(a.number(0), a.info(1), Kind::pmap);
  Pmap *pmap = policy(m, stored_policy.handle, a.given(2));
  Cmap *cmap = m.resolve<Cmap>(a.handle(4));
  Action *action = m.resolve<Action>(a.handle(6));
  if (pmap == nullptr || !pmap->control() || cmap == nullptr || a.number(3) >= 4 || action == nullptr)
    return seen.answers(kInvalid);
  Event *event = m.event_of(*pmap, a.pointer<const zar_event_context>(2)->event_id);
  if (event == nullptr) return seen.answers(kInvalid);
  seen.answers(0);
  if (Model::rule_of(*event, *cmap) != nullptr) return;
  Rule &rule = m.add_rule(m.new_rule(*event, seen), *cmap, a.number(3), event, a.number(5));
  put_in_order(rule.actions, *action);
}

void zar_add_action_to_stored_policy(Model &m, const Arguments &a, Seen &seen) {
  Rule *rule = m.stored_rule(a);
  if (rule == nullptr) return seen.answers(kInvalid);
  Action *action = m.resolve<Action>(a.handle(4));
  if (action == nullptr) return seen.answers(kFailed);
  put_in_order(rule->actions, *action);
  seen.answers(0);
}

void zar_remove_action_from_stored_policy(Model &m, const Arguments &a, Seen &seen) {
  Rule *rule = m.stored_rule(a);
  Action *action = m.resolve<Action>(a.handle(4));
  seen.answers(rule != nullptr && action != nullptr && unlink(rule->actions, *action) ? 0 : kInvalid);
}

void zar_remove_class_from_policy(Model &m, const Arguments &a, Seen &seen) {
  Pmap *pmap = policy(m, a.handle(0), a.given(1));
  Cmap *cmap = m.resolve<Cmap>(a.handle(2));
  if (pmap == nullptr || !pmap->control() || cmap == nullptr) return seen.answers(kInvalid);
  Event *event = m.event_of(*pmap, a.pointer<const zar_event_context>(1)->event_id);
  if (event == nullptr) return seen.answers(kInvalid);
  seen.answers(0);
  const auto found = std::find_if(event->rules.begin(), event->rules.end(), [&](const Rule *rule) {
    return rule->cmap == cmap && rule->number == static_cast<uint8_t>(a.number(3));
  });
  if (found == event->rules.end()) return;
  Rule &rule = **found;
  event->rules.erase(found);
  Model::remove_references(*pmap, *cmap);
  m.free_rule(rule);
}

// ---- Deleting leaves

void zar_delete_action(Model &m, const Arguments &a, Seen &seen) {
  Action *action = m.resolve<Action>(a.handle(0));
  seen.answers(action == nullptr ? kInvalid : 0);
  if (action != nullptr) m.drop_reference(*action);
}

void zar_delete_filter(Model &m, const Arguments &a, Seen &seen) {
  Filter *filter = m.resolve<Filter>(a.handle(0));
  seen.answers(filter == nullptr ? kInvalid : 0);
  if (filter != nullptr) m.free_filter(*filter);
}

void zar_delete_event(Model &m, const Arguments &a, Seen &seen) {
  Event *event = m.resolve<Event>(a.handle(0));
  seen.answers(event == nullptr ? kInvalid : 0);
  if (event != nullptr) m.delete_event(*event);
}

// ---- Actions in statements of parameter-maps

namespace {

// The action in the statements with the index that was never seen before.
Action &new_action(Model &m, const PmtrMap &map, uint32_t index, Seen &seen) {
  for (const void *element : runtime::elements(&static_cast<const zar_pmtr_map *>(map.record)->stmt_queue)) {
    const auto *record = static_cast<const zar_pmtr_map_stmt *>(element);
    if (record->map_index != index) continue;
    for (const void *action : runtime::elements(&record->action_queue)) {
      const uint32_t handle = static_cast<const zar_action *>(action)->handle;
      if (!m.was_seen(handle)) return m.add<Action>(handle);
    }
  }
  seen.fail("the statement has no new action");
  return m.add<Action>(0);
}

Action *with_number(const Statement &statement, uint8_t number) {
  for (Action *action : statement.actions)
    if (action->number == number) return action;
  return nullptr;
}

// The action with the number takes the new data if its contents are the same. Otherwise the statement loses it.
bool refreshed(Model &m, PmtrMap &map, const Arguments &a, const zar_action_context &context) {
  const std::shared_ptr<Statement> statement = Model::statement_of(map, a.number(1));
  Action *action = statement == nullptr ? nullptr : with_number(*statement, static_cast<uint8_t>(a.number(2)));
  if (action == nullptr) return false;
  const Model::Busy busy(m, {action, statement.get()});
  if (m.same(*action, context)) {
    action->precedence = static_cast<uint16_t>(a.number(3));
    if (usable(&context)) m.replace_data(*action, context);
    return true;
  }
  unlink(statement->actions, *action);
  return false;
}

}  // namespace

void zar_pmtr_map_create_action(Model &m, const Arguments &a, Seen &seen) {
  const auto *context = a.pointer<const zar_action_context>(4);
  if (context == nullptr) return seen.answers(kInvalid);
  PmtrMap *map = m.resolve<PmtrMap>(a.handle(0));
  seen.answers(0);
  const bool done = map == nullptr || refreshed(m, *map, a, *context);
  if (done || !complete(context) || !m.leaves_can_be_created) return m.free_context(*context);

  const std::shared_ptr<Statement> statement = Model::statement_of(*map, a.number(1));
  if (statement == nullptr) {
    // The action was created, could not be added because there is no statement, and was deleted again.
    seen.answers(1);
    return m.called(calls::text(context->action_free_fn == calls::free_data ? "free %u" : "free too %u",
                                calls::id_of(context->action_data)));
  }
  Action &action = new_action(m, *map, a.number(1), seen);
  action.context = *context;
  action.number = static_cast<uint8_t>(a.number(2));
  action.precedence = static_cast<uint16_t>(a.number(3));
  put_in_order(statement->actions, action);
  m.free_context(*context);
}

void zar_add_action_to_pmtr_map_rule(Model &m, const Arguments &a, Seen &seen) {
  PmtrMap *map = m.resolve<PmtrMap>(a.handle(0));
  Action *action = m.resolve<Action>(a.handle(2));
  const auto statement = map == nullptr ? nullptr : Model::statement_of(*map, a.number(1));
  if (statement == nullptr || action == nullptr) return seen.answers(kInvalid);
  put_in_order(statement->actions, *action);
  seen.answers(0);
}

void zar_remove_action_from_pmtr_stmt_action(Model &m, const Arguments &a, Seen &seen) {
  PmtrMap *map = m.resolve<PmtrMap>(a.handle(0));
  Action *action = m.resolve<Action>(a.handle(2));
  const auto statement = map == nullptr ? nullptr : Model::statement_of(*map, a.number(1));
  if (statement == nullptr || action == nullptr) return seen.answers(kInvalid);
  unlink(statement->actions, *action);
  seen.answers(0);
}

void zar_retrieve_action_num_in_pmtr_stmt_action(Model &m, const Arguments &a, Seen &seen) {
  PmtrMap *map = m.resolve<PmtrMap>(a.handle(0));
  if (map == nullptr || !a.given(3)) return seen.answers(kInvalid);
  seen.answers(0);
  if (const auto statement = Model::statement_of(*map, a.number(1)))
    for (const Action *action : statement->actions)
      if (action->number == static_cast<uint8_t>(a.number(2))) return seen.puts(3, action->handle);
  seen.puts(3, 0);
}

void zar_pmtr_verify_action_hdl(Model &, const Arguments &a, Seen &seen) {
  seen.answers(a.handle(0) == 0 ? 1 : 0);
}

void zar_pmtr_verify_action_content(Model &m, const Arguments &a, Seen &seen) {
  zar_verify_action_content(m, a, seen);
}

void zar_pmtr_get_first_action_index(Model &m, const Arguments &a, Seen &seen) {
  PmtrMap *map = m.resolve<PmtrMap>(a.handle(1));
  if (!m.known(a.number(0)) || map == nullptr || !a.given(3)) return seen.answers(kInvalid);
  if (m.database_of(a.number(0)) == nullptr) return seen.answers(kFailed);
  const auto statement = Model::statement_of(*map, a.number(2));
  if (statement == nullptr || statement->actions.empty()) return seen.answers(kNothing);
  seen.answers(0);
  seen.puts(3, statement->actions.front()->handle);
}

void zar_pmtr_get_next_action_index(Model &m, const Arguments &a, Seen &seen) {
  PmtrMap *map = m.resolve<PmtrMap>(a.handle(1));
  if (!m.known(a.number(0)) || map == nullptr || !a.given(4)) return seen.answers(kInvalid);
  if (m.database_of(a.number(0)) == nullptr) return seen.answers(kFailed);
  if (const auto statement = Model::statement_of(*map, a.number(2))) {
    const auto current = with_handle(statement->actions, a.handle(3));
    if (current != statement->actions.end() && current + 1 != statement->actions.end()) {
      seen.answers(0);
      return seen.puts(4, (*(current + 1))->handle);
    }
  }
  seen.answers(kNothing);
  seen.puts(4, 0);
}

}  // namespace model::predict
