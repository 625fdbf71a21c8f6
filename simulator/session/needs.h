// What stands in the way of a deletion.
#pragma once

#include <string>
#include <string_view>

#include "simulator/policy/kinds.h"

namespace simulator::session {

// Why an object of the file cannot be deleted: a sentence about the first object that needs it; empty when nothing
// does. That nothing does is known at once, however many objects there are; the first that does is searched.
std::string why_needed(const PolicyFile &file, ObjectKind kind, std::string_view name);

}  // namespace simulator::session
