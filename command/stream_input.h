// The input of a stream: a file, or standard input.
#pragma once

#include <cstddef>
#include <string>

namespace command {

class StreamInput {
 public:
  // Milliseconds of a wait. A Ctrl-C that comes just before a wait does not end it, so no wait is without an end.
  static constexpr int kLongestWait = 200;

  // "-" is standard input.
  explicit StreamInput(const std::string &path);
  ~StreamInput();
  StreamInput(const StreamInput &) = delete;
  StreamInput &operator=(const StreamInput &) = delete;

  // The name for messages.
  const std::string &name() const { return name_; }
  int descriptor() const { return descriptor_; }
  // Waits for at most 'room' bytes; 0 at the end, and when anything is wrong. Ctrl-C ends the wait with Interrupted.
  size_t read(char *to, size_t room);
  // What is wrong; empty if nothing is.
  const std::string &error() const { return error_; }

 private:
  std::string name_;
  int descriptor_;
  std::string error_;
};

}  // namespace command
