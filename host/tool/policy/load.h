// Loads policy files.
#pragma once

#include <optional>

#include "tool/policy/model.h"
#include "tool/policy/source.h"

namespace tool {

// The file behind 'source', or nothing when anything is wrong with it; 'diagnostics' then holds all that is.
std::optional<PolicyFile> load(const Source &source, Diagnostics &diagnostics);

// The objects of 'base' with those of 'source' behind them, as one file; no name may be in both. Scenarios and tests are
// read and left out.
std::optional<PolicyFile> load_more(const PolicyFile &base, const Source &source, Diagnostics &diagnostics);

}  // namespace tool
