// What the objects of a policy file use by name.
#pragma once

#include "simulator/policy/model.h"

namespace simulator {

// These call 'each' with the kind and the name of everything that an object uses, once for each use.
template <class Each>
void for_each_use(const std::vector<Filter> &filters, Each each) {
  for (const Filter &filter : filters)
    each(Used::attribute, filter.attribute);
}

template <class Each>
void for_each_use(const std::vector<Action> &actions, Each each) {
  for (const Action &action : actions) {
    switch (action.kind) {
      case ActionKind::set:
      case ActionKind::clear:
      case ActionKind::count:
        each(Used::attribute, action.subject);
        break;
      case ActionKind::raise:
        each(Used::event, action.subject);
        break;
      case ActionKind::apply:
        each(Used::parameter_map, action.subject);
        break;
      case ActionKind::log:
      case ActionKind::permit:
      case ActionKind::deny:
        break;
    }
  }
}

template <class Each>
void for_each_use(const ClassMap &map, Each each) {
  for_each_use(map.filters, each);
}

template <class Each>
void for_each_use(const Rule &rule, Each each) {
  each(Used::class_map, rule.class_map);
  for_each_use(rule.actions, each);
}

template <class Each>
void for_each_use(const PolicyMap &policy, Each each) {
  for (const EventRules &event : policy.events) {
    for (const Rule &rule : event.rules)
      for_each_use(rule, each);
  }
}

template <class Each>
void for_each_use(const Statement &statement, Each each) {
  for_each_use(statement.filters, each);
  for_each_use(statement.actions, each);
}

template <class Each>
void for_each_use(const ParameterMap &map, Each each) {
  for (const Statement &statement : map.statements)
    for_each_use(statement, each);
}

// The policy-maps of a target do not count: when one of them is deleted, it is deactivated there.
template <class Each>
void for_each_use(const Target &target, Each each) {
  for (const Assignment &assignment : target.attributes)
    each(Used::attribute, assignment.attribute);
}

}  // namespace simulator
