// The checks of a policy file that need more than its structure.
#include <algorithm>
#include <span>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "engine/engine.h"
#include "simulator/policy/attributes.h"
#include "simulator/policy/kinds.h"
#include "simulator/policy/load_parts.h"
#include "simulator/text/text.h"

namespace simulator {

namespace {

// The repository names the hidden class-map of a statement with this prefix, the parameter-map's name and the
// map-index.
constexpr std::string_view kHiddenPrefix = "__PMTR__";

// The repository searches all clients for each new client, and all domains for each new domain.
constexpr size_t kMostClients = 1000;
constexpr size_t kMostDomains = 1000;

class Resolver {
 public:
  Resolver(PolicyFile &file, const FileExtent &first, Diagnostics &diagnostics)
      : file_(&file), first_(first), diagnostics_(&diagnostics), is_well_formed_(diagnostics.empty()) {}

  void run() {
    check_domains();
    check_class_maps();
    check_parameter_maps();
    check_policy_maps();
    check_targets();
    check_scenario();
    check_tests();
    check_claims();
    check_counts();
    report_unknown();
  }

 private:
  // A name that means nothing. One that is used often is still one mistake.
  struct Unknown {
    ObjectKind kind;
    Name name;         // where it is used first
    std::string user;  // by whom: "rule p/e/1"
    size_t more = 0;   // further uses
  };
  struct UnknownEvent {
    Name name;
    size_t more = 0;
  };

  void unknown(const Name &name, ObjectKind kind, const std::string &user);
  void unknown_event(const Name &name);
  void report_unknown();
  void report(const Unknown &unknown);
  void report(const UnknownEvent &unknown);

  void check_client(const std::optional<Name> &name, std::string_view kind, const Name &user);
  void fill_domain(Name &domain, std::string_view title, const Name &map);
  const std::string *database_of(const Name &domain) const;

  void check_domains();
  void check_class_maps();
  void check_parameter_maps();
  void check_hidden_names(const ParameterMap &map);
  const Statement *earlier_namesake(const ParameterMap &map, std::string_view name) const;
  void check_policy_maps();
  void check_class_of(const Rule &rule, const EventRules &event, const PolicyMap &policy);
  template <class User>
  void check_actions(const std::vector<Action> &actions, User user);
  void check_targets();
  void check_policies(const std::vector<Name> &names, const std::string &user);
  void check_scenario();
  void check_step(const Step &step, const std::string &user);
  void check_tests();
  template <class Each>
  void for_each_expectation(Each each) const;
  void check_expected_rules();
  void check_expected_attributes();
  void check_claims();
  std::vector<std::string> rule_names() const;
  void check_rules(const std::vector<Name> &rules);
  void check_attributes(const std::vector<Name> &attributes);
  void check_event(const Name &event);
  void check_counts();
  void check_attribute_count();
  void check_handle_count();

  template <class Object>
  static std::span<Object> from(std::vector<Object> &objects, size_t first) {
    return std::span(objects).subspan(first);
  }

