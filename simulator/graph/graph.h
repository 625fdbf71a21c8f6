// The objects of a repository as nodes, the links between them as edges, and how often events followed each edge.
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
  raised_event,  // an event that several policy-maps handle: a raise needs one edge, not one for each of them
};

const char *to_string(NodeKind kind);

struct Node {
  std::string id;  // unique in the graph
  NodeKind kind;
  std::string title;
  std::vector<std::string> lines{};  // its contents
  std::string group{};               // the policy-map that contains it; empty: none
  bool never = false;                // the scenario never reached this node, although it could have
  std::vector<std::string> tests{};  // of a rule: those of its class-map if that has no node of its own
  std::string count{};               // of a rule without an edge to it: what would be written there
  size_t column = 0;                 // of a rule: the rules of a long event stand in several columns
};

enum class EdgeKind : uint8_t {
  active,   // targets to a policy-map: the number of events that it handled there, raised ones included
  handles,  // a policy-map to an event: the number of times that it came
  tries,    // an event to a rule, a parameter-map to a statement: matches, and the number of tries
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
  bool counted = true;  // false: there was no scenario, so all counts are 0
  std::vector<Node> nodes;
  std::vector<Edge> edges;
};

// "3", or "3 of 5" with tries.
std::string count_text(const Edge &edge);

// What the events of a scenario did, counted for each edge.
class Hits {
 public:
  // 'target' is the target on which the host raised the event.
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
  std::string target_{};  // the id of the target of the event that is being added
};

// 'events' counts the events of the scenario. Targets with the same active policy-maps in the same order share a node.
Graph make_graph(const PolicyFile &file, const Hits &hits, size_t events);

}  // namespace simulator::graph
