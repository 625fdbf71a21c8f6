// What a policy file becomes in a repository.
#pragma once

#include <optional>

#include "simulator/policy/model.h"
#include "simulator/text/text.h"

namespace simulator::inventory {

// Builds the repository of a file, reads it back and takes it down. Nothing when anything went wrong; 'problems' then says
// what.
std::optional<PolicyFile> read_back(const PolicyFile &file, Complaints &problems);

}  // namespace simulator::inventory
