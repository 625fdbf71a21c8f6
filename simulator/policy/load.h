// Loads policy files.
#pragma once

#include <optional>

#include "simulator/policy/model.h"
#include "simulator/policy/source.h"

namespace simulator {

// The file behind 'source', or nothing when anything is wrong with it; 'diagnostics' then holds all that is.
std::optional<PolicyFile> load(const Source &source, Diagnostics &diagnostics);

// The objects of 'base' with those of 'source' behind them, as one file; no name may be in both. Scenarios and tests are
// read and left out.
std::optional<PolicyFile> load_more(const PolicyFile &base, const Source &source, Diagnostics &diagnostics);

}  // namespace simulator
