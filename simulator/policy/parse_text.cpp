#include "simulator/policy/parse_text.h"

#include <charconv>
#include <limits>

#include "simulator/text/text.h"
#include "simulator/text/utf8.h"

namespace simulator {

namespace {

// Removes the text up to the first blank from 'text', with the blank, and returns it without.
std::string_view take_front(std::string_view &text) {
  const size_t end = text.find(' ');
  const std::string_view front = text.substr(0, end);
  text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  return front;
}

// Removes this many hexadecimal digits from 'text'.
std::optional<uint32_t> take_digits(std::string_view &text, size_t count) {
  if (text.size() < count) return std::nullopt;
  uint32_t number = 0;
  const char *const begin = text.data();
  const char *const after = begin + count;
  const auto [end, error] = std::from_chars(begin, after, number, 16);
  if (error != std::errc() || end != after) return std::nullopt;
  text.remove_prefix(count);
  return number;
}

// Adds what an escape stands for. 'text' begins after the backslash; what is read is removed from it.
bool take_escape(std::string_view &text, std::string &value) {
  if (text.empty()) return false;
  const char letter = text[0];
  text.remove_prefix(1);
  if (letter == '"' || letter == '\\' || letter == 'n') {
    value += letter == 'n' ? '\n' : letter;
    return true;
  }
  const size_t digits = letter == 'x' ? 2 : letter == 'u' ? 4 : letter == 'U' ? 8 : 0;
  const std::optional<uint32_t> code = digits != 0 ? take_digits(text, digits) : std::nullopt;
  if (!code) return false;
  // Two digits are a byte, so that a text that is no UTF-8 can be read back too.
  value += digits == 2 ? std::string(1, static_cast<char>(*code)) : to_utf8(*code);
  return true;
}

std::optional<std::string> parse_quoted(std::string_view text) {
  std::string value;
  text.remove_prefix(1);
  while (!text.empty() && text[0] != '"') {
    const char character = text[0];
    text.remove_prefix(1);
    if (character != '\\') {
      value += character;
    } else if (!take_escape(text, value)) {
      return std::nullopt;
    }
  }
  return text == "\"" ? std::optional(std::move(value)) : std::nullopt;
}

template <class Kind, size_t kCount>
std::optional<Kind> parse_kind(std::string_view word, const Kind (&kinds)[kCount]) {
  for (const Kind kind : kinds) {
    if (word == to_string(kind)) return kind;
  }
  return std::nullopt;
}

bool parse_number(std::string_view text, int64_t &number) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && end == text.data() + text.size();
}

// A missing end is the lowest or highest number.
bool parse_range(std::string_view text, Filter &filter) {
  const size_t dots = text.find("..");
  if (dots == std::string_view::npos) return false;
  const std::string_view low = text.substr(0, dots);
  const std::string_view high = text.substr(dots + 2);
  filter.low = std::numeric_limits<int64_t>::min();
  filter.high = std::numeric_limits<int64_t>::max();
  return (low.empty() || parse_number(low, filter.low)) && (high.empty() || parse_number(high, filter.high));
}

bool parse_text(std::string_view word, std::string &text) {
  std::optional<std::string> parsed = parse_word(word);
  if (!parsed) return false;
  text = std::move(*parsed);
  return true;
}

bool parse_test(std::string_view text, Filter &filter) {
  switch (filter.kind) {
    case FilterKind::equals:
    case FilterKind::prefix:
    case FilterKind::regex:
      return parse_text(text, filter.text);
    case FilterKind::range:
      return parse_range(text, filter);
    case FilterKind::present:
      return text.empty();
  }
  return false;
}

bool parse_argument(std::string_view text, Action &action) {
  switch (action.kind) {
    case ActionKind::set:
      action.subject.value = take_front(text);
      return parse_text(text, action.text);
    case ActionKind::log:
      return text.starts_with('"') && parse_text(text, action.text);
    case ActionKind::clear:
    case ActionKind::count:
    case ActionKind::raise:
    case ActionKind::apply:
      action.subject.value = take_front(text);
      return !action.subject.value.empty() && text.empty();
    case ActionKind::permit:
    case ActionKind::deny:
      return text.empty();
  }
  return false;
}

}  // namespace

std::optional<std::string> parse_word(std::string_view word) {
  if (word.starts_with('"')) return parse_quoted(word);
  if (word.empty() || as_word(word) != word) return std::nullopt;
  return std::string(word);
}

std::optional<Filter> parse_filter(std::string_view text) {
  Filter filter;
  filter.attribute.value = take_front(text);
  const std::optional<FilterKind> kind =
      parse_kind(take_front(text),
                 {FilterKind::equals, FilterKind::prefix, FilterKind::regex, FilterKind::range, FilterKind::present});
  if (filter.attribute.value.empty() || !kind) return std::nullopt;
  filter.kind = *kind;
  return parse_test(text, filter) ? std::optional(std::move(filter)) : std::nullopt;
}

std::optional<Action> parse_action(std::string_view text) {
  Action action;
  const std::optional<ActionKind> kind =
      parse_kind(take_front(text), {ActionKind::set, ActionKind::clear, ActionKind::log, ActionKind::count,
                                    ActionKind::permit, ActionKind::deny, ActionKind::raise, ActionKind::apply});
  if (!kind) return std::nullopt;
  action.kind = *kind;
  return parse_argument(text, action) ? std::optional(std::move(action)) : std::nullopt;
}

}  // namespace simulator
