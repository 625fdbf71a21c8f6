#include "simulator/graph/select.h"

#include <algorithm>
#include <unordered_map>
#include <unordered_set>

#include "simulator/graph/part.h"

namespace simulator::graph {

namespace {

using Ids = std::unordered_set<std::string_view>;

bool includes(const std::vector<std::string> &names, const std::string &name) {
  return names.empty() || std::find(names.begin(), names.end(), name) != names.end();
}

// Follows the edges of a graph from the events of a selection.
class Walk {
 public:
  Walk(const Graph &graph, const Selection &selection) : graph_(&graph), selection_(&selection) {
    for (const Node &node : graph.nodes)
      nodes_.emplace(node.id, &node);
    for (const Edge &edge : graph.edges)
      leaving_[edge.from].push_back(&edge);
  }

  Ids run() {
    for (const Node &node : graph_->nodes) {
      if (begins_at(node)) reach(node.id);
    }
    for (size_t at = 0; at < open_.size(); ++at)
      follow(*nodes_.at(open_[at]));
    add_origins(EdgeKind::handles);
    add_origins(EdgeKind::active);
    return std::move(reached_);
  }

 private:
  // Of a policy-map or a part of one.
  bool is_selected_policy(const Node &node) const { return includes(selection_->policies, node.group); }

  bool begins_at(const Node &node) const {
    return node.kind == NodeKind::event && is_selected_policy(node) && includes(selection_->events, node.title);
  }

  void reach(std::string_view id) {
    if (reached_.insert(id).second) open_.push_back(id);
  }

  void follow(const Node &node) {
    if (node.kind == NodeKind::event && !is_selected_policy(node)) return;
    const auto edges = leaving_.find(node.id);
    if (edges == leaving_.end()) return;
    for (const Edge *edge : edges->second)
      reach(edge->to);
  }

  // Events are handled by policy-maps, which are active on targets.
  void add_origins(EdgeKind kind) {
    Ids origins;
    for (const Edge &edge : graph_->edges) {
      const bool leads_here = edge.kind == kind && reached_.contains(edge.to);
      if (leads_here && is_selected_policy(*nodes_.at(edge.to))) origins.insert(edge.from);
    }
    reached_.merge(origins);
  }

  const Graph *graph_;
  const Selection *selection_;
  std::unordered_map<std::string_view, const Node *> nodes_{};
  std::unordered_map<std::string_view, std::vector<const Edge *>> leaving_{};
  Ids reached_{};
  std::vector<std::string_view> open_{};  // what was reached, in order; what is behind the last one followed is next
};

// A node was hit if an edge at it was.
Graph hit_part_of(const Graph &graph) {
  Ids hit;
  for (const Edge &edge : graph.edges) {
    if (edge.hits == 0) continue;
    hit.insert(edge.from);
    hit.insert(edge.to);
  }
  return part_of(
      graph, [&](const Node &node) { return hit.contains(node.id); }, [](const Edge &edge) { return edge.hits != 0; });
}

// An event whose policy-map is not shown says where it belongs.
void name_policies(Graph &graph) {
  std::unordered_set<std::string> shown;
  for (const Node &node : graph.nodes) {
    if (node.kind == NodeKind::policy_map) shown.insert(node.title);
  }
  for (Node &node : graph.nodes) {
    if (node.kind == NodeKind::event && !shown.contains(node.group)) {
      node.lines.push_back(concat("of policy-map ", node.group));
    }
  }
}

}  // namespace

Complaints problems_of(const Selection &selection, const PolicyFile &file) {
  Complaints problems;
  std::vector<std::string_view> policies;
  for (const PolicyMap &policy : file.policy_maps)
    policies.emplace_back(policy.name.value);
  for (const std::string &name : selection.policies) {
    if (!file.find_policy_map(name)) problems.push_back(no_such("policy-map", name, policies));
  }
  for (const std::string &name : selection.events) {
    if (file.event_id(name) == 0) problems.push_back(no_such("event", name, {file.events.begin(), file.events.end()}));
  }
  if (selection.hit_only && file.scenario.empty()) {
    problems.push_back(concat(file.shown_path(), " has no scenario: nothing was hit"));
  }
  return problems;
}

Graph selected(Graph graph, const Selection &selection) {
  if (!selection.policies.empty() || !selection.events.empty()) {
    const Ids shown = Walk(graph, selection).run();
    graph = part_of(graph, [&](const Node &node) { return shown.contains(node.id); });
    name_policies(graph);
  }
  return selection.hit_only ? hit_part_of(graph) : graph;
}

}  // namespace simulator::graph
