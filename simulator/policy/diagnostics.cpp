#include "simulator/policy/diagnostics.h"

#include <algorithm>

#include "simulator/policy/source.h"
#include "simulator/text/excerpt.h"
#include "simulator/text/text.h"

namespace simulator {

namespace {

void render_line(const Diagnostic &diagnostic, const Source &source, Colours colours, std::string &out) {
  if (diagnostic.position.source != source.number()) return;
  const std::string_view line = source.line(diagnostic.position.line);
  if (!line.empty()) out += marked_line(diagnostic.position.line, line, diagnostic.position.column, colours);
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

void Diagnostics::add(Position position, std::string message, std::string expected, std::string_view suggestion,
                      Position earlier) {
  all_.push_back({position, std::move(message), std::move(expected), std::string(suggestion), earlier});
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
    out += concat(escape_control_characters(source.name()), ": ", diagnostics.hopeless() ? "at least " : "",
                  diagnostics.count() - Diagnostics::kMostShown, " more errors\n");
  }
  return out;
}

}  // namespace simulator
