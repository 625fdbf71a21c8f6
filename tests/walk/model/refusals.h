// The messages of operations that refuse an argument.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "tests/walk/model/model.h"

namespace model {

// What the messages of a call must say of its arguments. It is made before the call, which may delete what the arguments
// name, and compared afterwards with the traced lines. The names with which messages begin are left to the tests of the
// operations.
class Refusals {
 public:
  Refusals(const Model &model, const calls::Call &call, const Arguments &arguments);

  // If the call refused its arguments, one of those that it must refuse has been named; no message may name a good one.
  // Returns the first difference; empty if there is none.
  std::string difference(const std::vector<std::string> &traced, bool refused) const;

 private:
  void note(bool bad, const std::string &message);
  void note_info(const zar_map_info *info);

  std::set<std::string> bad_;
  std::set<std::string> good_;
};

}  // namespace model
