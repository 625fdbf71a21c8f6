#include "simulator/text/columns.h"

#include <algorithm>

#include "simulator/text/width.h"

namespace simulator {

std::string padded(std::string_view text, size_t width) {
  const size_t taken = columns_of(text);
  return std::string(text) + std::string(width > taken ? width - taken : 0, ' ');
}

std::string in_columns(const std::vector<std::string> &words, size_t width) {
  constexpr size_t kGap = 2;
  size_t widest = 0;
  for (const std::string &word : words)
    widest = std::max(widest, columns_of(word));
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
