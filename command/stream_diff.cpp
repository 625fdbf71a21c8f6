#include "command/stream_diff.h"

#include <algorithm>

#include "command/exit_codes.h"
#include "command/stream_input.h"
#include "command/stream_results.h"
#include "command/stream_sides.h"

using namespace simulator;

namespace command {

bool is_stream(std::string_view path) {
  return path.ends_with(".jsonl");
}

StreamDiff compare_streams(const diff::Files &files, const diff::Renames &renames, const std::string &path) {
  StreamDiff diff;
  StreamInput input(path);
  BadLines bad(input.name());
  if (!input.error().empty()) {
    bad.report_input(input.error());
    return {kBadFile};
  }
  diff.code = play_on_both(files, renames, input, [&](const Reply &before, const Reply &after) {
    // A line that is bad on both sides decides nothing.
    if (before.error.empty() || after.error.empty()) {
      diff.changes.add(after.line, before.output, after.output);
    } else {
      bad.report(after.line, before.error);
    }
  });
  if (!input.error().empty()) bad.report_input(input.error());
  bad.summarise();
  if (bad.count() > 0 || !input.error().empty()) diff.code = std::max(diff.code, int{kBadFile});
  return diff;
}

}  // namespace command
