#include "command/load_file.h"

#include <algorithm>
#include <cstdio>

#include "command/report.h"
#include "simulator/policy/load.h"

using namespace simulator;

namespace command {

Loaded load_path(const std::string &path) {
  Diagnostics diagnostics;
  Source source = path == "-" ? Source::read(stdin, "<stdin>", diagnostics) : Source::read(path, diagnostics);
  std::optional<PolicyFile> file;
  if (diagnostics.empty()) file = load(source, diagnostics);
  return {std::move(source), std::move(diagnostics), std::move(file)};
}

std::optional<PolicyFile> load_file(const std::string &path) {
  Loaded loaded = load_path(path);
  report(loaded.diagnostics, loaded.source);
  return std::move(loaded.file);
}

bool name_stdin_once(const std::vector<std::string> &paths) {
  if (std::count(paths.begin(), paths.end(), "-") <= 1) return true;
  complain("standard input can be only one of the files");
  return false;
}

}  // namespace command
