// Whether an attribute can have a value that passes some filters and does not pass others: the reasoning about one
// attribute on which everything that zar lint claims rests.
//
// An attribute is absent or has a text. A test (equals, prefix, regex, range, present) is passed by some texts and never by
// absence. What is wanted of an attribute is a list of tests to pass and a list of tests not to pass. The answer
// 'impossible' is given by these inferences alone, each of which is exact or errs on the side of 'unknown':
//
//   1. Nothing to pass: absence does it.
//   2. 'equals' to pass: the text is known, and everything else can be asked of it. The answer is exact.
//   3. Something to pass, 'present' not to pass: impossible, as what passes a test is present.
//   4. Two prefixes to pass of which neither begins with the other: impossible.
//   5. A prefix to pass that begins with one not to pass (the empty one included): impossible.
//   6. Ranges to pass: the text is a number, an optional minus and digits, so the prefixes to pass leave only the numbers
//      that are written with them (12: 12, 120 to 129, 1200 to 1299, ...; leading zeros are part of a number's text). If the
//      ranges to pass, without the ranges not to pass, leave none of these: impossible.
//   7. As 6, where the texts that are left are few and all known: each is asked everything; if none will do, impossible.
//   8. A regex both to pass and not to pass, or the empty one not to pass beside any test to pass: impossible. Nothing else
//      is inferred from the text of a regex.
//
// 'possible' comes with a value to which every test was put. Everything else is 'unknown', and nothing is claimed.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "simulator/policy/model.h"

namespace simulator::lint {

// A filter that has to hold, or not to hold; no-match counts as part of the filter.
struct Literal {
  const Filter *filter = nullptr;
  bool holds = true;

  // Whether the filter's test, without no-match, is to be passed.
  bool passes_test() const { return holds != filter->no_match; }
};

enum class Can : uint8_t { impossible, unknown, possible };

struct ValueAnswer {
  Can can = Can::unknown;
  std::optional<std::string> value{};  // of 'possible'; nothing: absent
};

// All literals are about one attribute. 'hints' are values to try, as regular expressions give none.
ValueAnswer find_value(const std::vector<Literal> &literals, const std::vector<std::string> &hints);

}  // namespace simulator::lint
