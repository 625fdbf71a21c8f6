#include "simulator/editing/hover.h"

#include <algorithm>
#include <deque>
#include <set>
#include <vector>

#include "simulator/editing/manual.h"
#include "simulator/inventory/describe.h"
#include "simulator/policy/kinds.h"
#include "simulator/policy/uses.h"
#include "simulator/text/text.h"

namespace simulator::editing {

namespace {

constexpr size_t kMostListed = 20;

std::string code(const std::string &text) {
  return concat("```\n", text, text.ends_with('\n') ? "" : "\n", "```");
}

// "head: a, b, c, and 3 more".
std::string line_of(std::string_view head, const std::vector<std::string> &names) {
  if (names.empty()) return {};
  std::vector<std::string_view> shown(names.begin(), names.end());
  if (shown.size() > kMostListed) shown.resize(kMostListed);
  const size_t more = names.size() - shown.size();
  return concat(head, ": ", comma_separated(shown), more == 0 ? "" : concat(", and ", more, " more"), "\n");
}

void add_once(std::vector<std::string> &all, std::string name) {
  if (std::find(all.begin(), all.end(), name) == all.end()) all.push_back(std::move(name));
}

// Calls 'each' with every rule of the file, its policy-map and its event.
template <class Each>
void for_each_rule(const PolicyFile &file, Each each) {
  for (const PolicyMap &policy : file.policy_maps) {
    for (const EventRules &event : policy.events) {
      for (const Rule &rule : event.rules)
        each(policy, event, rule);
    }
  }
}

// What an event leads to: events that its rules raise and parameter-maps that they apply, and so on.
class Reach {
 public:
  explicit Reach(const PolicyFile &file) : file_(&file) {}

  void run(const std::string &event) {
    for (waiting_ = {event}; !waiting_.empty(); waiting_.pop_front())
      follow_event(waiting_.front());
  }

  std::vector<std::string> events{};
  std::vector<std::string> parameter_maps{};

 private:
  void follow_event(const std::string &name) {
    for (const PolicyMap &policy : file_->policy_maps) {
      for (const EventRules &event : policy.events) {
        if (event.event.value != name) continue;
        for (const Rule &rule : event.rules)
          follow(rule.actions);
      }
    }
  }

  void follow(const std::vector<Action> &actions) {
    for (const Action &action : actions) {
      const std::string &subject = action.subject.value;
      if (action.kind == ActionKind::raise && seen_events_.insert(subject).second) {
        events.push_back(subject);
        waiting_.push_back(subject);
      } else if (action.kind == ActionKind::apply && seen_maps_.insert(subject).second) {
        parameter_maps.push_back(subject);
        follow_map(subject);
      }
    }
  }

  void follow_map(const std::string &name) {
    const ParameterMap *map = file_->find_parameter_map(name);
    if (!map) return;
    for (const Statement &statement : map->statements)
      follow(statement.actions);
  }

