// The differences between two policy files, for people and for programs.
#pragma once

#include <string>
#include <vector>

#include "simulator/diff/decisions.h"
#include "simulator/diff/objects.h"
#include "simulator/text/json.h"
#include "simulator/text/tone.h"

namespace simulator::diff {

struct Counts {
  size_t added = 0;
  size_t removed = 0;
  size_t changed = 0;
  size_t renamed = 0;
};

Counts count(const std::vector<ObjectChange> &changes);
// "2 added, 0 removed, 1 changed", and how many were renamed if there are any.
std::string text_of_counts(const Counts &counts);

std::string text_of_change(const ObjectChange &change, const Files &files, Colours colours);
Json json_of_change(const ObjectChange &change);

// 'scenario' is the file whose scenario was replayed. The first difference is explained on both sides.
std::string text_of_replay(const Replayed &replayed, const PolicyFile &scenario, const Files &files, Colours colours);
Json json_of_replay(const Replayed &replayed, const PolicyFile &scenario, const Files &files);

}  // namespace simulator::diff
