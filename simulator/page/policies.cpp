// The sections that describe the objects of the policy file.
#include <algorithm>
#include <map>

#include "simulator/graph/names.h"
#include "simulator/inventory/relations.h"
#include "simulator/page/sections.h"
#include "simulator/page/words.h"
#include "simulator/text/text.h"

namespace simulator::page {

namespace {

Html badge(const Changed &changed, const std::string &kind, const std::string &name) {
  if (!changed.has(kind, name)) return {};
  return join({text(" "), element("span", {{"class", "badge"}}, text("changed"))});
}

// What has not changed is folded where something is compared.
Fold fold_of(const Changed &changed, bool has_change) {
  return !changed.is_compared() || has_change ? Fold::open : Fold::closed;
}

// "as often as it was asked"
Html counts_of(const Filter &filter, const Figures &figures) {
  if (figures.events() == 0) return {};
  const Figures::OfFilter counts = figures.of(filter);
  const bool is_covered = counts.held > 0 && counts.did_not > 0;
  const std::string shown =
      counts.held + counts.did_not == 0 ? "never asked" : concat("held ", counts.held, ", did not ", counts.did_not);
  return element("span", {{"class", is_covered ? "counts" : "counts missed"}}, text(concat(" (", shown, ")")));
}

Html filter_list(const std::vector<Filter> &filters, const Figures &figures) {
  Html items;
  for (const Filter &filter : filters)
    items += element("li", join({words_of(filter), counts_of(filter, figures)}));
  return items.empty() ? items : element("ul", items);
}

// How the filters of a class-map are combined, and they themselves.
Html condition_of(const ClassMap &map, const Figures &figures) {
  if (map.filters.empty()) return text(map.match == ClassMatch::any ? "never: it has no filters" : "always");
  if (map.filters.size() == 1 && map.match != ClassMatch::none)
    return join({words_of(map.filters[0]), counts_of(map.filters[0], figures)});
  return join({text(concat(words_of(map.match), ":")), filter_list(map.filters, figures)});
}

Html action_list(const std::vector<Action> &actions, const PolicyFile &file) {
  if (actions.empty()) return text("nothing");
  Html items;
  for (const Action &action : actions)
    items += element("li", words_of(action, file));
  return element("ol", items);
}

class Policies {
 public:
  Policies(const Contents &contents, const Changed &changed)
      : contents_(&contents), changed_(&changed), relations_(*contents.file) {}

  Html all() const {
    Html policies;
    for (const PolicyMap &policy : contents_->file->policy_maps)
      policies += of(policy);
    return policies;
  }

 private:
  Html of(const PolicyMap &policy) const {
    const std::string &name = policy.name.value;
    bool has_change = changed_->has("policy-map", name);
    Html events;
    for (const EventRules &event : policy.events) {
      has_change |= has_change_of(policy, event);
      events += of(policy, event);
    }
    const size_t targets = relations_.targets_of_policy(name).size();
    const Html summary = join({element("h3", {{"id", graph::id_of_policy(name)}}, text(concat("policy-map ", name))),
                               badge(*changed_, "policy-map", name),
                               element("span", {{"class", "about"}},
                                       text(concat("domain ", policy.domain.value, ", active on ", targets,
                                                   targets == 1 ? " target" : " targets"))),
                               place(*contents_->file, policy.name.position)});
    return foldable(fold_of(*changed_, has_change), {{"class", "policy"}}, summary, events);
  }

  bool has_change_of(const PolicyMap &policy, const EventRules &event) const {
    return changed_->has("event", concat(policy.name.value, "/", event.event.value)) ||
           std::any_of(event.rules.begin(), event.rules.end(),
                       [&](const Rule &rule) { return changed_->has("rule", rule_name(policy, event, rule)); });
  }

  Html of(const PolicyMap &policy, const EventRules &event) const {
    const std::string name = concat(policy.name.value, "/", event.event.value);
    Table table(concat("The rules of ", name), {"Rule", "If", "Then", "Tried", "Ran", "Decided", "Place"});
    for (const Rule &rule : event.rules)
      add_row(policy, event, rule, table);
    return join({element("h4", {{"id", graph::id_of_event(policy.name.value, event.event.value)}},
                         text(concat("event ", event.event.value))),
                 badge(*changed_, "event", name),
                 element("p", {{"class", "about"}}, text(concat(words_of(event.match), "."))),
                 table.empty() ? element("p", "It has no rules.") : table.html({{"class", "rules"}})});
  }

