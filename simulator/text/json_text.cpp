#include "simulator/text/json_text.h"

#include <algorithm>

namespace simulator {

namespace {

bool needs_escape(char character) {
  return static_cast<unsigned char>(character) < 0x20 || character == '"' || character == '\\';
}

void append_escape(std::string &out, char character) {
  constexpr std::string_view kEscaped = "\"\\\b\f\n\r\t";
  constexpr std::string_view kLetters = "\"\\bfnrt";
  constexpr const char *kDigits = "0123456789abcdef";
  out += '\\';
  if (const size_t at = kEscaped.find(character); at != std::string_view::npos) {
    out += kLetters[at];
    return;
  }
  const auto code = static_cast<unsigned char>(character);
  out += "u00";
  out += kDigits[code >> 4U];
  out += kDigits[code & 0xfU];
}

}  // namespace

void append_json_string(std::string &out, std::string_view text) {
  out += '"';
  while (!text.empty()) {
    const auto plain = static_cast<size_t>(std::find_if(text.begin(), text.end(), needs_escape) - text.begin());
    out.append(text.substr(0, plain));
    if (plain == text.size()) break;
    append_escape(out, text[plain]);
    text.remove_prefix(plain + 1);
  }
  out += '"';
}

}  // namespace simulator
