#include "command/stream_diff.h"

#include <algorithm>
#include <csignal>
#include <iostream>

#include "command/exit_codes.h"
#include "command/interrupts.h"
#include "command/report.h"
#include "command/stream_input.h"
#include "command/stream_results.h"
#include "command/workers.h"
#include "simulator/text/text.h"

using namespace simulator;

namespace command {

namespace {

// One process for each file: a process has one repository at a time.
constexpr size_t kBefore = 0;
constexpr size_t kSides = 2;

int play_side(PolicyFile &file, const diff::Renames &renames, diff::Side::Is is, const Workers::Serve &serve) {
  const diff::Side side(file, renames, is);
  Repository repository(file);
  bool broken = false;
  if (repository.build()) {
    diff::StreamSide player(side, file, repository);
    serve([&](const stream::Line &line) -> Reply {
      const stream::Played &played = player.play(line);
      broken |= player.is_broken();
      return {line.number, counted(played), player.decision(), played.error};
    });
  }
  return std::max(finish(repository), broken ? int{kInternal} : int{kSuccess});
}

// Pairs the replies of both sides, which come one after the other.
class Pairs {
 public:
  Pairs(BadLines &bad, diff::StreamChanges &changes) : bad_(&bad), changes_(&changes) {}

  bool add(const Reply &reply) {
    is_before_ = !is_before_;
    if (is_before_) {
      before_ = reply.output;
      error_ = reply.error;
      return true;
    }
    // A line that is bad on both sides decides nothing.
    if (error_.empty() || reply.error.empty()) {
      changes_->add(reply.line, before_, reply.output);
    } else {
      bad_->report(reply.line, error_);
    }
    return true;
  }

 private:
  BadLines *bad_;
  diff::StreamChanges *changes_;
  bool is_before_ = false;
  std::string before_;
  std::string error_;
};

}  // namespace

bool is_stream(std::string_view path) {
  return path.ends_with(".jsonl");
}

StreamDiff compare_streams(PolicyFile &before, PolicyFile &after, const diff::Renames &renames,
                           const std::string &path) {
  std::signal(SIGPIPE, SIG_IGN);
  StreamDiff diff;
  StreamInput input(path);
  BadLines bad(input.name());
  if (!input.error().empty()) {
    bad.report_input(input.error());
    return {kBadFile};
  }
  Pairs pairs(bad, diff.changes);
  const auto work = [&](size_t worker, const Workers::Serve &serve) {
    return worker == kBefore ? play_side(before, renames, diff::Side::Is::before, serve)
                             : play_side(after, renames, diff::Side::Is::after, serve);
  };
  Workers workers(kSides, work, [&](const Reply &reply) { return pairs.add(reply); });
  stream::Lines lines([&](char *to, size_t room) { return workers.read(input, to, room, [] {}); });
  for (stream::Line line; !workers.has_stopped() && lines.next(line);) {
    for (size_t side = 0; side < kSides; ++side)
      workers.send(side, line);
  }
  workers.finish();
  diff.code = workers.wait();
  if (workers.has_failed()) complain("internal error: a process of the stream ended early");
  if (!input.error().empty()) bad.report_input(input.error());
  bad.summarise();
  if (bad.count() > 0 || !input.error().empty()) diff.code = std::max(diff.code, int{kBadFile});
  return diff;
}

}  // namespace command
