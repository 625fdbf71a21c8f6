#include "simulator/lint/ignores.h"

#include <algorithm>
#include <optional>

#include "simulator/text/text.h"

namespace simulator::lint {

namespace {

// ---- Comments of YAML -----------------------------------------------------------------------------------------------------

size_t indent_of(std::string_view line) {
  return std::min(line.find_first_not_of(' '), line.size());
}

// Finds the comments of a file, line by line. A '#' inside quotes, in a block of literal text, or inside a word does not
// begin one.
class Comments {
 public:
  // Returns where the comment of the next line begins.
  std::optional<size_t> next(std::string_view line) {
    if (is_in_block(line)) return std::nullopt;
    size_t content = line.size();
    std::optional<size_t> comment;
    for (size_t at = 0; at < line.size() && !comment; ++at) {
      if (quote_ != 0) {
        skip_quoted(line, at);
      } else if (line[at] == '#' && (at == 0 || is_blank(line[at - 1]))) {
        comment = content = at;
      } else if ((line[at] == '"' || line[at] == '\'') && begins_value(line.substr(0, at))) {
        quote_ = line[at];
      }
    }
    if (quote_ == 0) note_block(line.substr(0, content));
    return comment;
  }

 private:
  static bool is_blank(char character) { return character == ' ' || character == '\t'; }

  // A block of literal text ends with the first line that is indented no more than its key.
  bool is_in_block(std::string_view line) {
    if (!in_block_) return false;
    const bool is_empty = line.find_first_not_of(" \t\r") == std::string_view::npos;
    in_block_ = is_empty || indent_of(line) > block_;
    return in_block_;
  }
  // A quote begins a text only where a value can begin; elsewhere it is an apostrophe.
  static bool begins_value(std::string_view before) {
    const size_t last = before.find_last_not_of(" \t");
    if (last == std::string_view::npos) return true;
    const bool after_blank = last + 1 < before.size();
    const char character = before[last];
    if (character == '[' || character == '{' || character == ',') return true;
    return after_blank && (character == ':' || character == '-' || character == '?');
  }
  void skip_quoted(std::string_view line, size_t &at) {
    if (quote_ == '"' && line[at] == '\\') {
      ++at;
    } else if (line[at] == quote_) {
      const bool is_doubled = quote_ == '\'' && at + 1 < line.size() && line[at + 1] == '\'';
      if (is_doubled) {
        ++at;
      } else {
        quote_ = 0;
      }
    }
  }
  // "key: |", with its modifiers, begins a block; so does "- |".
  void note_block(std::string_view content) {
    const size_t end = content.find_last_not_of(" \t\r");
    if (end == std::string_view::npos) return;
    content = content.substr(0, end + 1);
    const size_t mark = content.find_last_not_of("+-0123456789");
    if (mark == std::string_view::npos || mark == 0) return;
    const bool is_mark = (content[mark] == '|' || content[mark] == '>') && is_blank(content[mark - 1]);
    if (!is_mark || !begins_value(content.substr(0, mark))) return;
    size_t key = indent_of(content);
    while (content.substr(key).starts_with("- ") && key + 2 < mark)
      key = std::min(content.find_first_not_of(' ', key + 2), mark);
    in_block_ = true;
    block_ = key == mark ? indent_of(content) : key;
  }

