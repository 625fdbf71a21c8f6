// Loads policy files.
#pragma once

#include <optional>

#include "tool/policy/model.h"
#include "tool/policy/source.h"

namespace tool {

// The file behind 'source', or nothing when anything is wrong with it; 'diagnostics' then holds all that is.
std::optional<PolicyFile> load(const Source &source, Diagnostics &diagnostics);

}  // namespace tool