  const PolicyFile *file_;
  std::deque<std::string> waiting_;
  std::set<std::string> seen_events_;
  std::set<std::string> seen_maps_;
};

bool raises(const std::vector<Action> &actions, const std::string &event) {
  return std::any_of(actions.begin(), actions.end(), [&](const Action &action) {
    return action.kind == ActionKind::raise && action.subject.value == event;
  });
}

std::string event_text(const PolicyFile &file, const std::string &name) {
  std::vector<std::string> handlers;
  std::vector<std::string> raisers;
  for_each_rule(file, [&](const PolicyMap &policy, const EventRules &event, const Rule &rule) {
    if (event.event.value == name) add_once(handlers, concat(policy.name.value, " (", decisions_of(event), ")"));
    if (raises(rule.actions, name)) add_once(raisers, concat("rule ", rule_name(policy, event, rule)));
  });
  for (const ParameterMap &map : file.parameter_maps) {
    for (const Statement &statement : map.statements) {
      if (raises(statement.actions, name))
        add_once(raisers, concat("statement ", inventory::statement_name(map, statement)));
    }
  }
  Reach reach(file);
  reach.run(name);
  const bool leads_on = !reach.events.empty() || !reach.parameter_maps.empty();
  return code(concat("event ", name, "\n", line_of("handled by", handlers), line_of("raised by", raisers),
                     line_of("reaches the events", reach.events),
                     line_of("reaches the parameter-maps", reach.parameter_maps),
                     leads_on ? "" : "leads to no other event or parameter-map\n"));
}

template <class Each>
void for_each_action(const PolicyFile &file, Each each) {
  for_each_rule(file, [&](const PolicyMap &policy, const EventRules &event, const Rule &rule) {
    for (const Action &action : rule.actions)
      each(concat("rule ", rule_name(policy, event, rule)), action);
  });
  for (const ParameterMap &map : file.parameter_maps) {
    for (const Statement &statement : map.statements) {
      for (const Action &action : statement.actions)
        each(concat("statement ", inventory::statement_name(map, statement)), action);
    }
  }
}

bool changes(const Action &action, const std::string &attribute) {
  const bool does =
      action.kind == ActionKind::set || action.kind == ActionKind::clear || action.kind == ActionKind::count;
  return does && action.subject.value == attribute;
}

std::string attribute_text(const PolicyFile &file, const std::string &name) {
  std::vector<std::string> tested;
  std::vector<std::string> changed;
  std::vector<std::string> given;
  const auto tests = [&](const std::vector<Filter> &filters) {
    return std::any_of(filters.begin(), filters.end(),
                       [&](const Filter &each) { return each.attribute.value == name; });
  };
  for (const ClassMap &map : file.class_maps) {
    if (tests(map.filters)) tested.push_back(concat("class-map ", map.name.value));
  }
  for (const ParameterMap &map : file.parameter_maps) {
    for (const Statement &statement : map.statements) {
      if (tests(statement.filters)) tested.push_back(concat("statement ", inventory::statement_name(map, statement)));
    }
  }
  for_each_action(file, [&](const std::string &where, const Action &action) {
    if (changes(action, name)) add_once(changed, where);
  });
  for (const Target &target : file.targets) {
    for (const Assignment &each : target.attributes) {
      if (each.attribute.value == name) given.push_back(concat(target.name.value, " (", as_word(each.text), ")"));
    }
  }
  return code(concat("attribute ", name, "\n", line_of("tested by", tested), line_of("changed by", changed),
                     line_of("targets that have it", given)));
}

std::string text_of_mention(const PolicyFile &file, const Mention &mention) {
  const auto described = [&](ObjectKind kind, bool exists) {
    return exists ? code(inventory::describe(inventory::Relations(file), kind, mention.name)) : std::string();
  };
  switch (mention.kind) {
    case Kind::class_map:
      return described(ObjectKind::class_map, file.find_class_map(mention.name));
    case Kind::policy_map:
      return described(ObjectKind::policy, file.find_policy_map(mention.name));
    case Kind::parameter_map:
      return described(ObjectKind::parameter_map, file.find_parameter_map(mention.name));
    case Kind::target:
      return described(ObjectKind::target, file.find_target(mention.name));
    case Kind::event:
      return file.event_id(mention.name) == 0 ? std::string() : event_text(file, mention.name);
    case Kind::attribute:
      return attribute_text(file, mention.name);
    case Kind::client:
    case Kind::domain:
    case Kind::rule:
    case Kind::test:
    case Kind::claim:
    case Kind::none:
      return {};
  }
  return {};
}

}  // namespace

std::string decisions_of(const EventRules &event) {
  bool permits = false;
  bool denies = false;
  for (const Rule &rule : event.rules) {
    for (const Action &action : rule.actions) {
      permits |= action.kind == ActionKind::permit;
      denies |= action.kind == ActionKind::deny;
    }
  }
  if (permits && denies) return "decides permit or deny";
  return permits ? "decides permit" : denies ? "decides deny" : "decides nothing";
}

std::optional<Hover> hover_at(const Outline &outline, size_t offset, const PolicyFile *file) {
  const Mention *mention = outline.mention_at(offset);
  if (mention && file) {
    std::string text = text_of_mention(*file, *mention);
    if (!text.empty()) return Hover{mention->span, std::move(text)};
  }
  const Keyword *keyword = outline.keyword_at(offset);
  if (!keyword) return std::nullopt;
  std::string text = manual_of(*keyword->shape, *keyword->key);
  if (text.empty()) return std::nullopt;
  return Hover{keyword->span, std::move(text)};
}

}  // namespace simulator::editing
