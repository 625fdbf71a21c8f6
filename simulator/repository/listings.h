// The library's own listings.
#pragma once

#include <string>

#include "simulator/repository/repository.h"

namespace simulator {

// What a listing contains.
struct Listed {
  bool policies = true;
  bool classes = true;
  const Name *name = nullptr;    // NULL: all
  const Name *domain = nullptr;  // of the domain with that name
};

// The policy-maps, in the short form and with counters, and the class-maps with their counters; each database once.
std::string listings(const PolicyFile &file, const Repository &repository, const Listed &listed = {});

}  // namespace simulator
