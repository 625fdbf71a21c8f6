#include "simulator/lint/attribute_values.h"

#include <algorithm>
#include <cstdint>
#include <limits>

#include "engine/engine.h"
#include "simulator/repository/filters.h"

namespace simulator::lint {

namespace {

constexpr int64_t kLowest = std::numeric_limits<int64_t>::min();
constexpr int64_t kHighest = std::numeric_limits<int64_t>::max();

// Inference 7 is limited to this many texts.
constexpr uint64_t kFewTexts = 200;

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

Intervals within(const Intervals &from, Interval bounds) {
  Intervals left;
  for (const Interval &interval : from) {
    const Interval common = {std::max(interval.low, bounds.low), std::min(interval.high, bounds.high)};
    if (common.low <= common.high) left.push_back(common);
  }
  return left;
}

// How the text of a number begins.
struct NumberPrefix {
  bool good = true;       // false: no number's text begins like this
  bool negative = false;  // it has a minus sign
  size_t zeros = 0;       // leading zeros
  std::string digits{};   // the digits after them
};

NumberPrefix read_number_prefix(std::string_view text) {
  NumberPrefix prefix;
  if (text.starts_with('-')) {
    prefix.negative = true;
    text.remove_prefix(1);
  }
  prefix.good = std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
  while (text.starts_with('0')) {
    ++prefix.zeros;
    text.remove_prefix(1);
  }
  prefix.digits = text;
  return prefix;
}

// A number from its sign and its size, which is at most 2^63.
int64_t signed_number(bool negative, uint64_t size) {
  return negative ? static_cast<int64_t>(~size + 1) : static_cast<int64_t>(size);
}

Interval signed_interval(bool negative, uint64_t low, uint64_t high) {
  if (negative) return {signed_number(true, high), signed_number(true, low)};
  return {signed_number(false, low), signed_number(false, high)};
}

// The numbers whose texts begin with the prefix.
Intervals numbers_with(const NumberPrefix &prefix) {
  if (!prefix.good) return {};
  const uint64_t most = static_cast<uint64_t>(kHighest) + (prefix.negative ? 1 : 0);
  if (prefix.digits.empty()) {
    const bool all = !prefix.negative && prefix.zeros == 0;
    return {all ? Interval{kLowest, kHighest} : signed_interval(prefix.negative, 0, most)};
  }
  constexpr size_t kMostDigits = 19;
  if (prefix.digits.size() > kMostDigits) return {};

  Intervals numbers;
  uint64_t low = std::stoull(prefix.digits);
  uint64_t width = 1;
  while (low <= most) {
    numbers.push_back(signed_interval(prefix.negative, low, low + std::min(width - 1, most - low)));
    if (low > most / 10) break;
    low *= 10;
    width *= 10;
  }
  return numbers;
}

std::string text_of_number(const NumberPrefix &prefix, int64_t number) {
  std::string digits = std::to_string(number);
  const bool negative = digits.starts_with('-');
  if (negative) digits.erase(0, 1);
  const std::string sign = negative || prefix.negative ? "-" : "";
  return sign + std::string(prefix.zeros, '0') + digits;
}

class Search {
 public:
  Search(const std::vector<Literal> &literals, const std::vector<std::string> &hints) : hints_(&hints) {
    for (const Literal &literal : literals) {
      (literal.passes_test() ? to_pass_ : not_to_pass_).push_back(literal.filter);
    }
  }

  ValueAnswer answer() {
    if (to_pass_.empty()) return {Can::possible, std::nullopt};
    if (const Filter *equals = find(to_pass_, FilterKind::equals)) {
      if (!fits(equals->text)) return {Can::impossible, {}};
      return {Can::possible, equals->text};
    }
    if (find(not_to_pass_, FilterKind::present)) return {Can::impossible, {}};
    if (!prefixes_agree() || contradicts_regex()) return {Can::impossible, {}};
    if (find(to_pass_, FilterKind::range)) return answer_for_numbers();
    return try_texts();
  }

 private:
  using Filters = std::vector<const Filter *>;

  static const Filter *find(const Filters &filters, FilterKind kind) {
    const auto found = std::find_if(filters.begin(), filters.end(), [&](const Filter *f) { return f->kind == kind; });
    return found == filters.end() ? nullptr : *found;
  }

