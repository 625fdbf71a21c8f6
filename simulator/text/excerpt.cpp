#include "simulator/text/excerpt.h"

#include <algorithm>
#include <deque>

#include "simulator/text/text.h"
#include "simulator/text/utf8.h"
#include "simulator/text/width.h"

namespace simulator {

namespace {

// In columns of a terminal.
constexpr size_t kWidest = 100;
constexpr size_t kWidestBefore = kWidest / 2;
constexpr std::string_view kCut = "...";

// A character as it is shown.
struct Cell {
  std::string text;
  size_t width = 0;
};

// Removes the character at the front of 'rest'. Bytes that only continue a character belong to the one before them even
// where it is broken, as columns are counted so.
Cell take_cell(std::string_view &rest) {
  const auto continues = [](char byte) { return (static_cast<unsigned char>(byte) & 0xc0U) == 0x80; };
  const Character character = front_of(rest);
  size_t length = std::max<size_t>(character.length, 1);
  while (length < rest.size() && continues(rest[length]))
    ++length;
  const std::string_view bytes = rest.substr(0, length);
  rest.remove_prefix(length);
  if (bytes == "\t") return {" ", 1};
  std::string shown = escape_control_characters(bytes);
  const bool is_escaped = shown != bytes;
  const size_t width = is_escaped ? shown.size() : columns_of(character.code);
  return {std::move(shown), width};
}

size_t width_of(std::string_view line) {
  size_t width = 0;
  while (!line.empty())
    width += take_cell(line).width;
  return width;
}

struct Excerpt {
  std::string text;
  size_t mark = 0;  // columns before the marked character
};

// The last characters before the column that fit, and where they end. The rest of the line remains in 'rest'.
Excerpt take_before(std::string_view &rest, uint32_t column, bool fits) {
  std::deque<Cell> cells;
  Excerpt before;
  bool is_cut = false;
  for (uint32_t at = 1; at < column && !rest.empty(); ++at) {
    cells.push_back(take_cell(rest));
    before.mark += cells.back().width;
    while (!fits && before.mark > kWidestBefore) {
      before.mark -= cells.front().width;
      cells.pop_front();
      is_cut = true;
    }
  }
  if (is_cut) {
    before.text = kCut;
    before.mark += kCut.size();
  }
  for (const Cell &cell : cells)
    before.text += cell.text;
  return before;
}

Excerpt excerpt_of(std::string_view line, uint32_t column) {
  // A character takes at most four bytes, and most take at least a column.
  const bool fits = line.size() <= 4 * kWidest && width_of(line) <= kWidest;
  Excerpt excerpt = take_before(line, column, fits);
  size_t width = excerpt.mark;
  while (!line.empty()) {
    const Cell cell = take_cell(line);
    width += cell.width;
    if (width > kWidest) {
      excerpt.text += kCut;
      break;
    }
    excerpt.text += cell.text;
  }
  return excerpt;
}

}  // namespace

std::string marked_line(uint32_t number, std::string_view line, uint32_t column, Colours colours) {
  const Excerpt excerpt = excerpt_of(line, column);
  const std::string shown = std::to_string(number);
  return concat("  ", shown, " | ", excerpt.text, "\n", "  ", std::string(shown.size(), ' '), " | ",
                std::string(excerpt.mark, ' '), painted(colours, Tone::good, "^"), "\n");
}

}  // namespace simulator
