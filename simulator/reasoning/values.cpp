#include "simulator/reasoning/values.h"

#include <algorithm>
#include <limits>

#include "engine/engine.h"
#include "simulator/repository/filters.h"

namespace simulator::reasoning {

namespace {

engine::Attribute attribute_with(const std::string &text) {
  engine::Attribute value;
  const std::optional<int64_t> number = engine::parse_number(text);
  value.text = text;
  value.number = number.value_or(0);
  value.numeric = number.has_value();
  value.present = true;
  return value;
}

// Numbers, both ends included.
struct Interval {
  int64_t low;
  int64_t high;
};
using Intervals = std::vector<Interval>;

Intervals without(const Intervals &from, Interval hole) {
  Intervals left;
  for (const Interval &interval : from) {
    if (hole.high < interval.low || hole.low > interval.high) {
      left.push_back(interval);
      continue;
    }
    if (hole.low > interval.low) left.push_back({interval.low, hole.low - 1});
    if (hole.high < interval.high) left.push_back({hole.high + 1, interval.high});
  }
  return left;
}

}  // namespace

bool holds(const Filter &filter, const Value &value) {
  if (!value) return client::holds(filter, nullptr);
  const engine::Attribute attribute = attribute_with(*value);
  return client::holds(filter, &attribute);
}

// One question to a search.
class ValueQuestion {
 public:
  ValueQuestion(ValueSearch &search, const std::vector<Literal> &literals, const std::vector<std::string> &hints)
      : search_(&search), literals_(&literals), hints_(&hints) {
    for (size_t at = 0; at < literals.size(); ++at)
      (literals[at].passes_test() ? to_pass_ : not_to_pass_).push_back(at);
  }

  ValueAnswer answer();

 private:
  using Places = std::vector<size_t>;

  const Filter &filter(size_t at) const { return *(*literals_)[at].filter; }
  std::optional<size_t> find(const Places &places, FilterKind kind) const;
  // A literal that is not true for the text.
  std::optional<size_t> broken_by(const std::string &text) const;
  bool fits(const std::string &text) const { return !broken_by(text); }

  ValueAnswer answer_for_text(size_t equals) const;
  std::vector<std::string> candidates() const;
  std::optional<ValueAnswer> answer_by_numbers() const;
  Places needed_holes(const Places &holes, Interval within) const;
  ValueAnswer search();
  TextAnswer find_text(const Places &places);
  bool take_broken(const std::string &text, Places &needed) const;
  Places smallest(Places conflict);

