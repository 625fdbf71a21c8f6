// The objects of a policy file that a changed file has under another name.
//
// An object was renamed if its name is gone, a new name has come, and both stand for the same contents, where the
// contents may refer to other objects that were renamed. Where several objects have the same contents, nothing shows
// which of them became which, and they count as removed and added.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "simulator/policy/model.h"

namespace simulator::diff {

// What a file refers to by name.
enum class Named : uint8_t { client, domain, class_map, parameter_map, event, policy_map, target };
inline constexpr size_t kNamedKinds = 7;

// "class-map"
const char *kind_text(Named kind);

struct Rename {
  Named kind;
  Name before;  // where the file has it first
  Name after;
};

class Renames {
 public:
  void add(Rename rename);

  const std::vector<Rename> &all() const { return all_; }
  // The name that the new file has for what the old one calls 'name', and the other way round. Most names are the same.
  const std::string &in_new(Named kind, const std::string &name) const;
  const std::string &in_old(Named kind, const std::string &name) const;

 private:
  using Names = std::array<ByName<std::string>, kNamedKinds>;

  static const std::string &find(const Names &names, Named kind, const std::string &name);

  std::vector<Rename> all_;
  Names to_new_;
  Names to_old_;
};

Renames find_renames(const PolicyFile &before, const PolicyFile &after);

// The objects of 'before' under the names that the new file has for them.
PolicyFile renamed(const PolicyFile &before, const Renames &renames);

}  // namespace simulator::diff
