// The parts of a graph that somebody wants to see.
#pragma once

#include <string>
#include <vector>

#include "simulator/graph/graph.h"
#include "simulator/text/text.h"

namespace simulator::graph {

struct Selection {
  std::vector<std::string> policies{};  // only these policy-maps; none: all
  std::vector<std::string> events{};    // only these events and what they lead to; none: all
  bool hit_only = false;                // only what the scenario reached
};

// What is wrong with a selection for this file: names that it does not have, or nothing that could be hit.
Complaints problems_of(const Selection &selection, const PolicyFile &file);

// The events of the selection, with everything that they lead to and the policy-maps and targets that they come from. An
// event of a policy-map that is not selected is shown where a rule raises it, but without its rules.
Graph selected(Graph graph, const Selection &selection);

}  // namespace simulator::graph
