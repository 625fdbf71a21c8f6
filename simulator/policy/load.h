// Loads policy files.
#pragma once

#include <optional>

#include "simulator/policy/model.h"
#include "simulator/policy/source.h"

namespace simulator {

// Returns the file in 'source', or nothing when anything is wrong with it; 'diagnostics' then lists everything that is.
std::optional<PolicyFile> load(const Source &source, Diagnostics &diagnostics);

// Adds the objects of 'source' to those of 'file'; no name may be in both. Scenarios and tests are read but dropped.
// Returns false when anything is wrong with the source; the file is then unchanged.
bool load_more(PolicyFile &file, const Source &source, Diagnostics &diagnostics);

// Adds the scenario and the tests of 'source', which has nothing else, to those of 'file'. Returns false when anything
// is wrong with the source; the file is then unchanged. The number of the source is that of its path in 'more_paths'.
bool load_tests(PolicyFile &file, const Source &source, Diagnostics &diagnostics);

}  // namespace simulator
