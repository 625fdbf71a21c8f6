#include "command/stream_results.h"

#include <algorithm>
#include <cmath>
#include <iostream>

#include "command/exit_codes.h"
#include "command/report.h"
#include "command/terminal.h"
#include "simulator/policy/diagnostics.h"
#include "simulator/text/text.h"

using namespace simulator;

namespace command {

namespace {

// A write of this size costs little more than the copy.
constexpr size_t kMostBytesWaiting = size_t{256} << 10U;
// Nobody reads more.
constexpr size_t kMostReported = Diagnostics::kMostShown;

std::string rate_text(size_t events, std::chrono::steady_clock::duration taken) {
  const double seconds = std::max(std::chrono::duration<double>(taken).count(), 1e-6);
  const auto tenths = static_cast<size_t>(std::lround(seconds * 10));
  return concat("took ", tenths / 10, ".", tenths % 10,
                " s: ", static_cast<size_t>(static_cast<double>(events) / seconds), " events a second\n");
}

}  // namespace

void BadLines::report(size_t line, std::string_view error) {
  if (++count_ <= kMostReported) print(concat(":", line), error);
}

void BadLines::report_input(std::string_view error) {
  print("", error);
}

void BadLines::print(std::string_view where, std::string_view error) const {
  const Colours colours = terminal::colours(terminal::Stream::err);
  std::cerr << concat(escape_control_characters(input_), where, ": ", painted(colours, Tone::bad, "error:"), " ",
                      escape_control_characters(error), "\n");
}

void BadLines::summarise() const {
  if (count_ > kMostReported) complain(concat("of ", count_, " bad lines, the first ", kMostReported, " are shown"));
}

StreamResults::StreamResults(std::string input, const stream::Rules &rules, bool strict)
    : bad_(std::move(input)), rules_(&rules), strict_(strict), totals_(rules.size()) {}

bool StreamResults::add(const Reply &reply) {
  totals_.count(reply.counted);
  waiting_ += reply.output;
  if (waiting_.size() >= kMostBytesWaiting) flush();
  if (!reply.error.empty()) bad_.report(reply.line, reply.error);
  progress_.step();
  return std::cout && (reply.error.empty() || !strict_);
}

void StreamResults::flush() {
  if (waiting_.empty()) return;
  std::cout.write(waiting_.data(), static_cast<std::streamsize>(waiting_.size())).flush();
  waiting_.clear();
}

void StreamResults::report_input(std::string_view error) {
  input_failed_ = true;
  bad_.report_input(error);
}

int StreamResults::finish() {
  flush();
  bad_.summarise();
  std::cerr << text_of(totals_, *rules_, terminal::colours(terminal::Stream::err))
            << rate_text(totals_.events, std::chrono::steady_clock::now() - began_);
  if (totals_.bad > 0 || input_failed_) return kBadFile;
  return totals_.stopped > 0 ? kNo : kSuccess;
}

}  // namespace command
