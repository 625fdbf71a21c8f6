#include "command/stream.h"

#include <csignal>
#include <iostream>
#include <memory>

#include "command/exit_codes.h"
#include "command/interrupts.h"
#include "command/report.h"
#include "command/stream_input.h"
#include "command/stream_results.h"
#include "command/terminal.h"
#include "simulator/repository/repository.h"
#include "simulator/stream/render.h"
#include "simulator/text/interruption.h"

using namespace simulator;

namespace command {

namespace {

// NULL: nothing is shown of the events.
std::unique_ptr<stream::Renderer> make_renderer(const StreamWishes &wishes, const PolicyFile &file,
                                                const stream::Rules &rules) {
  if (wishes.no_results) return nullptr;
  if (wishes.jsonl) return std::make_unique<stream::JsonRenderer>(rules);
  return std::make_unique<stream::TextRenderer>(file, rules, terminal::colours(terminal::Stream::out));
}

// Plays all lines in this process. False if the library refused a good line.
bool play_all(stream::Player &player, stream::Renderer *renderer, StreamInput &input, StreamResults &results) {
  stream::Lines lines([&](char *to, size_t room) {
    results.flush();
    return input.read(to, room);
  });
  stream::Line line;
  std::string output;
  while (lines.next(line)) {
    const stream::Played &played = player.play(line);
    if (player.is_broken()) return false;
    output.clear();
    if (renderer) renderer->append(output, played);
    if (!results.add(line.number, counted(played), output, played.error)) return true;
  }
  return true;
}

int play_here(PolicyFile &file, const StreamWishes &wishes, StreamInput &input, bool &interrupted) {
  Repository repository(file);
  int code = kSuccess;
  if (repository.build()) {
    stream::Player player(file, repository);
    const std::unique_ptr<stream::Renderer> renderer = make_renderer(wishes, file, player.rules());
    StreamResults results(input.name(), player.rules(), wishes.strict);
    try {
      const Interruptible interruptible;
      if (!play_all(player, renderer.get(), input, results)) code = kInternal;
    } catch (const Interrupted &) {
      interrupted = true;
    }
    if (!input.error().empty()) results.report_input(input.error());
    code = std::max(code, results.finish());
  }
  return std::max(code, finish(repository));
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
  const int code = play_here(file, wishes, input, interrupted);
  if (interrupted) end_as_interrupted();
  return code;
}

}  // namespace command
