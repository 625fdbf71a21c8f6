#include "simulator/format/syntax.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "simulator/policy/yaml_events.h"
#include "simulator/text/text.h"

namespace simulator::format {

namespace {

using yaml::Event;
using yaml::EventKind;

constexpr std::string_view kBlanks = " \t";
constexpr std::string_view kEndsOfWord = " \t\n,[]{}";

bool is_blank(char character) {
  return kBlanks.find(character) != std::string_view::npos;
}

std::string_view without_blanks_at_end(std::string_view text) {
  return text.substr(0, text.find_last_not_of(kBlanks) + 1);
}

// Ends the reading at a construct that is not laid out anew.
struct Refused {
  size_t offset;
  std::string message;
  std::string expected;
};

class SyntaxReader {
 public:
  explicit SyntaxReader(const Source &source) : text_(source.text()), events_(yaml::events_of(source)) {}

  Syntax run();

 private:
  [[noreturn]] void refuse(std::string message, std::string expected) const {
    throw Refused{at_, std::move(message), std::move(expected)};
  }
  [[noreturn]] void refuse_unclear() const { refuse("this cannot be laid out", "a simpler way to write it"); }

  // The character at this offset; a newline behind the end.
  char character(size_t offset) const { return offset < text_.size() ? text_[offset] : '\n'; }
  char here() const { return character(at_); }
  bool at_indicator(char indicator) const {
    return at_ < text_.size() && here() == indicator && (is_blank(character(at_ + 1)) || character(at_ + 1) == '\n');
  }
  bool has_event(EventKind kind) const { return events_[event_].kind == kind; }

  size_t line_start(size_t offset) const;
  size_t line_end(size_t offset) const { return std::min(text_.find('\n', offset), text_.size()); }

  void scan_gap();
  void add_comment(bool blank_before);
  Gap take_gap() { return std::exchange(gap_, {}); }
  void move_comments_to(std::vector<Comment> &comments);
  void move_inner_comments_to(std::vector<Comment> &comments, size_t least_column);

  void read_markers(std::vector<Marker> &markers, const std::vector<std::string_view> &kinds);
  bool at_marker(std::string_view kind) const;
  void read_value(Entry &entry, size_t column, bool in_brackets);
  bool is_left_out() const;
  bool at_null_word() const;
  void read_anchor(Node &node);
  void read_collection(Node &node, size_t least_column, bool in_brackets);
  void read_brackets(Node &node);
  void read_pair(Node &node);
  void read_block(Node &node, size_t least_column);
  void read_dash();
  void read_key(Entry &entry, bool in_brackets);
  void read_scalar(Node &node, size_t column, bool in_brackets);
  void read_word(Node &node);
  void read_quoted(Node &node);
  void read_plain(Node &node);
  size_t read_line_breaks(Node &node);
  void read_block_text(Node &node, size_t column);
  void read_header(Node &node);
  size_t indentation_of_block_text(const Node &node, size_t column) const;

