#include "simulator/graph/overview.h"

#include <algorithm>
#include <map>
#include <tuple>

namespace simulator::graph {

namespace {

bool is_left_out(NodeKind kind) {
  return kind == NodeKind::rule || kind == NodeKind::class_map || kind == NodeKind::statement;
}

// Edges of the same kind between the same nodes are one.
class Edges {
 public:
  void add(const Edge &edge) {
    const auto [known, is_new] = index_.try_emplace(std::tuple(edge.from, edge.to, edge.kind), all_.size());
    if (is_new) {
      all_.push_back(edge);
    } else {
      all_[known->second].hits += edge.hits;
    }
  }
  std::vector<Edge> take() { return std::move(all_); }

 private:
  std::vector<Edge> all_;
  std::map<std::tuple<std::string, std::string, EdgeKind>, size_t> index_;
};

}  // namespace

Graph overview(Graph graph) {
  std::map<std::string, NodeKind> kinds;
  for (const Node &node : graph.nodes)
    kinds.emplace(node.id, node.kind);
  // The event of a rule, the parameter-map of a statement.
  std::map<std::string, std::string> owners;
  for (const Edge &edge : graph.edges) {
    if (edge.kind == EdgeKind::tries) owners.emplace(edge.to, edge.from);
  }
  Edges edges;
  for (Edge &edge : graph.edges) {
    if (is_left_out(kinds.at(edge.to))) continue;
    if (const auto owner = owners.find(edge.from); owner != owners.end()) edge.from = owner->second;
    edges.add(edge);
  }
  graph.edges = edges.take();
  std::erase_if(graph.nodes, [](const Node &node) { return is_left_out(node.kind); });
  return graph;
}

}  // namespace simulator::graph
