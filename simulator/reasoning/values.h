// Whether an attribute can have a value for which some filters hold and others do not.
//
// An attribute is absent or has a text. A test (equals, prefix, regex, range, present) is passed by some texts and never
// by absence. The answer is exact: 'possible' comes with a value that was checked with the filters themselves, and
// 'impossible' with the literals that contradict each other. It is 'unknown' only where a regular expression cannot be
// followed (see regex_program.h), the automata take too much memory, or the effort is over.
//
// Most questions are answered by a value that the file itself mentions, or by comparing the ends of ranges. What is left
// is searched for with the automata of the tests: first with those that have to pass, and with another one only when the
// value that was found shows that it is needed. So tests that do not matter cost nothing.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "simulator/policy/model.h"
#include "simulator/reasoning/effort.h"
#include "simulator/reasoning/text_tests.h"

namespace simulator::reasoning {

// A filter that has to hold, or must not hold; no-match counts as part of the filter.
struct Literal {
  const Filter *filter = nullptr;
  bool holds = true;

  // Whether the value has to pass the filter's test, without no-match.
  bool passes_test() const { return holds != filter->no_match; }
};

// Nothing: absent.
using Value = std::optional<std::string>;

bool holds(const Filter &filter, const Value &value);

struct ValueAnswer {
  Can can = Can::unknown;
  Value value{};                   // of 'possible'
  std::vector<size_t> conflict{};  // of 'impossible': the literals that cannot be true together, by their positions
};

class ValueSearch {
 public:
  explicit ValueSearch(Effort &effort) : effort_(&effort) {}

  // All literals concern one attribute. 'hints' are values to try first. The filters must live as long as the search.
  ValueAnswer find(const std::vector<Literal> &literals, const std::vector<std::string> &hints);

  // Whether the filter is a regular expression that cannot be followed.
  bool is_opaque(const Filter &filter) { return !test_of(filter); }

 private:
  friend class ValueQuestion;
  // NULL if the filter is opaque.
  TextTest *test_of(const Filter &filter);

  Effort *effort_;
  std::map<const Filter *, std::unique_ptr<TextTest>> tests_;
};

}  // namespace simulator::reasoning
