#include "simulator/text/wrap.h"

#include <algorithm>

#include "simulator/text/width.h"

namespace simulator {

namespace {

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
      const Unit unit = take_unit(word);
      if (column_ + unit.columns > width_ && column_ > indent_) begin_line();
      text_ += unit.text;
      column_ += unit.columns;
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

std::string wrapped(std::string_view line, size_t width, size_t indent) {
  return width == 0 ? std::string(line) : Wrapper(width, indent).run(line);
}

std::string wrapped_lines(std::string_view text, size_t width) {
  constexpr size_t kDeeper = 4;
  if (width == 0) return std::string(text);
  std::string lines;
  while (!text.empty()) {
    const std::string_view line = text.substr(0, text.find('\n'));
    const size_t indent = std::min(line.find_first_not_of(' '), line.size());
    lines += wrapped(line, width, indent + kDeeper);
    text.remove_prefix(line.size());
    if (text.empty()) break;
    lines += '\n';
    text.remove_prefix(1);
  }
  return lines;
}

}  // namespace simulator
