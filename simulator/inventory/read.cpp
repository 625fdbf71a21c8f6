#include "simulator/inventory/read.h"

#include <algorithm>
#include <unordered_set>
#include <utility>

#include "engine/engine.h"
#include "engine/walk.h"
#include "platform/engine.h"
#include "platform/runtime.h"
#include "simulator/policy/parse_text.h"
#include "simulator/repository/registrations.h"
#include "simulator/repository/targets.h"
#include "simulator/text/interruption.h"
#include "simulator/text/text.h"
#include "zar/zar.h"

namespace simulator::inventory {

namespace {

// Ends the reading: the repository did not return part of its contents.
struct Unreadable {
  std::string what;
};

void expect(bool good, std::string_view what, uint32_t status = 0) {
  if (good) return;
  throw Unreadable{concat(what, " cannot be read", status != 0 ? concat(", status ", status) : "")};
}

std::string copy_of(const char *text, std::string_view what) {
  expect(text != nullptr, what);
  return text ? text : "";
}

// The caller must free a configuration text.
std::string take(char *text, std::string_view what) {
  std::string copy = text ? text : "";
  const bool given = text != nullptr;
  bfree_named(text);
  expect(given, what);
  return copy;
}

Name name_of(std::string value) {
  return {std::move(value), {}};
}

constexpr uint32_t kNoneLeft = 40;  // the walks over parameter-maps return this instead of a zero

bool came(uint32_t status, std::string_view what) {
  if (status == kNoneLeft) return false;
  expect(status == 0, what, status);
  return true;
}

// Calls 'each' with every item that a pair of walking operations returns. 'each' must not change the list.
template <class First, class Next, class Each>
void walk(std::string_view what, First first, Next next, Each each) {
  uint32_t current = 0;
  if (!came(first(&current), what)) return;
  while (current != 0) {
    interruption::check();
    each(current);
    uint32_t following = 0;
    if (!came(next(current, &following), what)) return;
    current = following;
  }
}

// ---- Leaves -----------------------------------------------------------------------------------------------------------------

Filter read_filter(uint32_t handle) {
  constexpr std::string_view kMatch = "match ";
  constexpr std::string_view kNoMatch = "no-match ";
  const std::string text = take(zar_get_filter_nvgen_str(handle), "the text of a filter");
  const bool no_match = text.starts_with(kNoMatch);
  expect(no_match || text.starts_with(kMatch), concat("the filter '", text, "'"));
  std::optional<Filter> filter = parse_filter(std::string_view(text).substr((no_match ? kNoMatch : kMatch).size()));
  expect(filter.has_value(), concat("the filter '", text, "'"));
  filter->no_match = no_match;
  return std::move(*filter);
}

std::vector<Filter> read_filters(uint32_t clid, uint32_t cmap) {
  std::vector<Filter> filters;
  walk(
      "the filters of a class-map", [&](uint32_t *out) { return zar_get_filter(clid, cmap, out); },
      [&](uint32_t current, uint32_t *out) { return zar_get_next_filter(clid, cmap, current, out); },
      [&](uint32_t filter) { filters.push_back(read_filter(filter)); });
  return filters;
}

Action read_action(uint32_t handle) {
  const std::string text = take(zar_get_action_nvgen_str(handle, 0), "the text of an action");
  std::optional<Action> action = parse_action(text);
  expect(action.has_value(), concat("the action '", text, "'"));
  action->number = zar_get_action_num(handle);
  action->precedence = zar_get_precedence_value(handle);
  return std::move(*action);
}

// ---- Policy-maps ------------------------------------------------------------------------------------------------------------

Execute read_execute(uint32_t rule) {
  const std::string text = copy_of(zar_get_action_exec_criteria(rule), "the exec criteria of a rule");
  for (const Execute execute : {Execute::run_all, Execute::stop_on_failure, Execute::stop_on_success}) {
    if (text == kel_pmap_action_exec_criteria_get_string_short(static_cast<uint32_t>(execute))) return execute;
  }
  throw Unreadable{concat("the exec criteria '", text, "' cannot be read")};
}

Rule read_rule(uint32_t clid, uint32_t handle) {
  Rule rule;
  rule.number = zar_get_class_num_from_class_action(handle);
  rule.class_map = name_of(copy_of(zar_get_class_name_from_class_action(handle), "the class-map of a rule"));
  rule.execute = read_execute(handle);
  walk(
      "the actions of a rule", [&](uint32_t *out) { return zar_get_action(clid, handle, out); },
      [&](uint32_t current, uint32_t *out) { return zar_get_next_action(clid, handle, current, out); },
      [&](uint32_t action) { rule.actions.push_back(read_action(action)); });
  return rule;
}

EventRules read_event(uint32_t clid, uint32_t pmap, uint32_t handle) {
  EventRules event;
  event.event = name_of(copy_of(zar_get_event_name(handle), "the name of an event"));
  event.match = static_cast<EventMatch>(zar_event_get_match_criteria(handle));
  walk(
      "the rules of an event", [&](uint32_t *out) { return zar_get_class_action(clid, pmap, handle, out); },
      [&](uint32_t current, uint32_t *out) { return zar_get_next_class_action(clid, pmap, handle, current, out); },
      [&](uint32_t rule) { event.rules.push_back(read_rule(clid, rule)); });
  return event;
}

struct ReadPolicy {
  PolicyMap map;
  std::vector<uint32_t> event_ids;
};

ReadPolicy read_policy(uint32_t clid, uint32_t handle) {
  ReadPolicy policy;
  policy.map.name = name_of(copy_of(zar_get_pmap_name(handle), "the name of a policy-map"));
  policy.map.domain = name_of(copy_of(zar_get_pmap_domain(handle), "the domain of a policy-map"));
  walk(
      "the events of a policy-map", [&](uint32_t *out) { return zar_get_event_class(clid, handle, out); },
      [&](uint32_t current, uint32_t *out) { return zar_get_next_event_class(clid, handle, current, out); },
      [&](uint32_t event) {
        policy.map.events.push_back(read_event(clid, handle, event));
        policy.event_ids.push_back(zar_get_event_id(event));
      });
  return policy;
}

// In a file, each event gets the next id at its first appearance. This is the lowest id that the policy-map can be the
// first to assign: the start of the ascending run that ends with its highest id. Once all lower ids are assigned, the
// policy-map fits; so policy-maps sorted by this id give every event its id.
uint32_t first_id_to_give(const std::vector<uint32_t> &event_ids) {
  const auto highest = std::max_element(event_ids.begin(), event_ids.end());
  if (highest == event_ids.end()) return 0;
  uint32_t first = *highest;
  for (auto at = highest; at != event_ids.begin();) {
    if (*--at == first - 1) first = *at;
  }
  return first;
}

// ---- Parameter-maps -----------------------------------------------------------------------------------------------------------

Statement read_statement(uint32_t clid, uint32_t map, uint32_t index) {
  Statement statement;
  statement.index = index;
  const uint32_t cmap = zar_get_internal_class_map(map, index);
  expect(cmap != 0, "the class-map of a statement");
  statement.filters = read_filters(clid, cmap);
  walk(
      "the actions of a statement",
      [&](uint32_t *out) { return zar_pmtr_get_first_action_index(clid, map, index, out); },
      [&](uint32_t current, uint32_t *out) { return zar_pmtr_get_next_action_index(clid, map, index, current, out); },
      [&](uint32_t action) { statement.actions.push_back(read_action(action)); });
  return statement;
}

void collect_attributes(ParameterMap &map) {
  for (const Statement &statement : map.statements) {
    for (const Filter &filter : statement.filters) {
      const std::string &name = filter.attribute.value;
      if (map.filter_type_of(name) == map.attributes.size()) map.attributes.push_back(name);
    }
  }
}

ParameterMap read_parameter_map(uint32_t clid, uint32_t handle) {
  ParameterMap map;
  map.name = name_of(copy_of(zar_get_pmtr_map_name(handle), "the name of a parameter-map"));
  walk(
      "the statements of a parameter-map",
      [&](uint32_t *out) { return zar_get_first_pmtr_map_index(clid, handle, out); },
      [&](uint32_t current, uint32_t *out) { return zar_get_next_pmtr_map_index(clid, handle, current, out); },
      [&](uint32_t index) { map.statements.push_back(read_statement(clid, handle, index)); });
  collect_attributes(map);
  return map;
}

// ---- Everything ---------------------------------------------------------------------------------------------------------------

// The library's entry for a client.
const zar_client_data &entry_of(uint32_t clid) {
  return *zar_clients_info[clid - 1];
}

class Reader {
 public:
  explicit Reader(const Repository &repository) : repository_(&repository) {}

