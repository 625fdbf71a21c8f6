// Messages in a stream of bytes: each has a head of lines "Name: value", an empty line, and as many bytes as its line
// Content-Length says.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace simulator::messages {

// A longer message or head is refused.
inline constexpr size_t kMostBytes = size_t{64} << 20U;
inline constexpr size_t kMostHeadBytes = 4096;

class Framer {
 public:
  void append(std::string_view bytes);
  // The next complete message; nothing if it is not complete yet, or after an error.
  std::optional<std::string> next();
  // What is wrong with the stream; empty if nothing is. Nobody knows where the next message would begin.
  const std::string &error() const { return error_; }
  // Whether the stream may end here.
  bool is_between_messages() const { return begin_ == received_.size(); }

 private:
  bool read_head();
  bool read_line(std::string_view line);

  std::string received_;
  size_t begin_ = 0;            // of what was not returned yet
  std::optional<size_t> size_;  // of the message whose head was read
  std::string error_;
};

// The message with its head.
std::string framed(std::string_view message);

}  // namespace simulator::messages
