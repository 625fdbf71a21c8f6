#include "command/terminal.h"

#include <unistd.h>

#include <cstdlib>

namespace command::terminal {

namespace {

bool shows_colours(Stream stream) {
  if (!is_terminal(stream) || std::getenv("NO_COLOR")) return false;
  const char *kind = std::getenv("TERM");
  return kind && std::string_view(kind) != "dumb";
}

// Evaluated once: neither the streams nor the environment change while the command runs.
bool has_colours(Stream stream) {
  static const bool kOut = shows_colours(Stream::out);
  static const bool kErr = shows_colours(Stream::err);
  return stream == Stream::out ? kOut : kErr;
}

}  // namespace

bool is_terminal(Stream stream) {
  return isatty(stream == Stream::out ? STDOUT_FILENO : STDERR_FILENO) == 1;
}

simulator::Colours colours(Stream stream) {
  return has_colours(stream) ? simulator::Colours::on : simulator::Colours::off;
}

std::string_view line_eraser() {
  return "\r\x1b[K";
}

}  // namespace command::terminal
