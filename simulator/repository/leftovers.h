// What a process still holds after its repository was taken down.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace simulator {

// Everything live in the process, by kind.
struct Holdings {
  std::map<std::string, size_t> counts{};  // everything that is not a record, a block or a text
  std::map<uint32_t, size_t> records{};    // by the tag of their pool
  std::map<std::string, size_t> named_records{};
  std::map<uint32_t, size_t> blocks{};  // by tag
  std::map<std::string, size_t> texts{};
  size_t complaints = 0;  // misuses that the runtime has noticed so far
};
Holdings take_stock();

// What the library keeps of one repository for the life of the process, by its contract. The next repository reuses the
// clients, domains and databases that it also has, and then keeps nothing new for them.
struct Kept {
  size_t clients = 0;    // each a record and a name
  size_t domains = 0;    // each a record and a name
  size_t databases = 0;  // each a record and four trees
  // Deleted parameter-maps of the domain "subscriber": each leaves one reference to that interned text behind.
  size_t deleted_parameter_maps = 0;
  bool first_table = false;  // the table of clients was made
  bool grown_table = false;  // a larger table of clients replaced the first one

  bool operator==(const Kept &) const = default;
};

// Returns a line for each difference between what is there now and what should be there ('before' plus 'kept'), and a
// line for each misuse that the runtime noticed since.
std::vector<std::string> find_leftovers(const Holdings &before, const Kept &kept);

}  // namespace simulator