  PolicyFile *file_;
  FileExtent first_;
  Diagnostics *diagnostics_;
  bool is_well_formed_;  // nothing was wrong with the structure of the file
  bool misses_domains_ = false;
  std::vector<Unknown> unknown_;
  std::vector<UnknownEvent> unknown_events_;
  std::unordered_map<std::string, size_t> at_unknown_;  // by kind and name
};

// A name that could not be read is empty and was already reported.
bool was_read(const Name &name) {
  return !name.value.empty();
}

void Resolver::unknown(const Name &name, ObjectKind kind, const std::string &user) {
  const auto [found, is_new] = at_unknown_.emplace(concat(word_of(kind).word, " ", name.value), unknown_.size());
  if (is_new) {
    unknown_.push_back({kind, name, user});
  } else {
    ++unknown_[found->second].more;
  }
}

void Resolver::unknown_event(const Name &name) {
  const auto [found, is_new] = at_unknown_.emplace(concat("event ", name.value), unknown_events_.size());
  if (is_new) {
    unknown_events_.push_back({name});
  } else {
    ++unknown_events_[found->second].more;
  }
}

void Resolver::report_unknown() {
  for (const Unknown &unknown : unknown_)
    report(unknown);
  // An event that a broken policy-map should handle is not a mistake of its own.
  const bool some_are_lost =
      !is_well_formed_ && std::any_of(file_->policy_maps.begin(), file_->policy_maps.end(),
                                      [](const PolicyMap &policy) { return policy.events.empty(); });
  if (some_are_lost) return;
  for (const UnknownEvent &unknown : unknown_events_)
    report(unknown);
}

std::string others(size_t count) {
  if (count == 0) return {};
  return concat(" and ", count, count == 1 ? " other" : " others");
}

void Resolver::report(const Unknown &unknown) {
  const std::string_view title = word_of(unknown.kind).title;
  const std::string &name = unknown.name.value;
  std::vector<std::string_view> known;
  if (!diagnostics_->too_many()) known = names_of(*file_, unknown.kind);
  diagnostics_->add(unknown.name.position,
                    concat(title, " '", name, "' is used by ", unknown.user, others(unknown.more), ", but not defined"),
                    concat("the name of a ", title, " of this file"), nearest(name, known));
}

void Resolver::report(const UnknownEvent &unknown) {
  std::vector<std::string_view> known;
  if (!diagnostics_->too_many()) known.assign(file_->events.begin(), file_->events.end());
  const std::string more = unknown.more == 0 ? "" : concat(", which is used ", unknown.more + 1, " times");
  diagnostics_->add(unknown.name.position, concat("no policy-map handles the event '", unknown.name.value, "'", more),
                    "an event that a policy-map has under 'events'", nearest(unknown.name.value, known));
}

void Resolver::check_client(const std::optional<Name> &name, std::string_view kind, const Name &user) {
  if (!name || file_->find_client(name->value)) return;
  unknown(*name, ObjectKind::client, concat(kind, " ", user.value));
}

void Resolver::check_counts() {
  const auto check = [&](size_t count, size_t most, std::string_view what) {
    if (count <= most) return;
    diagnostics_->add({}, concat("the file has ", count, " ", what), concat("at most ", most));
  };
  check(file_->clients.size(), kMostClients, "clients");
  check(file_->domains.size(), kMostDomains, "domains");
  check_attribute_count();
  check_handle_count();
}

void Resolver::check_domains() {
  for (const Domain &domain : from(file_->domains, first_.domains)) {
    check_client(domain.owner, "domain", domain.name);
  }
}

// A map that names no domain belongs to the only domain.
void Resolver::fill_domain(Name &domain, std::string_view title, const Name &map) {
  const bool given = domain.position.line != 0;
  if (given) {
    if (was_read(domain) && !file_->find_domain(domain.value))
      unknown(domain, ObjectKind::domain, concat(title, " ", map.value));
  } else if (file_->domains.size() == 1) {
    domain = {file_->domains[0].name.value, map.position};
  } else if (!file_->domains.empty() || (is_well_formed_ && !misses_domains_)) {
    // Where there is no domain at all, one is missing, not one for each map.
    misses_domains_ = true;
    diagnostics_->add(
        map.position, concat("'", map.value, "' has no domain"),
        file_->domains.empty() ? "a domain under 'domains'" : "the key domain, as the file has several domains");
  }
}

void Resolver::check_class_maps() {
  for (ClassMap &map : from(file_->class_maps, first_.class_maps)) {
    fill_domain(map.domain, "class-map", map.name);
    if (map.name.value.starts_with(kHiddenPrefix)) {
      diagnostics_->add(map.name.position, concat("'", map.name.value, "' cannot be a class-map's name"),
                        concat("a name that does not begin with ", kHiddenPrefix));
    }
  }
}

void Resolver::check_parameter_maps() {
  if (first_.parameter_maps == file_->parameter_maps.size()) return;
  for (const ParameterMap &map : from(file_->parameter_maps, first_.parameter_maps)) {
    for (const Statement &statement : map.statements) {
      check_actions(statement.actions, [&] { return concat("statement ", map.name.value, "/", statement.index); });
    }
    check_hidden_names(map);
  }
}

// Nothing separates the name of the parameter-map from the map-index, so map1 with 23 and map12 with 3 collide.
void Resolver::check_hidden_names(const ParameterMap &map) {
  uint32_t last = 0;
  for (const Statement &statement : map.statements) {
    // A duplicate map-index was already reported; equal ones are neighbours.
    if (statement.index == std::exchange(last, statement.index)) continue;
    const std::string name = concat(map.name.value, statement.index);
    const Statement *earlier = earlier_namesake(map, name);
    if (!earlier) continue;
    diagnostics_->add(statement.position,
                      concat("map-index ", statement.index, " gives the hidden class-map ", kHiddenPrefix, name,
                             " that line ", earlier->position.line, " has already"),
                      "another map-index or parameter-map name", {}, earlier->position);
  }
}

// NULL when there is none. 'index' is as in a hidden name.
const Statement *find_statement(const ParameterMap &map, std::string_view index) {
  const std::optional<int64_t> number = engine::parse_number(index);
  if (!number || std::to_string(*number) != index) return nullptr;
  const auto found = std::lower_bound(map.statements.begin(), map.statements.end(), *number,
                                      [](const Statement &each, int64_t wanted) { return each.index < wanted; });
  return found != map.statements.end() && found->index == *number ? &*found : nullptr;
}

// The statement of an earlier parameter-map with the same hidden name; NULL when there is none. Every way to split the
// name is looked up, so that the other parameter-maps need not be searched.
const Statement *Resolver::earlier_namesake(const ParameterMap &map, std::string_view name) const {
  const Statement *earliest = nullptr;
  const ParameterMap *owner = &map;
  for (size_t at = name.find_last_not_of("0123456789") + 1; at < name.size(); ++at) {
    const ParameterMap *other = file_->find_parameter_map(name.substr(0, at));
    const Statement *statement = other && other < owner ? find_statement(*other, name.substr(at)) : nullptr;
    if (!statement) continue;
    earliest = statement;
    owner = other;
  }
  return earliest;
}

// The database that holds the maps of a domain: the owner's name, or the engine's for the default one; NULL when the
// domain or its owner is unknown.
const std::string *Resolver::database_of(const Name &domain) const {
  static const std::string kDefault = engine::kClientName;
  const Domain *found = file_->find_domain(domain.value);
  if (!found) return nullptr;
  if (!found->owner) return &kDefault;
  const Client *owner = file_->find_client(found->owner->value);
  if (!owner) return nullptr;
  return owner->own_database ? &owner->name.value : &kDefault;
}

void Resolver::check_policy_maps() {
  for (PolicyMap &policy : from(file_->policy_maps, first_.policy_maps)) {
    fill_domain(policy.domain, "policy-map", policy.name);
    if (policy.name.value == builtin_autoconf_policy) {
      diagnostics_->add(policy.name.position, concat("'", policy.name.value, "' cannot be a policy-map's name"),
                        "another name: the built-in policy-map is never given back");
    }
    for (const EventRules &event : policy.events) {
      for (const Rule &rule : event.rules) {
        check_class_of(rule, event, policy);
        check_actions(rule.actions, [&] { return concat("rule ", rule_name(policy, event, rule)); });
      }
    }
  }
}

void Resolver::check_class_of(const Rule &rule, const EventRules &event, const PolicyMap &policy) {
  if (!was_read(rule.class_map)) return;
  const ClassMap *map = file_->find_class_map(rule.class_map.value);
  if (!map) return unknown(rule.class_map, ObjectKind::class_map, concat("rule ", rule_name(policy, event, rule)));

  const std::string *of_class = database_of(map->domain);
  const std::string *of_policy = database_of(policy.domain);
  if (!of_class || !of_policy || *of_class == *of_policy) return;
  diagnostics_->add(rule.class_map.position,
                    concat("class-map '", map->name.value, "' is in the database of client '", *of_class, "'"),
                    concat("a class-map in the database of the policy-map, that of client '", *of_policy, "'"));
}

void Resolver::check_event(const Name &event) {
  if (was_read(event) && file_->event_id(event.value) == 0) unknown_event(event);
}

// 'user' returns who has the actions, for messages.
template <class User>
void Resolver::check_actions(const std::vector<Action> &actions, User user) {
  for (const Action &action : actions) {
    const Name &subject = action.subject;
    if (action.kind == ActionKind::raise) check_event(subject);
    if (action.kind == ActionKind::apply && was_read(subject) && !file_->find_parameter_map(subject.value)) {
      unknown(subject, ObjectKind::parameter_map, user());
    }
  }
}

void Resolver::check_targets() {
  for (const Target &target : from(file_->targets, first_.targets)) {
    check_client(target.client, "target", target.name);
    check_policies(target.policies, concat("target ", target.name.value));
  }
}

void Resolver::check_policies(const std::vector<Name> &names, const std::string &user) {
  FirstPositions<std::string_view> policies;
  for (const Name &policy : names) {
    if (!file_->find_policy_map(policy.value)) unknown(policy, ObjectKind::policy, user);
    if (policies.earlier(policy.value, policy.position)) {
      diagnostics_->add(policy.position, concat("policy-map '", policy.value, "' is active already"),
                        "each policy-map once on a target");
    }
  }
}

void Resolver::check_step(const Step &step, const std::string &user) {
  check_event(step.event);
  if (was_read(step.target) && !file_->find_target(step.target.value)) unknown(step.target, ObjectKind::target, user);
}

void Resolver::check_scenario() {
  for (const Step &step : file_->scenario)
    check_step(step, "the scenario");
}

void Resolver::check_tests() {
  for (const Test &test : file_->tests) {
    for (const TestStep &step : test.steps)
      check_step(step.step, concat("test '", test.name.value, "'"));
  }
  if (file_->tests.empty()) return;
  check_expected_rules();
  check_expected_attributes();
}

template <class Each>
void Resolver::for_each_expectation(Each each) const {
  for (const Test &test : file_->tests) {
    for (const TestStep &step : test.steps)
      each(step.expect);
  }
}

void Resolver::check_expected_rules() {
  std::vector<Name> rules;
  for_each_expectation([&](const Expectation &expect) {
    if (expect.rules) rules.insert(rules.end(), expect.rules->begin(), expect.rules->end());
  });
  check_rules(rules);
}

std::vector<std::string> Resolver::rule_names() const {
  std::vector<std::string> rules;
  for (const PolicyMap &policy : file_->policy_maps) {
    for (const EventRules &event : policy.events) {
      for (const Rule &rule : event.rules)
        rules.push_back(rule_name(policy, event, rule));
    }
  }
  return rules;
}

void Resolver::check_rules(const std::vector<Name> &rules) {
  const std::vector<std::string> all = rule_names();
  std::vector<std::string_view> known(all.begin(), all.end());
  for (const ClassMap &map : file_->class_maps)
    known.push_back(map.name.value);

  const std::unordered_set<std::string_view> names(known.begin(), known.end());
  for (const Name &rule : rules) {
    if (!was_read(rule) || names.contains(rule.value)) continue;
    diagnostics_->add(rule.position, concat("there is no rule or class-map '", rule.value, "'"),
                      "POLICY/EVENT/NUMBER, or the name of a class-map of this file",
                      diagnostics_->too_many() ? "" : nearest(rule.value, known));
  }
}

void Resolver::check_expected_attributes() {
  std::vector<Name> attributes;
  for_each_expectation([&](const Expectation &expect) {
    for (const ExpectedValue &expected : expect.attributes)
      attributes.push_back(expected.attribute);
  });
  check_attributes(attributes);
}

// An attribute that nothing sets and nothing tests is a misspelt name: expecting it to be absent could never fail.
void Resolver::check_attributes(const std::vector<Name> &attributes) {
  std::vector<std::string_view> known;
  std::unordered_set<std::string_view> names;
  for_each_attribute(*file_, [&](const Name &attribute) {
    if (names.insert(attribute.value).second) known.push_back(attribute.value);
  });
  for (const Name &attribute : attributes) {
    if (!was_read(attribute) || names.contains(attribute.value)) continue;
    diagnostics_->add(attribute.position, concat("nothing in the file mentions the attribute '", attribute.value, "'"),
                      "an attribute that a filter, an action or a target has",
                      diagnostics_->too_many() ? "" : nearest(attribute.value, known));
  }
}

void Resolver::check_claims() {
  if (file_->claims.empty()) return;
  std::vector<Name> rules;
  std::vector<Name> attributes;
  for (const Claim &claim : file_->claims) {
    check_event(claim.event);
    check_policies(claim.policies, concat("claim '", claim.name.value, "'"));
    if (claim.policies.empty() && file_->targets.empty() && is_well_formed_)
      diagnostics_->add(claim.name.position, "a claim without policies in a file without targets",
                        "the key policies: the policy-maps that are active together");
    const bool about_rule = claim.kind == ClaimKind::never_runs || claim.kind == ClaimKind::always_runs;
    if (about_rule) rules.push_back(claim.subject);
    for (const Filter &filter : claim.when)
      attributes.push_back(filter.attribute);
    for (const ExpectedValue &value : claim.values)
      attributes.push_back(value.attribute);
  }
  check_rules(rules);
  check_attributes(attributes);
}

void Resolver::check_attribute_count() {
  if (file_->scenario.empty() && file_->tests.empty() && file_->attributes() <= engine::kMaxAttributes) return;
  std::unordered_set<std::string_view> seen;
  for_each_attribute(*file_, [&](const Name &attribute) {
    if (!was_read(attribute) || !seen.insert(attribute.value).second) return;
    if (seen.size() != engine::kMaxAttributes + 1) return;
    diagnostics_->add(attribute.position, concat("'", attribute.value, "' is one attribute too many"),
                      concat("at most ", engine::kMaxAttributes, " different attributes in a file"));
  });
}

void Resolver::check_handle_count() {
  if (file_->handles() <= kMostHandles) return;
  diagnostics_->add(
      {}, concat("the file makes ", file_->handles(), " objects"),
      concat("at most ", kMostHandles, ": maps, filters, events, rules, actions, and two for each target"));
}

}  // namespace

void resolve(PolicyFile &file, const FileExtent &first, Diagnostics &diagnostics) {
  Resolver(file, first, diagnostics).run();
}

}  // namespace simulator