  const std::string &text_;
  std::vector<Event> events_;
  size_t at_ = 0;     // the next character
  size_t event_ = 0;  // the next event
  Gap gap_{};         // what was read in front of the next character and belongs to nothing yet
  std::vector<std::string> comments_{};
};

// ---- Between the values ---------------------------------------------------------------------------------------------

size_t SyntaxReader::line_start(size_t offset) const {
  const size_t newline = offset == 0 ? std::string::npos : text_.rfind('\n', offset - 1);
  return newline == std::string::npos ? 0 : newline + 1;
}

void SyntaxReader::scan_gap() {
  const size_t start = at_;
  size_t newlines = 0;  // since the last value or comment
  while (at_ < text_.size()) {
    if (here() == '#') {
      add_comment(newlines > 1);
      newlines = 0;
      continue;
    }
    if (here() == '\n') {
      ++newlines;
    } else if (!is_blank(here())) {
      break;
    }
    ++at_;
  }
  if (at_ != start) gap_.blank = newlines > 1;
}

void SyntaxReader::add_comment(bool blank_before) {
  const size_t start = line_start(at_);
  const std::string_view front = std::string_view(text_).substr(start, at_ - start);
  const std::string_view before = without_blanks_at_end(front);
  const size_t end = line_end(at_);
  Comment comment{.text = std::string(without_blanks_at_end(std::string_view(text_).substr(at_, end - at_)))};
  comment.own_line = before.empty();
  comment.blank_before = blank_before;
  comment.column = front.size();
  comment.distance = front.size() - before.size();
  comments_.push_back(comment.text);
  gap_.comments.push_back(std::move(comment));
  at_ = end;
}

void SyntaxReader::move_comments_to(std::vector<Comment> &comments) {
  Gap gap = take_gap();
  for (Comment &comment : gap.comments)
    comments.push_back(std::move(comment));
}

// What ends a line belongs to what stands there, and comments that are indented like a block belong to it.
void SyntaxReader::move_inner_comments_to(std::vector<Comment> &comments, size_t least_column) {
  const auto outer = std::find_if(gap_.comments.begin(), gap_.comments.end(), [&](const Comment &comment) {
    return comment.own_line && comment.column < least_column;
  });
  comments.assign(std::make_move_iterator(gap_.comments.begin()), std::make_move_iterator(outer));
  gap_.comments.erase(gap_.comments.begin(), outer);
}

bool SyntaxReader::at_marker(std::string_view kind) const {
  if (at_ != line_start(at_) || !std::string_view(text_).substr(at_).starts_with(kind)) return false;
  const char behind = character(at_ + kind.size());
  return kind == "%" || is_blank(behind) || behind == '\n';
}

void SyntaxReader::read_markers(std::vector<Marker> &markers, const std::vector<std::string_view> &kinds) {
  for (;;) {
    scan_gap();
    const auto kind = std::find_if(kinds.begin(), kinds.end(), [&](std::string_view each) { return at_marker(each); });
    if (kind == kinds.end()) return;
    const size_t end = *kind == "%" ? line_end(at_) : at_ + kind->size();
    const std::string_view text = std::string_view(text_).substr(at_, end - at_);
    markers.push_back({take_gap(), std::string(without_blanks_at_end(text))});
    at_ = end;
  }
}

// ---- Values ---------------------------------------------------------------------------------------------------------

Syntax SyntaxReader::run() {
  Syntax syntax;
  read_markers(syntax.head, {"%", "---"});
  if (events_.empty()) refuse_unclear();
  // Comments in front of a block are those of its first entry.
  if (here() == '{' || events_[event_].has_anchor) syntax.root.before = take_gap();
  if (events_[event_].has_anchor) read_anchor(syntax.root.value);
  read_collection(syntax.root.value, 0, false);
  read_markers(syntax.tail, {"..."});
  syntax.last = take_gap().comments;
  if (at_ != text_.size()) refuse_unclear();
  syntax.comments = std::move(comments_);
  return syntax;
}

// 'column' is that of the block around the value.
void SyntaxReader::read_value(Entry &entry, size_t column, bool in_brackets) {
  scan_gap();
  if (is_left_out()) {
    ++event_;
    return;
  }
  Node &node = entry.value;
  if (events_[event_].has_anchor) {
    move_comments_to(entry.between);
    read_anchor(node);
    scan_gap();
    if (has_event(EventKind::null) && !at_null_word()) {
      ++event_;
      return;
    }
  }
  const bool is_block = !in_brackets && here() != '[' && here() != '{';
  const bool is_collection = has_event(EventKind::list) || has_event(EventKind::mapping);
  // Comments in front of a block are those of its first entry.
  if (!is_collection || !is_block) move_comments_to(entry.between);
  if (is_collection) {
    read_collection(node, column + 1, in_brackets);
  } else {
    read_scalar(node, column, in_brackets);
  }
}

bool SyntaxReader::is_left_out() const {
  return has_event(EventKind::null) && !events_[event_].has_anchor && !at_null_word();
}

// Whether a value here is written as a word that means none. The same word in front of a colon is a key.
bool SyntaxReader::at_null_word() const {
  for (const std::string_view word : {"~", "null", "Null", "NULL"}) {
    if (!std::string_view(text_).substr(at_).starts_with(word)) continue;
    const size_t behind = text_.find_first_not_of(kBlanks, at_ + word.size());
    const char next = behind == std::string::npos ? '\n' : text_[behind];
    return std::string_view("\n#,]}").find(next) != std::string_view::npos;
  }
  return false;
}

void SyntaxReader::read_anchor(Node &node) {
  if (here() != '&') refuse_unclear();
  const size_t end = std::min(text_.find_first_of(kEndsOfWord, at_), text_.size());
  node.anchor = text_.substr(at_, end - at_);
  at_ = end;
}

void SyntaxReader::read_collection(Node &node, size_t least_column, bool in_brackets) {
  const bool is_list = has_event(EventKind::list);
  if (!is_list && !has_event(EventKind::mapping)) refuse_unclear();
  node.shape = is_list ? Shape::list : Shape::mapping;
  scan_gap();
  ++event_;
  if (here() == (is_list ? '[' : '{')) {
    read_brackets(node);
  } else if (in_brackets) {
    read_pair(node);
  } else {
    read_block(node, least_column);
  }
}

void SyntaxReader::read_brackets(Node &node) {
  const size_t start = at_;
  const bool is_list = node.shape == Shape::list;
  node.in_brackets = true;
  ++at_;
  while (!has_event(EventKind::end)) {
    Entry &entry = node.entries.emplace_back();
    scan_gap();
    entry.before = take_gap();
    if (!is_list) read_key(entry, true);
    read_value(entry, 0, true);
    scan_gap();
    if (here() == ',') ++at_;
  }
  ++event_;
  scan_gap();
  node.last = take_gap().comments;
  if (here() != (is_list ? ']' : '}')) refuse_unclear();
  ++at_;
  node.on_lines = line_end(start) < at_;
}

// A mapping with one key may stand in a list without its braces: [a: b].
void SyntaxReader::read_pair(Node &node) {
  if (node.shape == Shape::list) refuse_unclear();
  node.in_brackets = true;
  Entry &entry = node.entries.emplace_back();
  read_key(entry, true);
  read_value(entry, 0, true);
  if (!has_event(EventKind::end)) refuse_unclear();
  ++event_;
}

// The comments behind a block that belong to it have at least this column.
void SyntaxReader::read_block(Node &node, size_t least_column) {
  const size_t column = at_ - line_start(at_);
  while (!has_event(EventKind::end)) {
    Entry &entry = node.entries.emplace_back();
    scan_gap();
    entry.before = take_gap();
    if (node.shape == Shape::list) {
      read_dash();
    } else {
      read_key(entry, false);
    }
    read_value(entry, column, false);
  }
  ++event_;
  scan_gap();
  move_inner_comments_to(node.last, std::max(column, least_column));
}

void SyntaxReader::read_dash() {
  if (!at_indicator('-')) refuse_unclear();
  ++at_;
}

void SyntaxReader::read_key(Entry &entry, bool in_brackets) {
  const bool is_marked = at_indicator('?');
  if (is_marked) {
    ++at_;
    scan_gap();
    move_comments_to(entry.before.comments);
  }
  if (events_[event_].has_anchor) {
    read_anchor(entry.key);
    scan_gap();
  }
  read_scalar(entry.key, 0, in_brackets);
  if (entry.key.shape != Shape::text || entry.key.lines.size() != 1) {
    refuse("a key of several lines", "a key on one line");
  }
  scan_gap();
  if (here() == ':') {
    ++at_;
  } else if (!in_brackets && !is_marked) {
    refuse_unclear();
  }
}

// ---- Scalars --------------------------------------------------------------------------------------------------------

void SyntaxReader::read_scalar(Node &node, size_t column, bool in_brackets) {
  node.shape = Shape::text;
  node.value = events_[event_].text;
  const char first = here();
  if (first == '!') refuse("a tag", "no tags");
  if (has_event(EventKind::alias) || has_event(EventKind::null)) {
    read_word(node);
  } else if (!has_event(EventKind::scalar)) {
    refuse_unclear();
  } else if (first == '"' || first == '\'') {
    read_quoted(node);
  } else if (!in_brackets && (first == '|' || first == '>')) {
    read_block_text(node, column);
  } else {
    read_plain(node);
  }
  ++event_;
}

void SyntaxReader::read_word(Node &node) {
  const bool good = has_event(EventKind::alias) ? here() == '*' : at_null_word();
  if (!good) refuse_unclear();
  const size_t end = std::min(text_.find_first_of(kEndsOfWord, at_), text_.size());
  node.lines.push_back(text_.substr(at_, end - at_));
  at_ = end;
}

// In the lines of a text in quotes, blanks at the start mean nothing; those at the end may, behind a backslash.
void SyntaxReader::read_quoted(Node &node) {
  const char quote = here();
  std::string line(1, quote);
  for (++at_; at_ < text_.size(); ++at_) {
    const char next = here();
    if (next == '\n') {
      node.lines.push_back(std::exchange(line, {}));
      at_ = std::min(text_.find_first_not_of(kBlanks, at_ + 1), text_.size()) - 1;
      continue;
    }
    line += next;
    const bool is_pair = quote == '"' ? next == '\\' : next == quote && character(at_ + 1) == quote;
    if (is_pair && character(at_ + 1) != '\n') {
      line += character(++at_);
    } else if (next == quote) {
      ++at_;
      node.lines.push_back(std::move(line));
      return;
    }
  }
  refuse_unclear();
}

// A text without quotes has no escapes: the text in the file is its value, except where a line ends.
void SyntaxReader::read_plain(Node &node) {
  node.plain = true;
  node.lines.emplace_back();
  for (size_t next = 0; next < node.value.size();) {
    const size_t end = text_.find_first_not_of(kBlanks, at_);
    if (end != std::string::npos && text_[end] == '\n') {
      at_ = end;
      // A line break is read as a blank, but not in front of an empty line; each empty line is read as a newline.
      const size_t empty = read_line_breaks(node);
      const std::string read = empty == 0 ? " " : std::string(empty, '\n');
      if (node.value.compare(next, read.size(), read) != 0) refuse_unclear();
      next += read.size();
    } else {
      if (at_ >= text_.size() || here() != node.value[next]) refuse_unclear();
      node.lines.back() += text_[at_++];
      ++next;
    }
  }
}

// From the end of a line to the first character of the next one that is not empty. Returns the number of empty lines.
size_t SyntaxReader::read_line_breaks(Node &node) {
  size_t empty = 0;
  for (;;) {
    at_ = std::min(text_.find_first_not_of(kBlanks, at_ + 1), text_.size());
    node.lines.emplace_back();
    if (at_ == text_.size() || here() != '\n') return empty;
    ++empty;
  }
}

// The line with '|' or '>', and its comment.
void SyntaxReader::read_header(Node &node) {
  const size_t end = line_end(at_);
  const std::string header = text_.substr(at_, end - at_);
  const size_t comment = header.find('#');
  node.lines.emplace_back(without_blanks_at_end(std::string_view(header).substr(0, comment)));
  if (comment != std::string::npos) {
    comments_.emplace_back(without_blanks_at_end(std::string_view(header).substr(comment)));
    node.lines[0] += concat("  ", comments_.back());
  }
  const size_t digit = header.substr(0, comment).find_first_of("123456789");
  if (digit != std::string::npos) node.indicator = static_cast<size_t>(header[digit] - '0');
  at_ = end;
}

// The blanks in front of each line of the text that are not part of it.
size_t SyntaxReader::indentation_of_block_text(const Node &node, size_t column) const {
  if (node.indicator != 0) return column + node.indicator;
  const size_t first = text_.find_first_not_of(" \n", at_);
  if (first == std::string::npos) return column + 1;
  return std::max(first - line_start(first), column + 1);
}

void SyntaxReader::read_block_text(Node &node, size_t column) {
  node.shape = Shape::block_text;
  read_header(node);
  const size_t indentation = indentation_of_block_text(node, column);
  const bool keeps_empty_lines = node.lines[0].substr(0, node.lines[0].find('#')).find('+') != std::string::npos;
  size_t end = at_;         // of the last line that counts
  size_t lines_to_end = 1;  // with the header
  while (at_ < text_.size()) {
    const size_t start = at_ + 1;
    if (start >= text_.size()) break;
    const size_t next = line_end(start);
    const std::string_view line = std::string_view(text_).substr(start, next - start);
    const size_t blanks = std::min(line.find_first_not_of(' '), line.size());
    if (blanks < indentation && blanks < line.size()) break;
    node.lines.emplace_back(line.substr(std::min(indentation, line.size())));
    at_ = next;
    if (node.lines.back().empty() && !keeps_empty_lines) continue;
    end = at_;
    lines_to_end = node.lines.size();
  }
  node.lines.resize(lines_to_end);
  at_ = end;
  // A newline at the end would be one more in the text.
  if (at_ == text_.size())
    refuse("the file ends in a block of text, without a newline", "a newline at the end of the file");
}

}  // namespace

std::optional<Syntax> read_syntax(const Source &source, Diagnostics &diagnostics) {
  try {
    return SyntaxReader(source).run();
  } catch (const Refused &refused) {
    const std::string_view before = std::string_view(source.text()).substr(0, refused.offset);
    const auto line = static_cast<size_t>(std::count(before.begin(), before.end(), '\n'));
    const size_t start = before.rfind('\n') + 1;
    diagnostics.add(source.position_of(line, refused.offset - start), refused.message, refused.expected);
    return std::nullopt;
  }
}

}  // namespace simulator::format
