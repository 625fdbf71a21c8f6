// Loads files for sub-commands.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "simulator/policy/model.h"
#include "simulator/policy/source.h"

namespace command {

struct Loaded {
  simulator::Source source;
  simulator::Diagnostics diagnostics;
  std::optional<simulator::PolicyFile> file;  // nothing if anything is wrong
};

// A file, or standard input for "-", with all its errors.
Loaded load_path(const std::string &path);

// The same for callers that need only valid files: errors go to standard error.
std::optional<simulator::PolicyFile> load_file(const std::string &path);

// Whether standard input, which can be read only once, is at most once among the paths. Complains otherwise.
bool name_stdin_once(const std::vector<std::string> &paths);

}  // namespace command
