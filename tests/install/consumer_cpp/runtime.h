// What the host may see of its own platform runtime.
#pragma once

#include <cstddef>

namespace consumer {

// What is in use and was not returned.
struct Live {
  size_t ids = 0;
  size_t records = 0;
  size_t blocks = 0;
  size_t texts = 0;
  bool operator==(const Live &) const = default;
};
Live live_now();

}  // namespace consumer
