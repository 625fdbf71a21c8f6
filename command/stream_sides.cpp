#include "command/stream_sides.h"

#include <algorithm>
#include <csignal>
#include <string>

#include "command/exit_codes.h"
#include "command/report.h"
#include "command/workers.h"
#include "simulator/diff/stream_side.h"
#include "simulator/repository/repository.h"
#include "simulator/stream/target_kinds.h"

using namespace simulator;

namespace command {

namespace {

// The processes that play on both files.
constexpr size_t kBefore = 0;
constexpr size_t kSides = 2;

int exit_code(Repository &repository, bool broken) {
  return std::max(finish(repository), broken ? int{kInternal} : int{kSuccess});
}

int serve_one(const PolicyFile &file, const Workers::Serve &serve) {
  Repository repository(file);
  bool broken = false;
  if (repository.build()) {
    stream::Player player(file, repository);
    stream::TargetKinds kinds(file);
    std::string names;
    serve([&](const stream::Line &line) -> Reply {
      const stream::Played &played = player.play(line);
      broken |= player.is_broken();
      const stream::Request *request = played.request;
      names = request ? diff::packed({.event = request->event, .target = request->target, .error = played.error})
                      : diff::packed({.error = played.error});
      return {line.number, counted(played), names, kinds.kind_of(played), played.error};
    });
  }
  return exit_code(repository, broken);
}

int serve_side(const diff::Side &side, const Workers::Serve &serve, bool with_kinds) {
  const PolicyFile &file = side.file();
  Repository repository(file);
  bool broken = false;
  if (repository.build()) {
    diff::StreamSide player(side, file, repository);
    stream::TargetKinds kinds(file);
    serve([&](const stream::Line &line) -> Reply {
      const stream::Played &played = player.play(line);
      broken |= player.is_broken();
      const std::string_view kind = with_kinds ? kinds.kind_of(played) : std::string_view();
      return {line.number, counted(played), player.decision(), kind, played.error};
    });
  }
  return exit_code(repository, broken);
}

// Sends each line to all of the processes.
int play_in_each(size_t count, const Workers::Work &work, StreamInput &input, const Workers::Deliver &deliver) {
  std::signal(SIGPIPE, SIG_IGN);
  Workers workers(count, work, deliver);
  stream::Lines lines([&](char *to, size_t room) { return workers.read(input, to, room, [] {}); });
  for (stream::Line line; !workers.has_stopped() && lines.next(line);) {
    for (size_t worker = 0; worker < count; ++worker)
      workers.send(worker, line);
  }
  workers.finish();
  const int code = workers.wait();
  if (workers.has_failed()) complain("internal error: a process of the stream ended early");
  return code;
}

// Pairs the replies of both sides, which come one after the other.
class Pairs {
 public:
  explicit Pairs(const EachPair &each) : each_(&each) {}

  void add(const Reply &reply) {
    is_before_ = !is_before_;
    if (is_before_) {
      output_ = reply.output;
      error_ = reply.error;
    } else {
      (*each_)({.line = reply.line, .output = output_, .error = error_}, reply);
    }
  }

 private:
  const EachPair *each_;
  bool is_before_ = false;
  std::string output_;
  std::string error_;
};

}  // namespace

int play_on_one(const PolicyFile &file, StreamInput &input, const EachLine &each) {
  const auto work = [&](size_t, const Workers::Serve &serve) { return serve_one(file, serve); };
  return play_in_each(1, work, input, [&](const Reply &reply) {
    each(reply);
    return true;
  });
}

int play_on_both(const diff::Files &files, const diff::Renames &renames, StreamInput &input, const EachPair &each) {
  using Is = diff::Side::Is;
  const auto work = [&](size_t worker, const Workers::Serve &serve) {
    const bool is_before = worker == kBefore;
    const diff::Side side(is_before ? *files.before : *files.after, renames, is_before ? Is::before : Is::after);
    return serve_side(side, serve, !is_before);
  };
  Pairs pairs(each);
  return play_in_each(kSides, work, input, [&](const Reply &reply) {
    pairs.add(reply);
    return true;
  });
}

}  // namespace command
