// Why nothing matched: what came nearest to matching, and what was missing.
#pragma once

#include "simulator/explanation/explanation.h"

namespace simulator {

// What would have to be different for a class-map or a statement to match.
struct Shortfall {
  size_t missing = 0;                        // how many filters would have to change their answer
  size_t before_first = 0;                   // how many answered as needed before the first of these
  const FilterExplanation *first = nullptr;  // NULL: it has no filters and cannot match
};

Shortfall shortfall(const RuleExplanation &rule);
Shortfall shortfall(const StatementExplanation &statement);

// The one with the fewest missing filters; among equals the one that got furthest, then the earlier one.
struct NearestRule {
  const PolicyExplanation *policy = nullptr;
  const RuleExplanation *rule = nullptr;
  Shortfall shortfall{};
};
struct NearestStatement {
  const StatementExplanation *statement = nullptr;
  Shortfall shortfall{};
};

// Nothing if no rule was tried.
std::optional<NearestRule> nearest_rule(const PolicyExplanation &policy);
std::optional<NearestRule> nearest_rule(const EventExplanation &explanation);
std::optional<NearestStatement> nearest_statement(const ParameterMapExplanation &map);

}  // namespace simulator
