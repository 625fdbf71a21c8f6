#include "simulator/format/layout.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "simulator/text/text.h"

namespace simulator::format {

namespace {

constexpr size_t kWidth = 120;
constexpr size_t kIndent = 2;
constexpr size_t kBeforeComment = 2;

// The places of lists and mappings that are in brackets whenever they fit. A star is any name, a dash an item of a list.
constexpr std::string_view kShort[] = {
    "class-maps/*/filters/-",
    "class-maps/*/filters/-/range",
    "parameter-maps/*/statements/-/filters/-",
    "parameter-maps/*/statements/-/filters/-/range",
    "parameter-maps/*/statements/-/actions/-/set",
    "policy-maps/*/events/*/rules/-/actions/-/set",
    "targets/*/policies",
    "scenario/-/set",
    "scenario/-/clear",
    "tests/-/set",
    "tests/-/clear",
    "tests/-/steps/-/set",
    "tests/-/steps/-/clear",
    "claims/-/policies",
    "claims/-/when/-",
    "claims/-/when/-/range",
    "claims/-/ends-with",
};

using Path = std::vector<std::string_view>;

bool matches(const Path &path, std::string_view pattern) {
  for (const std::string_view step : path) {
    const size_t slash = std::min(pattern.find('/'), pattern.size());
    const std::string_view expected = pattern.substr(0, slash);
    if (expected.empty() || (expected != "*" && expected != step)) return false;
    pattern.remove_prefix(std::min(slash + 1, pattern.size()));
  }
  return pattern.empty();
}

bool is_short(const Path &path) {
  return std::any_of(std::begin(kShort), std::end(kShort),
                     [&](std::string_view pattern) { return matches(path, pattern); });
}

// In characters, not in bytes.
size_t length_of(std::string_view text) {
  return static_cast<size_t>(
      std::count_if(text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xc0U) != 0x80; }));
}

bool is_collection(const Node &node) {
  return node.shape == Shape::list || node.shape == Shape::mapping;
}

std::string joined(const std::string &anchor, std::string_view text) {
  return concat(anchor, anchor.empty() || text.empty() ? "" : " ", text);
}

std::string text_of_key(const Node &key) {
  // A colon could be the last character of an alias.
  const bool is_alias = key.lines[0].starts_with('*');
  return concat(joined(key.anchor, key.lines[0]), is_alias ? " :" : ":");
}

// Whether a plain text from a block means the same in brackets.
bool can_stand_in_brackets(const Node &text) {
  const std::string &line = text.lines[0];
  return !text.plain || (line.find_first_of(",?[]{}") == std::string::npos && !line.ends_with(':'));
}

bool has_comments(const Node &node) {
  return !node.last.empty() || std::any_of(node.entries.begin(), node.entries.end(), [](const Entry &entry) {
    return !entry.before.comments.empty() || !entry.between.empty();
  });
}

std::optional<std::string> in_one_line(const Node &node, bool was_in_brackets);

std::optional<std::string> collection_in_one_line(const Node &node) {
  if (has_comments(node)) return std::nullopt;
  const bool is_list = node.shape == Shape::list;
  std::string text;
  for (const Entry &entry : node.entries) {
    const std::optional<std::string> value = in_one_line(entry.value, node.in_brackets);
    if (!value || (!is_list && !node.in_brackets && !can_stand_in_brackets(entry.key))) return std::nullopt;
    if (!text.empty()) text += ", ";
    if (!is_list) text += text_of_key(entry.key) + " ";
    text += *value;
  }
  return joined(node.anchor, is_list ? concat("[", text, "]") : concat("{", text, "}"));
}

// Nothing if it needs several lines.
std::optional<std::string> in_one_line(const Node &node, bool was_in_brackets) {
  if (is_collection(node)) return collection_in_one_line(node);
  if (node.shape == Shape::nothing) return node.anchor;
  const bool is_one_line = node.shape == Shape::text && node.lines.size() == 1;
  if (!is_one_line || (!was_in_brackets && !can_stand_in_brackets(node))) return std::nullopt;
  return joined(node.anchor, node.lines[0]);
}

class Layout {
 public:
  std::string run(const Syntax &syntax);

 private:
  void begin_line(size_t indent, bool blank = false);
  void end_line();
  void write(std::string_view text) { line_ += text; }

  void markers(const std::vector<Marker> &markers);
  void comments(const std::vector<Comment> &comments, size_t indent);
  void root(const Entry &root);
  void entries(const Node &node, size_t indent, bool on_this_line);
  void entry(const Entry &entry, bool in_list, size_t indent);
  void value(const Entry &entry, bool in_list, size_t indent);
  void further_lines(const Node &node, size_t indent);
  std::optional<std::string> in_brackets(const Node &node, size_t column) const;

