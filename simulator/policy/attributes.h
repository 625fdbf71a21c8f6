// The attributes that a policy file uses.
#pragma once

#include <string_view>
#include <vector>

#include "simulator/policy/uses.h"

namespace simulator {

// Calls 'each' with the name of every attribute in the file, except those in the expectations of tests.
template <class Each>
void for_each_attribute(const PolicyFile &file, Each each) {
  const auto in_objects = [&](const auto &objects) {
    for (const auto &object : objects) {
      for_each_use(object, [&](Used what, const Name &name) {
        if (what == Used::attribute) each(name);
      });
    }
  };
  const auto in_step = [&](const Step &step) {
    for (const Assignment &assignment : step.set)
      each(assignment.attribute);
    for (const Name &attribute : step.clear)
      each(attribute);
  };
  in_objects(file.class_maps);
  in_objects(file.policy_maps);
  in_objects(file.parameter_maps);
  in_objects(file.targets);
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
