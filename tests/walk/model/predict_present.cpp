// What accessors, listings, notifications and the services around parameter-maps do.
#include "tests/walk/model/model.h"

namespace model::predict {

using calls::text;
using Text = std::optional<std::string>;

// ---- Accessors

namespace {

template <typename Type, typename Read>
void read(Model &m, const Arguments &a, Seen &seen, Read what) {
  const Type *object = m.resolve<Type>(a.handle(0));
  seen.answers(object == nullptr ? 0 : what(*object));
}

template <typename Type, typename Read>
void read_text(Model &m, const Arguments &a, Seen &seen, Read what) {
  const Type *object = m.resolve<Type>(a.handle(0));
  seen.answers_text(object == nullptr ? Text() : Text(what(*object)));
}

}  // namespace

void zar_is_policy_hidden(Model &m, const Arguments &a, Seen &seen) {
  read<Pmap>(m, a, seen, [](const Pmap &pmap) { return pmap.hidden; });
}
void zar_unhide_policy(Model &m, const Arguments &a, Seen &) {
  if (Pmap *pmap = m.resolve<Pmap>(a.handle(0))) pmap->hidden = 0;
}
void zar_get_pmap_name(Model &m, const Arguments &a, Seen &seen) {
  read_text<Pmap>(m, a, seen, [](const Pmap &pmap) { return pmap.name; });
}
void zar_get_pmap_domain(Model &m, const Arguments &a, Seen &seen) {
  read_text<Pmap>(m, a, seen, [](const Pmap &pmap) { return pmap.domain; });
}
void zar_get_event_id(Model &m, const Arguments &a, Seen &seen) {
  read<Event>(m, a, seen, [](const Event &event) { return event.id; });
}
void zar_get_event_name(Model &m, const Arguments &a, Seen &seen) {
  read_text<Event>(m, a, seen, [](const Event &event) { return event.name; });
}
void zar_get_class_name_from_class_action(Model &m, const Arguments &a, Seen &seen) {
  read_text<Rule>(m, a, seen, [](const Rule &rule) { return rule.cmap->name; });
}
void zar_get_class_num_from_class_action(Model &m, const Arguments &a, Seen &seen) {
  read<Rule>(m, a, seen, [](const Rule &rule) { return rule.number; });
}
void zar_get_event_class_match_criteria(Model &m, const Arguments &a, Seen &seen) {
  read_text<Event>(m, a, seen, [](const Event &event) { return calls::event_criteria_text(event.criteria); });
}
void zar_get_action_exec_criteria(Model &m, const Arguments &a, Seen &seen) {
  read_text<Rule>(m, a, seen, [](const Rule &rule) { return calls::exec_criteria_text(rule.exec_criteria); });
}
void zar_get_cmap_name(Model &m, const Arguments &a, Seen &seen) {
  read_text<Cmap>(m, a, seen, [](const Cmap &cmap) { return cmap.name; });
}
void zar_get_cmap_domain(Model &m, const Arguments &a, Seen &seen) {
  read_text<Cmap>(m, a, seen, [](const Cmap &cmap) { return cmap.domain; });
}
void zar_get_cmap_if_hidden(Model &m, const Arguments &a, Seen &seen) {
  read<Cmap>(m, a, seen, [](const Cmap &cmap) { return cmap.hidden; });
}
void zar_get_cmap_match_logical_op(Model &m, const Arguments &a, Seen &seen) {
  read<Cmap>(m, a, seen, [](const Cmap &cmap) { return cmap.match_criteria; });
}
void zar_get_cmap_match_criteria(Model &m, const Arguments &a, Seen &seen) {
  static constexpr std::array kNames = {"match-all", "match-any", "match-none"};
  read_text<Cmap>(m, a, seen, [](const Cmap &cmap) { return kNames[cmap.match_criteria - 1]; });
}
void zar_get_action_num(Model &m, const Arguments &a, Seen &seen) {
  read<Action>(m, a, seen, [](const Action &action) { return action.number; });
}
void zar_get_precedence_value(Model &m, const Arguments &a, Seen &seen) {
  read<Action>(m, a, seen, [](const Action &action) { return action.precedence; });
}
void zar_get_pmtr_map_name(Model &m, const Arguments &a, Seen &seen) {
  read_text<PmtrMap>(m, a, seen, [](const PmtrMap &map) { return map.name; });
}
void zar_unhide_pmap(Model &m, const Arguments &a, Seen &) {
  if (PmtrMap *map = m.resolve<PmtrMap>(a.handle(0))) map->hidden = 0;
}
void zar_is_pmap_hidden(Model &m, const Arguments &a, Seen &seen) {
  read<PmtrMap>(m, a, seen, [](const PmtrMap &map) { return map.hidden; });
}

// ---- Configuration texts

namespace {

Text configuration(Model &m, const Filter &filter) {
  const Text content = m.text_of(filter);
  if (!content) return {};
  return (filter.no_match != 0 ? "no-match " : "match ") + *content;
}

}  // namespace

void zar_get_action_nvgen_str(Model &m, const Arguments &a, Seen &seen) {
  const Action *action = m.resolve<Action>(a.handle(0));
  seen.answers_text(action == nullptr ? Text() : m.text_of(*action, a.number(1)));
}

void zar_get_filter_nvgen_str(Model &m, const Arguments &a, Seen &seen) {
  const Filter *filter = m.resolve<Filter>(a.handle(0));
  seen.answers_text(filter == nullptr ? Text() : configuration(m, *filter));
}

void zar_get_filter_nvgen_str_internal(Model &m, const Arguments &a, Seen &seen) {
  const Filter *filter = m.behind<Filter>(a.handle(0));
  seen.answers_text(filter == nullptr ? Text() : configuration(m, *filter));
}

// ---- Callers' contexts

void zar_free_client_action_context(Model &m, const Arguments &a, Seen &) {
  if (a.given(0)) m.free_context(*a.pointer<const zar_action_context>(0));
}

namespace {

void free_filter_context(Model &m, const Arguments &a, bool with_parameters) {
  const auto *context = a.pointer<const zar_filter_context>(0);
  if (context == nullptr || context->filter_free_fn == nullptr) return;
  const uint32_t id = calls::id_of(context->filter_data);
  const char *function = context->filter_free_fn == calls::free_data ? "free" : "free too";
  m.called(text("%s context %u, data %u", function, id, with_parameters ? id : 0));
}

}  // namespace

void zar_free_client_filter_context(Model &m, const Arguments &a, Seen &) {
  free_filter_context(m, a, false);
}
void zar_free_client_filter_params_context(Model &m, const Arguments &a, Seen &) {
  free_filter_context(m, a, true);
}

void kel_debugging_event_active(Model &, const Arguments &, Seen &seen) {
  seen.answers(1);
}

// ---- Show and clear

namespace {

constexpr size_t kLongestCell = 99;

std::string cell(const std::string &whole) {
  return whole.substr(0, kLongestCell);
}

// Visits the maps of the kind in the databases of the domain's owners: all of them, or in each database the first with
// the name. Ends with the status that 'visit' returns if it is not 0.
template <typename Type, typename Visit>
uint32_t visit_selected(Tree &tree, const char *name, bool all, Visit visit) {
  for (TreeWalk maps(tree); Map *map = maps.next();) {
    if (map->kind != Type::kKind || (!all && map->name != name)) continue;
    if (const uint32_t status = visit(static_cast<Type &>(*map)); status != 0 || !all) return status;
  }
  return 0;
}

template <typename Type, typename Visit>
uint32_t for_each_selected(Model &m, const std::string &domain, const char *name, bool all, Visit visit) {
  for (size_t i = 0, claims = m.domains.size(); i < claims; ++i) {
    if (m.domains[i].first != domain) continue;
    Database *database = m.database_of(m.domains[i].second);
    if (database == nullptr) return kFailed;
    if (const uint32_t status = visit_selected<Type>(database->tree(Type::kKind), name, all, visit)) return status;
  }
  return 0;
}

// The lines of a listing.
class Listing {
 public:
  Listing(Model &m, const char *prefix, const char *suffix = nullptr)
      : m_(m), prefix_(prefix == nullptr ? "" : prefix), suffix_(suffix == nullptr ? "" : suffix) {}
  void line(const std::string &content) { m_.called("print " + prefix_ + content + suffix_); }
  void note(const std::string &content) { m_.called("print " + prefix_ + content); }

