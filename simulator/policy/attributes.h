// The attributes that a policy file uses.
#pragma once

#include <string_view>
#include <vector>

#include "simulator/policy/model.h"

namespace simulator {

// Calls 'each' with the name of every attribute in the file, except those in the expectations of tests.
template <class Each>
void for_each_attribute(const PolicyFile &file, Each each) {
  const auto in_filters = [&](const std::vector<Filter> &filters) {
    for (const Filter &filter : filters)
      each(filter.attribute);
  };
  const auto in_actions = [&](const std::vector<Action> &actions) {
    for (const Action &action : actions) {
      const bool changes =
          action.kind == ActionKind::set || action.kind == ActionKind::clear || action.kind == ActionKind::count;
      if (changes) each(action.subject);
    }
  };
  const auto in_assignments = [&](const std::vector<Assignment> &assignments) {
    for (const Assignment &assignment : assignments)
      each(assignment.attribute);
  };

  for (const ClassMap &map : file.class_maps)
    in_filters(map.filters);
  for (const PolicyMap &policy : file.policy_maps) {
    for (const EventRules &event : policy.events) {
      for (const Rule &rule : event.rules)
        in_actions(rule.actions);
    }
  }
  for (const ParameterMap &map : file.parameter_maps) {
    for (const Statement &statement : map.statements) {
      in_filters(statement.filters);
      in_actions(statement.actions);
    }
  }
  for (const Target &target : file.targets)
    in_assignments(target.attributes);
  const auto in_step = [&](const Step &step) {
    in_assignments(step.set);
    for (const Name &attribute : step.clear)
      each(attribute);
  };
  for (const Step &step : file.scenario)
    in_step(step);
  for (const Test &test : file.tests)
    in_step(test.step);
}

// Each name once, in the order of the file. Valid as long as the file.
std::vector<std::string_view> attribute_names(const PolicyFile &file);

}  // namespace simulator