  std::string out_{};
  std::string line_{};        // the line under way
  bool is_open_ = false;      // a line is under way
  bool has_comment_ = false;  // the line under way ends with a comment
  bool is_fresh_ = true;      // a file or block begins here, where no empty line stands
  Path path_{};
};

void Layout::begin_line(size_t indent, bool blank) {
  end_line();
  if (blank && !is_fresh_) out_ += '\n';
  line_.assign(indent, ' ');
  is_open_ = true;
  has_comment_ = false;
  is_fresh_ = false;
}

void Layout::end_line() {
  if (!is_open_) return;
  out_ += line_;
  out_ += '\n';
  is_open_ = false;
}

void Layout::comments(const std::vector<Comment> &comments, size_t indent) {
  for (const Comment &comment : comments) {
    if (!comment.own_line && is_open_ && !has_comment_) {
      line_.append(std::max(comment.distance, kBeforeComment), ' ');
    } else {
      begin_line(indent, comment.blank_before);
    }
    write(comment.text);
    has_comment_ = true;
  }
}

void Layout::markers(const std::vector<Marker> &markers) {
  for (const Marker &marker : markers) {
    comments(marker.before.comments, 0);
    begin_line(0, marker.before.blank);
    write(marker.text);
  }
}

std::string Layout::run(const Syntax &syntax) {
  markers(syntax.head);
  root(syntax.root);
  markers(syntax.tail);
  comments(syntax.last, 0);
  end_line();
  return std::move(out_);
}

void Layout::root(const Entry &root) {
  const Node &node = root.value;
  comments(root.before.comments, 0);
  const std::optional<std::string> text = in_brackets(node, 0);
  if (text || !node.anchor.empty()) {
    begin_line(0, root.before.blank);
    write(text ? *text : node.anchor);
  } else if (root.before.blank && !is_fresh_) {
    end_line();
    out_ += '\n';
  }
  if (text) {
    comments(node.last, 0);
  } else {
    entries(node, 0, false);
  }
}

// The list or mapping as it is written in brackets; nothing if its entries get lines of their own. 'column' is where it
// would begin.
std::optional<std::string> Layout::in_brackets(const Node &node, size_t column) const {
  if (!is_collection(node)) return std::nullopt;
  if (node.entries.empty()) return joined(node.anchor, node.shape == Shape::list ? "[]" : "{}");
  const bool is_wanted = (node.in_brackets && !node.on_lines) || is_short(path_);
  if (!is_wanted) return std::nullopt;
  std::optional<std::string> text = collection_in_one_line(node);
  return text && column + length_of(*text) <= kWidth ? text : std::nullopt;
}

// With 'on_this_line' the first entry stands behind the dash of a list.
void Layout::entries(const Node &node, size_t indent, bool on_this_line) {
  is_fresh_ = !on_this_line;
  const bool in_list = node.shape == Shape::list;
  for (const Entry &each : node.entries) {
    if (on_this_line && &each == &node.entries.front()) {
      write(" ");
    } else {
      comments(each.before.comments, indent);
      begin_line(indent, each.before.blank);
    }
    entry(each, in_list, indent);
  }
  comments(node.last, indent);
}

void Layout::entry(const Entry &entry, bool in_list, size_t indent) {
  write(in_list ? "-" : text_of_key(entry.key));
  path_.push_back(in_list ? "-" : std::string_view(entry.key.value));
  value(entry, in_list, indent);
  path_.pop_back();
}

// Behind its key or dash, or below them if comments stand between.
void Layout::value(const Entry &entry, bool in_list, size_t indent) {
  const Node &node = entry.value;
  const size_t inner = indent + kIndent;
  const bool is_below = !entry.between.empty();
  if (is_below) is_fresh_ = true;
  comments(entry.between, inner);

  const std::optional<std::string> brackets = in_brackets(node, is_below ? inner : length_of(line_) + 1);
  const bool has_lines = is_collection(node) && !brackets;
  const std::string first =
      brackets ? *brackets : joined(node.anchor, has_lines || node.lines.empty() ? "" : node.lines[0]);
  if (!first.empty()) {
    if (is_below) {
      begin_line(inner);
    } else {
      write(" ");
    }
    write(first);
  }
  if (has_lines) {
    const bool behind_dash = in_list && !is_below && first.empty() && node.entries.front().before.comments.empty();
    return entries(node, inner, behind_dash);
  }
  if (brackets) comments(node.last, indent);
  further_lines(node, indent);
}

void Layout::further_lines(const Node &node, size_t indent) {
  const size_t inner = indent + (node.indicator == 0 ? kIndent : node.indicator);
  for (size_t at = 1; at < node.lines.size(); ++at) {
    begin_line(node.lines[at].empty() ? 0 : inner);
    write(node.lines[at]);
  }
}

}  // namespace

std::string lay_out(const Syntax &syntax) {
  return Layout().run(syntax);
}

}  // namespace simulator::format
