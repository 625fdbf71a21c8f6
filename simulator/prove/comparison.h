// Two versions of a policy file: whether they decide alike on every target.
#pragma once

#include <string>
#include <vector>

#include "simulator/policy/model.h"
#include "simulator/prove/answer.h"

namespace simulator::prove {

struct Comparison {
  const PolicyFile *before = nullptr;
  const PolicyFile *after = nullptr;
  std::vector<Filter> when{};  // they hold before the event
  bool stricter = false;       // the question is only whether something that was denied is permitted now
};

// An answer for each event and each two lists of policy-maps that one target has in both files, as long as a policy-map
// of either list handles the event. A file without targets has a list for each policy-map. No answers: nothing has two
// lists.
//
// Alike means: the same verdict, the same attributes afterwards and the same texts in the log.
Answers compare(const Comparison &comparison, const Clock &clock);

}  // namespace simulator::prove
