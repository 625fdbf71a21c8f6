#include "simulator/lint/inputs.h"

#include <algorithm>

#include "engine/engine.h"
#include "simulator/repository/filters.h"

namespace simulator::lint {

namespace {

// In literals examined. All searches together take some seconds at worst.
constexpr size_t kMostWork = 1'000'000;
constexpr size_t kMostWorkOfOne = 20'000;

// The depth of a search is the number of conditions.
constexpr size_t kMostConditions = 2000;

std::vector<Condition> all_of(const std::vector<Filter> &filters, bool hold) {
  std::vector<Condition> conditions;
  for (const Filter &filter : filters)
    conditions.push_back({{{&filter, hold}}});
  return conditions;
}

std::vector<Condition> one_of(const std::vector<Filter> &filters, bool holds) {
  Condition condition;
  for (const Filter &filter : filters)
    condition.push_back({{&filter, holds}});
  return {condition};
}

// The filters of each attribute of a statement.
std::map<std::string_view, std::vector<const Filter *>> by_attribute(const Statement &statement) {
  std::map<std::string_view, std::vector<const Filter *>> filters;
  for (const Filter &filter : statement.filters)
    filters[filter.attribute.value].push_back(&filter);
  return filters;
}

}  // namespace

std::vector<Condition> that_matches(const ClassMap &map) {
  if (map.match == ClassMatch::any) return one_of(map.filters, true);
  return all_of(map.filters, map.match == ClassMatch::all);
}

std::vector<Condition> that_does_not_match(const ClassMap &map) {
  if (map.match == ClassMatch::any) return all_of(map.filters, false);
  return one_of(map.filters, map.match == ClassMatch::none);
}

std::vector<Condition> that_matches(const Statement &statement) {
  std::vector<Condition> conditions;
  for (const auto &[attribute, filters] : by_attribute(statement)) {
    Condition one_holds;
    for (const Filter *filter : filters)
      one_holds.push_back({{filter, true}});
    conditions.push_back(std::move(one_holds));
  }
  return conditions;
}

std::vector<Condition> that_does_not_match(const Statement &statement) {
  Condition some_attribute_fails;
  for (const auto &[attribute, filters] : by_attribute(statement)) {
    Alternative none_holds;
    for (const Filter *filter : filters)
      none_holds.push_back({filter, false});
    some_attribute_fails.push_back(std::move(none_holds));
  }
  return {some_attribute_fails};
}

namespace {

engine::Attribute value_of(const std::string &text) {
  engine::Attribute value;
  const std::optional<int64_t> number = engine::parse_number(text);
  value.text = text;
  value.number = number.value_or(0);
  value.numeric = number.has_value();
  value.present = true;
  return value;
}

bool holds(const Filter &filter, const std::optional<std::string> &text) {
  if (!text) return client::holds(filter, nullptr);
  const engine::Attribute value = value_of(*text);
  return client::holds(filter, &value);
}

bool holds(const Filter &filter, const Input &input) {
  const auto found = input.find(filter.attribute.value);
  return holds(filter, found == input.end() ? std::nullopt : found->second);
}

}  // namespace

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

namespace {

class Search {
 public:
  Search(const std::vector<Condition> &conditions, const Hints &hints, size_t work)
      : conditions_(&conditions), hints_(&hints), work_left_(work) {}

  InputAnswer run() {
    const Can can = choose(0);
    return {can, std::move(input_)};
  }
  size_t work_left() const { return work_left_; }

 private:
  // The literals wanted of one attribute. If 'known' is possible, its value satisfies all of them, and still does when
  // some are removed.
  struct Wanted {
    std::vector<Literal> literals;
    ValueAnswer known;

    bool has_answer() const { return known.can == Can::possible; }
  };

  Can choose(size_t at) {
    if (at == conditions_->size()) return complete();
    Can best = Can::impossible;
    for (const Alternative &alternative : (*conditions_)[at]) {
      best = std::max(best, try_alternative(alternative, at));
      if (best == Can::possible) break;
    }
    return best;
  }

  Can try_alternative(const Alternative &alternative, size_t at) {
    size_t taken = 0;
    Can can = Can::possible;
    for (const Literal &literal : alternative) {
      ++taken;
      can = want(literal);
      if (can == Can::impossible) break;
    }
    if (can != Can::impossible) can = work_left_ == 0 ? Can::unknown : choose(at + 1);
    for (size_t back = 0; back < taken; ++back)
      wanted_[alternative[back].filter->attribute.value].literals.pop_back();
    return can;
  }

  // Adds a literal; returns whether the attribute can still have a value.
  Can want(const Literal &literal) {
    Wanted &wanted = wanted_[literal.filter->attribute.value];
    wanted.literals.push_back(literal);
    spend(1);
    if (wanted.has_answer() && holds(*literal.filter, wanted.known.value) == literal.holds) return Can::possible;

    spend(wanted.literals.size());
    if (work_left_ == 0) return Can::unknown;
    wanted.known = find_value(wanted.literals, hints_of(literal.filter->attribute.value));
    return wanted.known.can;
  }

  void spend(size_t work) { work_left_ -= std::min(work, work_left_); }

  const std::vector<std::string> &hints_of(const std::string &attribute) const {
    static const std::vector<std::string> kNone;
    const auto found = hints_->find(attribute);
    return found == hints_->end() ? kNone : found->second;
  }

  Can complete() {
    Input input;
    for (const auto &[attribute, wanted] : wanted_) {
      if (wanted.literals.empty()) continue;
      if (!wanted.has_answer()) return Can::unknown;
      input[attribute] = wanted.known.value;
    }
    input_ = std::move(input);
    return Can::possible;
  }

  const std::vector<Condition> *conditions_;
  const Hints *hints_;
  size_t work_left_;
  std::map<std::string, Wanted, std::less<>> wanted_;
  Input input_;
};

}  // namespace

InputAnswer Prover::find_input(std::vector<Condition> conditions) {
  const size_t work = std::min(kMostWorkOfOne, work_left_);
  if (conditions.size() > kMostConditions || work == 0) {
    gave_up_ = true;
    return {};
  }
  // Conditions without a choice come first, so that no choice is made in vain.
  std::stable_sort(conditions.begin(), conditions.end(),
                   [](const Condition &a, const Condition &b) { return a.size() < b.size(); });
  Search search(conditions, hints_, work);
  InputAnswer answer = search.run();
  work_left_ -= work - search.work_left();
  gave_up_ = gave_up_ || search.work_left() == 0;
  return answer;
}

namespace {

// Few and short values: all are tried again and again.
constexpr size_t kMostHints = 30;
constexpr size_t kLongestHint = 100;

Hints collect_hints(const PolicyFile &file) {
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
  for (const ClassMap &map : file.class_maps) {
    for (const Filter &filter : map.filters) {
      if (filter.kind == FilterKind::equals) add(filter.attribute.value, filter.text);
    }
  }
  return hints;
}

}  // namespace

Prover::Prover(const PolicyFile &file) : hints_(collect_hints(file)), work_left_(kMostWork) {}

}  // namespace simulator::lint
