#include "simulator/text/columns.h"

#include <algorithm>
#include <cstdint>

namespace simulator {

namespace {

struct Range {
  uint32_t first;
  uint32_t last;
};

constexpr Range kCombining[] = {{0x300, 0x36f},   {0x483, 0x489},   {0x591, 0x5bd},   {0x610, 0x61a},
                                {0x64b, 0x65f},   {0x1ab0, 0x1aff}, {0x1dc0, 0x1dff}, {0x200b, 0x200f},
                                {0x20d0, 0x20ff}, {0xfe00, 0xfe0f}, {0xfe20, 0xfe2f}};
constexpr Range kWide[] = {{0x1100, 0x115f},   {0x2e80, 0x303e},   {0x3041, 0xa4cf},  {0xac00, 0xd7a3},
                           {0xf900, 0xfaff},   {0xfe30, 0xfe6f},   {0xff00, 0xff60},  {0xffe0, 0xffe6},
                           {0x1f300, 0x1f64f}, {0x1f900, 0x1f9ff}, {0x20000, 0x3fffd}};

template <size_t Count>
bool is_in(const Range (&ranges)[Count], uint32_t character) {
  return std::any_of(std::begin(ranges), std::end(ranges),
                     [&](const Range &range) { return character >= range.first && character <= range.last; });
}

// Takes the next character off the text. A byte that begins none counts as one.
uint32_t take_character(std::string_view &text) {
  const auto lead = static_cast<unsigned char>(text[0]);
  const size_t length = lead >= 0xf5 ? 1 : lead >= 0xf0 ? 4 : lead >= 0xe0 ? 3 : lead >= 0xc2 ? 2 : 1;
  const size_t taken = std::min(length, text.size());
  uint32_t character = length == 1 ? lead : lead & (0xffU >> (length + 1));
  for (const char byte : text.substr(1, taken - 1))
    character = character << 6U | (static_cast<unsigned char>(byte) & 0x3fU);
  text.remove_prefix(taken);
  return character;
}

}  // namespace

size_t width_of(std::string_view text) {
  size_t width = 0;
  while (!text.empty()) {
    const uint32_t character = take_character(text);
    width += is_in(kCombining, character) ? 0 : is_in(kWide, character) ? 2 : 1;
  }
  return width;
}

std::string padded(std::string_view text, size_t width) {
  const size_t taken = width_of(text);
  return std::string(text) + std::string(width > taken ? width - taken : 0, ' ');
}

std::string in_columns(const std::vector<std::string> &words, size_t width) {
  constexpr size_t kGap = 2;
  size_t widest = 0;
  for (const std::string &word : words)
    widest = std::max(widest, width_of(word));
  const size_t columns = std::max<size_t>(1, (width + kGap) / (widest + kGap));
  const size_t rows = (words.size() + columns - 1) / columns;
  std::string text;
  for (size_t row = 0; row < rows; ++row) {
    for (size_t at = row; at < words.size(); at += rows)
      text += at + rows < words.size() ? padded(words[at], widest + kGap) : words[at];
    text += '\n';
  }
  return text;
}

}  // namespace simulator
