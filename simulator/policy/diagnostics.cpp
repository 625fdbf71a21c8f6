#include "simulator/policy/diagnostics.h"

#include <algorithm>

#include "simulator/policy/source.h"
#include "simulator/text/text.h"

namespace simulator {

namespace {

constexpr size_t kWidestExcerpt = 100;

// A part of the line around the column, without the characters that a terminal would interpret.
struct Excerpt {
  std::string text;
  size_t mark = 0;  // characters before the marked one
};

Excerpt excerpt_of(std::string_view line, uint32_t column) {
  Excerpt excerpt;
  const bool fits = line.size() <= kWidestExcerpt || column <= kWidestExcerpt / 2;
  const size_t first = fits ? 1 : column - kWidestExcerpt / 2;
  size_t character = 0;
  for (const char byte : line) {
    const auto value = static_cast<unsigned char>(byte);
    const bool continues = (value & 0xc0U) == 0x80;
    if (!continues) ++character;
    if (character < first) continue;
    if (character >= first + kWidestExcerpt) break;
    if (value < 0x20 || value == 0x7f) {
      excerpt.text += ' ';
    } else {
      excerpt.text += byte;
    }
  }
  excerpt.mark = column > first ? column - first : 0;
  return excerpt;
}

void render_line(const Diagnostic &diagnostic, const Source &source, Colours colours, std::string &out) {
  if (diagnostic.position.source != source.number()) return;
  const std::string_view line = source.line(diagnostic.position.line);
  // A line that is not valid text is not printed to a terminal.
  if (line.empty() || !is_text(line)) return;

  const Excerpt excerpt = excerpt_of(line, diagnostic.position.column);
  const std::string number = std::to_string(diagnostic.position.line);
  out += concat("  ", number, " | ", excerpt.text, "\n");
  out += concat("  ", std::string(number.size(), ' '), " | ", std::string(excerpt.mark, ' '),
                painted(colours, Tone::good, "^"), "\n");
}

void render_one(const Diagnostic &diagnostic, const Source &source, Colours colours, std::string &out) {
  std::string origin = escape_control_characters(source.name());
  if (diagnostic.position.line != 0) origin += concat(":", diagnostic.position.line, ":", diagnostic.position.column);
  out += concat(painted(colours, Tone::strong, origin + ":"), " ", painted(colours, Tone::bad, "error:"), " ",
                escape_control_characters(diagnostic.message), "\n");
  render_line(diagnostic, source, colours, out);
  if (!diagnostic.expected.empty()) out += concat("  expected: ", escape_control_characters(diagnostic.expected), "\n");
  if (!diagnostic.suggestion.empty())
    out += concat("  did you mean '", painted(colours, Tone::good, escape_control_characters(diagnostic.suggestion)),
                  "'?\n");
}

}  // namespace

void Diagnostics::add(Position position, std::string message, std::string expected, std::string_view suggestion) {
  all_.push_back({position, std::move(message), std::move(expected), std::string(suggestion)});
}

std::vector<Diagnostic> Diagnostics::sorted() const {
  std::vector<Diagnostic> sorted = all_;
  std::stable_sort(sorted.begin(), sorted.end(),
                   [](const Diagnostic &a, const Diagnostic &b) { return a.position < b.position; });
  return sorted;
}

std::string render(const Diagnostics &diagnostics, const Source &source, Colours colours) {
  std::string out;
  size_t shown = 0;
  for (const Diagnostic &diagnostic : diagnostics.sorted()) {
    if (shown++ == Diagnostics::kMostShown) break;
    render_one(diagnostic, source, colours, out);
  }
  if (diagnostics.count() > Diagnostics::kMostShown) {
    out += concat(source.name(), ": ", diagnostics.hopeless() ? "at least " : "",
                  diagnostics.count() - Diagnostics::kMostShown, " more errors\n");
  }
  return out;
}

}  // namespace simulator
