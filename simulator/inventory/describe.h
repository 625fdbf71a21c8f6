// Objects of the repository, for people to read.
#pragma once

#include <optional>
#include <string>

#include "simulator/inventory/relations.h"
#include "simulator/policy/kinds.h"

namespace simulator::inventory {

// The objects of a kind, or the one with the name: for each a block of lines with its contents and its users.
std::string describe(const Relations &relations, ObjectKind kind, const std::optional<std::string> &name);

// All objects, one line each, in a table for each kind.
std::string overview(const Relations &relations);

}  // namespace simulator::inventory
