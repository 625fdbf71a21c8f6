// Loading for sub-commands.
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
  std::optional<simulator::PolicyFile> file;  // nothing when anything is wrong
};

// A file, or standard input for "-", with all that is wrong with it.
Loaded load_path(const std::string &path);

// The same for those who need the good ones only: what is wrong goes to standard error.
std::optional<simulator::PolicyFile> load_file(const std::string &path);

// Whether standard input, which can be read but once, stands at most once among the paths. Complains when it does not.
bool name_stdin_once(const std::vector<std::string> &paths);

}  // namespace command
