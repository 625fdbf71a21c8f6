#include "simulator/reasoning/tests_of_values.h"

#include <limits>
#include <utility>

namespace simulator::reasoning {

Formula ValueTests::add(Test test) {
  const Formula variable = formulas_->variable();
  at_.emplace(variable.node(), tests_.size());
  tests_.push_back(std::move(test));
  return variable;
}

Formula ValueTests::passes(const std::string &attribute, const Filter &filter) {
  const Key key{attribute, filter.kind, filter.text, filter.low, filter.high};
  if (const auto known = known_.find(key); known != known_.end()) return known->second;

  Test test{.attribute = attribute, .filter = filter};
  test.filter.attribute.value = attribute;
  test.filter.no_match = false;
  return known_.emplace(key, add(std::move(test))).first->second;
}

Formula ValueTests::holds(const Filter &filter) {
  const Formula passed = passes(filter.attribute.value, filter);
  return filter.no_match ? ~passed : passed;
}

Formula ValueTests::is_present(const std::string &attribute) {
  Filter present;
  present.kind = FilterKind::present;
  return passes(attribute, present);
}

Formula ValueTests::is_text(const std::string &attribute, const std::string &text) {
  Filter equals;
  equals.kind = FilterKind::equals;
  equals.text = text;
  return passes(attribute, equals);
}

Formula ValueTests::is_number(const std::string &attribute) {
  return is_between(attribute, std::numeric_limits<int64_t>::min(), std::numeric_limits<int64_t>::max());
}

Formula ValueTests::is_between(const std::string &attribute, int64_t low, int64_t high) {
  if (low > high) return Formula::never();
  Filter range;
  range.kind = FilterKind::range;
  range.low = low;
  range.high = high;
  return passes(attribute, range);
}

Formula ValueTests::open(const std::string &key, const std::string &why) {
  if (const auto known = open_.find(key); known != open_.end()) return known->second;
  Test test;
  test.why_open = why;
  return open_.emplace(key, add(std::move(test))).first->second;
}

}  // namespace simulator::reasoning
