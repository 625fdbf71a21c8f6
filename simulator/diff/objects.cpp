#include "simulator/diff/objects.h"

#include <algorithm>
#include <set>
#include <unordered_map>

#include "simulator/text/text.h"

namespace simulator::diff {

namespace {

Property single(std::string name, std::string value) {
  return {std::move(name), {std::move(value)}};
}

Property list(std::string name, std::vector<std::string> values) {
  // The order has no meaning here; sorting makes lists comparable.
  std::sort(values.begin(), values.end());
  return {std::move(name), std::move(values), true, false};
}

Property ordered_list(std::string name, std::vector<std::string> values) {
  return {std::move(name), std::move(values), true, true};
}

template <class Element, class Text>
std::vector<std::string> texts_of(const std::vector<Element> &elements, Text text) {
  std::vector<std::string> texts;
  for (const Element &element : elements)
    texts.push_back(text(element));
  return texts;
}

std::string text_of_action(const Action &action) {
  return to_string(action) + (action.precedence != 0 ? concat(", precedence ", action.precedence) : "");
}

std::vector<std::string> texts_of_actions(std::vector<Action> actions) {
  std::stable_sort(actions.begin(), actions.end(),
                   [](const Action &a, const Action &b) { return a.number < b.number; });
  return texts_of(actions, text_of_action);
}

std::string owner_text(const std::optional<Name> &client) {
  return client ? client->value : "the engine";
}

void add_policy(const PolicyMap &policy, std::vector<Object> &objects) {
  objects.push_back(
      {"policy-map", policy.name.value, "", policy.name.position, {single("domain", policy.domain.value)}});
  for (const EventRules &event : policy.events) {
    const std::string name = concat(policy.name.value, "/", event.event.value);
    objects.push_back({"event", name, "", event.event.position, {single("match", to_string(event.match))}});
    for (const Rule &rule : event.rules) {
      objects.push_back(
          {"rule",
           rule_name(policy, event, rule),
           concat(name, " ", rule.class_map.value),
           rule.position,
           {single("number", std::to_string(rule.number)), single("class-map", rule.class_map.value),
            single("execute", to_string(rule.execute)), ordered_list("actions", texts_of_actions(rule.actions))}});
    }
  }
}

void add_parameter_map(const ParameterMap &map, std::vector<Object> &objects) {
  objects.push_back({"parameter-map", map.name.value, "", map.name.position, {}});
  for (const Statement &statement : map.statements) {
    Property filters = list("filters", texts_of(statement.filters, filter_text));
    Property actions = ordered_list("actions", texts_of_actions(statement.actions));
    std::string contents = concat(map.name.value, " ", listed(filters.values), ": ", listed(actions.values));
    objects.push_back({"statement",
                       concat(map.name.value, "/", statement.index),
                       std::move(contents),
                       statement.position,
                       {std::move(filters), std::move(actions)},
                       map.name.value,
                       std::to_string(statement.index)});
  }
}

}  // namespace

std::vector<Object> objects_of(const PolicyFile &file) {
  std::vector<Object> objects;
  for (const Client &client : file.clients) {
    objects.push_back({"client",
                       client.name.value,
                       "",
                       client.name.position,
                       {single("database", client.own_database ? "own" : "default")}});
  }
  for (const Domain &domain : file.domains) {
    objects.push_back(
        {"domain", domain.name.value, "", domain.name.position, {single("owner", owner_text(domain.owner))}});
  }
  for (const ClassMap &map : file.class_maps) {
    objects.push_back({"class-map",
                       map.name.value,
                       "",
                       map.name.position,
                       {single("domain", map.domain.value), single("match", to_string(map.match)),
                        list("filters", texts_of(map.filters, filter_text))}});
  }
  for (const PolicyMap &policy : file.policy_maps)
    add_policy(policy, objects);
  for (const ParameterMap &map : file.parameter_maps)
    add_parameter_map(map, objects);
  for (const Target &target : file.targets) {
    objects.push_back(
        {"target",
         target.name.value,
         "",
         target.name.position,
         {single("client", owner_text(target.client)),
          list("attributes",
               texts_of(target.attributes,
                        [](const Assignment &a) { return concat(a.attribute.value, " ", as_word(a.text)); })),
          ordered_list("policies", texts_of(target.policies, [](const Name &name) { return name.value; }))}});
  }
  return objects;
}

namespace {

// The texts in 'from' that are not in 'other'; repeated texts count each time.
std::vector<std::string> missing_in(const std::vector<std::string> &other, const std::vector<std::string> &from) {
  std::multiset<std::string_view> there(other.begin(), other.end());
  std::vector<std::string> missing;
  for (const std::string &text : from) {
    const auto found = there.find(text);
    if (found == there.end()) {
      missing.push_back(text);
    } else {
      there.erase(found);
    }
  }
  return missing;
}

Difference difference_of(const Property &before, const Property &after) {
  if (!before.is_list) return {before.name, before.values, after.values};
  std::vector<std::string> gone = missing_in(after.values, before.values);
  std::vector<std::string> come = missing_in(before.values, after.values);
  if (gone.empty() && come.empty()) return {before.name, before.values, after.values, true, true};
  return {before.name, std::move(gone), std::move(come), true, false};
}

std::vector<Difference> differences_of(const Object &before, const Object &after) {
  std::vector<Difference> differences;
  for (size_t at = 0; at < before.properties.size(); ++at) {
    if (before.properties[at] == after.properties[at]) continue;
    differences.push_back(difference_of(before.properties[at], after.properties[at]));
  }
  return differences;
}

class Comparison {
 public:
  Comparison(const PolicyFile &before, const PolicyFile &after, const Renames &renames)
      : before_(objects_of(renamed(before, renames))),
        after_(objects_of(after)),
        pair_of_(before_.size(), kNone),
        paired_(after_.size()),
        old_names_(names_of_all(objects_of(before))) {
    for (const Rename &rename : renames.all())
      changes_.push_back({object_of(rename, rename.before), object_of(rename, rename.after), {}});
  }

