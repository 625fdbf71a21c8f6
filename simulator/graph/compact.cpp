#include "simulator/graph/compact.h"

#include <algorithm>
#include <cmath>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "simulator/graph/part.h"
#include "simulator/text/text.h"

namespace simulator::graph {

namespace {

// The rules that one column shows at least. Events with more rules get several.
constexpr size_t kLeastRows = 25;

// A rule is about four times as wide as high, and a screen is wider than high.
constexpr double kRowsOfColumns = 2.5;

size_t rows_of(size_t rules) {
  const double rows = std::ceil(std::sqrt(kRowsOfColumns * static_cast<double>(rules)));
  return std::max(kLeastRows, static_cast<size_t>(rows));
}

std::vector<std::string> in_one_line(const std::vector<std::string> &lines, std::string_view separator) {
  std::string all;
  for (const std::string &line : lines)
    all += concat(all.empty() ? "" : separator, line);
  return all.empty() ? std::vector<std::string>() : std::vector<std::string>{all};
}

class Compactor {
 public:
  explicit Compactor(Graph graph) : graph_(std::move(graph)) {
    for (Node &node : graph_.nodes)
      nodes_.emplace(node.id, &node);
    for (const Edge &edge : graph_.edges) {
      if (edge.kind == EdgeKind::tries) tries_[edge.from].push_back(&edge);
      if (edge.kind == EdgeKind::asks) asked_[edge.to].push_back(&edge);
    }
  }

  Graph run() {
    for (const Node &node : graph_.nodes) {
      const auto tries = tries_.find(node.id);
      if (node.kind == NodeKind::event && tries != tries_.end()) reduce(tries->second);
    }
    for (const auto &[class_map, edges] : asked_)
      fold(*nodes_.at(class_map), edges);
    for (const std::string_view rule : reduced_)
      nodes_.at(rule)->tests = in_one_line(nodes_.at(rule)->tests, ", ");
    return part_of(
        graph_, [&](const Node &node) { return !folded_.contains(node.id); },
        [&](const Edge &edge) { return keeps(edge); });
  }

 private:
  bool is_reduced(std::string_view rule) const { return reduced_.contains(rule); }

  // The rules of one event.
  void reduce(const std::vector<const Edge *> &tries) {
    const size_t rows = rows_of(tries.size());
    if (tries.size() <= rows) return;
    for (size_t at = 0; at < tries.size(); ++at) {
      Node &rule = *nodes_.at(tries[at]->to);
      rule.lines = in_one_line(rule.lines, "; ");
      rule.column = at / rows;
      if (graph_.counted) rule.count = count_text(*tries[at]);
      reduced_.insert(rule.id);
    }
    first_.insert(tries[0]->to);
  }

  // A class-map whose tests stand in all of its rules needs no node of its own.
  void fold(const Node &class_map, const std::vector<const Edge *> &edges) {
    const bool has_one_rule = edges.size() == 1;
    bool needs_node = false;
    for (const Edge *edge : edges) {
      if (has_one_rule || is_reduced(edge->from)) {
        add_tests(*nodes_.at(edge->from), class_map);
      } else {
        needs_node = true;
      }
    }
    if (!needs_node) folded_.insert(class_map.id);
  }

  static void add_tests(Node &rule, const Node &class_map) {
    // The titles are the rule's number with the name of the class-map, and that name with what has to match.
    rule.title += class_map.title.substr(class_map.title.rfind(' '));
    rule.tests = class_map.lines;
  }

  bool keeps(const Edge &edge) const {
    if (edge.kind == EdgeKind::tries) return !is_reduced(edge.to) || first_.contains(edge.to);
    return edge.kind != EdgeKind::asks || !is_reduced(edge.from);
  }

  Graph graph_;
  std::unordered_map<std::string_view, Node *> nodes_{};
  std::unordered_map<std::string_view, std::vector<const Edge *>> tries_{};  // of an event or parameter-map
  std::unordered_map<std::string_view, std::vector<const Edge *>> asked_{};  // of a class-map: the edges to it
  std::unordered_set<std::string_view> reduced_{};                           // rules of long events
  std::unordered_set<std::string_view> first_{};                             // the first rules of long events
  std::unordered_set<std::string_view> folded_{};                            // class-maps
};

}  // namespace

Graph compact(Graph graph) {
  return Compactor(std::move(graph)).run();
}

}  // namespace simulator::graph
