// What zar report shows of a stream.
#pragma once

#include <optional>

#include "command/stream_input.h"
#include "simulator/diff/stream_changes.h"
#include "simulator/page/stream_figures.h"

namespace command {

struct StreamStudy {
  int code = 0;  // 0, or that of what went wrong, which has been reported; bad lines are part of the study
  simulator::page::StreamFigures figures;
  std::optional<simulator::diff::StreamChanges> changes{};  // nothing: there is no other file
};

// Plays the stream on the file, and on the one before it, if there is any. A line that fits the other file alone is bad.
StreamStudy study_stream(const simulator::PolicyFile &file, const simulator::PolicyFile *before, StreamInput &input);

}  // namespace command
