#include "simulator/diff/renames.h"

#include <algorithm>
#include <map>

#include "simulator/text/text.h"

namespace simulator::diff {

namespace {

constexpr Named kAllKinds[] = {Named::client, Named::domain,     Named::class_map, Named::parameter_map,
                               Named::event,  Named::policy_map, Named::target};
static_assert(std::size(kAllKinds) == kNamedKinds);

bool refers(const Action &action) {
  return action.kind == ActionKind::raise || action.kind == ActionKind::apply;
}

Named kind_of_subject(const Action &action) {
  return action.kind == ActionKind::raise ? Named::event : Named::parameter_map;
}

std::string line_of(const std::vector<std::string> &words) {
  std::string line;
  for (const std::string &word : words)
    line += concat(as_word(word), " ");
  return line + "\n";
}

std::string sorted_lines(std::vector<std::string> lines) {
  std::sort(lines.begin(), lines.end());
  std::string all;
  for (const std::string &line : lines)
    all += line + "\n";
  return all;
}

// The contents of the objects of a file as texts; the texts of two files are equal if the contents are. 'renames' are
// applied to the references of the old file. An object's reference to itself has no name.
class Contents {
 public:
  Contents(const PolicyFile &file, const Renames *renames) : file_(&file), renames_(renames) {
    for (const PolicyMap &policy : file.policy_maps) {
      for (const EventRules &event : policy.events)
        events_[event.event.value].push_back(&event);
    }
  }

  // Calls 'each' with the names of a kind, each with its place.
  template <class Each>
  void for_each_name(Named kind, Each each) const;
  bool has(Named kind, std::string_view name) const;
  std::string of(Named kind, std::string_view name) const;

 private:
  std::string name_of(Named kind, const std::string &name) const {
    return renames_ ? renames_->in_new(kind, name) : name;
  }
  std::string owner_text(const std::optional<Name> &client) const {
    return client ? name_of(Named::client, client->value) : "";
  }

  std::string of(const Client &client) const { return client.own_database ? "own" : "default"; }
  std::string of(const Domain &domain) const { return owner_text(domain.owner); }
  std::string of(const ClassMap &map) const;
  std::string of(const ParameterMap &map) const;
  std::string of(const PolicyMap &policy) const;
  std::string of(const Target &target) const;
  std::string of_event(std::string_view event) const;
  std::string of(const EventRules &event, std::string_view self) const;
  std::string of(const std::vector<Filter> &filters) const;
  std::string of(std::vector<Action> actions, Named kind_of_self, std::string_view self) const;