  // Whether a text passes every test to pass and no test not to pass.
  bool fits(const std::string &text) const {
    engine::Attribute value;
    value.text = text;
    value.present = true;
    const std::optional<int64_t> number = engine::parse_number(text);
    value.numeric = number.has_value();
    value.number = number.value_or(0);
    const auto passes = [&](const Filter *filter) { return client::matches(*filter, &value); };
    return std::all_of(to_pass_.begin(), to_pass_.end(), passes) &&
           std::none_of(not_to_pass_.begin(), not_to_pass_.end(), passes);
  }

  // Inferences 4 and 5. Stores the longest prefix in 'prefix_'.
  bool prefixes_agree() {
    for (const Filter *filter : to_pass_) {
      if (filter->kind != FilterKind::prefix) continue;
      const bool longer = filter->text.size() > prefix_.size();
      const std::string_view shorter = longer ? std::string_view(prefix_) : filter->text;
      if (!(longer ? std::string_view(filter->text) : prefix_).starts_with(shorter)) return false;
      if (longer) prefix_ = filter->text;
    }
    return std::none_of(not_to_pass_.begin(), not_to_pass_.end(), [&](const Filter *filter) {
      return filter->kind == FilterKind::prefix && prefix_.starts_with(filter->text);
    });
  }

  // Inference 8.
  bool contradicts_regex() const {
    return std::any_of(not_to_pass_.begin(), not_to_pass_.end(), [&](const Filter *filter) {
      if (filter->kind != FilterKind::regex) return false;
      return filter->text.empty() || std::any_of(to_pass_.begin(), to_pass_.end(), [&](const Filter *other) {
               return other->kind == FilterKind::regex && other->text == filter->text;
             });
    });
  }

  ValueAnswer answer_for_numbers() {
    const NumberPrefix prefix = read_number_prefix(prefix_);
    Intervals numbers = numbers_with(prefix);
    for (const Filter *filter : to_pass_) {
      if (filter->kind == FilterKind::range) numbers = within(numbers, {filter->low, filter->high});
    }
    for (const Filter *filter : not_to_pass_) {
      if (filter->kind == FilterKind::range) numbers = without(numbers, {filter->low, filter->high});
    }
    if (numbers.empty()) return {Can::impossible, {}};
    return try_numbers(prefix, numbers);
  }

  // If the prefix has a digit other than 0, each number has one such text. Otherwise leading zeros give more and more
  // texts.
  ValueAnswer try_numbers(const NumberPrefix &prefix, const Intervals &numbers) const {
    uint64_t tried = 0;
    for (const Interval &interval : numbers) {
      for (int64_t number = interval.low; tried < kFewTexts; ++number) {
        ++tried;
        const std::string text = text_of_number(prefix, number);
        if (fits(text)) return {Can::possible, text};
        if (number == interval.high) break;
      }
      const std::string last = text_of_number(prefix, interval.high);
      if (fits(last)) return {Can::possible, last};
    }
    const bool one_text_each = !prefix.digits.empty();
    if (one_text_each && tried < kFewTexts) return {Can::impossible, {}};
    for (const Interval &interval : numbers) {
      for (size_t zeros = 1; zeros <= 3 && !one_text_each; ++zeros) {
        NumberPrefix longer = prefix;
        longer.zeros += zeros;
        const std::string text = text_of_number(longer, interval.low);
        if (fits(text)) return {Can::possible, text};
      }
    }
    return {Can::unknown, {}};
  }

  ValueAnswer try_texts() const {
    // The empty text comes last: it is the least useful example.
    std::vector<std::string> texts;
    if (!prefix_.empty()) texts.push_back(prefix_);
    texts.insert(texts.end(), hints_->begin(), hints_->end());
    texts.insert(texts.end(), {prefix_ + "x", prefix_ + "0", prefix_ + "-", prefix_});
    for (size_t at = 0; at < std::min<size_t>(not_to_pass_.size(), 30); ++at)
      texts.push_back(not_to_pass_[at]->text + "x");
    for (const std::string &text : texts) {
      if (fits(text)) return {Can::possible, text};
    }
    return {Can::unknown, {}};
  }

  Filters to_pass_;
  Filters not_to_pass_;
  const std::vector<std::string> *hints_;
  std::string prefix_;
};

}  // namespace

ValueAnswer find_value(const std::vector<Literal> &literals, const std::vector<std::string> &hints) {
  return Search(literals, hints).answer();
}

}  // namespace simulator::lint
