// Splits a stream of bytes into lines, in memory that does not depend on the length of the stream or of a line.
#pragma once

#include <cstddef>
#include <functional>
#include <span>
#include <string_view>
#include <vector>

namespace simulator::stream {

struct Line {
  size_t number = 0;  // from 1
  std::string_view
      text{};  // without its end; empty if the line is too long. kPadding more bytes can be read behind it.
  bool too_long = false;
};

// In bytes. A longer line is read, and not kept.
inline constexpr size_t kLongestLine = size_t{1} << 20U;
// In bytes. A longer line comes alone, so that lines read together need little memory.
inline constexpr size_t kLongestTogether = size_t{1} << 14U;
// A reader of JSON may read this far behind a text.
inline constexpr size_t kPadding = 64;

class Lines {
 public:
  // Stores at most 'room' bytes at 'to' and returns their number, 0 at the end.
  using Read = std::function<size_t(char *to, size_t room)>;

  explicit Lines(Read read);

  // The next line, with those without any text left out; they are counted all the same. False at the end. What 'line'
  // points to is valid until the next call.
  bool next(Line &line);
  // The same, and then the lines behind it that are in memory already and not long, until 'lines' is full: it waits for
  // nothing but the first. Returns how many there are, 0 at the end.
  size_t next(std::span<Line> lines);

 private:
  bool find(Line &line);
  bool find_in_memory(Line &line, size_t longest);
  void take(Line &line, size_t length);
  bool fill();
  void skip_byte_order_mark();

  Read read_;
  std::vector<char> buffer_;
  size_t begin_ = 0;  // of what is not used yet
  size_t end_ = 0;
  size_t searched_ = 0;  // bytes from 'begin_' on that contain no end of a line
  size_t number_ = 0;
  bool skipping_ = false;  // within a line that is too long
  bool at_end_ = false;
};

}  // namespace simulator::stream
