// A graph in the language of graphviz.
#pragma once

#include <string>

#include "tool/graph/graph.h"

namespace tool::graph {

// 'caption' stands above the picture.
std::string to_dot(const Graph &graph, const std::string &caption);

}  // namespace tool::graph
