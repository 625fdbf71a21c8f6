// Makes a graph small enough for a screen.
#pragma once

#include "simulator/graph/graph.h"

namespace simulator::graph {

// Puts the tests of each class-map that only one rule asks into that rule's node.
//
// If an event has more rules than a column of a picture can show, they get several columns: each rule is reduced to a
// title with its count, a line of tests and a line of actions. There is an edge to the first of them only and none to
// their class-maps, since with all of them the picture would consist of edges.
Graph compact(Graph graph);

}  // namespace simulator::graph
