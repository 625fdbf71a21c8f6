// The library's trace as a test sees it: lines of level and text, in order.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

#include "host/runtime/control.h"
#include "support/call_log.h"

namespace rig {

struct Line {
  uint32_t level = 0;
  std::string text;
  bool operator==(const Line &) const = default;
};
std::ostream &operator<<(std::ostream &out, const Line &line);

// Whether this run has no trace: with ZAR_TESTS_UNTRACED in the environment no level is on, and everything else must be
// unchanged.
bool untraced();

// Lines in order. In a run without a trace, the expectation is met if there are none.
struct Lines : std::vector<Line> {
  using std::vector<Line>::vector;
  bool operator==(const Lines &other) const;
};

// A line of level 3 (error) or 6 (info). The text is the message's own, including the prefix, which some take from the
// other level.
template <typename... Values>
Line error(const char *format, const Values &...values) {
  return {3, text(format, values...)};
}
template <typename... Values>
Line info(const char *format, const Values &...values) {
  return {6, text(format, values...)};
}

// A sequence put together from lines and sequences.
namespace detail {
inline void append_to(Lines &out, const Line &line) {
  out.push_back(line);
}
inline void append_to(Lines &out, const Lines &more) {
  out.insert(out.end(), more.begin(), more.end());
}
}  // namespace detail
template <typename... Parts>
Lines lines(const Parts &...parts) {
  Lines out;
  (detail::append_to(out, parts), ...);
  return out;
}

// The runtime calls this for each line: it stores the line, and returns whether it did. Comparators are included on
// request.
bool capture(const runtime::TraceLine &line);
// Begins to capture levels 3 and 6 and forgets what was captured.
void start_trace();
// What was captured since the last forget_trace() or take_trace().
Lines &traced();
Lines take_trace();
void forget_trace();
// Everything since start_trace(), for messages.
const Lines &trace_history();
// Of it, the lines of level 3 alone.
Lines take_errors();
// The comparators trace addresses at each node that they visit. Their lines are omitted unless a test asks for them.
void hear_comparisons(bool on);

// While one is alive, nothing new is captured or logged.
class Quiet {
 public:
  Quiet();
  ~Quiet();
  Quiet(const Quiet &) = delete;
  Quiet &operator=(const Quiet &) = delete;

 private:
  size_t lines_;
  size_t calls_;
};

}  // namespace rig

// For a test whose subject is the trace itself, or that steps in where a line is traced.
#define NEEDS_TRACE() \
  if (::rig::untraced()) GTEST_SKIP() << "the trace is its subject"
// Exactly these lines, in this order, since the last check; they are then forgotten.
#define EXPECT_TRACED(...) EXPECT_EQ(::rig::take_trace(), ::rig::lines(__VA_ARGS__))
// Exactly these lines of level 3; those of level 6 are forgotten with them.
#define EXPECT_ERRORS(...) EXPECT_EQ(::rig::take_errors(), ::rig::lines(__VA_ARGS__))
// One line of level 3, whatever it says; it is then forgotten.
#define EXPECT_ONE_ERROR() EXPECT_EQ(::rig::take_errors().size(), ::rig::untraced() ? 0U : 1U)
// Exactly these calls of the engine and the callbacks, in this order, since the last check; they are then forgotten.
#define EXPECT_CALLS(...) EXPECT_EQ(::rig::take_calls(), (std::vector<std::string>{__VA_ARGS__}))
