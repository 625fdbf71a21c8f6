#include "command/terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdlib>

#include "engine/engine.h"
#include "simulator/text/wrap.h"

namespace command::terminal {

namespace {

// Empty if there is no such variable.
std::string_view variable(const char *name) {
  const char *value = std::getenv(name);
  return value ? value : "";
}

enum class Wanted : uint8_t { automatic, always, never };

Wanted wanted = Wanted::automatic;

bool shows_colours(Stream stream) {
  if (wanted != Wanted::automatic) return wanted == Wanted::always;
  if (!is_terminal(stream) || !variable("NO_COLOR").empty()) return false;
  return !variable("TERM").empty() && variable("TERM") != "dumb";
}

// 0 if it is not known.
size_t width_of_terminal() {
  winsize size{};
  return ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
}

// Evaluated once: neither the streams nor the environment change while the command runs, nor what the user wants.
bool has_colours(Stream stream) {
  static const bool kOut = shows_colours(Stream::out);
  static const bool kErr = shows_colours(Stream::err);
  return stream == Stream::out ? kOut : kErr;
}

}  // namespace

bool is_terminal(Stream stream) {
  return isatty(stream == Stream::out ? STDOUT_FILENO : STDERR_FILENO) == 1;
}

void set_colours(std::string_view when) {
  wanted = when == "always" ? Wanted::always : when == "never" ? Wanted::never : Wanted::automatic;
}

size_t width() {
  if (!is_terminal(Stream::out)) return 0;
  const std::optional<int64_t> columns = engine::parse_number(variable("COLUMNS"));
  return columns && *columns > 0 ? static_cast<size_t>(*columns) : width_of_terminal();
}

std::string fitted(std::string_view text) {
  return simulator::wrapped_lines(text, width());
}

simulator::Colours colours(Stream stream) {
  return has_colours(stream) ? simulator::Colours::on : simulator::Colours::off;
}

std::string_view line_eraser() {
  return "\r\x1b[K";
}

}  // namespace command::terminal
