#include "simulator/reasoning/inputs.h"

#include <algorithm>

namespace simulator::reasoning {

bool holds(const Filter &filter, const Input &input) {
  const auto found = input.find(filter.attribute.value);
  return holds(filter, found == input.end() ? std::nullopt : found->second);
}

bool matches(const ClassMap &map, const Input &input) {
  const auto holds_there = [&](const Filter &filter) { return holds(filter, input); };
  const auto &filters = map.filters;
  switch (map.match) {
    case ClassMatch::all:
      return std::all_of(filters.begin(), filters.end(), holds_there);
    case ClassMatch::any:
      return std::any_of(filters.begin(), filters.end(), holds_there);
    case ClassMatch::none:
      return std::none_of(filters.begin(), filters.end(), holds_there);
  }
  return false;
}

bool matches(const Statement &statement, const Input &input) {
  const auto filters_of = by_attribute(statement);
  return std::all_of(filters_of.begin(), filters_of.end(), [&](const auto &of_attribute) {
    const auto &filters = of_attribute.second;
    return std::any_of(filters.begin(), filters.end(), [&](const Filter *filter) { return holds(*filter, input); });
  });
}

std::map<std::string_view, std::vector<const Filter *>> by_attribute(const Statement &statement) {
  std::map<std::string_view, std::vector<const Filter *>> filters;
  for (const Filter &filter : statement.filters)
    filters[filter.attribute.value].push_back(&filter);
  return filters;
}

Hints hints_of(const PolicyFile &file) {
  // Few and short values: they are tried again and again.
  constexpr size_t kMostHints = 30;
  constexpr size_t kLongestHint = 100;
  Hints hints;
  const auto add = [&](const std::string &attribute, const std::string &value) {
    std::vector<std::string> &values = hints[attribute];
    const bool wanted = value.size() <= kLongestHint && values.size() < kMostHints;
    if (wanted && std::find(values.begin(), values.end(), value) == values.end()) values.push_back(value);
  };
  const auto add_all = [&](const std::vector<Assignment> &assignments) {
    for (const Assignment &assignment : assignments)
      add(assignment.attribute.value, assignment.text);
  };
  for (const Target &target : file.targets)
    add_all(target.attributes);
  for (const Step &step : file.scenario)
    add_all(step.set);
  for (const Test &test : file.tests) {
    for (const TestStep &step : test.steps)
      add_all(step.step.set);
  }
  for (const FilterKind kind : {FilterKind::equals, FilterKind::prefix}) {
    for (const ClassMap &map : file.class_maps) {
      for (const Filter &filter : map.filters) {
        if (filter.kind == kind) add(filter.attribute.value, filter.text);
      }
    }
  }
  return hints;
}

}  // namespace simulator::reasoning
