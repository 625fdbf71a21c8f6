// Whether an attribute can have a value that passes some filters and does not pass others. Every claim of zar lint
// rests on this reasoning about one attribute.
//
// An attribute is absent or has a text. A test (equals, prefix, regex, range, present) is passed by some texts and
// never by absence. The question is a list of tests to pass and a list of tests not to pass. Only these inferences give
// the answer 'impossible'; each is exact or errs on the side of 'unknown':
//
//   1. Nothing to pass: absence satisfies it.
//   2. 'equals' to pass: the text is known and can be checked against every test. The answer is exact.
//   3. Something to pass, 'present' not to pass: impossible, since a value that passes a test is present.
//   4. Two prefixes to pass, and neither begins with the other: impossible.
//   5. A prefix to pass that begins with one not to pass (the empty one included): impossible.
//   6. Ranges to pass: the text is a number, an optional minus and digits, so the prefixes to pass leave only the numbers
//      that begin with them (12: 12, 120 to 129, 1200 to 1299, ...; leading zeros are part of a number's text). If the
//      ranges to pass, without the ranges not to pass, contain none of these: impossible.
//   7. As 6, if few texts remain and all are known: each is checked against every test; if none fits, impossible.
//   8. The same regex to pass and not to pass, or the empty regex not to pass and any test to pass: impossible. Nothing
//      else is inferred from the text of a regex.
//
// 'possible' comes with a value that was checked against every test. Everything else is 'unknown', and lint claims
// nothing.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "simulator/policy/model.h"

namespace simulator::lint {

// A filter that has to hold, or must not hold; no-match counts as part of the filter.
struct Literal {
  const Filter *filter = nullptr;
  bool holds = true;

  // Whether the value has to pass the filter's test, without no-match.
  bool passes_test() const { return holds != filter->no_match; }
};

enum class Can : uint8_t { impossible, unknown, possible };

struct ValueAnswer {
  Can can = Can::unknown;
  std::optional<std::string> value{};  // of 'possible'; nothing: absent
};

// All literals concern one attribute. 'hints' are values to try, since values cannot be derived from regular
// expressions.
ValueAnswer find_value(const std::vector<Literal> &literals, const std::vector<std::string> &hints);

}  // namespace simulator::lint
