#include "simulator/policy/yaml_openings.h"

#include <algorithm>

namespace simulator::yaml {

namespace {

bool is_blank(char character) {
  return character == ' ' || character == '\t' || character == '\r';
}

bool is_quote(char character) {
  return character == '"' || character == '\'';
}

bool is_opening(char character) {
  return character == '[' || character == '{';
}

bool is_closing(char character) {
  return character == ']' || character == '}';
}

class Scanner {
 public:
  explicit Scanner(std::string_view text) : text_(text) {}

  Openings run() {
    while (at_ < text_.size() && !found_.quote)
      step();
    return std::move(found_);
  }

 private:
  void step() {
    const char character = text_[at_];
    if (character == '\n') return pass(true);
    if (is_blank(character)) return pass(begins_value_);
    if (character == '#' && follows_blank()) return skip_line();
    if (begins_value_ && begin_value(character)) return;
    go_on(character);
  }

  void pass(bool begins_value) {
    ++at_;
    begins_value_ = begins_value;
  }

  bool in_brackets() const { return !found_.brackets.empty(); }
  bool follows_blank() const { return at_ == 0 || is_space(at_ - 1); }
  // Also true at the end.
  bool is_space(size_t at) const { return at >= text_.size() || is_blank(text_[at]) || text_[at] == '\n'; }

  void skip_line() { at_ = std::min(text_.find('\n', at_), text_.size()); }

  // What can stand only where a value begins. False: a plain value does.
  bool begin_value(char character) {
    if (is_quote(character)) {
      read_quoted();
    } else if ((character == '|' || character == '>') && !in_brackets()) {
      skip_block();
    } else if (character == '&' || character == '*' || character == '!') {
      // The value follows an anchor or a tag.
      const auto ends_item = [this] { return in_brackets() && (text_[at_] == ',' || is_closing(text_[at_])); };
      while (!is_space(at_) && !ends_item())
        ++at_;
    } else if ((character == '-' || character == '?') && is_space(at_ + 1)) {
      pass(true);
    } else {
      return false;
    }
    return true;
  }

  void go_on(char character) {
    if (is_opening(character) && (begins_value_ || in_brackets())) {
      found_.brackets.push_back(at_);
      pass(true);
    } else if (is_closing(character) && in_brackets()) {
      found_.brackets.pop_back();
      pass(false);
    } else if (character == ',' && in_brackets()) {
      pass(true);
    } else {
      pass(character == ':' && ends_key());
    }
  }

  bool ends_key() const {
    if (is_space(at_ + 1)) return true;
    const bool follows_quoted = found_.last_quoted && found_.last_quoted->end == at_;
    return in_brackets() && (follows_quoted || text_[at_ + 1] == ',' || is_closing(text_[at_ + 1]));
  }

  void read_quoted() {
    const std::optional<size_t> end = end_of_quoted(text_, at_);
    if (!end) {
      found_.quote = at_;
      return;
    }
    found_.last_quoted = Openings::Quoted{at_, *end};
    at_ = *end;
    begins_value_ = false;
  }

  // The lines of a block of text are blank, or have more blanks at the front than the line where it begins.
  void skip_block() {
    const size_t line = text_.rfind('\n', at_) + 1;
    const size_t indent = indent_of(line);
    skip_line();
    while (at_ < text_.size()) {
      const size_t next = at_ + 1;
      const size_t content = next + indent_of(next);
      const bool is_blank_line = content >= text_.size() || text_[content] == '\n';
      if (!is_blank_line && indent_of(next) <= indent) break;
      at_ = next;
      skip_line();
    }
    begins_value_ = false;
  }

  size_t indent_of(size_t line) const {
    size_t at = line;
    while (at < text_.size() && text_[at] == ' ')
      ++at;
    return at - line;
  }

  std::string_view text_;
  size_t at_ = 0;
  bool begins_value_ = true;
  Openings found_;
};

}  // namespace

Openings find_openings(std::string_view text) {
  return Scanner(text).run();
}

std::optional<size_t> end_of_quoted(std::string_view text, size_t begin) {
  const char quote = text[begin];
  for (size_t at = begin + 1; at < text.size(); ++at) {
    if (text[at] == '\\' && quote == '"') {
      ++at;
    } else if (text[at] == quote) {
      // In single quotes, two of them stand for one.
      const bool is_doubled = quote == '\'' && at + 1 < text.size() && text[at + 1] == quote;
      if (!is_doubled) return at + 1;
      ++at;
    }
  }
  return std::nullopt;
}

}  // namespace simulator::yaml
