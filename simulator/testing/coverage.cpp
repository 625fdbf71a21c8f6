#include "simulator/testing/coverage.h"

#include "simulator/text/text.h"

namespace simulator {

void Coverage::add(const EventExplanation &explanation) {
  for (const PolicyExplanation &policy : explanation.policies) {
    for (const RuleExplanation &rule : policy.rules) {
      add(rule.class_map, rule.filters);
      if (!rule.matched) continue;
      rules_.insert(rule.rule);
      add(rule.actions);
    }
  }
}

void Coverage::add(const std::vector<ActionExplanation> &actions) {
  for (const ActionExplanation &action : actions) {
    if (action.raised) add(*action.raised);
    if (!action.applied) continue;
    for (const StatementExplanation &statement : action.applied->statements) {
      add(statement.statement, statement.filters);
      if (statement.matched) statements_.insert(statement.statement);
    }
    add(action.applied->actions);
  }
}

void Coverage::add(const void *owner, const std::vector<FilterExplanation> &filters) {
  for (const FilterExplanation &filter : filters) {
    if (!filter.asked) continue;
    Answers &answers = filters_[{owner, filter.filter->position}];
    (filter.holds ? answers.held : answers.did_not) = true;
  }
}

Coverage::Part Coverage::rules() const {
  Part part;
  for (const PolicyMap &policy : file_->policy_maps) {
    for (const EventRules &event : policy.events) {
      for (const Rule &rule : event.rules) {
        ++part.total;
        if (rules_.contains(&rule)) {
          ++part.covered;
        } else {
          part.missed.push_back({rule.position, concat("rule ", rule_name(policy, event, rule)), "never ran"});
        }
      }
    }
  }
  return part;
}

Coverage::Part Coverage::statements() const {
  Part part;
  for (const ParameterMap &map : file_->parameter_maps) {
    for (const Statement &statement : map.statements) {
      ++part.total;
      if (statements_.contains(&statement)) {
        ++part.covered;
      } else {
        part.missed.push_back({statement.position,
                               concat("statement ", statement.index, " of parameter-map ", map.name.value),
                               "never matched"});
      }
    }
  }
  return part;
}

Coverage::Part Coverage::filters() const {
  Part part;
  for (const ClassMap &map : file_->class_maps)
    count(part, &map, map.filters, concat("class-map ", map.name.value));
  for (const ParameterMap &map : file_->parameter_maps) {
    for (const Statement &statement : map.statements) {
      count(part, &statement, statement.filters,
            concat("statement ", statement.index, " of parameter-map ", map.name.value));
    }
  }
  return part;
}

void Coverage::count(Part &part, const void *owner, const std::vector<Filter> &filters,
                     const std::string &where) const {
  for (const Filter &filter : filters) {
    ++part.total;
    const auto found = filters_.find({owner, filter.position});
    const Answers answers = found == filters_.end() ? Answers{} : found->second;
    if (answers.held && answers.did_not) {
      ++part.covered;
      continue;
    }
    const char *why = answers.held ? "always held" : answers.did_not ? "never held" : "was never asked";
    part.missed.push_back({filter.position, concat("filter ", filter_text(filter), " of ", where), why});
  }
}

uint32_t percent_of(size_t covered, size_t total) {
  return total == 0 ? 100 : static_cast<uint32_t>(covered * 100 / total);
}

}  // namespace simulator
