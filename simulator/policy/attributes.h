// The attributes that a policy file uses.
#pragma once

#include <span>
#include <string_view>
#include <vector>

#include "simulator/policy/model.h"

namespace simulator {

// Calls 'each' with the name of every attribute of the objects of a file, beginning with these.
template <class Each>
void for_each_attribute_of_objects(const PolicyFile &file, const FileExtent &first, Each each) {
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

  for (const ClassMap &map : std::span(file.class_maps).subspan(first.class_maps))
    in_filters(map.filters);
  for (const PolicyMap &policy : std::span(file.policy_maps).subspan(first.policy_maps)) {
    for (const EventRules &event : policy.events) {
      for (const Rule &rule : event.rules)
        in_actions(rule.actions);
    }
  }
  for (const ParameterMap &map : std::span(file.parameter_maps).subspan(first.parameter_maps)) {
    for (const Statement &statement : map.statements) {
      in_filters(statement.filters);
      in_actions(statement.actions);
    }
  }
  for (const Target &target : std::span(file.targets).subspan(first.targets)) {
    for (const Assignment &assignment : target.attributes)
      each(assignment.attribute);
  }
}

// The same for every attribute in the file, except those in the expectations of tests.
template <class Each>
void for_each_attribute(const PolicyFile &file, Each each) {
  for_each_attribute_of_objects(file, {}, each);
  const auto in_step = [&](const Step &step) {
    for (const Assignment &assignment : step.set)
      each(assignment.attribute);
    for (const Name &attribute : step.clear)
      each(attribute);
  };
  for (const Step &step : file.scenario)
    in_step(step);
  for (const Test &test : file.tests) {
    for (const TestStep &step : test.steps)
      in_step(step.step);
  }
}

// Each name once, in the order of the file. Valid as long as the file.
std::vector<std::string_view> attribute_names(const PolicyFile &file);

}  // namespace simulator
