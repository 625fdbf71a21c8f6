// Where the results of a stream go, line by line in the order of the input: standard output, the messages about bad
// lines, the counts.
#pragma once

#include <chrono>
#include <string>
#include <string_view>

#include "command/frames.h"
#include "command/progress.h"
#include "simulator/stream/totals.h"

namespace command {

// Messages about the bad lines of a stream, and about the stream as a whole.
class BadLines {
 public:
  // The argument is the name of the stream.
  explicit BadLines(std::string input) : input_(std::move(input)) {}

  void report(size_t line, std::string_view error);
  void report_input(std::string_view error);
  // Says how many there were, if not all were reported.
  void summarise() const;
  size_t count() const { return count_; }

 private:
  void print(std::string_view where, std::string_view error) const;

  std::string input_;
  size_t count_ = 0;
};

class StreamResults {
 public:
  // 'input' is the name of the stream in messages.
  StreamResults(std::string input, const simulator::stream::Rules &rules, bool strict);

  // Adds a line with the output that it causes and, if it is bad, what is wrong with it. False: the stream ends here,
  // because of a bad line or because standard output takes no more.
  bool add(const Reply &reply);
  // Writes what is not written yet. Call it before waiting for input: readers of a live stream see each result at once.
  void flush();
  // Reports what is wrong with the input as a whole.
  void report_input(std::string_view error);

  // Writes the summary to standard error. Returns the exit code.
  int finish();

 private:
  BadLines bad_;
  const simulator::stream::Rules *rules_;
  bool strict_;
  simulator::stream::Totals totals_;
  Progress progress_;
  std::string waiting_;  // for standard output
  bool input_failed_ = false;
  std::chrono::steady_clock::time_point began_ = std::chrono::steady_clock::now();
};

}  // namespace command
