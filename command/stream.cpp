#include "command/stream.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <functional>
#include <memory>
#include <thread>

#include "command/exit_codes.h"
#include "command/interrupts.h"
#include "command/report.h"
#include "command/stream_input.h"
#include "command/stream_results.h"
#include "command/terminal.h"
#include "command/workers.h"
#include "simulator/repository/repository.h"
#include "simulator/stream/render.h"
#include "simulator/text/interruption.h"

using namespace simulator;

namespace command {

namespace {

// Whether the work came to its end without Ctrl-C.
template <class Work>
bool uninterrupted(Work work) {
  const Interruptible interruptible;
  try {
    work();
    return true;
  } catch (const Interrupted &) {
    return false;
  }
}

StreamWishes with_jobs(StreamWishes wishes) {
  if (wishes.jobs == 0) wishes.jobs = std::max(1U, std::thread::hardware_concurrency());
  return wishes;
}

// NULL: nothing is shown of the events.
std::unique_ptr<stream::Renderer> make_renderer(const StreamWishes &wishes, const PolicyFile &file,
                                                const stream::Rules &rules) {
  if (wishes.no_results) return nullptr;
  if (wishes.jsonl) return std::make_unique<stream::JsonRenderer>(rules);
  return std::make_unique<stream::TextRenderer>(file, rules, terminal::colours(terminal::Stream::out));
}

// The library refused something that a good line needs.
struct Broken {};

// Plays lines on a repository, and renders what they do.
class LinePlayer {
 public:
  LinePlayer(PolicyFile &file, Repository &repository, const StreamWishes &wishes)
      : player_(file, repository), renderer_(make_renderer(wishes, file, player_.rules())) {}

  const stream::Rules &rules() const { return player_.rules(); }

  // What the reply points to is valid until the next call.
  Reply play(const stream::Line &line) { return reply_to(player_.play(line)); }

  // Plays all lines until 'deliver' returns false.
  void play_all(stream::Lines &lines, const std::function<bool(const Reply &)> &deliver) {
    std::array<stream::Line, stream::Player::kMostTogether> some;
    for (size_t count = lines.next(some); count > 0; count = lines.next(some)) {
      const auto each = [&](const stream::Played &played) { return deliver(reply_to(played)); };
      if (!player_.play(std::span(some).first(count), each)) return;
    }
  }

 private:
  Reply reply_to(const stream::Played &played) {
    if (player_.is_broken()) throw Broken{};
    output_.clear();
    if (renderer_) renderer_->append(output_, played);
    return {played.line, counted(played), output_, {}, played.error};
  }

  stream::Player player_;
  std::unique_ptr<stream::Renderer> renderer_;
  std::string output_;
};

// Builds the repository of a file, and plays lines on it as 'play_all' wants.
template <class PlayAll>
int play_on(PolicyFile &file, const StreamWishes &wishes, PlayAll play_all) {
  Repository repository(file);
  int code = kSuccess;
  if (repository.build()) {
    LinePlayer player(file, repository, wishes);
    try {
      code = play_all(player);
    } catch (const Broken &) {
      code = kInternal;
    }
  }
  return std::max(code, finish(repository));
}

// Plays all lines in this process.
int play_here(PolicyFile &file, const StreamWishes &wishes, StreamInput &input, bool &interrupted) {
  return play_on(file, wishes, [&](LinePlayer &player) {
    StreamResults results(input.name(), player.rules(), wishes.strict);
    stream::Lines lines([&](char *to, size_t room) {
      results.flush();
      return input.read(to, room);
    });
    interrupted =
        !uninterrupted([&] { player.play_all(lines, [&](const Reply &reply) { return results.add(reply); }); });
    if (!input.error().empty()) results.report_input(input.error());
    return results.finish();
  });
}

// The process that plays a line: all lines of one target go to the same. Those that cannot be read go to the first.
size_t worker_of(const stream::Line &line, stream::LineReader &reader, size_t workers) {
  const stream::Request *request = line.too_long ? nullptr : reader.read(line.text);
  return request ? std::hash<std::string_view>()(request->target) % workers : 0;
}

// Shares the lines among processes by their targets. Targets have nothing in common that an event could change, so the
// results are the same as those of one process.
int play_in_jobs(PolicyFile &file, const StreamWishes &wishes, StreamInput &input, bool &interrupted) {
  const stream::Rules rules(file);
  StreamResults results(input.name(), rules, wishes.strict);
  const auto work = [&](size_t, const Workers::Serve &serve) {
    return play_on(file, wishes, [&](LinePlayer &player) {
      serve([&](const stream::Line &line) { return player.play(line); });
      return int{kSuccess};
    });
  };
  Workers workers(wishes.jobs, work, [&](const Reply &reply) { return results.add(reply); });
  stream::Lines lines([&](char *to, size_t room) { return workers.read(input, to, room, [&] { results.flush(); }); });
  stream::LineReader reader;
  interrupted = !uninterrupted([&] {
    for (stream::Line line; !workers.has_stopped() && lines.next(line);)
      workers.send(worker_of(line, reader, wishes.jobs), line);
    workers.finish();
  });
  const int code = workers.wait();
  if (workers.has_failed()) complain("internal error: a process of the stream ended early");
  if (!input.error().empty()) results.report_input(input.error());
  return std::max(code, results.finish());
}

}  // namespace

int run_stream(PolicyFile &file, const StreamWishes &wishes) {
  // A reader that leaves is an output that cannot be written, with a message, and the counts are still worth showing.
  std::signal(SIGPIPE, SIG_IGN);
  StreamInput input(wishes.events);
  if (!input.error().empty()) {
    complain(concat(input.name(), ": ", input.error()));
    return kBadFile;
  }
  bool interrupted = false;
  const int code = wishes.jobs == 1 ? play_here(file, wishes, input, interrupted)
                                    : play_in_jobs(file, with_jobs(wishes), input, interrupted);
  if (interrupted) end_as_interrupted();
  return code;
}

}  // namespace command
