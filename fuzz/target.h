// Shared by the fuzz targets: one input is one session; a failure ends the process and prints the calls.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "fuzz/session.h"

namespace fuzz {

// 'act' makes the calls and returns whether to continue to the end, where everything is deleted.
inline void run_target(const Options &options, const std::function<bool(Session &)> &act) {
  const auto run = [&](const Options &how) {
    Session session(how);
    if (act(session)) session.finish();
    return session.failure();
  };
  if (run(options).empty()) return;
  // Calls are rendered only if needed.
  std::vector<std::string> told;
  Options telling = options;
  telling.lines = &told;
  const std::string failure = run(telling);
  for (const std::string &line : told)
    std::fprintf(stderr, "  %s\n", line.c_str());
  std::fprintf(stderr, "  %s\n", failure.c_str());
  std::abort();
}

}  // namespace fuzz
