#include "simulator/findings/github.h"

#include <string_view>

#include "simulator/text/text.h"

namespace simulator::findings {

namespace {

// Escapes for the text of a command; of a property too, whose end 'more' could mean. What is left that nobody could see
// is escaped as everywhere.
std::string escaped(std::string_view text, std::string_view more = {}) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  std::string out;
  for (const char character : text) {
    const bool means_something = std::string_view("%\r\n").find(character) != std::string_view::npos ||
                                 more.find(character) != std::string_view::npos;
    if (!means_something) {
      out += character;
      continue;
    }
    const auto byte = static_cast<unsigned char>(character);
    out += '%';
    out += kDigits[byte >> 4U];
    out += kDigits[byte & 0xfU];
  }
  return escape_control_characters(out);
}

std::string property(std::string_view text) {
  return escaped(text, ":,");
}

// A command has only one place, so the others of a finding are lines of its text.
std::string related_text(const Finding &finding) {
  std::string text;
  for (const Related &related : finding.related) {
    text += concat("\n", related.place.file, ":", related.place.line, ":", related.place.column, ": ", related.message);
  }
  return text;
}

const char *command_of(Level level) {
  switch (level) {
    case Level::error:
      return "error";
    case Level::warning:
      return "warning";
    case Level::note:
      break;
  }
  return "notice";
}

std::string annotation(const Finding &finding) {
  const Place &place = finding.place;
  const std::string at = place.line == 0 ? "" : concat(",line=", place.line, ",col=", place.column);
  return concat("::", command_of(finding.level), " file=", property(place.file), at, ",title=", property(finding.rule),
                "::", escaped(full_message(finding) + related_text(finding)), "\n");
}

}  // namespace

std::string github_of(const Report &report) {
  std::string text;
  for (const Finding &finding : report.findings) {
    if (!finding.ignored_because) text += annotation(finding);
  }
  for (const std::string &remark : report.remarks)
    text += concat("::notice::", escaped(remark), "\n");
  return text;
}

}  // namespace simulator::findings
