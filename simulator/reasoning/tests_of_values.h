// What the variables of formulas stand for: tests on the values that a target's attributes have before the event.
//
// An attribute is absent or has a text, and a filter is a test that texts pass and absence never does. The tests here are
// filters without no-match; equal tests are one variable. Another variable stands for each answer that cannot be written
// as such tests, such as whether a regular expression matches a number that was counted: it may be true or false, and
// carries the reason.
#pragma once

#include <deque>
#include <map>
#include <string>
#include <string_view>
#include <tuple>
#include <unordered_map>
#include <vector>

#include "simulator/policy/model.h"
#include "simulator/reasoning/formula.h"

namespace simulator::reasoning {

class ValueTests {
 public:
  struct Test {
    std::string attribute{};
    Filter filter{};         // without no-match
    std::string why_open{};  // instead of a test: the reason
    bool is_open() const { return !why_open.empty(); }
  };

  explicit ValueTests(Formulas &formulas) : formulas_(&formulas) {}

  // Whether the value passes the test of the filter, without no-match.
  Formula passes(const std::string &attribute, const Filter &filter);
  // Whether the filter holds; no-match counts.
  Formula holds(const Filter &filter);
  Formula is_present(const std::string &attribute);
  Formula is_text(const std::string &attribute, const std::string &text);
  Formula is_number(const std::string &attribute);
  // Never if low is more than high.
  Formula is_between(const std::string &attribute, int64_t low, int64_t high);

  // An answer that is not known; the same for the same key.
  Formula open(const std::string &key, const std::string &why);

  const Test &test(uint32_t node) const { return tests_[at_.at(node)]; }

 private:
  Formula add(Test test);

  using Key = std::tuple<std::string, FilterKind, std::string, int64_t, int64_t>;

  Formulas *formulas_;
  std::deque<Test> tests_;                   // they do not move
  std::unordered_map<uint32_t, size_t> at_;  // by node
  std::map<Key, Formula> known_;
  std::map<std::string, Formula> open_;
};

}  // namespace simulator::reasoning