  PolicyFile run() {
    read_clients();
    read_domains();
    read_maps(kel_clid);
    for (const uint32_t clid : repository_->clids()) {
      if (entry_of(clid).database) read_maps(clid);
    }
    keep_policy_maps();
    read_targets();
    file_.index();
    return std::move(file_);
  }

 private:
  void read_clients();
  void read_domains();
  void read_maps(uint32_t clid);
  void read_class_maps(uint32_t clid);
  void read_parameter_maps(uint32_t clid);
  void read_policy_maps(uint32_t clid);
  void keep_policy_maps();
  void note_targets(uint32_t pmap);
  void read_targets();
  Target read_target(const zar_target &record) const;
  static std::optional<Name> client_of(uint32_t clid);

  const Repository *repository_;
  PolicyFile file_;
  std::vector<ReadPolicy> policies_;
  std::vector<const zar_target *> targets_;
  std::unordered_set<uint32_t> noted_targets_;
};

// The engine is a client that files do not name.
std::optional<Name> Reader::client_of(uint32_t clid) {
  if (clid == kel_clid) return std::nullopt;
  return name_of(copy_of(entry_of(clid).name, "the name of a client"));
}

// The library may also know clients of earlier repositories.
void Reader::read_clients() {
  for (const uint32_t clid : repository_->clids())
    file_.clients.push_back({*client_of(clid), entry_of(clid).database != nullptr});
}

void Reader::read_domains() {
  for (const Domain &domain : repository_->domains()) {
    const zar_domain_entry *entry = registrations::find_domain(domain.name.value);
    expect(entry != nullptr, concat("the domain '", domain.name.value, "'"));
    file_.domains.push_back({name_of(entry->domain), client_of(entry->owner_clid)});
  }
}

void Reader::read_maps(uint32_t clid) {
  read_class_maps(clid);
  read_parameter_maps(clid);
  read_policy_maps(clid);
}

// The hidden ones belong to the statements of parameter-maps.
void Reader::read_class_maps(uint32_t clid) {
  walk(
      "the class-maps", [&](uint32_t *out) { return zar_get_first_class(clid, out); },
      [&](uint32_t current, uint32_t *out) { return zar_get_next_class(clid, current, out); },
      [&](uint32_t cmap) {
        if (zar_get_cmap_if_hidden(cmap)) return;
        ClassMap &map = file_.class_maps.emplace_back();
        map.name = name_of(copy_of(zar_get_cmap_name(cmap), "the name of a class-map"));
        map.domain = name_of(copy_of(zar_get_cmap_domain(cmap), "the domain of a class-map"));
        map.match = static_cast<ClassMatch>(zar_get_cmap_match_logical_op(cmap));
        map.filters = read_filters(clid, cmap);
      });
}

void Reader::read_parameter_maps(uint32_t clid) {
  walk(
      "the parameter-maps", [&](uint32_t *out) { return zar_get_first_pmtr_map(clid, out); },
      [&](uint32_t current, uint32_t *out) { return zar_get_next_pmtr_map(clid, current, out); },
      [&](uint32_t map) { file_.parameter_maps.push_back(read_parameter_map(clid, map)); });
}

void Reader::read_policy_maps(uint32_t clid) {
  walk(
      "the policy-maps", [&](uint32_t *out) { return zar_get_first_policy(clid, out); },
      [&](uint32_t current, uint32_t *out) { return zar_get_next_policy(clid, current, out); },
      [&](uint32_t pmap) {
        policies_.push_back(read_policy(clid, pmap));
        note_targets(pmap);
      });
}

void Reader::keep_policy_maps() {
  std::stable_sort(policies_.begin(), policies_.end(), [](const ReadPolicy &a, const ReadPolicy &b) {
    return first_id_to_give(a.event_ids) < first_id_to_give(b.event_ids);
  });
  for (ReadPolicy &policy : policies_)
    file_.policy_maps.push_back(std::move(policy.map));
}

// ---- Targets ------------------------------------------------------------------------------------------------------------------

void Reader::note_targets(uint32_t pmap) {
  const auto *record = static_cast<const zar_pmap *>(zar_handle_get_context(pmap));
  expect(record != nullptr, "a policy-map");
  for (const zar_pmap_target_ref &reference : engine::Records<zar_pmap_target_ref>(record->target_refs)) {
    if (noted_targets_.insert(reference.target->handle).second) targets_.push_back(reference.target);
  }
}

std::vector<Assignment> read_attributes(uint32_t target) {
  const engine::Attributes *attributes = engine::attributes_of(target);
  expect(attributes != nullptr, "the attributes of a target");
  std::vector<Assignment> assignments;
  for (const engine::AttributeId attribute : attributes->present())
    assignments.push_back({name_of(engine::attribute_name(attribute)), attributes->find(attribute)->text});
  // The engine lists them in the order in which it first saw them, and another file may have another order.
  std::sort(assignments.begin(), assignments.end(),
            [](const Assignment &a, const Assignment &b) { return a.attribute.value < b.attribute.value; });
  return assignments;
}

Target Reader::read_target(const zar_target &record) const {
  const client::TargetData &data = client::target_of(record);
  Target target;
  target.name = name_of(data.name);
  target.client = client_of(data.clid);
  target.attributes = read_attributes(record.handle);
  walk(
      "the policy-maps of a target",
      [&](uint32_t *out) { return zar_get_first_active_policy_on_target(record.handle, nullptr, nullptr, out); },
      [&](uint32_t current, uint32_t *out) {
        return zar_get_next_active_policy_on_target(record.handle, current, nullptr, nullptr, out);
      },
      [&](uint32_t pmap) {
        target.policies.push_back(name_of(copy_of(zar_get_pmap_name(pmap), "the name of a policy-map")));
      });
  return target;
}

void Reader::read_targets() {
  std::sort(targets_.begin(), targets_.end(), [](const zar_target *a, const zar_target *b) {
    return a->target_info->target_id < b->target_info->target_id;
  });
  for (const zar_target *target : targets_)
    file_.targets.push_back(read_target(*target));
}

}  // namespace

std::optional<PolicyFile> read(const Repository &repository, Complaints &problems) {
  try {
    return Reader(repository).run();
  } catch (const Unreadable &unreadable) {
    problems.push_back(unreadable.what);
    return std::nullopt;
  }
}

}  // namespace simulator::inventory
