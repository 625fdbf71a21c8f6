#include "simulator/prove/symbolic_value.h"

#include <algorithm>
#include <limits>
#include <optional>
#include <utility>
#include <vector>

#include "engine/engine.h"
#include "simulator/reasoning/values.h"
#include "simulator/text/text.h"

namespace simulator::prove {

namespace {

constexpr int64_t kLowest = std::numeric_limits<int64_t>::min();
constexpr int64_t kHighest = std::numeric_limits<int64_t>::max();

// The number whose shortest form the text is.
std::optional<int64_t> shortest_form(const std::string &text) {
  const std::optional<int64_t> number = engine::parse_number(text);
  return number && std::to_string(*number) == text ? number : std::nullopt;
}

struct Interval {
  int64_t low;
  int64_t high;
};

// The numbers with this many more digits than 'size', which they begin with; nothing if they are too large.
std::optional<Interval> numbers_from(int64_t size, unsigned more_digits, bool is_negative) {
  int64_t low = size;
  int64_t width = 1;
  for (unsigned digit = 0; digit < more_digits; ++digit) {
    if (__builtin_mul_overflow(low, 10, &low) || __builtin_mul_overflow(width, 10, &width)) return std::nullopt;
  }
  int64_t high = 0;
  if (is_negative) {
    // From the number with zeros down to the one with nines.
    if (__builtin_sub_overflow(low, width - 1, &high)) high = kLowest;
    return Interval{high, low};
  }
  if (__builtin_add_overflow(low, width - 1, &high)) high = kHighest;
  return Interval{low, high};
}

// The numbers whose shortest form begins with the text.
std::vector<Interval> numbers_with_prefix(const std::string &text) {
  if (text.empty()) return {{kLowest, kHighest}};
  if (text == "-") return {{kLowest, -1}};
  const std::optional<int64_t> first = shortest_form(text);
  if (!first) return {};
  if (*first == 0) return {{0, 0}};
  std::vector<Interval> intervals;
  constexpr unsigned kMostDigits = 19;
  for (unsigned more = 0; more < kMostDigits; ++more) {
    if (const std::optional<Interval> found = numbers_from(*first, more, *first < 0)) intervals.push_back(*found);
  }
  return intervals;
}

}  // namespace

void ValueOf::add(SymbolicValue &value, const Term &term, Formula condition) const {
  if (condition == Formula::never()) return;
  const auto [known, is_new] = value.try_emplace(term, condition);
  if (!is_new) known->second = formulas_->either(known->second, condition);
}

Formula ValueOf::holds(const SymbolicValue &value, const Filter &filter) {
  std::vector<Formula> ways;
  for (const auto &[term, condition] : value)
    ways.push_back(formulas_->both(condition, passes(term, filter)));
  const Formula passed = formulas_->any_of(std::move(ways));
  return filter.no_match ? ~passed : passed;
}

Formula ValueOf::is_present(const SymbolicValue &value) {
  return holds(value, {.kind = FilterKind::present});
}

Formula ValueOf::passes(const Term &term, const Filter &filter) {
  switch (term.kind) {
    case Term::Kind::initial:
      return tests_->passes(*attribute_, filter);
    case Term::Kind::counted:
      return counted_passes(term.counts, filter);
    case Term::Kind::text:
      return reasoning::holds(filter, term.text) != filter.no_match ? Formula::always() : Formula::never();
    case Term::Kind::absent:
      return Formula::never();
  }
  return Formula::never();
}

// ---- Numbers that were counted --------------------------------------------------------------------------------------------

Formula ValueOf::counted_passes(int64_t counts, const Filter &filter) {
  switch (filter.kind) {
    case FilterKind::present:
      return Formula::always();
    case FilterKind::range:
      return counted_is_between(counts, filter.low, filter.high);
    case FilterKind::equals:
      return counted_is_text(counts, filter.text);
    case FilterKind::prefix:
      return counted_has_prefix(counts, filter);
    case FilterKind::regex:
      return tests_->open(concat(*attribute_, " ", counts, " ", filter.text),
                          concat("the regular expression ", in_quotes(filter.text), " on attribute ", *attribute_,
                                 " after it was counted"));
  }
  return Formula::never();
}

// The highest number stays what it is when it is counted.
Formula ValueOf::counted_is_between(int64_t counts, int64_t low, int64_t high) {
  const int64_t from = low < kLowest + counts ? kLowest : low - counts;
  if (high == kHighest) return tests_->is_between(*attribute_, from, kHighest);
  if (high < kLowest + counts) return Formula::never();
  return tests_->is_between(*attribute_, from, high - counts);
}

Formula ValueOf::counted_has_prefix(int64_t counts, const Filter &filter) {
  std::vector<Formula> ways;
  for (const Interval &interval : numbers_with_prefix(filter.text))
    ways.push_back(counted_is_between(counts, interval.low, interval.high));
  return formulas_->any_of(std::move(ways));
}

Formula ValueOf::counted_is_text(int64_t counts, const std::string &text) {
  const std::optional<int64_t> number = shortest_form(text);
  return number ? counted_is_between(counts, *number, *number) : Formula::never();
}

SymbolicValue ValueOf::after_count(const SymbolicValue &value) {
  SymbolicValue after;
  for (const auto &[term, condition] : value) {
    switch (term.kind) {
      case Term::Kind::initial: {
        const Formula is_number = tests_->is_number(*attribute_);
        add(after, {Term::Kind::counted, 1, {}}, formulas_->both(condition, is_number));
        add(after, {Term::Kind::text, 0, "1"}, formulas_->both(condition, ~is_number));
        break;
      }
      case Term::Kind::counted:
        add(after, {Term::Kind::counted, term.counts + 1, {}}, condition);
        break;
      case Term::Kind::text: {
        const int64_t number = engine::parse_number(term.text).value_or(0);
        add(after, {Term::Kind::text, 0, std::to_string(number == kHighest ? number : number + 1)}, condition);
        break;
      }
      case Term::Kind::absent:
        add(after, {Term::Kind::text, 0, "1"}, condition);
        break;
    }
  }
  return after;
}

// ---- Equality -------------------------------------------------------------------------------------------------------------

// Terms are in the order of their kinds.
Formula ValueOf::same(const Term &one, const Term &other) {
  const auto &[a, b] = std::minmax(one, other);
  if (a == b) return Formula::always();
  using Kind = Term::Kind;
  if (a.kind == Kind::initial && b.kind == Kind::text) return tests_->is_text(*attribute_, b.text);
  if (a.kind == Kind::initial && b.kind == Kind::absent) return ~tests_->is_present(*attribute_);
  // Only the highest number is not changed by counting.
  if (a.kind == Kind::initial && b.kind == Kind::counted) return tests_->is_text(*attribute_, std::to_string(kHighest));
  if (a.kind == Kind::counted && b.kind == Kind::counted)
    return tests_->is_between(*attribute_, kHighest - std::min(a.counts, b.counts), kHighest);
  if (a.kind == Kind::counted && b.kind == Kind::text) return counted_is_text(a.counts, b.text);
  return Formula::never();
}

Formula ValueOf::same(const SymbolicValue &value, const Term &term) {
  std::vector<Formula> ways;
  for (const auto &[other, condition] : value)
    ways.push_back(formulas_->both(condition, same(other, term)));
  return formulas_->any_of(std::move(ways));
}

// Two different texts are never the same, so texts are only compared with what is no text.
Formula ValueOf::same(const SymbolicValue &a, const SymbolicValue &b) {
  if (a == b) return Formula::always();
  const auto is_fixed = [](const Term &term) {
    return term.kind == Term::Kind::text || term.kind == Term::Kind::absent;
  };
  std::vector<Formula> ways;
  for (const auto &[term, condition] : a) {
    if (is_fixed(term)) {
      if (const auto twin = b.find(term); twin != b.end()) ways.push_back(formulas_->both(condition, twin->second));
    }
    for (const auto &[other, other_condition] : b) {
      // Fixed terms come last.
      if (is_fixed(term) && is_fixed(other)) break;
      ways.push_back(formulas_->both(formulas_->both(condition, other_condition), same(term, other)));
    }
  }
  return formulas_->any_of(std::move(ways));
}

}  // namespace simulator::prove
