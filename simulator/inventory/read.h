// The repository as it stands, in the terms of a policy file.
//
// Nothing but the library is asked: its walks and accessors, its entries of the repository's clients and domains, the configuration texts that the owners of filters and actions give, and for targets, which have no walk of
// their own, the policy-maps that are active on them. A target's name and clid come from its owner's record, to which the
// repository points, and its attributes from the engine.
#pragma once

#include <optional>
#include <string>

#include "simulator/policy/model.h"
#include "simulator/repository/repository.h"
#include "simulator/text/text.h"

namespace simulator::inventory {

// What the repository holds, or nothing when part of it cannot be read; 'problems' then says what.
//
// What no object of the repository has is empty: positions, the scenario, the tests. Patterns are not compiled. The order of
// policy-maps is one in which a file gives the events the ids that they have; class-maps and parameter-maps come by name
// within their databases; targets in the order in which they were added.
std::optional<PolicyFile> read(const Repository &repository, Complaints &problems);

}  // namespace simulator::inventory
