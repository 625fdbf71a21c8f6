// What a process still holds once its repository was taken down.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace simulator {

// What the library keeps for the life of the process, by its contract.
struct Permanent {
  size_t clients = 0;    // each a record and a name, in a table
  size_t domains = 0;    // each a record and a name
  size_t databases = 0;  // each a record and four trees
  // Deleted parameter-maps of the domain "subscriber": each leaves one count of that interned text behind.
  size_t deleted_parameter_maps = 0;
};

// A line for everything that is there beyond 'permanent', or is not there although it should be; and for every misuse that
// the runtime noticed.
std::vector<std::string> find_leftovers(const Permanent &permanent);

}  // namespace simulator
