// The last trace lines and the counts of all, in memory that a debugger finds in a core file: plain arrays in one
// variable.
#pragma once

#include <cstddef>
#include <cstdint>

namespace runtime {

// What a message is about, from its text: "(ERR): store_policy: Error: ..." has the category "ERR" and the subject
// "store_policy". What has no category begins with the subject.
struct TraceTopic {
  char category[8];
  char subject[56];
};

struct KeptLine {
  uint32_t level;
  uint32_t length;  // of the whole text, without a newline at its end
  char text[248];   // its beginning, and a NUL
};

struct TraceCount {
  TraceTopic topic;
  uint64_t count;
};

// 1. If 'lines' is NULL, 'capacity' is 0 and nothing is kept or counted.
// 2. Line number n, counted from 0, is at n modulo 'capacity'; 'n_ever' lines were kept so far.
// 3. No topic is in 'counts' twice; when the array is full, its last entry counts all others.
struct KeptTrace {
  KeptLine *lines = nullptr;
  uint64_t capacity = 0;
  uint64_t n_ever = 0;
  uint32_t n_counts = 0;
  TraceCount counts[256] = {};
};
extern constinit KeptTrace kept_trace;

TraceTopic topic_of(const char *text) noexcept;
// Keeps and counts a line.
void keep_line(uint32_t level, const char *text, size_t length, const TraceTopic &topic) noexcept;

}  // namespace runtime
