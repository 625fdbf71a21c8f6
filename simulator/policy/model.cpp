#include "simulator/policy/model.h"

#include <algorithm>
#include <limits>

#include "simulator/text/text.h"

namespace simulator {

namespace {

template <class Object>
void index_by_name(const std::vector<Object> &objects, NameIndex &index) {
  index.clear();
  for (size_t at = 0; at < objects.size(); ++at) {
    index.emplace(objects[at].name.value, at);
  }
}

template <class Object>
const Object *find(const std::vector<Object> &objects, const NameIndex &index, std::string_view name) {
  const auto found = index.find(name);
  return found == index.end() ? nullptr : &objects[found->second];
}

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
  return found == event_index_.end() ? 0 : static_cast<uint32_t>(found->second + 1);
}

void PolicyFile::index() {
  index_by_name(clients, client_index_);
  index_by_name(domains, domain_index_);
  index_by_name(class_maps, class_map_index_);
  index_by_name(policy_maps, policy_map_index_);
  index_by_name(parameter_maps, parameter_map_index_);
  index_by_name(targets, target_index_);

  NameIndex known;
  for (size_t at = 0; at < events.size(); ++at)
    known.emplace(events[at], at);
  std::vector<std::string> found;
  event_index_.clear();
  for (const PolicyMap &policy : policy_maps) {
    for (const EventRules &rules : policy.events) {
      // The keys point into the policy-maps, since 'events' may still move its texts.
      const auto [at, is_new] = known.emplace(rules.event.value, events.size() + found.size());
      event_index_.emplace(rules.event.value, at->second);
      if (is_new) found.push_back(rules.event.value);
    }
  }
  events.insert(events.end(), found.begin(), found.end());
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

std::string rule_name(const PolicyMap &policy, const EventRules &event, const Rule &rule) {
  return concat(policy.name.value, "/", event.event.value, "/", rule.number);
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
      return concat(verb, " ", quoted(action.text));
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

std::string filter_text(const Filter &filter) {
  return (filter.no_match ? "not " : "") + to_string(filter);
}

}  // namespace simulator
