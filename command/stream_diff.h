// zar diff --replay with a stream: plays it on both files at once and compares line by line.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "simulator/diff/decisions.h"
#include "simulator/diff/stream_changes.h"

namespace command {

// Whether a file is a stream, by its name: another one is a policy file with a scenario.
bool is_stream(std::string_view path);

struct StreamDiff {
  int code = 0;  // 0, or that of what went wrong; bad lines on both sides are wrong
  simulator::diff::StreamChanges changes{};
};

StreamDiff compare_streams(const simulator::diff::Files &files, const simulator::diff::Renames &renames,
                           const std::string &path);

}  // namespace command
