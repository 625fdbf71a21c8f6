#include "simulator/text/utf8.h"

namespace simulator {

namespace {

constexpr char32_t kLast = 0x10ffff;

// What the first byte says about its character.
struct Lead {
  size_t length;
  char32_t bits;    // its part of the code
  char32_t lowest;  // a character below this one has a shorter form
};

Lead lead_of(unsigned char byte) {
  if (byte < 0x80) return {1, byte, 0};
  if (byte < 0xc0) return {0, 0, 0};
  if (byte < 0xe0) return {2, byte & 0x1fU, 0x80};
  if (byte < 0xf0) return {3, byte & 0x0fU, 0x800};
  if (byte < 0xf8) return {4, byte & 0x07U, 0x10000};
  return {0, 0, 0};
}

bool is_surrogate(char32_t code) {
  return code >= 0xd800 && code <= 0xdfff;
}

}  // namespace

Character front_of(std::string_view text) {
  const Lead lead = lead_of(static_cast<unsigned char>(text[0]));
  if (lead.length == 0 || text.size() < lead.length) return {};
  char32_t code = lead.bits;
  for (const char character : text.substr(1, lead.length - 1)) {
    const auto byte = static_cast<unsigned char>(character);
    if ((byte & 0xc0U) != 0x80) return {};
    code = (code << 6U) | (byte & 0x3fU);
  }
  if (code < lead.lowest || code > kLast || is_surrogate(code)) return {};
  return {code, lead.length};
}

bool is_utf8(std::string_view text) {
  while (!text.empty()) {
    const size_t length = front_of(text).length;
    if (length == 0) return false;
    text.remove_prefix(length);
  }
  return true;
}

}  // namespace simulator
