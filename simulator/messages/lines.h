// Messages in a stream of bytes, one in a line.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace simulator::messages {

struct MessageLine {
  std::string text{};  // without its end; empty if the line is too long
  bool is_too_long = false;
};

// Splits the stream. A line ends with a newline; a carriage return before it does not count, and lines without any text
// are left out. A line that is too long takes no memory beyond the limit.
class LineFramer {
 public:
  // 'most' is the number of bytes that a line may have.
  explicit LineFramer(size_t most) : most_(most) {}

  void append(std::string_view bytes);
  // The next complete line; nothing if it is not complete yet.
  std::optional<MessageLine> next();
  // The last line at the end of the stream, where the newline may be missing.
  std::optional<MessageLine> last();

  size_t size() const { return received_.size() - begin_; }
  // Whether next() would return something, without doing the work.
  bool has_line();

 private:
  std::optional<MessageLine> take(size_t end);

  size_t most_;
  std::string received_;
  size_t begin_ = 0;     // of what was not returned yet
  size_t searched_ = 0;  // up to here is no end of a line
  bool skipping_ = false;
};

}  // namespace simulator::messages
