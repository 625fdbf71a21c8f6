// The library's own listings.
#pragma once

#include <string>

#include "tool/repository.h"

namespace tool {

// The policy-maps, in the short form and with counters, and the class-maps with their counters; of every database once.
std::string listings(const PolicyFile &file, const Repository &repository);

}  // namespace tool
