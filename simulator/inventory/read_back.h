// What a repository holds after it was built from a policy file.
#pragma once

#include <optional>

#include "simulator/policy/model.h"
#include "simulator/text/text.h"

namespace simulator::inventory {

// Builds the repository of a file, reads it back and takes it down. Nothing when anything goes wrong; 'problems' then
// says what.
std::optional<PolicyFile> read_back(const PolicyFile &file, Complaints &problems);

}  // namespace simulator::inventory
