// A line that shows how far a long scenario has got.
#pragma once

#include <cstddef>

namespace command {

// Shown on standard error if that is a terminal and the results go elsewhere, so that it does not mix with any output.
// Short scenarios have none.
class Progress {
 public:
  explicit Progress(size_t total);
  ~Progress();
  Progress(const Progress &) = delete;
  Progress &operator=(const Progress &) = delete;

  // Call it after each event.
  void step();

 private:
  // A shorter scenario is over before anybody could read the line.
  static constexpr size_t kLong = 10'000;
  static constexpr size_t kStride = 1'000;

  size_t total_;
  size_t done_ = 0;
  bool shown_;
};

}  // namespace command
