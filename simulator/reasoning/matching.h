// When class-maps and statements match, as formulas, from when each of their filters holds.
#pragma once

#include <utility>
#include <vector>

#include "simulator/policy/model.h"
#include "simulator/reasoning/formula.h"
#include "simulator/reasoning/inputs.h"

namespace simulator::reasoning {

// 'holds' returns when a filter holds; no-match counts as part of the filter.
template <class Holds>
Formula formula_of(const ClassMap &map, Formulas &formulas, Holds holds) {
  std::vector<Formula> parts;
  for (const Filter &filter : map.filters)
    parts.push_back(map.match == ClassMatch::all ? ~holds(filter) : holds(filter));
  const Formula found = formulas.any_of(std::move(parts));
  return map.match == ClassMatch::any ? found : ~found;
}

// One of the filters of each attribute has to hold.
template <class Holds>
Formula formula_of(const Statement &statement, Formulas &formulas, Holds holds) {
  Formula matches = Formula::always();
  for (const auto &[attribute, filters] : by_attribute(statement)) {
    std::vector<Formula> ways;
    for (const Filter *filter : filters)
      ways.push_back(holds(*filter));
    matches = formulas.both(matches, formulas.any_of(std::move(ways)));
  }
  return matches;
}

}  // namespace simulator::reasoning
