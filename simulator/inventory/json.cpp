#include "simulator/inventory/json.h"

#include <limits>

namespace simulator::inventory {

namespace {

Json name_or_null(const std::optional<Name> &name) {
  return name ? Json(name->value) : Json(nullptr);
}

bool has_text(FilterKind kind) {
  return kind == FilterKind::equals || kind == FilterKind::prefix || kind == FilterKind::regex;
}

// An open end is null, and so are members that this kind of filter does not have.
Json filter_json(const Filter &filter) {
  const bool is_range = filter.kind == FilterKind::range;
  const bool has_low = is_range && filter.low != std::numeric_limits<int64_t>::min();
  const bool has_high = is_range && filter.high != std::numeric_limits<int64_t>::max();
  Json object;
  object["attribute"] = filter.attribute.value;
  object["kind"] = to_string(filter.kind);
  object["text"] = has_text(filter.kind) ? Json(filter.text) : Json(nullptr);
  object["min"] = has_low ? Json(filter.low) : Json(nullptr);
  object["max"] = has_high ? Json(filter.high) : Json(nullptr);
  object["no_match"] = filter.no_match;
  return object;
}

Json action_json(const Action &action) {
  const bool has_text = action.kind == ActionKind::set || action.kind == ActionKind::log;
  Json object;
  object["number"] = action.number;
  object["precedence"] = action.precedence;
  object["kind"] = to_string(action.kind);
  object["subject"] = action.subject.value.empty() ? Json(nullptr) : Json(action.subject.value);
  object["text"] = has_text ? Json(action.text) : Json(nullptr);
  return object;
}

template <class Element>
Json list_of(const std::vector<Element> &elements, Json (*json)(const Element &)) {
  Json list = Json::array();
  for (const Element &element : elements)
    list.push_back(json(element));
  return list;
}

Json rule_json(const Rule &rule) {
  Json object;
  object["number"] = rule.number;
  object["class"] = rule.class_map.value;
  object["execute"] = to_string(rule.execute);
  object["actions"] = list_of(rule.actions, action_json);
  return object;
}

Json event_json(const EventRules &event) {
  Json object;
  object["name"] = event.event.value;
  object["match"] = to_string(event.match);
  object["rules"] = list_of(event.rules, rule_json);
  return object;
}

Json statement_json(const Statement &statement) {
  Json object;
  object["index"] = statement.index;
  object["filters"] = list_of(statement.filters, filter_json);
  object["actions"] = list_of(statement.actions, action_json);
  return object;
}

}  // namespace

Json json_of(const Client &client) {
  Json object;
  object["name"] = client.name.value;
  object["database"] = client.own_database ? "own" : "default";
  return object;
}

Json json_of(const Domain &domain) {
  Json object;
  object["name"] = domain.name.value;
  object["owner"] = name_or_null(domain.owner);
  return object;
}

Json json_of(const ClassMap &map) {
  Json object;
  object["name"] = map.name.value;
  object["domain"] = map.domain.value;
  object["match"] = to_string(map.match);
  object["filters"] = list_of(map.filters, filter_json);
  return object;
}

Json json_of(const PolicyMap &policy) {
  Json object;
  object["name"] = policy.name.value;
  object["domain"] = policy.domain.value;
  object["events"] = list_of(policy.events, event_json);
  return object;
}

Json json_of(const ParameterMap &map) {
  Json object;
  object["name"] = map.name.value;
  object["statements"] = list_of(map.statements, statement_json);
  return object;
}

Json json_of(const Target &target) {
  Json object;
  object["name"] = target.name.value;
  object["client"] = name_or_null(target.client);
  object["attributes"] = Json::object();
  for (const Assignment &assignment : target.attributes)
    object["attributes"][assignment.attribute.value] = assignment.text;
  object["policies"] = Json::array();
  for (const Name &policy : target.policies)
    object["policies"].push_back(policy.value);
  return object;
}

namespace {

Json database_json(const std::string &owner) {
  return owner.empty() ? Json(nullptr) : Json(owner);
}

void add_relations(Json &json, const PolicyMap &policy, const Relations &relations) {
  json["database"] = database_json(relations.database_of(policy.domain.value));
  json["used_by"] = relations.targets_of_policy(policy.name.value);
}

void add_relations(Json &json, const ClassMap &map, const Relations &relations) {
  json["database"] = database_json(relations.database_of(map.domain.value));
  json["used_by"] = relations.users_of_class(map.name.value);
}

void add_relations(Json &json, const ParameterMap &map, const Relations &relations) {
  // Parameter-maps are always in the engine's database.
  json["database"] = nullptr;
  json["used_by"] = relations.users_of_parameter_map(map.name.value);
}

void add_relations(Json &json, const Target &target, const Relations &relations) {
  const Client *client = target.client ? relations.file().find_client(target.client->value) : nullptr;
  json["database"] = client && client->own_database ? Json(client->name.value) : Json(nullptr);
  json["used_by"] = Json::array();
}

}  // namespace

void add_objects(Json &list, const Relations &relations, ObjectKind kind, const std::optional<std::string> &name) {
  with_shown_objects(relations.file(), kind, [&](const auto &objects) {
    for (const auto &object : objects) {
      if (name && object.name.value != *name) continue;
      Json json;
      json["kind"] = word_of(kind).title;
      add_relations(json, object, relations);
      json["object"] = json_of(object);
      list.push_back(std::move(json));
    }
  });
}

}  // namespace simulator::inventory
