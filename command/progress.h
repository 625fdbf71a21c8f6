// A line that tells how far a long scenario is.
#pragma once

#include <cstddef>

namespace command {

// Shown on standard error where that is a terminal and the results go elsewhere, so that nothing is written into either.
// Short scenarios have none.
class Progress {
 public:
  explicit Progress(size_t total);
  ~Progress();
  Progress(const Progress &) = delete;
  Progress &operator=(const Progress &) = delete;

  // Another event is done.
  void step();

 private:
  // Short enough a scenario is over before anybody could read the line.
  static constexpr size_t kLong = 10'000;
  static constexpr size_t kStride = 1'000;

  size_t total_;
  size_t done_ = 0;
  bool shown_;
};

}  // namespace command
