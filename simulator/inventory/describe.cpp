#include "simulator/inventory/describe.h"

#include <algorithm>

#include "simulator/text/columns.h"
#include "simulator/text/text.h"
#include "simulator/text/width.h"

namespace simulator::inventory {

namespace {

std::string database_text(const Relations &relations, const std::string &domain) {
  const std::string &owner = relations.database_of(domain);
  return owner.empty() ? "the default one" : concat("of client ", owner);
}

std::string client_text(const std::optional<Name> &client) {
  return client ? client->value : "the engine";
}

std::string filter_lines(const std::vector<Filter> &filters, std::string_view indent) {
  std::string text;
  for (const Filter &filter : filters)
    text += concat(indent, filter.no_match ? "no-match " : "match ", to_string(filter), "\n");
  return text;
}

std::string action_lines(const std::vector<Action> &actions, std::string_view indent) {
  std::string text;
  for (const Action &action : actions) {
    text += concat(indent, action.number, " ", to_string(action));
    if (action.precedence != 0) text += concat(", precedence ", action.precedence);
    text += "\n";
  }
  return text;
}

std::string rule_lines(const Rule &rule, const PolicyFile &file) {
  const ClassMap *map = file.find_class_map(rule.class_map.value);
  return concat("    rule ", rule.number, ", class-map ", rule.class_map.value, " ", map ? to_string(map->match) : "",
                ", ", to_string(rule.execute), "\n", action_lines(rule.actions, "      "));
}

std::string text_of_object(const PolicyMap &policy, const Relations &relations) {
  std::string text = concat("policy-map ", policy.name.value, "\n  domain: ", policy.domain.value,
                            "\n  database: ", database_text(relations, policy.domain.value),
                            "\n  active on: ", listed(relations.targets_of_policy(policy.name.value)), "\n");
  for (const EventRules &event : policy.events) {
    text += concat("  event ", event.event.value, " ", to_string(event.match), "\n");
    for (const Rule &rule : event.rules)
      text += rule_lines(rule, relations.file());
  }
  return text;
}

std::string text_of_object(const ClassMap &map, const Relations &relations) {
  return concat("class-map ", map.name.value, " ", to_string(map.match), "\n  domain: ", map.domain.value,
                "\n  database: ", database_text(relations, map.domain.value),
                "\n  used by: ", listed(relations.users_of_class(map.name.value)), "\n",
                filter_lines(map.filters, "  "));
}

std::string text_of_object(const ParameterMap &map, const Relations &relations) {
  std::string text = concat("parameter-map ", map.name.value,
                            "\n  applied by: ", listed(relations.users_of_parameter_map(map.name.value)), "\n");
  for (const Statement &statement : map.statements) {
    text += concat("  statement ", statement.index, "\n", filter_lines(statement.filters, "    "),
                   action_lines(statement.actions, "    "));
  }
  return text;
}

std::string text_of_object(const Target &target, const Relations &) {
  std::string text = concat("target ", target.name.value, "\n  client: ", client_text(target.client), "\n");
  for (const Assignment &assignment : target.attributes)
    text += concat("  attribute ", assignment.attribute.value, ": ", as_word(assignment.text), "\n");
  for (size_t at = 0; at < target.policies.size(); ++at)
    text += concat("  policy-map ", at + 1, ": ", target.policies[at].value, "\n");
  return text;
}

}  // namespace

std::string describe(const Relations &relations, ObjectKind kind, const std::optional<std::string> &name) {
  std::string text;
  with_shown_objects(relations.file(), kind, [&](const auto &objects) {
    for (const auto &object : objects) {
      if (name && object.name.value != *name) continue;
      if (!text.empty()) text += "\n";
      text += text_of_object(object, relations);
    }
  });
  return text;
}

// ---- The overview ---------------------------------------------------------------------------------------------------------------

namespace {

using Row = std::vector<std::string>;

std::vector<size_t> widths_of(const std::vector<Row> &rows) {
  std::vector<size_t> widths;
  for (const Row &row : rows) {
    widths.resize(std::max(widths.size(), row.size()));
    for (size_t at = 0; at < row.size(); ++at)
      widths[at] = std::max(widths[at], columns_of(row[at]));
  }
  return widths;
}

// Aligned columns under a heading, or nothing when there are no rows. The first row holds the column titles.
std::string table(const std::string &heading, const std::vector<Row> &rows) {
  if (rows.size() == 1) return "";
  const std::vector<size_t> widths = widths_of(rows);
  std::string text = heading + "\n";
  for (const Row &row : rows) {
    std::string line;
    for (size_t at = 0; at < row.size(); ++at)
      line += "  " + padded(row[at], widths[at]);
    text += line.substr(0, line.find_last_not_of(' ') + 1) + "\n";
  }
  return text;
}

std::string database_word(const Relations &relations, const std::string &domain) {
  const std::string &owner = relations.database_of(domain);
  return owner.empty() ? "default" : owner;
}

std::string clients_table(const PolicyFile &file) {
  std::vector<Row> rows = {{"NAME", "DATABASE"}};
  for (const Client &client : file.clients)
    rows.push_back({client.name.value, client.own_database ? "own" : "default"});
  return table("clients", rows);
}

std::string domains_table(const PolicyFile &file, const Relations &relations) {
  std::vector<Row> rows = {{"NAME", "OWNER", "DATABASE"}};
  for (const Domain &domain : file.domains)
    rows.push_back({domain.name.value, client_text(domain.owner), database_word(relations, domain.name.value)});
  return table("domains", rows);
}

std::string policies_table(const PolicyFile &file, const Relations &relations) {
  std::vector<Row> rows = {{"NAME", "DOMAIN", "DATABASE", "EVENTS", "RULES", "TARGETS"}};
  for (const PolicyMap &policy : file.policy_maps) {
    size_t rules = 0;
    for (const EventRules &event : policy.events)
      rules += event.rules.size();
    rows.push_back({policy.name.value, policy.domain.value, database_word(relations, policy.domain.value),
                    std::to_string(policy.events.size()), std::to_string(rules),
                    std::to_string(relations.targets_of_policy(policy.name.value).size())});
  }
  return table("policy-maps", rows);
}

std::string classes_table(const PolicyFile &file, const Relations &relations) {
  std::vector<Row> rows = {{"NAME", "DOMAIN", "DATABASE", "MATCH", "FILTERS", "RULES"}};
  for (const ClassMap &map : file.class_maps) {
    rows.push_back({map.name.value, map.domain.value, database_word(relations, map.domain.value), to_string(map.match),
                    std::to_string(map.filters.size()),
                    std::to_string(relations.users_of_class(map.name.value).size())});
  }
  return table("class-maps", rows);
}

std::string parameter_maps_table(const PolicyFile &file, const Relations &relations) {
  std::vector<Row> rows = {{"NAME", "STATEMENTS", "ATTRIBUTES", "USERS"}};
  for (const ParameterMap &map : file.parameter_maps) {
    rows.push_back({map.name.value, std::to_string(map.statements.size()), listed(map.attributes),
                    std::to_string(relations.users_of_parameter_map(map.name.value).size())});
  }
  return table("parameter-maps", rows);
}

std::string targets_table(const PolicyFile &file) {
  std::vector<Row> rows = {{"NAME", "CLIENT", "ATTRIBUTES", "POLICY-MAPS"}};
  for (const Target &target : file.targets) {
    std::vector<std::string> policies;
    for (const Name &policy : target.policies)
      policies.push_back(policy.value);
    rows.push_back(
        {target.name.value, client_text(target.client), std::to_string(target.attributes.size()), listed(policies)});
  }
  return table("targets", rows);
}

}  // namespace

std::string overview(const Relations &relations) {
  const PolicyFile &file = relations.file();
  std::string text;
  for (const std::string &section :
       {clients_table(file), domains_table(file, relations), policies_table(file, relations),
        classes_table(file, relations), parameter_maps_table(file, relations), targets_table(file)}) {
    if (!text.empty() && !section.empty()) text += "\n";
    text += section;
  }
  return text;
}

}  // namespace simulator::inventory
