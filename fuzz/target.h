// Shared by the fuzz targets: one input is one session; a failure ends the process and prints the calls.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "tests/walk/session.h"

namespace walk {

// 'act' makes the calls and returns whether to continue to the end, where everything is deleted.
inline void run_target(const Options &options, const std::function<bool(Session &)> &act) {
  const auto run = [&](const Options &how) {
    Session session(how);
    if (act(session)) session.finish();
    return session.failure();
  };
  if (run(options).empty()) return;
  // Calls are rendered only if needed.
  std::vector<std::string> lines;
  Options with_lines = options;
  with_lines.lines = &lines;
  const std::string failure = run(with_lines);
  for (const std::string &line : lines)
    std::fprintf(stderr, "  %s\n", line.c_str());
  std::fprintf(stderr, "  %s\n", failure.c_str());
  std::abort();
}

}  // namespace walk
