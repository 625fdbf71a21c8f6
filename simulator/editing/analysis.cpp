#include "simulator/editing/analysis.h"

#include <algorithm>

#include "simulator/policy/yaml.h"
#include "simulator/text/text.h"

namespace simulator::editing {

namespace {

// Each attempt parses the text once.
constexpr size_t kMostAttempts = 8;
constexpr size_t kNoLine = std::string::npos;

struct Line {
  Span span{};
  size_t indent = 0;
  bool blank = false;  // or only a comment
};

std::vector<Line> lines_of(std::string_view text) {
  std::vector<Line> lines;
  for (size_t begin = 0; begin < text.size();) {
    const size_t end = std::min(text.find('\n', begin), text.size());
    const size_t content = std::min(text.find_first_not_of(' ', begin), end);
    const bool blank = content == end || text[content] == '\r' || text[content] == '#';
    lines.push_back({{begin, end}, content - begin, blank});
    begin = end + 1;
  }
  return lines;
}

// Leaves out lines around mistakes until the rest is YAML.
class Recovery {
 public:
  Recovery(const std::string &name, const std::string &text) : name_(name), text_(text), lines_(lines_of(text)) {}

  // The source without the lines; nothing if that did not help.
  std::optional<Source> run(size_t error_line, size_t edited_line) {
    const Recovery before = *this;
    if (attempt(edited_line)) return source();
    if (has_come_further_than(error_line)) return run(failed_at_, kNoLine);
    // It is not to blame.
    *this = before;
    return leave_out_from(error_line);
  }

  // Whether something that was left out may be what a problem at this place is about.
  bool is_doubtful(size_t offset, std::string_view word) const {
    const auto is_around = [&](Span line) { return line.contains(offset); };
    return std::any_of(around_.begin(), around_.end(), is_around) ||
           (!word.empty() && removed_.find(word) != std::string::npos);
  }

 private:
  Source source() const { return {name_, text_}; }
  bool has_come_further_than(size_t line) const { return failed_at_ != kNoLine && failed_at_ > line; }

  // The line, then more and more of what it is in.
  std::optional<Source> leave_out_from(size_t error_line) {
    for (size_t line = error_line; attempts_ < kMostAttempts && line < lines_.size(); line = parent_of(line)) {
      if (attempt(line)) return source();
      if (has_come_further_than(error_line)) return leave_out_from(failed_at_);
    }
    return std::nullopt;
  }

  bool attempt(size_t line) {
    failed_at_ = kNoLine;
    if (line >= lines_.size() || ++attempts_ > kMostAttempts) return false;
    leave_out(line);
    Diagnostics diagnostics;
    const Source rest = source();
    const bool helped = yaml::parse(rest, diagnostics).has_value();
    failed_at_ = helped ? kNoLine : diagnostics.sorted().front().position.line - 1;
    return helped;
  }

  // A line and what is indented under it.
  void leave_out(size_t first) {
    note_surroundings(first);
    for (size_t at = first; at < lines_.size(); ++at) {
      const Line &line = lines_[at];
      if (at > first && !line.blank && line.indent <= lines_[first].indent) break;
      removed_ += text_.substr(line.span.begin, line.span.size());
      removed_ += '\n';
      std::fill(text_.begin() + static_cast<std::ptrdiff_t>(line.span.begin),
                text_.begin() + static_cast<std::ptrdiff_t>(line.span.end), ' ');
    }
  }

  void note_surroundings(size_t line) {
    for (size_t at = line; at < lines_.size(); at = parent_of(at)) {
      around_.push_back(lines_[at].span);
      if (lines_[at].indent == 0) return;
    }
  }

  // The line above under which this one is indented; the number of lines if there is none.
  size_t parent_of(size_t line) const {
    const size_t indent = lines_[line].indent;
    for (size_t at = line; at-- > 0;) {
      if (!lines_[at].blank && lines_[at].indent < indent) return at;
    }
    return lines_.size();
  }

  std::string name_;
  std::string text_;  // with blanks for what was left out, so that all places stay
  std::vector<Line> lines_;
  std::vector<Span> around_;  // the lines that contain those that were left out
  std::string removed_;
  size_t attempts_ = 0;
  size_t failed_at_ = kNoLine;  // the line of the next mistake
};

std::string message_of(const Diagnostic &diagnostic) {
  std::string message = diagnostic.message;
  if (!diagnostic.expected.empty()) message += concat("; expected: ", diagnostic.expected);
  if (!diagnostic.suggestion.empty()) message += concat("; did you mean '", diagnostic.suggestion, "'?");
  return message;
}

Problem problem_of(const Diagnostic &diagnostic, const Source &source) {
  Problem problem{.span = span_at(source, diagnostic.position),
                  .message = message_of(diagnostic),
                  .suggestion = diagnostic.suggestion};
  if (diagnostic.position.line == 0) problem.span = {0, 0};
  if (diagnostic.earlier.line != 0) problem.related = {{span_at(source, diagnostic.earlier), "the first one"}};
  return problem;
}

void add_problems(const Diagnostics &diagnostics, const Source &source, std::vector<Problem> &problems) {
  for (const Diagnostic &diagnostic : diagnostics.sorted())
    problems.push_back(problem_of(diagnostic, source));
}

size_t line_of(std::string_view text, size_t offset) {
  const std::string_view before = text.substr(0, offset);
  return static_cast<size_t>(std::count(before.begin(), before.end(), '\n'));
}

// What else is wrong in a text with a mistake, as far as that is certain.
void analyse_rest(const Source &source, size_t error_line, std::optional<size_t> edited_at, Analysis &analysis) {
  Recovery recovery(source.name(), source.text());
  const size_t edited_line = edited_at ? line_of(source.text(), *edited_at) : kNoLine;
  const std::optional<Source> rest = recovery.run(error_line, edited_line);
  if (!rest) return;
  Diagnostics diagnostics;
  const std::optional<yaml::Document> document = yaml::parse(*rest, diagnostics);
  if (!document) return;
  analysis.outline = Outline(*rest, *document);
  load(*document, *rest, diagnostics);
  for (const Diagnostic &diagnostic : diagnostics.sorted()) {
    Problem problem = problem_of(diagnostic, *rest);
    const std::string_view word = std::string_view(rest->text()).substr(problem.span.begin, problem.span.size());
    if (!recovery.is_doubtful(problem.span.begin, word)) analysis.problems.push_back(std::move(problem));
  }
}

}  // namespace

Span span_at(const Source &source, Position position) {
  return span_of_value(source.text(), source.offset_of(position));
}

Analysis analyse(const std::string &name, const std::string &text, std::optional<size_t> edited_at) {
  Analysis analysis;
  const Source source(name, text);
  Diagnostics diagnostics;
  source.check(diagnostics);
  const bool is_text = diagnostics.empty();
  std::optional<yaml::Document> document;
  if (is_text) {
    document = yaml::parse(source, diagnostics);
    if (document) {
      analysis.outline = Outline(source, *document);
      analysis.file = load(*document, source, diagnostics);
    }
  }
  add_problems(diagnostics, source, analysis.problems);
  if (is_text && !document)
    analyse_rest(source, std::max(1U, diagnostics.sorted().front().position.line) - 1, edited_at, analysis);
  return analysis;
}

}  // namespace simulator::editing