  std::vector<ObjectChange> run() {
    pair_by([](const Object &object) { return concat(object.kind, " ", object.name); });
    pair_by([](const Object &object) {
      return object.second_name.empty() ? "" : concat(object.kind, " ", object.second_name);
    });
    find_reordered_maps();
    collect();
    return std::move(changes_);
  }

 private:
  static constexpr size_t kNone = SIZE_MAX;

  static Object object_of(const Rename &rename, const Name &name) {
    return {kind_text(rename.kind), name.value, "", name.position, {}};
  }

  static std::vector<std::string> names_of_all(std::vector<Object> objects) {
    std::vector<std::string> names;
    for (Object &object : objects)
      names.push_back(std::move(object.name));
    return names;
  }

  // The parameter-maps in which renumbered statements have overtaken others. Statements are listed in their order.
  void find_reordered_maps() {
    size_t last = 0;
    for (size_t at = 0; at < before_.size(); ++at) {
      if (before_[at].map.empty() || pair_of_[at] == kNone) continue;
      const bool same_map = last != 0 && after_[last - 1].map == before_[at].map;
      if (same_map && pair_of_[at] < last) reordered_.insert(before_[at].map);
      last = std::max(same_map ? last : 0, pair_of_[at] + 1);
    }
  }

  std::vector<Difference> differences_at(size_t at) const {
    const Object &before = before_[at];
    const Object &after = after_[pair_of_[at]];
    std::vector<Difference> differences = differences_of(before, after);
    if (before.index != after.index && reordered_.contains(before.map))
      differences.push_back({"index", {before.index}, {after.index}});
    return differences;
  }

  // The objects that stay as they are get back the name that the old file has for them.
  Object take_before(size_t at) {
    before_[at].name = std::move(old_names_[at]);
    return std::move(before_[at]);
  }

  template <class Key>
  void pair_by(Key key) {
    std::unordered_map<std::string, size_t> there;
    for (size_t at = 0; at < after_.size(); ++at) {
      if (!paired_[at]) there.emplace(key(after_[at]), at);
    }
    for (size_t at = 0; at < before_.size(); ++at) {
      const std::string of = key(before_[at]);
      const auto found = pair_of_[at] == kNone && !of.empty() ? there.find(of) : there.end();
      if (found == there.end()) continue;
      pair_of_[at] = found->second;
      paired_[found->second] = true;
      there.erase(found);
    }
  }

  void collect() {
    for (size_t at = 0; at < before_.size(); ++at) {
      if (pair_of_[at] == kNone) {
        changes_.push_back({take_before(at), {}, {}});
        continue;
      }
      Object &after = after_[pair_of_[at]];
      std::vector<Difference> differences = differences_at(at);
      if (!differences.empty() || before_[at].name != after.name) {
        changes_.push_back({take_before(at), std::move(after), std::move(differences)});
      }
    }
    for (size_t at = 0; at < after_.size(); ++at) {
      if (!paired_[at]) changes_.push_back({{}, std::move(after_[at]), {}});
    }
  }

  std::vector<Object> before_;
  std::vector<Object> after_;
  std::vector<size_t> pair_of_;         // for each of 'before_': its index in 'after_'
  std::vector<bool> paired_;            // for each of 'after_'
  std::vector<std::string> old_names_;  // for each of 'before_', which has the names of the new file
  std::set<std::string> reordered_;     // parameter-maps
  std::vector<ObjectChange> changes_;
};

}  // namespace

std::vector<ObjectChange> compare(const PolicyFile &before, const PolicyFile &after, const Renames &renames) {
  return Comparison(before, after, renames).run();
}

}  // namespace simulator::diff
