// The sections of a policy file about class-maps, policy-maps and parameter-maps.
#include <algorithm>
#include <unordered_set>

#include "engine/engine.h"
#include "simulator/policy/load_parts.h"
#include "simulator/text/text.h"

namespace simulator {

namespace {

// A missing domain is filled in once all domains are known.
Name read_domain(const Reader &reader, const Fields &fields) {
  const yaml::Node *domain = fields.find("domain");
  if (!domain) return {};
  return reader.name(*domain, "a domain's name", NameKind::domain).value_or(Name{"", domain->position});
}

// A number that could not be read is 0 and was already reported.
void check_number_is_new(const Reader &reader, FirstPositions<uint32_t> &numbers, uint32_t number, Position position,
                         std::string_view what) {
  if (number == 0) return;
  const std::optional<Position> earlier = numbers.earlier(number, position);
  if (!earlier) return;
  reader.diagnostics().add(position, concat("duplicate ", what, " ", number),
                           concat("each number once; the first is in line ", earlier->line), {}, *earlier);
}

}  // namespace

void read_class_maps(const Reader &reader, const yaml::Node &node, PolicyFile &file) {
  reader.named(node, "a class-map's name", NameKind::map, [&](Name name, const yaml::Node &body) {
    ClassMap map{.name = std::move(name)};
    const Fields fields(body, "a class-map", {"domain", "match", "filters"}, reader.diagnostics());
    map.domain = read_domain(reader, fields);
    if (const yaml::Node *match = fields.find("match")) {
      map.match =
          reader
              .choice<ClassMatch>(*match, "the match criteria of a class-map",
                                  {{"all", ClassMatch::all}, {"any", ClassMatch::any}, {"none", ClassMatch::none}})
              .value_or(ClassMatch::all);
    }
    if (const yaml::Node *filters = fields.find("filters")) map.filters = read_filters(reader, *filters);
    file.class_maps.push_back(std::move(map));
  });
}

namespace {

Rule read_rule(const Reader &reader, const yaml::Node &node) {
  Rule rule{.position = node.position};
  const Fields fields(node, "a rule", {"number", "class", "execute", "actions"}, reader.diagnostics());
  if (const yaml::Node *number = fields.require("number")) {
    rule.position = number->position;
    rule.number = static_cast<uint32_t>(reader.number(*number, "a rule's number", 1, 255).value_or(0));
  }
  if (const yaml::Node *name = fields.require("class")) {
    rule.class_map = reader.name(*name, "a class-map's name").value_or(Name{});
  }
  if (const yaml::Node *execute = fields.find("execute")) {
    rule.execute = reader
                       .choice<Execute>(*execute, "the exec criteria of a rule",
                                        {{"run-all", Execute::run_all},
                                         {"stop-on-failure", Execute::stop_on_failure},
                                         {"stop-on-success", Execute::stop_on_success}})
                       .value_or(Execute::stop_on_failure);
  }
  if (const yaml::Node *actions = fields.require("actions")) rule.actions = read_actions(reader, *actions);
  return rule;
}

// The repository keeps one rule per class-map and event.
void check_class_is_new(const Reader &reader, FirstPositions<std::string> &classes, const Name &name) {
  if (name.value.empty()) return;
  const std::optional<Position> earlier = classes.earlier(name.value, name.position);
  if (!earlier) return;
  reader.diagnostics().add(name.position, concat("class-map '", name.value, "' has a rule already"),
                           concat("one rule for a class-map in an event; the first is in line ", earlier->line), {},
                           *earlier);
}

EventRules read_event(const Reader &reader, Name event, const yaml::Node &body) {
  EventRules rules{.event = std::move(event)};
  const Fields fields(body, "an event", {"match", "rules"}, reader.diagnostics());
  if (const yaml::Node *match = fields.find("match")) {
    rules.match = reader
                      .choice<EventMatch>(*match, "the match criteria of an event",
                                          {{"all", EventMatch::all}, {"first", EventMatch::first}})
                      .value_or(EventMatch::all);
  }
  if (const yaml::Node *list = fields.require("rules")) {
    FirstPositions<uint32_t> numbers;
    FirstPositions<std::string> classes;
    reader.list(*list, "the list of rules", [&](const yaml::Node &item) {
      Rule rule = read_rule(reader, item);
      check_number_is_new(reader, numbers, rule.number, rule.position, "rule number");
      check_class_is_new(reader, classes, rule.class_map);
      rules.rules.push_back(std::move(rule));
    });
  }
  return rules;
}

}  // namespace

void read_policy_maps(const Reader &reader, const yaml::Node &node, PolicyFile &file) {
  reader.named(node, "a policy-map's name", NameKind::map, [&](Name name, const yaml::Node &body) {
    PolicyMap map{.name = std::move(name)};
    const Fields fields(body, "a policy-map", {"domain", "events"}, reader.diagnostics());
    map.domain = read_domain(reader, fields);
    if (const yaml::Node *events = fields.require("events")) {
      reader.named(*events, "an event's name", NameKind::map, [&](Name event, const yaml::Node &rules) {
        map.events.push_back(read_event(reader, std::move(event), rules));
      });
    }
    file.policy_maps.push_back(std::move(map));
  });
}

namespace {

Statement read_statement(const Reader &reader, const yaml::Node &node) {
  Statement statement{.position = node.position};
  const Fields fields(node, "a statement", {"index", "filters", "actions"}, reader.diagnostics());
  if (const yaml::Node *index = fields.require("index")) {
    statement.position = index->position;
    statement.index = static_cast<uint32_t>(reader.number(*index, "a map-index", 1, 65535).value_or(0));
  }
  if (const yaml::Node *filters = fields.require("filters")) {
    statement.filters = read_filters(reader, *filters);
    const bool is_list = filters->kind == yaml::Kind::sequence || filters->kind == yaml::Kind::null;
    if (is_list && filters->items.empty()) {
      reader.diagnostics().add(filters->position, "a statement without filters never matches", "at least one filter");
    }
  }
  if (const yaml::Node *actions = fields.require("actions")) statement.actions = read_actions(reader, *actions);
  return statement;
}

// A no-match filter cannot be combined with other filters of the same attribute: if an attribute has several filters,
// one of them has to hold.
void check_no_match_stands_alone(const Reader &reader, const std::vector<Filter> &filters) {
  std::unordered_map<std::string_view, size_t> filters_of;
  for (const Filter &filter : filters) {
    ++filters_of[filter.attribute.value];
  }
  for (const Filter &filter : filters) {
    if (!filter.no_match || filter.attribute.value.empty() || filters_of[filter.attribute.value] == 1) continue;
    reader.diagnostics().add(filter.position,
                             concat("a no-match filter beside others of attribute '", filter.attribute.value, "'"),
                             "a no-match filter as the only one of its attribute in a statement");
  }
}

void collect_attributes(const Reader &reader, ParameterMap &map) {
  std::unordered_set<std::string_view> seen;
  for (const Statement &statement : map.statements) {
    for (const Filter &filter : statement.filters) {
      const std::string &name = filter.attribute.value;
      if (name.empty() || !seen.insert(name).second) continue;
      map.attributes.push_back(name);
      if (seen.size() <= engine::kFilterTypes) continue;
      reader.diagnostics().add(
          filter.position, concat("'", name, "' is attribute number ", seen.size(), " that the parameter-map tests"),
          concat("at most ", engine::kFilterTypes, " different attributes in a parameter-map"));
    }
  }
}

}  // namespace

void read_parameter_maps(const Reader &reader, const yaml::Node &node, PolicyFile &file) {
  reader.named(node, "a parameter-map's name", NameKind::map, [&](Name name, const yaml::Node &body) {
    ParameterMap map{.name = std::move(name)};
    const Fields fields(body, "a parameter-map", {"statements"}, reader.diagnostics());
    if (const yaml::Node *list = fields.require("statements")) {
      FirstPositions<uint32_t> indices;
      reader.list(*list, "the list of statements", [&](const yaml::Node &item) {
        Statement statement = read_statement(reader, item);
        check_number_is_new(reader, indices, statement.index, statement.position, "map-index");
        check_no_match_stands_alone(reader, statement.filters);
        map.statements.push_back(std::move(statement));
      });
    }
    std::stable_sort(map.statements.begin(), map.statements.end(),
                     [](const Statement &a, const Statement &b) { return a.index < b.index; });
    // In the order of the map-indices, so that the filter types do not depend on the order of the statements in the
    // file.
    collect_attributes(reader, map);
    file.parameter_maps.push_back(std::move(map));
  });
}

}  // namespace simulator
