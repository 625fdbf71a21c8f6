#include "simulator/explanation/nearest.h"

#include <algorithm>
#include <limits>
#include <string_view>

namespace simulator {

namespace {

constexpr size_t kNoWay = std::numeric_limits<size_t>::max();

bool is_nearer(const Shortfall &a, const Shortfall &b) {
  if (a.missing != b.missing) return a.missing < b.missing;
  return a.before_first > b.before_first;
}

// Every filter must answer 'wanted'.
Shortfall shortfall_of_all(const std::vector<FilterExplanation> &filters, bool wanted) {
  Shortfall shortfall;
  for (const FilterExplanation &filter : filters) {
    if (filter.holds == wanted) {
      if (!shortfall.first) ++shortfall.before_first;
      continue;
    }
    ++shortfall.missing;
    if (!shortfall.first) shortfall.first = &filter;
  }
  return shortfall;
}

template <class Nearest>
void keep_nearer(std::optional<Nearest> &nearest, const Nearest &other) {
  if (!nearest || is_nearer(other.shortfall, nearest->shortfall)) nearest = other;
}

}  // namespace

Shortfall shortfall(const RuleExplanation &rule) {
  if (rule.class_map->match != ClassMatch::any)
    return shortfall_of_all(rule.filters, rule.class_map->match == ClassMatch::all);
  // One of them would be enough.
  return rule.filters.empty() ? Shortfall{kNoWay, 0, nullptr} : Shortfall{1, 0, &rule.filters.front()};
}

// One of the filters of each attribute must hold.
Shortfall shortfall(const StatementExplanation &statement) {
  std::vector<FilterExplanation> of_attributes;
  std::vector<const FilterExplanation *> firsts;
  for (const FilterExplanation &filter : statement.filters) {
    const auto known = std::find_if(firsts.begin(), firsts.end(), [&](const FilterExplanation *first) {
      return first->filter->attribute.value == filter.filter->attribute.value;
    });
    if (known == firsts.end()) {
      firsts.push_back(&filter);
      of_attributes.push_back(filter);
    } else if (filter.holds) {
      of_attributes[static_cast<size_t>(known - firsts.begin())].holds = true;
    }
  }
  Shortfall shortfall = shortfall_of_all(of_attributes, true);
  if (shortfall.first) shortfall.first = firsts[static_cast<size_t>(shortfall.first - of_attributes.data())];
  return shortfall;
}

std::optional<NearestRule> nearest_rule(const PolicyExplanation &policy) {
  std::optional<NearestRule> nearest;
  for (const RuleExplanation &rule : policy.rules)
    keep_nearer(nearest, NearestRule{&policy, &rule, shortfall(rule)});
  return nearest;
}

std::optional<NearestRule> nearest_rule(const EventExplanation &explanation) {
  std::optional<NearestRule> nearest;
  for (const PolicyExplanation &policy : explanation.policies) {
    if (const std::optional<NearestRule> of_policy = nearest_rule(policy)) keep_nearer(nearest, *of_policy);
  }
  return nearest;
}

std::optional<NearestStatement> nearest_statement(const ParameterMapExplanation &map) {
  std::optional<NearestStatement> nearest;
  for (const StatementExplanation &statement : map.statements)
    keep_nearer(nearest, NearestStatement{&statement, shortfall(statement)});
  return nearest;
}

}  // namespace simulator
