#include "simulator/policy/model.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <type_traits>
#include <utility>

#include "simulator/policy/uses.h"
#include "simulator/text/text.h"

namespace simulator {

namespace {

template <class Object>
const Object *find(const std::vector<Object> &objects, const ByName<size_t> &index, std::string_view name) {
  const auto found = index.find(name);
  return found == index.end() ? nullptr : &objects[found->second];
}

template <class Object>
void append(std::vector<Object> &objects, std::vector<Object> &more) {
  std::move(more.begin(), more.end(), std::back_inserter(objects));
}

// ---- The handles that an object takes in the repository

size_t handles_of(const ClassMap &map) {
  return 1 + map.filters.size();
}
size_t handles_of(const PolicyMap &policy) {
  size_t handles = 1 + policy.events.size();
  for (const EventRules &event : policy.events) {
    for (const Rule &rule : event.rules)
      handles += 1 + rule.actions.size();
  }
  return handles;
}
size_t handles_of(const ParameterMap &map) {
  size_t handles = 1;
  for (const Statement &statement : map.statements)
    handles += 1 + statement.filters.size() + statement.actions.size();
  return handles;
}
size_t handles_of(const Target &) {
  return kHandlesOfTarget;
}

// Clients and domains keep nothing there, and use only each other.
size_t handles_of(const Client &) {
  return 0;
}
size_t handles_of(const Domain &) {
  return 0;
}
template <class Each>
void for_each_use(const Client &, Each) {}
template <class Each>
void for_each_use(const Domain &, Each) {}

// An end that the file leaves open is the lowest or highest number.
std::string range_text(int64_t low, int64_t high) {
  std::string text;
  if (low != std::numeric_limits<int64_t>::min()) text += std::to_string(low);
  text += "..";
  if (high != std::numeric_limits<int64_t>::max()) text += std::to_string(high);
  return text;
}

}  // namespace

uint8_t ParameterMap::filter_type_of(std::string_view attribute) const {
  const auto found = std::find(attributes.begin(), attributes.end(), attribute);
  return static_cast<uint8_t>(found - attributes.begin());
}

std::string PolicyFile::shown_path_of(Position position) const {
  return escape_control_characters(path_of(position));
}

const Client *PolicyFile::find_client(std::string_view name) const {
  return find(clients, client_index_, name);
}

const Domain *PolicyFile::find_domain(std::string_view name) const {
  return find(domains, domain_index_, name);
}

const ClassMap *PolicyFile::find_class_map(std::string_view name) const {
  return find(class_maps, class_map_index_, name);
}

const PolicyMap *PolicyFile::find_policy_map(std::string_view name) const {
  return find(policy_maps, policy_map_index_, name);
}

const ParameterMap *PolicyFile::find_parameter_map(std::string_view name) const {
  return find(parameter_maps, parameter_map_index_, name);
}

const Target *PolicyFile::find_target(std::string_view name) const {
  return find(targets, target_index_, name);
}

uint32_t PolicyFile::event_id(std::string_view name) const {
  const auto found = event_index_.find(name);
  return found == event_index_.end() || found->second.handlers == 0 ? 0 : found->second.id;
}

void UseCounts::add(std::string_view name) {
  const auto found = counts_.find(name);
  if (found != counts_.end()) {
    ++found->second;
  } else {
    counts_.emplace(name, size_t{1});
  }
}

void UseCounts::remove(std::string_view name) {
  const auto found = counts_.find(name);
  if (--found->second == 0) counts_.erase(found);
}

size_t UseCounts::of(std::string_view name) const {
  const auto found = counts_.find(name);
  return found == counts_.end() ? 0 : found->second;
}

size_t PolicyFile::handlers(std::string_view event) const {
  const auto found = event_index_.find(event);
  return found == event_index_.end() ? 0 : found->second.handlers;
}

void PolicyFile::note_events(const PolicyMap &policy) {
  for (const EventRules &rules : policy.events) {
    const auto [event, is_new] =
        event_index_.try_emplace(rules.event.value, Event{static_cast<uint32_t>(events.size() + 1), 0});
    if (is_new) events.push_back(rules.event.value);
    ++event->second.handlers;
  }
}

void PolicyFile::forget_events(const PolicyMap &policy) {
  for (const EventRules &rules : policy.events)
    --event_index_.find(rules.event.value)->second.handlers;
}

template <class Object>
void PolicyFile::note(const Object &object) {
  handles_ += handles_of(object);
  for_each_use(object, [this](Used what, const Name &name) { uses_[static_cast<size_t>(what)].add(name.value); });
  if constexpr (std::is_same_v<Object, PolicyMap>) note_events(object);
}

template <class Object>
void PolicyFile::forget(const Object &object) {
  handles_ -= handles_of(object);
  for_each_use(object, [this](Used what, const Name &name) { uses_[static_cast<size_t>(what)].remove(name.value); });
  if constexpr (std::is_same_v<Object, PolicyMap>) forget_events(object);
}

template <class Object>
void PolicyFile::index_from(const std::vector<Object> &objects, size_t first, Index &index) {
  for (size_t at = first; at < objects.size(); ++at) {
    index.emplace(objects[at].name.value, at);
    note(objects[at]);
  }
}

void PolicyFile::index_from(const FileExtent &first) {
  index_from(clients, first.clients, client_index_);
  index_from(domains, first.domains, domain_index_);
  index_from(class_maps, first.class_maps, class_map_index_);
  index_from(policy_maps, first.policy_maps, policy_map_index_);
  index_from(parameter_maps, first.parameter_maps, parameter_map_index_);
  index_from(targets, first.targets, target_index_);
}

void PolicyFile::index() {
  for (Index *index :
       {&client_index_, &domain_index_, &class_map_index_, &policy_map_index_, &parameter_map_index_, &target_index_})
    index->clear();
  event_index_.clear();
  for (size_t at = 0; at < events.size(); ++at)
    event_index_.emplace(events[at], Event{static_cast<uint32_t>(at + 1), 0});
  handles_ = 0;
  uses_ = {};
  index_from({});
}

FileExtent PolicyFile::extent() const {
  return {clients.size(),        domains.size(), class_maps.size(), policy_maps.size(),
          parameter_maps.size(), targets.size(), events.size()};
}

void PolicyFile::append(PolicyFile &&more) {
  const FileExtent first = extent();
  simulator::append(clients, more.clients);
  simulator::append(domains, more.domains);
  simulator::append(class_maps, more.class_maps);
  simulator::append(policy_maps, more.policy_maps);
  simulator::append(parameter_maps, more.parameter_maps);
  simulator::append(targets, more.targets);
  index_from(first);
}

template <class Object>
void PolicyFile::shrink(std::vector<Object> &objects, Index &index, size_t size) {
  while (objects.size() > size) {
    forget(objects.back());
    index.erase(objects.back().name.value);
    objects.pop_back();
  }
}

void PolicyFile::shrink_to(const FileExtent &extent) {
  shrink(clients, client_index_, extent.clients);
  shrink(domains, domain_index_, extent.domains);
  shrink(class_maps, class_map_index_, extent.class_maps);
  shrink(policy_maps, policy_map_index_, extent.policy_maps);
  shrink(parameter_maps, parameter_map_index_, extent.parameter_maps);
  shrink(targets, target_index_, extent.targets);
  for (size_t at = extent.events; at < events.size(); ++at)
    event_index_.erase(events[at]);
  events.resize(extent.events);
}

// 'name' may be that of the removed object itself.
template <class Object>
void PolicyFile::remove(std::vector<Object> &objects, Index &index, std::string_view name) {
  const auto found = index.find(name);
  const size_t at = found->second;
  index.erase(found);
  forget(objects[at]);
  if (at + 1 < objects.size()) {
    objects[at] = std::move(objects.back());
    index.find(objects[at].name.value)->second = at;
  }
  objects.pop_back();
}

void PolicyFile::remove_class_map(std::string_view name) {
  remove(class_maps, class_map_index_, name);
}

void PolicyFile::remove_policy_map(std::string_view name) {
  remove(policy_maps, policy_map_index_, name);
}

void PolicyFile::remove_parameter_map(std::string_view name) {
  remove(parameter_maps, parameter_map_index_, name);
}

void PolicyFile::remove_target(std::string_view name) {
  remove(targets, target_index_, name);
}

PolicyFile PolicyFile::copy_of_objects() const {
  PolicyFile copy;
  copy.path = path;
  copy.more_paths = more_paths;
  copy.clients = clients;
  copy.domains = domains;
  copy.class_maps = class_maps;
  copy.policy_maps = policy_maps;
  copy.parameter_maps = parameter_maps;
  copy.targets = targets;
  copy.events = events;
  copy.index();
  return copy;
}

const char *to_string(FilterKind kind) {
  switch (kind) {
    case FilterKind::equals:
      return "equals";
    case FilterKind::prefix:
      return "prefix";
    case FilterKind::regex:
      return "regex";
    case FilterKind::range:
      return "range";
    case FilterKind::present:
      return "present";
  }
  return "";
}

const char *to_string(ActionKind kind) {
  switch (kind) {
    case ActionKind::set:
      return "set";
    case ActionKind::clear:
      return "clear";
    case ActionKind::log:
      return "log";
    case ActionKind::count:
      return "count";
    case ActionKind::permit:
      return "permit";
    case ActionKind::deny:
      return "deny";
    case ActionKind::raise:
      return "raise";
    case ActionKind::apply:
      return "apply";
  }
  return "";
}

const char *to_string(ClassMatch match) {
  switch (match) {
    case ClassMatch::all:
      return "match-all";
    case ClassMatch::any:
      return "match-any";
    case ClassMatch::none:
      return "match-none";
  }
  return "";
}

const char *to_string(EventMatch match) {
  return match == EventMatch::all ? "match-all" : "match-first";
}

const char *to_string(Execute execute) {
  switch (execute) {
    case Execute::run_all:
      return "run-all";
    case Execute::stop_on_failure:
      return "stop-on-failure";
    case Execute::stop_on_success:
      return "stop-on-success";
  }
  return "";
}

const char *to_string(ClaimKind kind) {
  switch (kind) {
    case ClaimKind::never:
      return "never";
    case ClaimKind::always:
      return "always";
    case ClaimKind::never_runs:
      return "never-runs";
    case ClaimKind::always_runs:
      return "always-runs";
    case ClaimKind::ends_with:
      return "ends-with";
    case ClaimKind::never_fails:
      return "never-fails";
  }
  return "";
}

std::string rule_name(const PolicyMap &policy, const EventRules &event, const Rule &rule) {
  return concat(policy.name.value, "/", event.event.value, "/", rule.number);
}

std::string policies_text(const Target &target) {
  std::vector<std::string_view> names;
  for (const Name &policy : target.policies)
    names.push_back(policy.value);
  return comma_separated(names);
}

std::string to_string(const Filter &filter) {
  std::string front = concat(filter.attribute.value, " ", to_string(filter.kind));
  switch (filter.kind) {
    case FilterKind::equals:
    case FilterKind::prefix:
    case FilterKind::regex:
      return concat(front, " ", as_word(filter.text));
    case FilterKind::range:
      return concat(front, " ", range_text(filter.low, filter.high));
    case FilterKind::present:
      break;
  }
  return front;
}

std::string to_string(const Action &action) {
  const char *verb = to_string(action.kind);
  switch (action.kind) {
    case ActionKind::set:
      return concat(verb, " ", action.subject.value, " ", as_word(action.text));
    case ActionKind::log:
      return concat(verb, " ", in_quotes(action.text));
    case ActionKind::clear:
    case ActionKind::count:
    case ActionKind::raise:
    case ActionKind::apply:
      return concat(verb, " ", action.subject.value);
    case ActionKind::permit:
    case ActionKind::deny:
      break;
  }
  return verb;
}

namespace {

template <class Numbered>
std::vector<const Numbered *> by_number(const std::vector<Numbered> &elements) {
  std::vector<const Numbered *> sorted;
  for (const Numbered &element : elements)
    sorted.push_back(&element);
  std::sort(sorted.begin(), sorted.end(), [](const Numbered *a, const Numbered *b) { return a->number < b->number; });
  return sorted;
}

}  // namespace

std::vector<const Rule *> in_order(const std::vector<Rule> &rules) {
  return by_number(rules);
}

std::vector<const Action *> in_order(const std::vector<Action> &actions) {
  return by_number(actions);
}

std::string filter_text(const Filter &filter) {
  return (filter.no_match ? "not " : "") + to_string(filter);
}

}  // namespace simulator