  char quote_ = 0;         // of the text that is not yet closed
  bool in_block_ = false;  // the last line was in a block, or began one
  size_t block_ = 0;       // the indent of its key
};

// ---- Ignores --------------------------------------------------------------------------------------------------------------

std::string_view trimmed(std::string_view text) {
  const size_t first = text.find_first_not_of(" \t\r");
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

// The kind and the reason of a comment, or nothing when it is another comment.
struct Asked {
  std::string_view kind;
  std::string_view reason;
};

std::optional<Asked> read_comment(std::string_view comment) {
  constexpr std::string_view kAsk = "zar: ignore";
  comment = trimmed(comment.substr(1));
  if (!comment.starts_with(kAsk)) return std::nullopt;
  comment.remove_prefix(kAsk.size());
  if (!comment.empty() && comment[0] != ' ' && comment[0] != '\t') return std::nullopt;
  comment = trimmed(comment);
  const size_t end = std::min(comment.find_first_of(" \t:"), comment.size());
  std::string_view reason = trimmed(comment.substr(end));
  if (reason.starts_with(':')) reason = trimmed(reason.substr(1));
  return Asked{comment.substr(0, end), reason};
}

bool check(const Asked &asked, Position position, Diagnostics &diagnostics) {
  constexpr const char *kExpected = "# zar: ignore KIND: REASON";
  const std::vector<std::string_view> kinds = kind_names();
  if (asked.kind.empty()) {
    diagnostics.add(position, "an ignore without the kind of finding", kExpected);
  } else if (std::find(kinds.begin(), kinds.end(), asked.kind) == kinds.end()) {
    diagnostics.add(position, concat("there is no kind of finding '", asked.kind, "'"),
                    concat("one of ", comma_separated(kinds)), nearest(asked.kind, kinds));
  } else if (asked.reason.empty()) {
    diagnostics.add(position, "an ignore without a reason", kExpected);
  } else {
    return true;
  }
  return false;
}

}  // namespace

std::vector<Ignore> read_ignores(const Source &source, Diagnostics &diagnostics) {
  std::vector<Ignore> ignores;
  size_t without_line = 0;  // the last ones, which wait for a line with content
  Comments comments;
  std::string_view rest = source.text();
  for (size_t number = 0; !rest.empty(); ++number) {
    const size_t length = std::min(rest.find('\n'), rest.size());
    const std::string_view line = rest.substr(0, length);
    rest.remove_prefix(std::min(length + 1, rest.size()));
    const std::optional<size_t> comment = comments.next(line);
    const bool has_content = !trimmed(line.substr(0, comment.value_or(line.size()))).empty();
    const uint32_t here = source.position_of(number, 0).line;
    if (comment) {
      const Position position = source.position_of(number, *comment);
      const std::optional<Asked> asked = read_comment(line.substr(*comment));
      if (asked && check(*asked, position, diagnostics)) {
        ignores.push_back({position, here, std::string(asked->kind), std::string(asked->reason)});
        ++without_line;
      }
    }
    if (!has_content) continue;
    for (; without_line > 0; --without_line)
      ignores[ignores.size() - without_line].line = here;
  }
  return ignores;
}

void apply(const std::vector<Ignore> &ignores, Findings &findings) {
  std::vector<bool> used(ignores.size(), false);
  std::vector<Finding> left;
  for (Finding &finding : findings.all) {
    const auto is_for_it = [&](const Ignore &ignore) {
      return ignore.line == finding.position.line && ignore.kind == to_string(finding.kind);
    };
    const auto found = std::find_if(ignores.begin(), ignores.end(), is_for_it);
    for (size_t at = 0; at < ignores.size(); ++at) {
      // While a question about the line is open, a comment about it may be needed.
      const bool is_open = finding.kind == Kind::undecided && ignores[at].line == finding.position.line;
      used[at] = used[at] || is_open || is_for_it(ignores[at]);
    }
    if (found == ignores.end()) {
      left.push_back(std::move(finding));
    } else {
      findings.ignored.push_back({std::move(finding), found->reason, found->position});
    }
  }
  for (size_t at = 0; at < ignores.size(); ++at) {
    if (used[at]) continue;
    left.push_back({Kind::unused_ignore,
                    ignores[at].position,
                    concat("there is no finding ", ignores[at].kind, " to ignore in line ", ignores[at].line),
                    {},
                    {}});
  }
  std::stable_sort(left.begin(), left.end(),
                   [](const Finding &a, const Finding &b) { return a.position < b.position; });
  findings.all = std::move(left);
}

}  // namespace simulator::lint
