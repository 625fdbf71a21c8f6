#include "simulator/text/xml.h"

#include "simulator/text/text.h"

namespace simulator {

namespace {

constexpr std::string_view kReplacement = "\xef\xbf\xbd";

// The number of bytes of the character that begins with this byte; 0: none does.
size_t length_of(unsigned char lead) {
  if (lead < 0x80) return 1;
  if (lead >= 0xc2 && lead < 0xe0) return 2;
  if (lead >= 0xe0 && lead < 0xf0) return 3;
  return lead >= 0xf0 && lead < 0xf5 ? 4 : 0;
}

// The first character of 'text'; empty if the text begins with something else.
std::string_view first_character(std::string_view text) {
  const size_t length = length_of(static_cast<unsigned char>(text[0]));
  if (length == 0 || length > text.size()) return {};
  for (size_t at = 1; at < length; ++at) {
    if ((static_cast<unsigned char>(text[at]) & 0xc0) != 0x80) return {};
  }
  return text.substr(0, length);
}

// Longer forms than needed, the halves of surrogate pairs, what is beyond U+10FFFF, U+FFFE and U+FFFF.
bool is_forbidden(std::string_view character) {
  const std::string_view front = character.substr(0, 2);
  if (character.size() == 3)
    return front < "\xe0\xa0" || (front >= "\xed\xa0" && front < "\xee") || character >= "\xef\xbf\xbe";
  return character.size() == 4 && (front < "\xf0\x90" || front >= "\xf4\x90");
}

// Line ends and tabs as numbers: in the value of an attribute they would otherwise be read as blanks.
std::string escaped(std::string_view character) {
  switch (character[0]) {
    case '&':
      return "&amp;";
    case '<':
      return "&lt;";
    case '>':
      return "&gt;";
    case '"':
      return "&quot;";
    case '\t':
      return "&#9;";
    case '\n':
      return "&#10;";
    case '\r':
      return "&#13;";
    default:
      return escape_control_characters(character);
  }
}

}  // namespace

std::string xml_text(std::string_view text) {
  std::string out;
  while (!text.empty()) {
    const std::string_view character = first_character(text);
    const bool good = !character.empty() && !is_forbidden(character);
    out += good ? escaped(character) : std::string(kReplacement);
    text.remove_prefix(good ? character.size() : 1);
  }
  return out;
}

}  // namespace simulator
