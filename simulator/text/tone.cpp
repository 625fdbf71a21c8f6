#include "simulator/text/tone.h"

#include "simulator/text/text.h"

namespace simulator {

namespace {

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

std::string painted(Colours colours, Tone tone, std::string_view text) {
  if (colours == Colours::off || text.empty()) return std::string(text);
  return concat("\x1b[", code_of(tone), "m", text, "\x1b[0m");
}

}  // namespace simulator
