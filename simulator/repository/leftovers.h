// What a process still holds once its repository was taken down.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace simulator {

// Everything that is live in the process, by kind.
struct Holdings {
  std::map<std::string, size_t> counts{};  // of what is neither a record, a block nor a text
  std::map<uint32_t, size_t> records{};    // by the tag of their pool
  std::map<std::string, size_t> named_records{};
  std::map<uint32_t, size_t> blocks{};  // by tag
  std::map<std::string, size_t> texts{};
  size_t complaints = 0;  // misuses that the runtime has noticed so far
};
Holdings take_stock();

// What the library keeps of one repository for the life of the process, by its contract. Clients, domains and databases
// serve the next repository that has them, which then keeps nothing new.
struct Kept {
  size_t clients = 0;    // each a record and a name
  size_t domains = 0;    // each a record and a name
  size_t databases = 0;  // each a record and four trees
  // Deleted parameter-maps of the domain "subscriber": each leaves one count of that interned text behind.
  size_t deleted_parameter_maps = 0;
  bool first_table = false;  // the table of clients was made
  bool grown_table = false;  // the first table of clients made room for a larger one

  bool operator==(const Kept &) const = default;
};

// A line for everything that is there beyond what was there 'before' and what is 'kept', or is not there although it should
// be; and for every misuse that the runtime noticed since.
std::vector<std::string> find_leftovers(const Holdings &before, const Kept &kept);

}  // namespace simulator
