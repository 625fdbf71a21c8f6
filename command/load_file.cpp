#include "command/load_file.h"

#include <algorithm>
#include <cstdio>
#include <iostream>

#include "command/exit_codes.h"
#include "command/json_output.h"
#include "command/report.h"
#include "simulator/policy/diagnostics_json.h"
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

std::optional<PolicyFile> FileLoader::load(const std::string &path) {
  Loaded loaded = load_path(path);
  note(loaded.source, loaded.diagnostics);
  return std::move(loaded.file);
}

void FileLoader::note(const Source &source, const Diagnostics &diagnostics) {
  if (!json_) {
    report(diagnostics, source);
  } else if (!diagnostics.empty()) {
    errors_.push_back(file_errors_json(source.name(), diagnostics));
  }
}

int FileLoader::refuse(std::string_view command) const {
  if (json_) print_json(std::cout, file_errors_object(command, errors_));
  return kBadFile;
}

bool name_stdin_once(const std::vector<std::string> &paths) {
  if (std::count(paths.begin(), paths.end(), "-") <= 1) return true;
  complain("standard input can be only one of the files");
  return false;
}

}  // namespace command
