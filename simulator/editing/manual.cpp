#include "simulator/editing/manual.h"

#include <algorithm>
#include <string_view>

#include "simulator/text/text.h"

namespace simulator::editing {

namespace {

// Where the manual describes a mapping: a section of it, and an entry for keys that have none of their own.
struct Chapter {
  std::string_view shape;
  std::string_view section;
  std::string_view entry;
};
constexpr Chapter kChapters[] = {
    {"file", "SECTIONS", ""},
    {"client", "SECTIONS", "clients"},
    {"domain", "SECTIONS", "domains"},
    {"class_map", "SECTIONS", "class-maps"},
    {"policy_map", "SECTIONS", "policy-maps"},
    {"event", "SECTIONS", "policy-maps"},
    {"parameter_map", "SECTIONS", "parameter-maps"},
    {"statement", "SECTIONS", "parameter-maps"},
    {"target", "SECTIONS", "targets"},
    {"step", "SECTIONS", "scenario"},
    {"test", "SECTIONS", "tests"},
    {"test_step", "TESTS", ""},
    {"claim", "CLAIMS", ""},
    {"filter", "FILTERS", ""},
    {"range", "FILTERS", "range"},
    {"rule", "RULES", ""},
    {"action", "ACTIONS", ""},
    {"expectation", "EXPECTATIONS", ""},
};

Chapter chapter_of(const Shape &shape) {
  for (const Chapter &chapter : kChapters) {
    if (chapter.shape == shape.name) return chapter;
  }
  return {};
}

std::string_view section_of(std::string_view name) {
  if (name.empty()) return {};
  const std::string_view manual = kManual;
  const size_t head = manual.find(concat("\n# ", name, "\n"));
  if (head == std::string_view::npos) return {};
  const size_t begin = manual.find('\n', head + 1) + 1;
  return manual.substr(begin, manual.find("\n# ", begin) - begin);
}

// An entry is a line of terms and the indented lines below it.
std::string_view entry_of(std::string_view section, std::string_view key) {
  const std::string term = concat("*", key, "*");
  for (size_t line = 0; line < section.size();) {
    const size_t end = std::min(section.find('\n', line), section.size());
    const bool has_text = end + 1 < section.size() && section[end + 1] == '\t';
    const std::string_view terms = section.substr(line, end - line);
    if (has_text && section[line] == '*' && terms.find(term) != std::string_view::npos) {
      size_t last = end;
      while (last + 1 < section.size() && section[last + 1] == '\t')
        last = std::min(section.find('\n', last + 1), section.size());
      return section.substr(line, last - line);
    }
    line = end + 1;
  }
  return {};
}

// The front of a section, up to its first entry or example.
std::string_view introduction_of(std::string_view section) {
  const size_t end = std::min(section.find("\n\n*"), section.find("\n\n```"));
  const size_t begin = section.find_first_not_of('\n');
  return begin == std::string_view::npos ? std::string_view() : section.substr(begin, end - begin);
}

// Markdown writes strong text with two asterisks and emphasis with one.
std::string markdown_of(std::string_view text) {
  std::string markdown;
  for (size_t at = 0; at < text.size(); ++at) {
    const char character = text[at];
    if (character == '\\' && at + 1 < text.size()) {
      markdown += '\\';
      markdown += text[++at];
    } else if (character == '*') {
      markdown += "**";
    } else if (character == '_') {
      markdown += '*';
    } else if (character == '\n' && at + 1 < text.size() && text[at + 1] == '\t') {
      markdown += markdown.find("\n\n") == std::string::npos ? "\n\n" : " ";
      ++at;
    } else {
      markdown += character;
    }
  }
  return markdown;
}

}  // namespace

std::string manual_of(const Shape &shape, const Shape::Key &key) {
  const Chapter chapter = chapter_of(shape);
  const std::string_view section = section_of(chapter.section);
  std::string_view entry = entry_of(section, chapter.entry.empty() ? std::string_view(key.word) : chapter.entry);
  const bool is_own_entry = chapter.entry.empty() && !entry.empty();
  if (entry.empty()) entry = introduction_of(section);
  const std::string text = markdown_of(entry);
  return is_own_entry || key.about.empty() ? text : concat(key.about, "\n\n", text);
}

}  // namespace simulator::editing
