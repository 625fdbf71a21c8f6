#include "by_hand/repository.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "by_hand/key.h"
#include "platform/engine.h"
#include "platform/runtime.h"

namespace by_hand {

namespace {

using bench::Key;

// Inserts 'element' after those whose number is not above its own.
template <class Element>
void insert_by_number(std::vector<Element *> &elements, Element *element) {
  auto place = std::upper_bound(elements.begin(), elements.end(), element,
                                [](const Element *a, const Element *b) { return a->number < b->number; });
  elements.insert(place, element);
}

template <class Element>
void erase(std::vector<Element *> &elements, const Element *element) {
  elements.erase(std::find(elements.begin(), elements.end(), element));
}

void free_data(const Action &action) {
  action.context.action_free_fn(action.context.action_data, nullptr);
}
void free_data(const Filter &filter) {
  filter.context.filter_free_fn(filter.context.filter_data, nullptr);
}

// The clients' texts are in the platform's memory on both sides.
struct FreeText {
  void operator()(char *text) const { bfree_named(text); }
};
using Text = std::unique_ptr<char, FreeText>;

}  // namespace

template <class Object>
Object &Repository::make() {
  const Handle handle = ++last_handle_;
  auto &owner = objects_[handle].template emplace<std::unique_ptr<Object>>(std::make_unique<Object>());
  owner->handle = handle;
  return *owner;
}

Handle Repository::create_policy(const zar_map_info &info) {
  if (!info.map_name || !info.domain) return 0;
  auto &policy = make<PolicyMap>();
  policy.name = info.map_name;
  policy.domain = info.domain;
  policy.type = info.domain_type;
  policy.key = Key(info).view();
  return policy.handle;
}

Handle Repository::create_class(const zar_map_info &info, uint32_t match_criteria) {
  if (!info.map_name || !info.domain) return 0;
  auto &class_map = make<ClassMap>();
  class_map.name = info.map_name;
  class_map.domain = info.domain;
  class_map.type = info.domain_type;
  class_map.match_criteria = match_criteria;
  class_map.key = Key(info).view();
  return class_map.handle;
}

Handle Repository::create_action(const zar_action_context &context, uint8_t number, uint16_t precedence) {
  if (!context.action_free_fn || !context.action_entry_fn || !context.action_str_fn) return 0;
  auto &action = make<Action>();
  action.number = number;
  action.precedence = precedence;
  action.context = context;
  return action.handle;
}

Handle Repository::create_filter(const zar_filter_context &context, bool inverted) {
  if (!context.filter_free_fn || !context.filter_eval_fn || !context.filter_str_fn) return 0;
  auto &filter = make<Filter>();
  filter.inverted = inverted;
  filter.context = context;
  return filter.handle;
}

Handle Repository::create_event(uint32_t id, const char *name) {
  if (!name) return 0;
  auto &event = make<Event>();
  event.id = id;
  event.name = name;
  return event.handle;
}

bool Repository::store_policy(Handle handle) {
  auto *policy = get<PolicyMap>(handle);
  if (!policy || !policies_.try_emplace(policy->key, policy).second) return false;
  policy->stored = true;
  return true;
}

bool Repository::store_class(Handle handle) {
  auto *class_map = get<ClassMap>(handle);
  if (!class_map || !classes_.try_emplace(class_map->key, class_map).second) return false;
  class_map->stored = true;
  return true;
}

Handle Repository::retrieve_policy(const zar_map_info &info) const {
  if (!info.map_name || !info.domain) return 0;
  const auto found = policies_.find(Key(info).view());
  return found == policies_.end() ? 0 : found->second->handle;
}

Handle Repository::retrieve_class(const zar_map_info &info) const {
  if (!info.map_name || !info.domain) return 0;
  const auto found = classes_.find(Key(info).view());
  return found == classes_.end() ? 0 : found->second->handle;
}

bool Repository::add_filter(Handle class_handle, Handle filter_handle) {
  auto *class_map = get<ClassMap>(class_handle);
  auto *filter = get<Filter>(filter_handle);
  if (!class_map || !filter) return false;
  class_map->filters.push_back(filter);
  return true;
}

bool Repository::add_event(Handle policy_handle, Handle event_handle) {
  auto *policy = get<PolicyMap>(policy_handle);
  auto *event = get<Event>(event_handle);
  if (!policy || !event || event->policy) return false;
  for (const Event *other : policy->events)
    if (other->id == event->id) return false;
  event->policy = policy;
  policy->events.push_back(event);
  return true;
}

Handle Repository::add_rule(Handle event_handle, Handle class_handle, uint8_t number) {
  auto *event = get<Event>(event_handle);
  auto *class_map = get<ClassMap>(class_handle);
  if (!event || !class_map) return 0;
  auto &rule = make<Rule>();
  rule.number = number;
  rule.class_map = class_map;
  ++class_map->uses;
  insert_by_number(event->rules, &rule);
  return rule.handle;
}

bool Repository::add_action(Handle rule_handle, Handle action_handle) {
  auto *rule = get<Rule>(rule_handle);
  auto *action = get<Action>(action_handle);
  if (!rule || !action) return false;
  insert_by_number(rule->actions, action);
  return true;
}

bool Repository::is_active(const PolicyMap &policy, const Target &target) const {
  return std::any_of(target.active.begin(), target.active.end(),
                     [&policy](const Target::Active &active) { return active.policy == &policy; });
}

bool Repository::link(PolicyMap &policy, Target &target) {
  const zar_map_info key{policy.domain.c_str(), policy.type, policy.name.c_str(), 0};
  void *instance = nullptr;
  if (kel_create_policy_instance(&instance, target.handle, kel_clid, &key) != 0) return false;
  target.active.push_back({&policy, instance, policy.targets.insert(policy.targets.end(), &target)});
  tell_actions(policy, false);
  return true;
}

void Repository::unlink(PolicyMap &policy, Target &target) {
  const auto active = std::find_if(target.active.begin(), target.active.end(),
                                   [&policy](const Target::Active &other) { return other.policy == &policy; });
  kel_delete_policy_instance(active->instance);
  policy.targets.erase(active->place);
  target.active.erase(active);
  tell_actions(policy, true);
}

// Notifies the owners of actions that want it. The benchmarks have none, so the list is never created.
void Repository::tell_actions(const PolicyMap &policy, bool removed) {
  for (const Event *event : policy.events)
    for (const Rule *rule : event->rules)
      for (const Action *action : rule->actions)
        if (action->context.action_notify_fn)
          action->context.action_notify_fn(removed, action->context.action_data, nullptr);
}

Handle Repository::add_target(zar_target_info *info, Handle policy_handle) {
  auto *policy = get<PolicyMap>(policy_handle);
  if (!policy || !info) return 0;
  auto &target = make<Target>();
  target.info = info;
  if (!link(*policy, target)) {
    objects_.erase(target.handle);
    return 0;
  }
  targets_.insert(target.handle);
  return target.handle;
}

bool Repository::activate(Handle policy_handle, Handle target_handle) {
  auto *policy = get<PolicyMap>(policy_handle);
  auto *target = get<Target>(target_handle);
  if (!policy || !target) return false;
  return is_active(*policy, *target) || link(*policy, *target);
}

bool Repository::deactivate_everywhere(Handle handle) {
  auto *policy = get<PolicyMap>(handle);
  if (!policy) return false;
  while (!policy->targets.empty())
    unlink(*policy, *policy->targets.front());
  return true;
}

void Repository::remove(Rule &rule) {
  --rule.class_map->uses;
  for (Action *action : rule.actions) {
    free_data(*action);
    objects_.erase(action->handle);
  }
  objects_.erase(rule.handle);
}

void Repository::remove(Event &event) {
  for (Rule *rule : event.rules)
    remove(*rule);
  objects_.erase(event.handle);
}

bool Repository::delete_policy(Handle handle) {
  if (!deactivate_everywhere(handle)) return false;
  auto *policy = get<PolicyMap>(handle);
  for (Event *event : policy->events)
    remove(*event);
  if (policy->stored) policies_.erase(policy->key);
  objects_.erase(handle);
  return true;
}

bool Repository::delete_class(Handle handle) {
  auto *class_map = get<ClassMap>(handle);
  if (!class_map || class_map->uses > 0) return false;
  for (Filter *filter : class_map->filters) {
    free_data(*filter);
    objects_.erase(filter->handle);
  }
  if (class_map->stored) classes_.erase(class_map->key);
  objects_.erase(handle);
  return true;
}

bool Repository::delete_action(Handle handle) {
  auto *action = get<Action>(handle);
  if (!action) return false;
  free_data(*action);
  objects_.erase(handle);
  return true;
}

bool Repository::delete_filter(Handle handle) {
  auto *filter = get<Filter>(handle);
  if (!filter) return false;
  free_data(*filter);
  objects_.erase(handle);
  return true;
}

bool Repository::delete_event(Handle handle) {
  auto *event = get<Event>(handle);
  if (!event) return false;
  if (event->policy) erase(event->policy->events, event);
  remove(*event);
  return true;
}

bool Repository::delete_target(Handle handle) {
  auto *target = get<Target>(handle);
  if (!target) return false;
  while (!target->active.empty())
    unlink(*target->active.front().policy, *target);
  targets_.erase(handle);
  objects_.erase(handle);
  return true;
}

void Repository::print_policies(zar_printer_fn print) const {
  char line[100];
  for (const auto &[key, policy] : policies_) {
    print("%s%s%s", "", "Control_Policy: ", policy->name.c_str());
    for (const Event *event : policy->events) {
      std::snprintf(line, sizeof line, "%s %s %s", "event", event->name.c_str(),
                    kel_pmap_class_match_get_string_short(event->match_criteria));
      print("%s  %-12s%s", "", "Event:", line);
      for (const Rule *rule : event->rules) {
        std::snprintf(line, sizeof line, "%d %s %s %s", rule->number, "class", rule->class_map->name.c_str(),
                      kel_pmap_action_exec_criteria_get_string_short(rule->exec_criteria));
        print("%s    %-12s%s", "", "Class-map:", line);
        for (const Action *action : rule->actions) {
          const Text text(action->context.action_str_fn(action->context.action_data, 0));
          print("%s      %-8s%u %s", "", "Action:", action->number, text.get());
          print("%s      %-8s%u %s", "", "Precedence:", action->precedence, text.get());
          print("%s      %-10s%u", "", "Executed:", action->executed);
        }
      }
    }
  }
}

void Repository::print_classes(zar_printer_fn print) const {
  constexpr char kHead[] = "%s%-28s%-29s%6s%5s%6s%6s%s";
  print(kHead, "", "Class-map", "Action", "Exec", "Hit", "Miss", "Comp", "");
  print(kHead, "", "---------", "------", "----", "---", "----", "----", "");
  char cell[100], row[100];
  for (const auto &[key, class_map] : classes_) {
    std::snprintf(cell, sizeof cell, "%s %s", kel_cmap_match_criteria_get_string_short(class_map->match_criteria),
                  class_map->name.c_str());
    for (const Filter *filter : class_map->filters) {
      const Text text(filter->context.filter_str_fn(filter->context.filter_data));
      std::snprintf(row, sizeof row, "%s %s", filter->inverted ? "no-match" : "match", text.get());
      print("%s%-27s %-29s %5u %4u %5u %5u%s", "", cell, row, filter->executed, filter->hits, filter->misses,
            filter->decisions, "");
    }
  }
}

}  // namespace by_hand
