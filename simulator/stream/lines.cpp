#include "simulator/stream/lines.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace simulator::stream {

namespace {

// One read gets at least a quarter of it, so that most bytes are never moved.
constexpr size_t kBuffer = 2 * kLongestLine;

bool is_blank(std::string_view text) {
  return text.find_first_not_of(" \t\r") == std::string_view::npos;
}

}  // namespace

Lines::Lines(Read read) : read_(std::move(read)), buffer_(kBuffer + kPadding) {}

bool Lines::next(Line &line) {
  while (find(line)) {
    if (line.too_long || !is_blank(line.text)) return true;
  }
  return false;
}

size_t Lines::next(std::span<Line> lines) {
  if (!next(lines[0])) return 0;
  size_t count = 1;
  while (count < lines.size() && find_in_memory(lines[count], kLongestTogether)) {
    if (!is_blank(lines[count].text)) ++count;
  }
  return count;
}

// Takes the line that begins here if its end is in memory and it has at most 'longest' bytes.
bool Lines::find_in_memory(Line &line, size_t longest) {
  const char *begin = buffer_.data() + begin_;
  const size_t to_search = std::min(end_ - begin_ - searched_, longest + 1);
  const void *end = std::memchr(begin + searched_, '\n', to_search);
  if (!end) return false;
  take(line, static_cast<size_t>(static_cast<const char *>(end) - begin));
  ++begin_;
  return true;
}

bool Lines::find(Line &line) {
  for (;;) {
    if (find_in_memory(line, kBuffer)) return true;
    searched_ = end_ - begin_;
    if (skipping_ || searched_ > kLongestLine) {
      skipping_ = true;
      begin_ = end_ = searched_ = 0;
    }
    if (fill()) continue;
    // The last line may lack its end.
    if (!skipping_ && searched_ == 0) return false;
    take(line, searched_);
    return true;
  }
}

// Takes this many bytes as the rest of a line.
void Lines::take(Line &line, size_t length) {
  line.number = ++number_;
  line.too_long = std::exchange(skipping_, false) || length > kLongestLine;
  line.text = line.too_long ? std::string_view() : std::string_view(buffer_.data() + begin_, length);
  begin_ += length;
  searched_ = 0;
}

// False at the end.
bool Lines::fill() {
  if (at_end_) return false;
  if (begin_ > 0) std::memmove(buffer_.data(), buffer_.data() + begin_, end_ - begin_);
  end_ -= std::exchange(begin_, 0);
  const bool first = number_ == 0 && end_ == 0 && !skipping_;
  const size_t got = read_(buffer_.data() + end_, kBuffer - end_);
  end_ += got;
  at_end_ = got == 0;
  if (first) skip_byte_order_mark();
  return !at_end_;
}

void Lines::skip_byte_order_mark() {
  constexpr std::string_view kMark = "\xef\xbb\xbf";
  if (std::string_view(buffer_.data(), end_).starts_with(kMark)) begin_ = kMark.size();
}

}  // namespace simulator::stream
