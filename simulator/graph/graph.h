// The objects of a repository as nodes, what leads from one to another as edges, and what went along the edges.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "simulator/explanation/explanation.h"
#include "simulator/policy/model.h"

namespace simulator::graph {

enum class NodeKind : uint8_t {
  targets,
  policy_map,
  event,
  rule,
  class_map,
  parameter_map,
  statement,
  raised_event,  // where it comes to several policy-maps, so that not every raise leads to each of them
};

const char *to_string(NodeKind kind);

struct Node {
  std::string id;  // one of a kind in the graph
  NodeKind kind;
  std::string title;
  std::vector<std::string> lines{};  // what is in it
  std::string group{};               // the policy-map that it is a part of; empty: none
  bool never = false;                // nothing of the scenario came here, where something could have
};

enum class EdgeKind : uint8_t {
  active,   // targets to a policy-map: events that it handled there
  handles,  // a policy-map to an event: how often it came
  tries,    // an event to a rule, a parameter-map to a statement: matches, out of how many
  asks,     // a rule to its class-map
  raises,   // a rule or statement to an event, or to a raised event and from there to each event
  applies,  // a rule or statement to a parameter-map
};

const char *to_string(EdgeKind kind);

struct Edge {
  std::string from;
  std::string to;
  EdgeKind kind;
  size_t hits = 0;
  std::optional<size_t> tries{};
};

struct Graph {
  bool counted = true;  // false: there was no scenario, and all counts are 0 for that reason
  std::vector<Node> nodes;
  std::vector<Edge> edges;
};

// What the events of a scenario did, counted for each edge.
class Hits {
 public:
  // 'target' is where the host raised the event.
  void add(const std::string &target, const EventExplanation &explanation);

  size_t hits(const std::string &from, const std::string &to) const;
  size_t tries(const std::string &from, const std::string &to) const;

 private:
  struct Count {
    size_t hits = 0;
    size_t tries = 0;
  };

  void add_policies(const EventExplanation &explanation);
  void add_actions(const std::string &from, const std::vector<ActionExplanation> &actions);
  void add_raised(const std::string &from, const EventExplanation &explanation);
  void add_applied(const std::string &from, const ParameterMapExplanation &explanation);
  void count(const std::string &from, const std::string &to, bool hit);
  const Count &find(const std::string &from, const std::string &to) const;

  std::map<std::pair<std::string, std::string>, Count> counts_;
};

// 'events' is the number of the scenario's. Targets on which the same policy-maps are active, in the same order, are one node.
Graph make_graph(const PolicyFile &file, const Hits &hits, size_t events);

}  // namespace simulator::graph
