#include "tool/terminal.h"

#include <unistd.h>

#include <cstdlib>

#include "tool/policy/text.h"

namespace tool::terminal {

namespace {

bool shows_colours(Stream stream) {
  if (!is_terminal(stream) || std::getenv("NO_COLOR")) return false;
  const char *kind = std::getenv("TERM");
  return kind && std::string_view(kind) != "dumb";
}

// Asked once: neither the streams nor the environment change while the command runs.
bool has_colours(Stream stream) {
  static const bool kOut = shows_colours(Stream::out);
  static const bool kErr = shows_colours(Stream::err);
  return stream == Stream::out ? kOut : kErr;
}

const char *code_of(Tone tone) {
  switch (tone) {
    case Tone::good:
      return "32";
    case Tone::bad:
      return "1;31";
    case Tone::changed:
      return "33";
    case Tone::strong:
      return "1";
    case Tone::faint:
      return "2";
  }
  return "0";
}

}  // namespace

bool is_terminal(Stream stream) {
  return isatty(stream == Stream::out ? STDOUT_FILENO : STDERR_FILENO) == 1;
}

std::string painted(Stream stream, Tone tone, std::string_view text) {
  if (!has_colours(stream) || text.empty()) return std::string(text);
  return text_of("\x1b[", code_of(tone), "m", text, "\x1b[0m");
}

std::string_view line_eraser() {
  return "\r\x1b[K";
}

}  // namespace tool::terminal
