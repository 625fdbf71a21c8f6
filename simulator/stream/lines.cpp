#include "simulator/stream/lines.h"

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

bool Lines::find(Line &line) {
  for (;;) {
    const char *from = buffer_.data() + begin_ + searched_;
    const size_t unsearched = end_ - begin_ - searched_;
    if (const void *found = std::memchr(from, '\n', unsearched)) {
      const size_t length = static_cast<size_t>(static_cast<const char *>(found) - from) + searched_;
      const bool given = take(line, length);
      ++begin_;
      if (given) return true;
      continue;
    }
    searched_ += unsearched;
    if (skipping_ || searched_ > kLongestLine) {
      skipping_ = true;
      begin_ = end_ = searched_ = 0;
    }
    if (fill()) continue;
    // The last line may lack its end.
    return (skipping_ || searched_ > 0) && take(line, searched_);
  }
}

// Takes this many bytes as the rest of a line.
bool Lines::take(Line &line, size_t length) {
  line.number = ++number_;
  line.too_long = std::exchange(skipping_, false) || length > kLongestLine;
  line.text = line.too_long ? std::string_view() : std::string_view(buffer_.data() + begin_, length);
  begin_ += length;
  searched_ = 0;
  return true;
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
