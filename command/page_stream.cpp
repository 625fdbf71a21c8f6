#include "command/page_stream.h"

#include <algorithm>

#include "command/exit_codes.h"
#include "command/progress.h"
#include "command/report.h"
#include "command/stream_results.h"
#include "command/stream_sides.h"
#include "simulator/diff/stream_side.h"

using namespace simulator;

namespace command {

namespace {

void count(const Reply &reply, page::StreamFigures &figures) {
  if (reply.error.empty()) {
    figures.add(reply.counted, diff::unpacked(reply.output).event, reply.kind);
  } else {
    figures.add_bad(reply.line, reply.error);
  }
}

}  // namespace

StreamStudy study_stream(const PolicyFile &file, const PolicyFile *before, StreamInput &input) {
  StreamStudy study{.figures = {input.name(), file}};
  Progress progress;
  const auto add = [&](const Reply &reply) {
    count(reply, study.figures);
    progress.step();
  };
  if (before) {
    diff::StreamChanges &changes = study.changes.emplace();
    const auto add_both = [&](const Reply &old_reply, const Reply &reply) {
      // A line that is bad on both sides decides nothing.
      if (old_reply.error.empty() || reply.error.empty()) changes.add(reply.line, old_reply.output, reply.output);
      add(reply);
    };
    study.code = play_on_both({before, &file}, diff::find_renames(*before, file), input, add_both);
  } else {
    study.code = play_on_one(file, input, add);
  }
  if (input.error().empty()) return study;
  BadLines(input.name()).report_input(input.error());
  study.code = std::max(study.code, int{kBadFile});
  return study;
}

}  // namespace command
