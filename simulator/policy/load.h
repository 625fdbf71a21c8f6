// Loads policy files.
#pragma once

#include <optional>

#include "simulator/policy/model.h"
#include "simulator/policy/source.h"

namespace simulator {

// Returns the file in 'source', or nothing when anything is wrong with it; 'diagnostics' then lists everything that is.
std::optional<PolicyFile> load(const Source &source, Diagnostics &diagnostics);

// Returns the objects of 'base' followed by those of 'source', as one file; no name may be in both. Scenarios and tests
// are read but dropped.
std::optional<PolicyFile> load_more(const PolicyFile &base, const Source &source, Diagnostics &diagnostics);

}  // namespace simulator