  const PolicyFile *file_;
  const Renames *renames_;
  ByName<std::vector<const EventRules *>> events_;  // of all policy-maps that handle the event
};

template <class Each>
void Contents::for_each_name(Named kind, Each each) const {
  const auto in = [&](const auto &objects) {
    for (const auto &object : objects)
      each(object.name);
  };
  switch (kind) {
    case Named::client:
      return in(file_->clients);
    case Named::domain:
      return in(file_->domains);
    case Named::class_map:
      return in(file_->class_maps);
    case Named::parameter_map:
      return in(file_->parameter_maps);
    case Named::policy_map:
      return in(file_->policy_maps);
    case Named::target:
      return in(file_->targets);
    case Named::event:
      for (const PolicyMap &policy : file_->policy_maps) {
        for (const EventRules &event : policy.events)
          each(event.event);
      }
  }
}

bool Contents::has(Named kind, std::string_view name) const {
  switch (kind) {
    case Named::client:
      return file_->find_client(name) != nullptr;
    case Named::domain:
      return file_->find_domain(name) != nullptr;
    case Named::class_map:
      return file_->find_class_map(name) != nullptr;
    case Named::parameter_map:
      return file_->find_parameter_map(name) != nullptr;
    case Named::policy_map:
      return file_->find_policy_map(name) != nullptr;
    case Named::target:
      return file_->find_target(name) != nullptr;
    case Named::event:
      return file_->event_id(name) != 0;
  }
  return false;
}

// 'name' is in the file.
std::string Contents::of(Named kind, std::string_view name) const {
  switch (kind) {
    case Named::client:
      return of(*file_->find_client(name));
    case Named::domain:
      return of(*file_->find_domain(name));
    case Named::class_map:
      return of(*file_->find_class_map(name));
    case Named::parameter_map:
      return of(*file_->find_parameter_map(name));
    case Named::policy_map:
      return of(*file_->find_policy_map(name));
    case Named::target:
      return of(*file_->find_target(name));
    case Named::event:
      return of_event(name);
  }
  return {};
}

std::string Contents::of(const ClassMap &map) const {
  return line_of({name_of(Named::domain, map.domain.value), simulator::to_string(map.match)}) + of(map.filters);
}

std::string Contents::of(const ParameterMap &map) const {
  std::string text;
  for (const Statement &statement : map.statements) {
    text += line_of({"statement", std::to_string(statement.index)}) + of(statement.filters);
    text += of(statement.actions, Named::parameter_map, map.name.value);
  }
  return text;
}

// The same event in all policy-maps that handle it. Their names are left out: they may be new too.
std::string Contents::of_event(std::string_view event) const {
  std::vector<std::string> texts;
  for (const EventRules *rules : events_.find(event)->second)
    texts.push_back(of(*rules, event));
  return sorted_lines(std::move(texts));
}

std::string Contents::of(const EventRules &event, std::string_view self) const {
  std::vector<const Rule *> in_order;
  for (const Rule &rule : event.rules)
    in_order.push_back(&rule);
  std::sort(in_order.begin(), in_order.end(), [](const Rule *a, const Rule *b) { return a->number < b->number; });
  std::string text = line_of({simulator::to_string(event.match)});
  for (const Rule *rule : in_order) {
    text += line_of({"rule", std::to_string(rule->number), name_of(Named::class_map, rule->class_map.value),
                     simulator::to_string(rule->execute)});
    text += of(rule->actions, Named::event, self);
  }
  return text;
}

std::string Contents::of(const PolicyMap &policy) const {
  std::vector<std::string> events;
  for (const EventRules &event : policy.events)
    events.push_back(line_of({"event", name_of(Named::event, event.event.value)}) + of(event, {}));
  return line_of({name_of(Named::domain, policy.domain.value)}) + sorted_lines(std::move(events));
}

std::string Contents::of(const Target &target) const {
  std::vector<std::string> attributes;
  for (const Assignment &given : target.attributes)
    attributes.push_back(line_of({given.attribute.value, given.text}));
  std::vector<std::string> policies = {"policies"};
  for (const Name &policy : target.policies)
    policies.push_back(name_of(Named::policy_map, policy.value));
  return line_of({owner_text(target.client)}) + sorted_lines(std::move(attributes)) + line_of(policies);
}

std::string Contents::of(const std::vector<Filter> &filters) const {
  std::vector<std::string> texts;
  for (const Filter &filter : filters)
    texts.push_back(filter_text(filter));
  return sorted_lines(std::move(texts));
}

std::string Contents::of(std::vector<Action> actions, Named kind_of_self, std::string_view self) const {
  std::stable_sort(actions.begin(), actions.end(),
                   [](const Action &a, const Action &b) { return a.number < b.number; });
  std::string text;
  for (Action &action : actions) {
    if (refers(action)) {
      const Named kind = kind_of_subject(action);
      const bool is_self = kind == kind_of_self && action.subject.value == self;
      action.subject.value = is_self ? "" : name_of(kind, action.subject.value);
    }
    text += concat(simulator::to_string(action), " ", action.precedence, "\n");
  }
  return text;
}

// Finds what was renamed, kind by kind, until nothing more comes of what was found before.
class Finder {
 public:
  Finder(const PolicyFile &before, const PolicyFile &after) : before_(before, &renames_), after_(after, nullptr) {}
  Finder(const Finder &) = delete;
  Finder &operator=(const Finder &) = delete;

  Renames run() {
    size_t known = 0;
    do {
      known = renames_.all().size();
      for (const Named kind : kAllKinds)
        find(kind);
    } while (renames_.all().size() != known);
    return std::move(renames_);
  }

 private:
  struct Candidates {
    std::vector<Name> before;
    std::vector<Name> after;
  };

