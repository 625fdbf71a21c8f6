// Reads the repository as it is now and describes it as a policy file.
//
// The library is the only source: its walks and accessors, its entries of the repository's clients and domains, and the
// configuration texts that the owners of filters and actions produce. It has no walk over targets, so they come from
// the policy-maps that are active on them. A target's name and clid come from its owner's record, to which the
// repository points, and its attributes from the engine.
#pragma once

#include <optional>
#include <string>

#include "simulator/policy/model.h"
#include "simulator/repository/repository.h"
#include "simulator/text/text.h"

namespace simulator::inventory {

// The contents of the repository, or nothing when a part cannot be read; 'problems' then says what.
//
// Anything that the repository does not hold is empty: positions, the scenario, the tests. Patterns are not compiled.
// Policy-maps come in an order in which a file gives the events the ids that they have, class-maps and parameter-maps
// by name within their databases, targets in the order in which they were added.
std::optional<PolicyFile> read(const Repository &repository, Complaints &problems);

}  // namespace simulator::inventory
