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

std::string to_utf8(char32_t code) {
  const auto byte = [](char32_t bits) { return static_cast<char>(static_cast<unsigned char>(bits)); };
  const auto rest = [&](unsigned shift) { return byte(0x80U | ((code >> shift) & 0x3fU)); };
  if (code < 0x80) return {byte(code)};
  if (code < 0x800) return {byte(0xc0U | (code >> 6U)), rest(0)};
  if (code < 0x10000) return {byte(0xe0U | (code >> 12U)), rest(6), rest(0)};
  return {byte(0xf0U | (code >> 18U)), rest(12), rest(6), rest(0)};
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