  void add_row(const PolicyMap &policy, const EventRules &event, const Rule &rule, Table &table) const {
    const PolicyFile &file = *contents_->file;
    const Figures &figures = *contents_->figures;
    const std::string name = rule_name(policy, event, rule);
    const Figures::OfRule counts = figures.of(rule);
    const std::string &map_name = rule.class_map.value;
    const ClassMap *map = file.find_class_map(map_name);
    const Html condition =
        join({element("div", {{"class", "class"}},
                      join({link_to(graph::id_of_class(map_name), map_name), badge(*changed_, "class-map", map_name)})),
              map ? condition_of(*map, figures) : Html()});
    const std::string_view execute = words_of(rule.execute);
    const Html actions =
        join({execute.empty() ? Html() : element("div", {{"class", "about"}}, text(concat(execute, ":"))),
              action_list(rule.actions, file)});
    const bool never = figures.events() > 0 && counts.ran == 0;
    table.add_row({row_heading(join({text(std::to_string(rule.number)), badge(*changed_, "rule", name)})),
                   cell(condition), cell(actions), number_cell(counts.tried), number_cell(counts.ran),
                   number_cell(counts.decided.all()), cell(place(file, rule.position))},
                  {{"id", graph::id_of_rule(name)}, {"class", never ? "rule never" : "rule"}});
  }

  const Contents *contents_;
  const Changed *changed_;
  inventory::Relations relations_;
};

// A list of names that is folded if it is long.
Html names(const std::vector<std::string> &names, std::string_view what) {
  constexpr size_t kShown = 5;
  Html items;
  for (const std::string &name : names)
    items += element("li", name);
  const Html list = element("ul", {{"class", "names"}}, items);
  if (names.size() <= kShown) return names.empty() ? text("none") : list;
  return foldable(Fold::closed, {}, text(concat(names.size(), " ", what)), list);
}

}  // namespace

Html policies_section(const Contents &contents, const Changed &changed) {
  if (contents.file->policy_maps.empty()) return {};
  const std::string_view legend =
      contents.figures->events() == 0
          ? "There is no scenario, so nothing is counted."
          : "Tried, ran and decided: how often in the events of the scenario, raised events included. Rules that never "
            "ran are marked.";
  const Html search =
      element("label", {{"class", "search needs-script"}},
              join({text("Show only rules with "), element("input", {{"type", "search"}, {"id", "search"}}, Html())}));
  return section("policies", "What the policies do",
                 join({element("p", legend), search, element("p", {{"id", "found"}, {"role", "status"}}, Html()),
                       Policies(contents, changed).all()}));
}

Html classes_section(const Contents &contents, const Changed &changed) {
  const PolicyFile &file = *contents.file;
  if (file.class_maps.empty()) return {};
  const inventory::Relations relations(file);
  Table table("All class-maps", {"Class-map", "Matches if", "Used by rules", "Place"});
  for (const ClassMap &map : file.class_maps) {
    const std::string &name = map.name.value;
    table.add_row(
        {row_heading(join({text(name), badge(changed, "class-map", name)})), cell(condition_of(map, *contents.figures)),
         cell(names(relations.users_of_class(name), "rules")), cell(place(file, map.name.position))},
        {{"id", graph::id_of_class(name)}});
  }
  return section("classes", "When rules apply: class-maps", table.html());
}

Html parameter_maps_section(const Contents &contents, const Changed &changed) {
  const PolicyFile &file = *contents.file;
  if (file.parameter_maps.empty()) return {};
  Html all;
  for (const ParameterMap &map : file.parameter_maps) {
    const std::string &name = map.name.value;
    Table table(concat("The statements of ", name), {"Index", "If", "Then", "Matched", "Place"});
    for (const Statement &statement : map.statements) {
      const std::string of_statement = inventory::statement_name(map, statement);
      table.add_row(
          {row_heading(join({text(std::to_string(statement.index)), badge(changed, "statement", of_statement)})),
           cell(statement.filters.empty() ? text("always") : filter_list(statement.filters, *contents.figures)),
           cell(action_list(statement.actions, file)), number_cell(contents.figures->matches_of(statement)),
           cell(place(file, statement.position))},
          {{"id", graph::id_of_statement(of_statement)}});
    }
    all += join({element("h3", {{"id", graph::id_of_parameter_map(name)}}, text(concat("parameter-map ", name))),
                 table.html()});
  }
  return section("parameter-maps", "What parameter-maps set",
                 join({element("p",
                               "The first statement that matches is applied. Filters on the same attribute are "
                               "alternatives; otherwise all must hold."),
                       all}));
}

Html targets_section(const Contents &contents) {
  const PolicyFile &file = *contents.file;
  if (file.targets.empty()) return {};
  std::vector<std::string> groups;
  std::map<std::string, std::vector<std::string>> members;
  for (const Target &target : file.targets) {
    const std::string group = policies_text(target);
    if (members[group].empty()) groups.push_back(group);
    members[group].push_back(target.name.value);
  }
  Table table("Targets by their policy-maps", {"Policy-maps, in order", "Targets", "Names"});
  for (const std::string &group : groups)
    table.add_row(
        {row_heading(text(group)), number_cell(members[group].size()), cell(names(members[group], "targets"))});
  return section("targets", "Where the policies are active: targets", table.html());
}

}  // namespace simulator::page
