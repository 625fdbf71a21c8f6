// Objects of the repository as a person reads them.
#pragma once

#include <string>

#include "tool/inventory/relations.h"

namespace tool::inventory {

// One object with all that it holds and who uses it, a block of lines.
std::string describe(const PolicyMap &policy, const Relations &relations);
std::string describe(const ClassMap &map, const Relations &relations);
std::string describe(const ParameterMap &map, const Relations &relations);
std::string describe(const Target &target);

// All objects, a line each, in a table for each kind.
std::string overview(const Relations &relations);

}  // namespace tool::inventory
