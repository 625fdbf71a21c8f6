// A line that shows how far a long scenario or stream has got.
#pragma once

#include <cstddef>
#include <optional>

namespace command {

// Shown on standard error if that is a terminal and the results go elsewhere, so that it does not mix with any output.
// Short scenarios have none.
class Progress {
 public:
  // Of this many events.
  explicit Progress(size_t total);
  // Of a stream, which nobody knows the end of, in lines.
  Progress();
  ~Progress();
  Progress(const Progress &) = delete;
  Progress &operator=(const Progress &) = delete;

  // Call it after each event or line.
  void step();

 private:
  // A shorter scenario is over before anybody could read the line.
  static constexpr size_t kLong = 10'000;
  static constexpr size_t kStride = 1'000;
  // The lines of a stream pass faster.
  static constexpr size_t kStreamStride = 100'000;

  void show() const;

  std::optional<size_t> total_;
  size_t stride_;
  size_t done_ = 0;
  bool shown_;
};

}  // namespace command
