// A graph of what contains rules and statements, without these: for files whose graph no picture could show.
#pragma once

#include "simulator/graph/graph.h"

namespace simulator::graph {

// Leaves rules, class-maps and statements out. What a rule raises or applies starts at its event, what a statement does
// at its parameter-map; edges between the same nodes become one, with the sum of their hits.
Graph overview(Graph graph);

}  // namespace simulator::graph
