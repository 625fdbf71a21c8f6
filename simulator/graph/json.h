// A graph as JSON.
#pragma once

#include "simulator/graph/graph.h"
#include "simulator/text/json.h"

namespace simulator::graph {

Json json_of(const Node &node);
Json json_of(const Edge &edge);

}  // namespace simulator::graph
