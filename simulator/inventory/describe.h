// Objects of the repository as a person reads them.
#pragma once

#include <optional>
#include <string>

#include "simulator/inventory/relations.h"
#include "simulator/policy/kinds.h"

namespace simulator::inventory {

// The objects of a kind, or the one with the name: each with all that it holds and who uses it, a block of lines.
std::string describe(const Relations &relations, ObjectKind kind, const std::optional<std::string> &name);

// All objects, a line each, in a table for each kind.
std::string overview(const Relations &relations);

}  // namespace simulator::inventory