  void find(Named kind) {
    std::map<std::string, Candidates> by_contents;
    for_each_lost(kind, before_, after_, [&](const Name &name) {
      if (renames_.in_new(kind, name.value) == name.value)
        by_contents[before_.of(kind, name.value)].before.push_back(name);
    });
    for_each_lost(kind, after_, before_, [&](const Name &name) {
      if (renames_.in_old(kind, name.value) != name.value) return;
      const auto same = by_contents.find(after_.of(kind, name.value));
      if (same != by_contents.end()) same->second.after.push_back(name);
    });
    for (const auto &[contents, found] : by_contents) {
      if (found.before.size() == 1 && found.after.size() == 1) renames_.add({kind, found.before[0], found.after[0]});
    }
  }

  // Calls 'each' once with each name of 'here' that is not in 'there'.
  template <class Each>
  static void for_each_lost(Named kind, const Contents &here, const Contents &there, Each each) {
    ByName<bool> seen;
    here.for_each_name(kind, [&](const Name &name) {
      if (!there.has(kind, name.value) && seen.emplace(name.value, true).second) each(name);
    });
  }

  Renames renames_;
  Contents before_;
  Contents after_;
};

}  // namespace

const char *kind_text(Named kind) {
  switch (kind) {
    case Named::client:
      return "client";
    case Named::domain:
      return "domain";
    case Named::class_map:
      return "class-map";
    case Named::parameter_map:
      return "parameter-map";
    case Named::event:
      return "event";
    case Named::policy_map:
      return "policy-map";
    case Named::target:
      return "target";
  }
  return "";
}

void Renames::add(Rename rename) {
  const auto kind = static_cast<size_t>(rename.kind);
  to_new_[kind].emplace(rename.before.value, rename.after.value);
  to_old_[kind].emplace(rename.after.value, rename.before.value);
  all_.push_back(std::move(rename));
}

const std::string &Renames::find(const Names &names, Named kind, const std::string &name) {
  const ByName<std::string> &of_kind = names[static_cast<size_t>(kind)];
  const auto found = of_kind.find(name);
  return found == of_kind.end() ? name : found->second;
}

const std::string &Renames::in_new(Named kind, const std::string &name) const {
  return find(to_new_, kind, name);
}

const std::string &Renames::in_old(Named kind, const std::string &name) const {
  return find(to_old_, kind, name);
}

Renames find_renames(const PolicyFile &before, const PolicyFile &after) {
  return Finder(before, after).run();
}

PolicyFile renamed(const PolicyFile &before, const Renames &renames) {
  PolicyFile copy = before.copy_of_objects();
  const auto rename = [&](Named kind, std::string &name) { name = std::string(renames.in_new(kind, name)); };
  const auto rename_in = [&](std::vector<Action> &actions) {
    for (Action &action : actions) {
      if (refers(action)) rename(kind_of_subject(action), action.subject.value);
    }
  };
  for (Client &client : copy.clients)
    rename(Named::client, client.name.value);
  for (Domain &domain : copy.domains) {
    rename(Named::domain, domain.name.value);
    if (domain.owner) rename(Named::client, domain.owner->value);
  }
  for (ClassMap &map : copy.class_maps) {
    rename(Named::class_map, map.name.value);
    rename(Named::domain, map.domain.value);
  }
  for (PolicyMap &policy : copy.policy_maps) {
    rename(Named::policy_map, policy.name.value);
    rename(Named::domain, policy.domain.value);
    for (EventRules &event : policy.events) {
      rename(Named::event, event.event.value);
      for (Rule &rule : event.rules) {
        rename(Named::class_map, rule.class_map.value);
        rename_in(rule.actions);
      }
    }
  }
  for (ParameterMap &map : copy.parameter_maps) {
    rename(Named::parameter_map, map.name.value);
    for (Statement &statement : map.statements)
      rename_in(statement.actions);
  }
  for (Target &target : copy.targets) {
    rename(Named::target, target.name.value);
    if (target.client) rename(Named::client, target.client->value);
    for (Name &policy : target.policies)
      rename(Named::policy_map, policy.value);
  }
  for (std::string &event : copy.events)
    rename(Named::event, event);
  copy.index();
  return copy;
}

}  // namespace simulator::diff