  ValueSearch *search_;
  const std::vector<Literal> *literals_;
  const std::vector<std::string> *hints_;
  Places to_pass_;
  Places not_to_pass_;
};

ValueAnswer ValueQuestion::answer() {
  if (to_pass_.empty()) return {Can::possible, std::nullopt, {}};
  if (const std::optional<size_t> present = find(not_to_pass_, FilterKind::present))
    return {Can::impossible, {}, {to_pass_[0], *present}};
  if (const std::optional<size_t> equals = find(to_pass_, FilterKind::equals)) return answer_for_text(*equals);

  for (const std::string &text : candidates()) {
    if (fits(text)) return {Can::possible, text, {}};
  }
  if (find(to_pass_, FilterKind::range)) {
    if (std::optional<ValueAnswer> answer = answer_by_numbers()) return std::move(*answer);
  }
  return search();
}

std::optional<size_t> ValueQuestion::find(const Places &places, FilterKind kind) const {
  const auto found = std::find_if(places.begin(), places.end(), [&](size_t at) { return filter(at).kind == kind; });
  return found == places.end() ? std::nullopt : std::optional(*found);
}

std::optional<size_t> ValueQuestion::broken_by(const std::string &text) const {
  const engine::Attribute value = attribute_with(text);
  const auto breaks = [&](size_t at) { return client::holds(filter(at), &value) != (*literals_)[at].holds; };
  for (const Places *places : {&to_pass_, &not_to_pass_}) {
    const auto found = std::find_if(places->begin(), places->end(), breaks);
    if (found != places->end()) return *found;
  }
  return std::nullopt;
}

// The value is known.
ValueAnswer ValueQuestion::answer_for_text(size_t equals) const {
  const std::string &text = filter(equals).text;
  const std::optional<size_t> broken = broken_by(text);
  if (broken) return {Can::impossible, {}, {equals, *broken}};
  return {Can::possible, text, {}};
}

// Values that are likely to do: those of the file, and the ends of the tests.
std::vector<std::string> ValueQuestion::candidates() const {
  std::vector<std::string> texts;
  const auto add_number = [&](int64_t number) { texts.push_back(std::to_string(number)); };
  for (const size_t at : to_pass_) {
    if (filter(at).kind == FilterKind::prefix && !filter(at).text.empty()) texts.push_back(filter(at).text);
  }
  texts.insert(texts.end(), hints_->begin(), hints_->end());
  for (const size_t at : to_pass_) {
    if (filter(at).kind != FilterKind::range) continue;
    const Filter &range = filter(at);
    if (range.low <= 0 && range.high >= 0) add_number(0);
    if (range.low != std::numeric_limits<int64_t>::min()) add_number(range.low);
    if (range.high != std::numeric_limits<int64_t>::max()) add_number(range.high);
  }
  return texts;
}

// The ranges to pass, less the ranges not to pass, leave these numbers: none, and the question is answered; else each
// interval's ends are worth a try, but another text may be needed.
std::optional<ValueAnswer> ValueQuestion::answer_by_numbers() const {
  Interval within{std::numeric_limits<int64_t>::min(), std::numeric_limits<int64_t>::max()};
  Places bounds;
  for (const size_t at : to_pass_) {
    if (filter(at).kind != FilterKind::range) continue;
    if (filter(at).low > within.low || filter(at).high < within.high) bounds.push_back(at);
    within = {std::max(within.low, filter(at).low), std::min(within.high, filter(at).high)};
    if (within.low <= within.high) continue;
    // This one is disjoint with an earlier one.
    const auto apart = std::find_if(bounds.begin(), bounds.end(), [&](size_t other) {
      return filter(other).low > filter(at).high || filter(other).high < filter(at).low;
    });
    return ValueAnswer{Can::impossible, {}, {*apart, at}};
  }
  Places holes;
  Intervals left = {within};
  for (const size_t at : not_to_pass_) {
    if (filter(at).kind != FilterKind::range) continue;
    holes.push_back(at);
    left = without(left, {filter(at).low, filter(at).high});
  }
  if (left.empty()) {
    // Without a bound, the first range still says that the value is a number.
    if (bounds.empty()) bounds.push_back(*find(to_pass_, FilterKind::range));
    for (const size_t hole : needed_holes(holes, within))
      bounds.push_back(hole);
    return ValueAnswer{Can::impossible, {}, bounds};
  }
  for (const Interval &interval : left) {
    for (const int64_t number : {interval.low, interval.high}) {
      if (const std::string text = std::to_string(number); fits(text)) return ValueAnswer{Can::possible, text, {}};
    }
  }
  return std::nullopt;
}

// As few ranges as cover the interval, which all of them cover: from the low end, always the one that reaches furthest.
ValueQuestion::Places ValueQuestion::needed_holes(const Places &holes, Interval within) const {
  Places needed;
  int64_t next = within.low;
  for (;;) {
    size_t best = holes[0];
    for (const size_t at : holes) {
      const bool begins_there = filter(at).low <= next && filter(at).high >= next;
      const bool best_begins_there = filter(best).low <= next && filter(best).high >= next;
      if (begins_there && (!best_begins_there || filter(at).high > filter(best).high)) best = at;
    }
    needed.push_back(best);
    if (filter(best).high >= within.high) return needed;
    next = filter(best).high + 1;
  }
}

TextAnswer ValueQuestion::find_text(const Places &places) {
  std::vector<WantedTest> wanted;
  for (const size_t at : places)
    wanted.push_back({search_->test_of(filter(at)), (*literals_)[at].passes_test()});
  return reasoning::find_text(wanted, *search_->effort_);
}

// Adds literals that are not true for the text to those that the next text has to satisfy. False if none can be added.
bool ValueQuestion::take_broken(const std::string &text, Places &needed) const {
  constexpr size_t kMostAtOnce = 4;
  const engine::Attribute value = attribute_with(text);
  size_t taken = 0;
  for (const size_t at : not_to_pass_) {
    if (taken == kMostAtOnce) break;
    if (client::holds(filter(at), &value) == (*literals_)[at].holds || search_->is_opaque(filter(at))) continue;
    needed.push_back(at);
    ++taken;
  }
  return taken > 0;
}

ValueAnswer ValueQuestion::search() {
  Places needed;
  for (const size_t at : to_pass_) {
    if (!search_->is_opaque(filter(at))) needed.push_back(at);
  }
  for (;;) {
    const TextAnswer found = find_text(needed);
    if (found.can == Can::impossible) return {Can::impossible, {}, smallest(std::move(needed))};
    if (found.can == Can::unknown) return {};
    if (fits(found.text)) return {Can::possible, found.text, {}};
    if (!take_broken(found.text, needed)) return {};
  }
}

// The conflict without the literals that it does not need: those that were added last go first. Where no text at all
// satisfies the rest, absence still would, so one test that has to be passed always stays.
ValueQuestion::Places ValueQuestion::smallest(Places conflict) {
  constexpr size_t kMostToTry = 20;
  for (size_t at = conflict.size(); at-- > 0 && conflict.size() <= kMostToTry;) {
    Places fewer = conflict;
    fewer.erase(fewer.begin() + static_cast<std::ptrdiff_t>(at));
    if (find_text(fewer).can == Can::impossible) conflict = std::move(fewer);
  }
  const auto needs_a_text = [&](size_t at) { return (*literals_)[at].passes_test(); };
  if (std::none_of(conflict.begin(), conflict.end(), needs_a_text)) conflict.push_back(to_pass_[0]);
  return conflict;
}

TextTest *ValueSearch::test_of(const Filter &filter) {
  const auto [known, is_new] = tests_.try_emplace(&filter);
  if (is_new) known->second = make_text_test(filter);
  return known->second.get();
}

ValueAnswer ValueSearch::find(const std::vector<Literal> &literals, const std::vector<std::string> &hints) {
  return ValueQuestion(*this, literals, hints).answer();
}

}  // namespace simulator::reasoning
