// Loading for sub-commands: what is wrong with a file goes to standard error.
#pragma once

#include <optional>
#include <string>

#include "tool/policy/model.h"

namespace tool {

std::optional<PolicyFile> load_file(const std::string &path);

}  // namespace tool
