// A graph in the language of graphviz.
#pragma once

#include <string>

#include "simulator/graph/graph.h"

namespace simulator::graph {

// 'caption' appears above the picture.
std::string to_dot(const Graph &graph, const std::string &caption);

}  // namespace simulator::graph
