#include "simulator/session/needs.h"

#include <optional>

#include "simulator/policy/uses.h"
#include "simulator/text/text.h"

namespace simulator::session {

namespace {

template <class Object>
size_t own_uses(const Object &object, Used what, std::string_view name) {
  size_t count = 0;
  for_each_use(object, [&](Used used, const Name &used_name) {
    if (used == what && used_name.value == name) ++count;
  });
  return count;
}

// The first rule or statement that uses something, except those of the object that is to be deleted.
class UserSearch {
 public:
  UserSearch(const PolicyFile &file, Used what, std::string_view name, const void *except)
      : file_(&file), what_(what), name_(name), except_(except) {}

  // "rule p/start/10 (policy.yaml:7)".
  std::string run() const {
    for (const PolicyMap &policy : file_->policy_maps) {
      if (&policy == except_) continue;
      for (const EventRules &event : policy.events) {
        for (const Rule &rule : event.rules) {
          if (uses(rule)) return text_of(concat("rule ", rule_name(policy, event, rule)), rule.position);
        }
      }
    }
    for (const ParameterMap &map : file_->parameter_maps) {
      if (&map == except_) continue;
      for (const Statement &statement : map.statements) {
        if (uses(statement))
          return text_of(concat("statement ", map.name.value, "/", statement.index), statement.position);
      }
    }
    return {};
  }

 private:
  template <class Part>
  bool uses(const Part &part) const {
    return own_uses(part, what_, name_) != 0;
  }
  std::string text_of(const std::string &part, Position position) const {
    return concat(part, " (", file_->path_of(position), ":", position.line, ")");
  }

  const PolicyFile *file_;
  Used what_;
  std::string_view name_;
  const void *except_;
};

std::string others(size_t count) {
  return count == 0 ? "" : concat(" and ", count, " more");
}

// 'front' is the sentence up to the first user.
template <class Object>
std::string why_used(const PolicyFile &file, const Object &object, Used what, std::string_view name,
                     std::string_view front) {
  const size_t users = file.uses(what, name) - own_uses(object, what, name);
  if (users == 0) return {};
  return concat(front, UserSearch(file, what, name, &object).run(), others(users - 1));
}

// The events that nothing would handle any more.
std::string why_handling(const PolicyFile &file, const PolicyMap &policy) {
  for (const EventRules &rules : policy.events) {
    const std::string &event = rules.event.value;
    if (file.handlers(event) > 1) continue;
    std::string why = why_used(
        file, policy, Used::event, event,
        concat("only policy-map '", policy.name.value, "' handles the event '", event, "', which is raised by "));
    if (!why.empty()) return why;
  }
  return {};
}

}  // namespace

std::string why_needed(const PolicyFile &file, ObjectKind kind, std::string_view name) {
  const auto front = [&] { return concat(word_of(kind).title, " '", name, "' is used by "); };
  switch (kind) {
    case ObjectKind::class_map:
      return why_used(file, *file.find_class_map(name), Used::class_map, name, front());
    case ObjectKind::parameter_map:
      return why_used(file, *file.find_parameter_map(name), Used::parameter_map, name, front());
    case ObjectKind::policy:
      return why_handling(file, *file.find_policy_map(name));
    case ObjectKind::target:
    case ObjectKind::client:
    case ObjectKind::domain:
      break;
  }
  return {};
}

}  // namespace simulator::session
