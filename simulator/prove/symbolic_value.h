// The value of an attribute while an event runs, for all targets at once.
//
// It is one of some terms: what the attribute was before the event, that number with some counts added, a text that a
// 'set' wrote, or absence. Each term has the condition under which it is the value; exactly one of them holds on any
// target.
#pragma once

#include <compare>
#include <map>
#include <string>

#include "simulator/policy/model.h"
#include "simulator/reasoning/formula.h"
#include "simulator/reasoning/tests_of_values.h"

namespace simulator::prove {

using reasoning::Formula;
using reasoning::Formulas;
using reasoning::ValueTests;

struct Term {
  enum class Kind : uint8_t {
    initial,  // as before the event
    counted,  // the number before the event, plus 'counts', in its shortest form; saturates as the engine's counts do
    text,
    absent,
  };
  Kind kind = Kind::initial;
  int64_t counts = 0;
  std::string text{};

  auto operator<=>(const Term &) const = default;
};

using SymbolicValue = std::map<Term, Formula>;

// What can be asked of the values of one attribute, as formulas over its value before the event.
class ValueOf {
 public:
  ValueOf(const std::string &attribute, Formulas &formulas, ValueTests &tests)
      : attribute_(&attribute), formulas_(&formulas), tests_(&tests) {}

  // Whether the filter holds; no-match counts.
  Formula holds(const SymbolicValue &value, const Filter &filter);
  Formula is_present(const SymbolicValue &value);
  SymbolicValue after_count(const SymbolicValue &value);
  // Whether two values are the same.
  Formula same(const SymbolicValue &a, const SymbolicValue &b);
  Formula same(const SymbolicValue &value, const Term &term);

 private:
  Formula passes(const Term &term, const Filter &filter);
  Formula counted_passes(int64_t counts, const Filter &filter);
  Formula counted_is_between(int64_t counts, int64_t low, int64_t high);
  Formula counted_has_prefix(int64_t counts, const Filter &filter);
  Formula counted_is_text(int64_t counts, const std::string &text);
  Formula same(const Term &one, const Term &other);
  void add(SymbolicValue &value, const Term &term, Formula condition) const;

  const std::string *attribute_;
  Formulas *formulas_;
  ValueTests *tests_;
};

}  // namespace simulator::prove
