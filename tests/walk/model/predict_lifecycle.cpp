// What the operations on whole maps, targets, activation and walks do.
#include <algorithm>

#include "tests/walk/model/model.h"

namespace model::predict {

// ---- Deleting maps

void zar_delete_policy(Model &m, const Arguments &a, Seen &seen) {
  Pmap *pmap = m.resolve<Pmap>(a.handle(0));
  seen.answers(pmap == nullptr ? kInvalid : 0);
  if (pmap != nullptr) m.delete_policy(*pmap);
}

void zar_delete_autoconf_policy(Model &m, const Arguments &, Seen &) {
  m.delete_autoconf_policy();
}

void zar_delete_stored_policy_by_name(Model &m, const Arguments &a, Seen &seen) {
  const Found found = m.retrieve(a.number(0), a.info(1), Kind::pmap);
  if (found.status != 0) return seen.answers(found.status);
  if (found.handle == 0) return seen.answers(kTree);
  Map &map = *m.resolve_map(found.handle);
  if (map.kind != Kind::pmap) {
    Model::take_out(map);
    return seen.answers(kInvalid);
  }
  seen.answers(m.delete_policy_of_tree(a.number(0), static_cast<Pmap &>(map)));
}

void zar_delete_stored_policy(Model &m, const Arguments &a, Seen &seen) {
  Pmap *pmap = m.resolve<Pmap>(a.handle(1));
  if (!m.known(a.number(0)) || pmap == nullptr) return seen.answers(kInvalid);
  Database *database = m.database_of(a.number(0));
  if (database == nullptr) return seen.answers(kFailed);
  if (pmap->tree != &database->pmaps) return seen.answers(kTree);
  seen.answers(m.delete_policy_of_tree(a.number(0), *pmap));
}

void zar_delete_class(Model &m, const Arguments &a, Seen &seen) {
  Cmap *cmap = m.resolve<Cmap>(a.handle(0));
  if (cmap == nullptr || !cmap->pmap_refs.empty()) return seen.answers(kInvalid);
  m.free_class(*cmap);
  seen.answers(0);
}

void zar_delete_stored_class_by_name(Model &m, const Arguments &a, Seen &seen) {
  const Found found = m.retrieve(a.number(0), a.info(1), Kind::cmap);
  if (found.status != 0) return seen.answers(found.status);
  if (found.handle == 0) return seen.answers(0);
  Map &map = *m.resolve_map(found.handle);
  if (map.kind != Kind::cmap) {
    Model::take_out(map);
    return seen.answers(kInvalid);
  }
  seen.answers(m.delete_stored_class(a.number(0), found.handle));
}

void zar_delete_stored_class(Model &m, const Arguments &a, Seen &seen) {
  seen.answers(m.delete_stored_class(a.number(0), a.handle(1)));
}

void zar_get_pmap_target_count(Model &, const Arguments &, Seen &seen) {
  seen.answers(0);
}

// ---- Targets

void zar_verify_target_context(Model &m, const Arguments &a, Seen &seen) {
  seen.answers(m.behind<Target>(a.handle(0)) == nullptr ? 1 : 0);
}

void zar_create_policy_context(Model &m, const Arguments &a, Seen &seen) {
  Target *target = m.resolve<Target>(a.handle(0));
  if (target == nullptr) return seen.answers(0);
  if (target->context == nullptr && seen.answer() != 0)
    target->context = &m.add<Context>(reinterpret_cast<const zar_target_policy_context *>(seen.answer())->handle);
  if (target->context == nullptr) return seen.fail("returned nothing");
  seen.answers(reinterpret_cast<uintptr_t>(target->context->record));
}

void zar_retrieve_policy_context(Model &m, const Arguments &a, Seen &seen) {
  const Target *target = m.resolve<Target>(a.handle(0));
  const bool there = target != nullptr && target->context != nullptr;
  seen.answers(there ? reinterpret_cast<uintptr_t>(target->context->record) : 0);
}

void zar_add_target(Model &m, const Arguments &a, Seen &seen) {
  Pmap *pmap = m.resolve<Pmap>(a.handle(2));
  if (!m.known(a.number(0)) || !a.given(1) || pmap == nullptr || !a.given(3)) return seen.answers(kInvalid);
  // The engine was called even if the target was not created in the end.
  Target &target = m.add<Target>(calls::engine().last_target);
  target.info = a.pointer<zar_target_info>(1);
  const uint32_t status = m.associate(a.number(0), target, *pmap);
  Database *database = m.database_of(a.number(0));
  if (status == 0 && database == nullptr) m.disassociate(*pmap, target);
  if (status != 0 || database == nullptr) {
    m.forget(target);
    return seen.answers(kFailed);
  }
  database->targets[target.handle] = &target;
  target.stored_in = database;
  seen.answers(0);
  seen.puts(3, target.handle);
}

void zar_remove_target(Model &m, const Arguments &a, Seen &seen) {
  Target *target = m.resolve<Target>(a.handle(1));
  if (!m.known(a.number(0)) || target == nullptr || !a.given(2)) return seen.answers(kInvalid);
  Database *database = m.database_of(a.number(0));
  if (database == nullptr) return seen.answers(kFailed);
  if (target->stored_in != database) {
    seen.answers(kTree);
    return seen.puts_pointer(2, nullptr);
  }
  database->targets.erase(target->handle);
  target->stored_in = nullptr;
  seen.answers(0);
  seen.puts_pointer(2, target->info);
}

void zar_delete_target(Model &m, const Arguments &a, Seen &seen) {
  Target *target = m.resolve<Target>(a.handle(0));
  seen.answers(target == nullptr || target->being_deleted ? kInvalid : m.delete_target(*target));
}

// ---- Activation

namespace {

bool active(const Target &target, const Pmap &pmap) {
  return std::find(target.active.begin(), target.active.end(), &pmap) != target.active.end();
}

uint32_t activate(Model &m, uint32_t clid, uint32_t pmap_handle, uint32_t target_handle) {
  Pmap *pmap = m.resolve<Pmap>(pmap_handle);
  Target *target = m.resolve<Target>(target_handle);
  if (!m.known(clid) || pmap == nullptr || target == nullptr) return kInvalid;
  return active(*target, *pmap) ? 0 : m.associate(clid, *target, *pmap);
}

}  // namespace

void zar_activate_policy(Model &m, const Arguments &a, Seen &seen) {
  seen.answers(activate(m, a.number(0), a.handle(1), a.handle(2)));
}

void zar_activate_policy_by_name(Model &m, const Arguments &a, Seen &seen) {
  const Found found = m.retrieve(a.number(0), a.info(2), Kind::pmap);
  seen.answers(found.status != 0 ? kInvalid : activate(m, a.number(0), found.handle, a.handle(1)));
}

void zar_deactivate_policy_by_name(Model &m, const Arguments &a, Seen &seen) {
  const Found found = m.retrieve(a.number(0), a.info(2), Kind::pmap);
  Target *target = m.resolve<Target>(a.handle(1));
  Pmap *pmap = m.resolve<Pmap>(found.handle);
  if (found.status != 0 || target == nullptr || pmap == nullptr) return seen.answers(kInvalid);
  seen.answers(m.disassociate(*pmap, *target) ? 0 : kFailed);
}

void zar_deactivate_policy_by_type(Model &, const Arguments &, Seen &seen) {
  seen.answers(0);
}

void zar_deactivate_any_policy_for_target(Model &m, const Arguments &a, Seen &seen) {
  Target *target = m.resolve<Target>(a.handle(1));
  if (!m.known(a.number(0)) || target == nullptr) return seen.answers(kInvalid);
  bool all = true;
  for (Walk active(target->active); Pmap *pmap = active.next();)
    all = m.disassociate(*pmap, *target) && all;
  seen.answers(all ? 0 : kFailed);
}

namespace {

void deactivate_everywhere(Model &m, Pmap &pmap) {
  for (Walk targets(pmap.targets); Target *target = targets.next();)
    m.disassociate(pmap, *target);
}

}  // namespace

void zar_deactivate_policy_by_name_from_all_targets(Model &m, const Arguments &a, Seen &seen) {
  const Found found = m.retrieve(a.number(0), a.info(1), Kind::pmap);
  Pmap *pmap = m.resolve<Pmap>(found.handle);
  seen.answers(pmap == nullptr ? kInvalid : 0);
  if (pmap != nullptr) deactivate_everywhere(m, *pmap);
}

void zar_deactivate_policy_by_handle_from_all_targets(Model &m, const Arguments &a, Seen &seen) {
  Pmap *pmap = m.resolve<Pmap>(a.handle(1));
  if (!m.known(a.number(0)) || pmap == nullptr) return seen.answers(kInvalid);
  deactivate_everywhere(m, *pmap);
  seen.answers(0);
}

void zar_retrieve_policy_from_target(Model &m, const Arguments &a, Seen &seen) {
  const Target *target = m.resolve<Target>(a.handle(1));
  const Found found = m.retrieve(a.number(0), a.info(2), Kind::pmap);
  if (target == nullptr || found.status != 0 || !a.given(4)) return seen.answers(kInvalid);
  seen.answers(0);
  const bool there = std::any_of(target->active.begin(), target->active.end(),
                                 [&](const Pmap *pmap) { return pmap->handle == found.handle; });
  seen.puts(4, there ? found.handle : 0);
}

namespace {

void put_active(const Arguments &a, Seen &seen, size_t first_out, const Pmap *pmap) {
  seen.answers(0);
  if (a.given(first_out)) seen.puts(first_out, pmap == nullptr ? 0 : pmap->type);
  if (a.given(first_out + 1)) seen.puts(first_out + 1, 0);
  seen.puts(first_out + 2, pmap == nullptr ? 0 : pmap->handle);
}

}  // namespace

void zar_get_first_active_policy_on_target(Model &m, const Arguments &a, Seen &seen) {
  const Target *target = m.resolve<Target>(a.handle(0));
  if (target == nullptr || !a.given(3)) return seen.answers(kInvalid);
  put_active(a, seen, 1, target->active.empty() ? nullptr : target->active.front());
}

void zar_get_next_active_policy_on_target(Model &m, const Arguments &a, Seen &seen) {
  const Target *target = m.resolve<Target>(a.handle(0));
  if (target == nullptr || !a.given(4)) return seen.answers(kInvalid);
  const auto current = std::find_if(target->active.begin(), target->active.end(),
                                    [&](const Pmap *pmap) { return pmap->handle == a.handle(1); });
  const bool last = current == target->active.end() || current + 1 == target->active.end();
  put_active(a, seen, 2, last ? nullptr : *(current + 1));
}

// ---- Walks over lists

namespace {

template <typename Type>
uint32_t first_of(const List<Type *> &list) {
  return list.empty() ? 0 : list.front()->handle;
}

template <typename Type>
uint32_t after(const List<Type *> &list, uint32_t current) {
  for (size_t i = 0; i + 1 < list.size(); ++i)
    if (list[i]->handle == current) return list[i + 1]->handle;
  return 0;
}

}  // namespace

// A policy-map that is not CONTROL shows its class-actions as events.
void zar_get_event_class(Model &m, const Arguments &a, Seen &seen) {
  const Pmap *pmap = m.resolve<Pmap>(a.handle(1));
  if (!m.known(a.number(0)) || pmap == nullptr || !a.given(2)) return seen.answers(kInvalid);
  seen.answers(0);
  seen.puts(2, pmap->control() ? first_of(pmap->events) : first_of(pmap->rules));
}

void zar_get_next_event_class(Model &m, const Arguments &a, Seen &seen) {
  const Pmap *pmap = m.resolve<Pmap>(a.handle(1));
  if (!m.known(a.number(0)) || pmap == nullptr || a.handle(2) == 0 || !a.given(3)) return seen.answers(kInvalid);
  seen.answers(0);
  seen.puts(3, pmap->control() ? after(pmap->events, a.handle(2)) : after(pmap->rules, a.handle(2)));
}

void zar_get_class_action(Model &m, const Arguments &a, Seen &seen) {
  const Pmap *pmap = m.resolve<Pmap>(a.handle(1));
  if (!m.known(a.number(0)) || pmap == nullptr || !a.given(3)) return seen.answers(kInvalid);
  if (!pmap->control()) return seen.answers(0);
  const Event *event = m.resolve<Event>(a.handle(2));
  if (event == nullptr) return seen.answers(kInvalid);
  seen.answers(0);
  seen.puts(3, first_of(event->rules));
}

void zar_get_next_class_action(Model &m, const Arguments &a, Seen &seen) {
  const Pmap *pmap = m.resolve<Pmap>(a.handle(1));
  if (!m.known(a.number(0)) || pmap == nullptr || a.handle(3) == 0 || !a.given(4)) return seen.answers(kInvalid);
  if (!pmap->control()) return seen.answers(0);
  const Event *event = m.resolve<Event>(a.handle(2));
  if (event == nullptr) return seen.answers(kInvalid);
  seen.answers(0);
  seen.puts(4, after(event->rules, a.handle(3)));
}

void zar_get_action(Model &m, const Arguments &a, Seen &seen) {
  const Rule *rule = m.resolve<Rule>(a.handle(1));
  if (!m.known(a.number(0)) || rule == nullptr || !a.given(2)) return seen.answers(kInvalid);
  seen.answers(0);
  seen.puts(2, first_of(rule->actions));
}

void zar_get_next_action(Model &m, const Arguments &a, Seen &seen) {
  const Rule *rule = m.resolve<Rule>(a.handle(1));
  if (!m.known(a.number(0)) || rule == nullptr || a.handle(2) == 0 || !a.given(3)) return seen.answers(kInvalid);
  seen.answers(0);
  seen.puts(3, after(rule->actions, a.handle(2)));
}

void zar_get_filter(Model &m, const Arguments &a, Seen &seen) {
  const Cmap *cmap = m.resolve<Cmap>(a.handle(1));
  if (!m.known(a.number(0)) || cmap == nullptr || !a.given(2)) return seen.answers(kInvalid);
  seen.answers(0);
  seen.puts(2, first_of(cmap->filters));
}

void zar_get_next_filter(Model &m, const Arguments &a, Seen &seen) {
  const Cmap *cmap = m.resolve<Cmap>(a.handle(1));
  if (!m.known(a.number(0)) || cmap == nullptr || a.handle(2) == 0 || !a.given(3)) return seen.answers(kInvalid);
  seen.answers(0);
  seen.puts(3, after(cmap->filters, a.handle(2)));
}

}  // namespace model::predict
