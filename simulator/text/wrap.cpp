#include "simulator/text/wrap.h"

#include <algorithm>

namespace simulator {

namespace {

constexpr char kEscape = '\x1b';

bool is_continuation(char byte) {
  return (static_cast<unsigned char>(byte) & 0xc0) == 0x80;
}

// Removes the first character, which may take several bytes, or the first colour code from 'text', and returns it.
std::string_view take_unit(std::string_view &text) {
  size_t length = 1;
  if (text[0] == kEscape) {
    length = std::min(text.find('m'), text.size() - 1) + 1;
  } else {
    while (length < text.size() && is_continuation(text[length]))
      ++length;
  }
  const std::string_view unit = text.substr(0, length);
  text.remove_prefix(length);
  return unit;
}

class Wrapper {
 public:
  Wrapper(size_t width, size_t indent) : width_(width), indent_(std::min(indent, width / 2)) {}

  std::string run(std::string_view line) {
    while (!line.empty()) {
      const size_t word = std::min(line.find_first_not_of(' '), line.size());
      const size_t end = std::min(line.find(' ', word), line.size());
      add(line.substr(0, word), line.substr(word, end - word));
      line.remove_prefix(end);
    }
    return std::move(text_);
  }

 private:
  // A word with the blanks before it. Where the word begins a new line, the blanks are dropped.
  void add(std::string_view blanks, std::string_view word) {
    const bool fits = column_ + blanks.size() + columns_of(word) <= width_;
    if (!fits && has_word_) {
      begin_line();
    } else {
      text_ += blanks;
      column_ += blanks.size();
    }
    put(word);
  }

  void put(std::string_view word) {
    has_word_ = true;
    while (!word.empty()) {
      const std::string_view unit = take_unit(word);
      const size_t columns = columns_of(unit);
      if (column_ + columns > width_ && column_ > indent_) begin_line();
      text_ += unit;
      column_ += columns;
    }
  }

  void begin_line() {
    text_ += '\n';
    text_.append(indent_, ' ');
    column_ = indent_;
    has_word_ = false;
  }

  size_t width_;
  size_t indent_;
  size_t column_ = 0;
  bool has_word_ = false;  // on the line that is being written
  std::string text_;
};

}  // namespace

size_t columns_of(std::string_view text) {
  size_t columns = 0;
  while (!text.empty()) {
    if (take_unit(text)[0] != kEscape) ++columns;
  }
  return columns;
}

std::string wrapped(std::string_view line, size_t width, size_t indent) {
  return width == 0 ? std::string(line) : Wrapper(width, indent).run(line);
}

}  // namespace simulator
