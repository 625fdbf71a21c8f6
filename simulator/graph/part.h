// Parts of graphs.
#pragma once

#include <algorithm>
#include <iterator>
#include <string_view>
#include <unordered_set>

#include "simulator/graph/graph.h"

namespace simulator::graph {

// The nodes and edges that the two functions accept, without edges that have lost an end.
template <class KeepsNode, class KeepsEdge>
Graph part_of(const Graph &graph, KeepsNode keeps_node, KeepsEdge keeps_edge) {
  Graph kept;
  kept.counted = graph.counted;
  std::copy_if(graph.nodes.begin(), graph.nodes.end(), std::back_inserter(kept.nodes), keeps_node);
  std::unordered_set<std::string_view> ids;
  for (const Node &node : kept.nodes)
    ids.insert(node.id);
  std::copy_if(graph.edges.begin(), graph.edges.end(), std::back_inserter(kept.edges),
               [&](const Edge &edge) { return keeps_edge(edge) && ids.contains(edge.from) && ids.contains(edge.to); });
  return kept;
}

template <class KeepsNode>
Graph part_of(const Graph &graph, KeepsNode keeps_node) {
  return part_of(graph, keeps_node, [](const Edge &) { return true; });
}

}  // namespace simulator::graph
