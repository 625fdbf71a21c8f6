// What a policy file becomes in a repository.
#pragma once

#include <optional>

#include "tool/repository.h"

namespace tool::inventory {

// Reads a repository that was built; what goes wrong goes to standard error.
std::optional<PolicyFile> read_or_complain();

// Builds the repository of a file, reads it back and takes it down. What goes wrong goes to standard error, and nothing is
// answered then.
std::optional<PolicyFile> read_back(const PolicyFile &file);

}  // namespace tool::inventory
