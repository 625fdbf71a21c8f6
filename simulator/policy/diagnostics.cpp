#include "simulator/policy/diagnostics.h"

#include <algorithm>

#include "simulator/policy/source.h"
#include "simulator/text/text.h"

namespace simulator {

namespace {

constexpr size_t kWidestExcerpt = 100;

// A part of the line around the column, with nothing in it that a terminal would act on.
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
  if (diagnostic.place.source != source.number()) return;
  const std::string_view line = source.line(diagnostic.place.line);
  // The bytes of a line that is no text are not for a terminal.
  if (line.empty() || !is_text(line)) return;

  const Excerpt excerpt = excerpt_of(line, diagnostic.place.column);
  const std::string number = std::to_string(diagnostic.place.line);
  out += text_of("  ", number, " | ", excerpt.text, "\n");
  out += text_of("  ", std::string(number.size(), ' '), " | ", std::string(excerpt.mark, ' '),
                 painted(colours, Tone::good, "^"), "\n");
}

void render_one(const Diagnostic &diagnostic, const Source &source, Colours colours, std::string &out) {
  std::string origin = harmless(source.name());
  if (diagnostic.place.line != 0) origin += text_of(":", diagnostic.place.line, ":", diagnostic.place.column);
  out += text_of(painted(colours, Tone::strong, origin + ":"), " ", painted(colours, Tone::bad, "error:"), " ",
                 harmless(diagnostic.message), "\n");
  render_line(diagnostic, source, colours, out);
  if (!diagnostic.expected.empty()) out += text_of("  expected: ", harmless(diagnostic.expected), "\n");
  if (!diagnostic.suggestion.empty())
    out += text_of("  did you mean '", painted(colours, Tone::good, harmless(diagnostic.suggestion)), "'?\n");
}

}  // namespace

void Diagnostics::add(Place place, std::string message, std::string expected, std::string_view suggestion) {
  all_.push_back({place, std::move(message), std::move(expected), std::string(suggestion)});
}

std::vector<Diagnostic> Diagnostics::sorted() const {
  std::vector<Diagnostic> sorted = all_;
  std::stable_sort(sorted.begin(), sorted.end(),
                   [](const Diagnostic &a, const Diagnostic &b) { return a.place < b.place; });
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
    out += text_of(source.name(), ": ", diagnostics.hopeless() ? "at least " : "",
                   diagnostics.count() - Diagnostics::kMostShown, " more errors\n");
  }
  return out;
}

}  // namespace simulator