 private:
  Model &m_;
  std::string prefix_;
  std::string suffix_;
};

// The printer may delete what a line shows; a text function must not delete what holds its action.
void list_action(Model &m, Listing &out, const Action &action, bool verbose) {
  const uint32_t number = action.number;
  const uint32_t precedence = action.precedence;
  const Text content = m.text_of(action, 0);
  const uint32_t executed = action.executed;
  if (content && verbose) {
    out.line(text("      %-8s%u %s", "Action:", number, content->c_str()));
    out.line(text("      %-8s%u %s", "Precedence:", precedence, content->c_str()));
  } else if (content) {
    out.line(text("      %u %s", number, content->c_str()));
  }
  if (verbose) out.line(text("      %-10s%u", "Executed:", executed));
}

void list_rules(Model &m, Listing &out, Walk<Rule *> &rules, bool verbose) {
  while (Rule *rule = rules.next()) {
    Walk actions(rule->actions);
    const std::string class_line =
        cell(text("%u class ", rule->number) + rule->cmap->name + " " + calls::exec_criteria_text(rule->exec_criteria));
    out.line(verbose ? text("    %-12s", "Class-map:") + class_line : "    " + class_line);
    while (const Action *action = actions.next())
      list_action(m, out, *action, verbose);
  }
}

void list_policy(Model &m, Listing &out, Pmap &pmap, bool verbose) {
  Walk events(pmap.events);
  out.line((verbose ? "Control_Policy: " : "") + pmap.name);
  while (Event *event = events.next()) {
    Walk rules(event->rules);
    const std::string head = cell("event " + event->name + " " + calls::event_criteria_text(event->criteria));
    out.line(verbose ? text("  %-12s", "Event:") + head : "  " + head);
    list_rules(m, out, rules, verbose);
  }
}

// False if a filter has no text.
bool list_filters(Model &m, Listing &out, Cmap &cmap) {
  const std::string name = cell(std::string(calls::cmap_criteria_text(cmap.match_criteria)) + " " + cmap.name);
  for (Walk filters(cmap.filters); const Filter *filter = filters.next();) {
    const Text content = configuration(m, *filter);
    if (!content) return false;
    const auto &counts = filter->counts;
    out.line(text("%-27s %-29s %5u %4u %5u %5u", name.c_str(), content->c_str(), counts[0] % 10000, counts[1] % 1000,
                  counts[2] % 10000, counts[3] % 10000));
  }
  return true;
}

}  // namespace

void zar_print_policymap(Model &m, const Arguments &a, Seen &seen) {
  const bool all = a.given(4);
  const bool control = a.given(5);
  if (!a.given(1) || !a.given(2) || (!a.given(3) && !all)) return seen.answers(kInvalid);
  Listing out(m, a.text(0));
  seen.answers(for_each_selected<Pmap>(m, a.text(2), a.text(3), all, [&](Pmap &pmap) {
    list_policy(m, out, pmap, control);
    return 0U;
  }));
}

void zar_print_classmap(Model &m, const Arguments &a, Seen &seen) {
  const bool all = a.given(5);
  if (!a.given(1) || !a.given(3) || (!a.given(4) && !all)) return seen.answers(kInvalid);
  Listing out(m, a.text(0), a.text(2));
  out.line(text("%-28s%-29s%6s%5s%6s%6s", "Class-map", "Action", "Exec", "Hit", "Miss", "Comp"));
  out.line(text("%-28s%-29s%6s%5s%6s%6s", "---------", "------", "----", "---", "----", "----"));
  seen.answers(for_each_selected<Cmap>(m, a.text(3), a.text(4), all, [&](Cmap &cmap) {
    if (all && cmap.hidden != 0) return 0U;
    if (list_filters(m, out, cmap)) return 0U;
    out.note("Running config changed, please redo" + std::string(all ? 25 : 33, ' ') + "\n");
    return kFailed;
  }));
}

namespace {

void clear_counts(const Pmap &pmap) {
  for (const Event *event : pmap.events)
    for (const Rule *rule : event->rules)
      for (Action *action : rule->actions)
        action->executed = 0;
}

}  // namespace

void zar_clear_pmap_counters(Model &m, const Arguments &a, Seen &) {
  if (const Pmap *pmap = m.behind<Pmap>(a.handle(0))) clear_counts(*pmap);
}

void zar_clear_policymap(Model &m, const Arguments &a, Seen &seen) {
  const bool all = a.given(2);
  if (!a.given(0) || (!a.given(1) && !all)) return seen.answers(kInvalid);
  seen.answers(for_each_selected<Pmap>(m, a.text(0), a.text(1), all, [](const Pmap &pmap) {
    clear_counts(pmap);
    return 0U;
  }));
}

void zar_clear_classmap(Model &m, const Arguments &a, Seen &seen) {
  const bool all = a.given(2);
  if (!a.given(0) || (!a.given(1) && !all)) return seen.answers(kInvalid);
  seen.answers(for_each_selected<Cmap>(m, a.text(0), a.text(1), all, [](const Cmap &cmap) {
    for (Filter *filter : cmap.filters)
      filter->counts = {};
    return 0U;
  }));
}

// ---- Notifications

namespace {

std::string target_ids(const Pmap &pmap) {
  std::string ids;
  for (const Target *target : pmap.targets)
    ids += text(" %lu", static_cast<unsigned long>(target->info->target_id));
  return ids;
}

std::string notification(const Action &action, bool added) {
  return text("notify %u of %u:", added ? 0U : 1U, calls::id_of(action.context.action_data));
}

// All actions get the same list: for each action, the targets are added at its end again. False if a handler has
// deleted the policy-map.
bool notify_of_removal(Model &m, Rule &rule, uint32_t pmap_handle, std::string &list) {
  for (Walk actions(rule.actions); const Action *action = actions.next();) {
    const Pmap *pmap = m.behind<Pmap>(pmap_handle);
    if (pmap == nullptr) return false;
    if (action->context.action_notify_fn == nullptr) continue;
    const Model::Busy busy(m, {action});
    const std::string ids = target_ids(*pmap);
    list += ids;
    if (!ids.empty()) m.called(notification(*action, false) + list);
  }
  return true;
}

}  // namespace

void zar_shim_action_added_removed(Model &m, const Arguments &a, Seen &) {
  const Action *action = m.resolve<Action>(a.handle(0));
  const Pmap *pmap = m.resolve<Pmap>(a.handle(1));
  if (action == nullptr || pmap == nullptr || pmap->targets.empty()) return;
  if (action->context.action_notify_fn == nullptr || action->context.action_data == nullptr) return;
  const Model::Busy busy(m, {action});
  m.called(notification(*action, a.given(2)) + target_ids(*pmap));
}

void zar_invoke_action_handler(Model &m, const Arguments &a, Seen &) {
  Pmap *pmap = m.behind<Pmap>(a.handle(0));
  const Target *target = m.behind<Target>(a.handle(1));
  if (pmap == nullptr || target == nullptr) return;
  const Model::Busy busy(m, {pmap, target});
  m.notify_handlers(*pmap, *target, a.given(2));
}

void zar_remove_action_handler_for_event(Model &m, const Arguments &a, Seen &) {
  Event *event = m.resolve<Event>(a.handle(0));
  const Pmap *pmap = m.resolve<Pmap>(a.handle(1));
  if (event == nullptr || pmap == nullptr) return;
  const uint32_t pmap_handle = pmap->handle;
  std::string list;
  for (Walk rules(event->rules); Rule *rule = rules.next();)
    if (!notify_of_removal(m, *rule, pmap_handle, list)) return;
}

void zar_remove_action_handler_for_class(Model &m, const Arguments &a, Seen &) {
  Rule *rule = m.resolve<Rule>(a.handle(0));
  const Pmap *pmap = m.resolve<Pmap>(a.handle(1));
  if (rule == nullptr || pmap == nullptr) return;
  std::string list;
  notify_of_removal(m, *rule, pmap->handle, list);
}

// ---- Services around parameter-maps

namespace {

bool uses(Model &m, Rule &rule, const void *param_map) {
  for (Walk actions(rule.actions); const Action *action = actions.next();) {
    if (action->context.action_param_map_check_fn == nullptr) return false;
    const Model::Busy action_busy(m, {action});
    const auto *data = static_cast<const calls::Data *>(action->context.action_data);
    m.called(text("uses %u", calls::id_of(data)));
    if (data != nullptr && calls::param_map_of(data->value) == param_map) return true;
  }
  return false;
}

bool any_uses(Model &m, List<Rule *> &list, const void *param_map) {
  for (Walk rules(list); Rule *rule = rules.next();)
    if (uses(m, *rule, param_map)) return true;
  return false;
}

// A function that removes its action from the policy-map may also delete the policy-map.
bool uses(Model &m, Pmap &pmap, const void *param_map) {
  if (!pmap.control()) return any_uses(m, pmap.rules, param_map);
  for (Walk events(pmap.events); Event *event = events.next();)
    if (any_uses(m, event->rules, param_map)) return true;
  return false;
}

}  // namespace

void zar_is_param_map_assoc_with_policy(Model &m, const Arguments &a, Seen &seen) {
  seen.answers(0);
  for (size_t i = 0, claims = m.domains.size(); i < claims; ++i) {
    Database *database = m.database_of(m.domains[i].second);
    if (database == nullptr) return;
    const uint32_t found = visit_selected<Pmap>(
        database->pmaps, "", true, [&](Pmap &pmap) { return uses(m, pmap, a.pointer<const void>(0)) ? 1U : 0U; });
    if (found != 0) return seen.answers(1);
  }
}

void zar_replace_old_action_hdl(Model &m, const Arguments &a, Seen &) {
  Action *action = m.resolve<Action>(a.handle(0));
  const auto *context = a.pointer<const zar_action_context>(1);
  if (action == nullptr || !usable(context)) return;
  m.replace_data(*action, *context);
}

void zar_replace_old_filter_hdl(Model &m, const Arguments &a, Seen &) {
  Filter *filter = m.resolve<Filter>(a.handle(0));
  const auto *context = a.pointer<const zar_filter_context>(1);
  if (filter == nullptr || !usable(context)) return;
  m.replace_data(*filter, *context);
}

void kel_is_policy_created(Model &m, const Arguments &a, Seen &seen) {
  const zar_map_info info{kSubscriber, 1, a.text(0), 0};
  seen.answers(m.retrieve(m.owner_of(kSubscriber), &info, Kind::pmap).handle);
}

}  // namespace model::predict
