#include "simulator/graph/graph.h"

#include <algorithm>
#include <set>

#include "simulator/graph/names.h"
#include "simulator/inventory/relations.h"

namespace simulator::graph {

const char *to_string(NodeKind kind) {
  switch (kind) {
    case NodeKind::targets:
      return "targets";
    case NodeKind::policy_map:
      return "policy-map";
    case NodeKind::event:
      return "event";
    case NodeKind::rule:
      return "rule";
    case NodeKind::class_map:
      return "class-map";
    case NodeKind::parameter_map:
      return "parameter-map";
    case NodeKind::statement:
      return "statement";
    case NodeKind::raised_event:
      return "raised-event";
  }
  return "";
}

const char *to_string(EdgeKind kind) {
  switch (kind) {
    case EdgeKind::active:
      return "active";
    case EdgeKind::handles:
      return "handles";
    case EdgeKind::tries:
      return "tries";
    case EdgeKind::asks:
      return "asks";
    case EdgeKind::raises:
      return "raises";
    case EdgeKind::applies:
      return "applies";
  }
  return "";
}

std::string count_text(const Edge &edge) {
  return edge.tries ? concat(edge.hits, " of ", *edge.tries) : std::to_string(edge.hits);
}

namespace {

std::vector<std::string> lines_of(const std::vector<Filter> &filters) {
  std::vector<std::string> lines;
  for (const Filter &filter : filters)
    lines.push_back(filter_text(filter));
  return lines;
}

std::vector<std::string> lines_of(const std::vector<Action> &actions) {
  std::vector<std::string> lines;
  for (const Action &action : actions)
    lines.push_back(concat(action.number, " ", to_string(action)));
  return lines;
}

class Maker {
 public:
  Maker(const PolicyFile &file, const Hits &hits, size_t events) : file_(&file), hits_(&hits) {
    graph_.counted = events != 0;
    for (const PolicyMap &policy : file.policy_maps) {
      for (const EventRules &event : policy.events)
        handlers_[event.event.value].push_back(policy.name.value);
    }
  }

  Graph run() {
    add_targets();
    for (const PolicyMap &policy : file_->policy_maps)
      add_policy(policy);
    for (const ClassMap &map : file_->class_maps) {
      graph_.nodes.push_back({id_of_class(map.name.value), NodeKind::class_map,
                              concat(map.name.value, " ", to_string(map.match)), lines_of(map.filters)});
    }
    for (const ParameterMap &map : file_->parameter_maps)
      add_parameter_map(map);
    if (graph_.counted) mark_what_never_came();
    return std::move(graph_);
  }

 private:
  void add_targets();
  void add_policy(const PolicyMap &policy);
  void add_event(const PolicyMap &policy, const EventRules &event);
  void add_parameter_map(const ParameterMap &map);
  void add_actions(const std::string &from, const std::vector<Action> &actions);
  void add_raise(const std::string &from, const std::string &event);
  void add_edge(const std::string &from, const std::string &to, EdgeKind kind);
  void mark_what_never_came();

  const PolicyFile *file_;
  const Hits *hits_;
  std::map<std::string, std::vector<std::string>> handlers_;  // for each event: its policy-maps
  std::set<std::string> raised_;                              // events that have a node of their own
  Graph graph_{};
};

void Maker::add_edge(const std::string &from, const std::string &to, EdgeKind kind) {
  Edge edge = {from, to, kind, hits_->hits(from, to)};
  if (kind == EdgeKind::tries) edge.tries = hits_->tries(from, to);
  graph_.edges.push_back(std::move(edge));
}

void Maker::add_targets() {
  std::map<std::vector<std::string>, std::vector<const Target *>> groups;
  std::vector<std::vector<std::string>> order;
  for (const Target &target : file_->targets) {
    std::vector<std::string> policies;
    for (const Name &policy : target.policies)
      policies.push_back(policy.value);
    std::vector<const Target *> &group = groups[policies];
    if (group.empty()) order.push_back(policies);
    group.push_back(&target);
  }

  for (const std::vector<std::string> &policies : order) {
    const std::vector<const Target *> &group = groups[policies];
    const std::string id = id_of_target(group[0]->name.value);
    Node node = {id, NodeKind::targets, group.size() == 1 ? "target" : concat(group.size(), " targets")};
    for (const Target *target : group)
      node.lines.push_back(target->name.value);
    graph_.nodes.push_back(std::move(node));
    for (const std::string &policy : policies) {
      Edge edge = {id, id_of_policy(policy), EdgeKind::active};
      for (const Target *target : group)
        edge.hits += hits_->hits(id_of_target(target->name.value), id_of_policy(policy));
      graph_.edges.push_back(std::move(edge));
    }
  }
}

void Maker::add_policy(const PolicyMap &policy) {
  const std::string &name = policy.name.value;
  graph_.nodes.push_back({id_of_policy(name), NodeKind::policy_map, name, {}, name});
  for (const EventRules &event : policy.events)
    add_event(policy, event);
}

void Maker::add_event(const PolicyMap &policy, const EventRules &event) {
  const std::string &name = policy.name.value;
  const std::string id = id_of_event(name, event.event.value);
  graph_.nodes.push_back({id, NodeKind::event, event.event.value, {to_string(event.match)}, name});
  add_edge(id_of_policy(name), id, EdgeKind::handles);
  for (const Rule &rule : event.rules) {
    const std::string rule_id = id_of_rule(rule_name(policy, event, rule));
    std::vector<std::string> lines = lines_of(rule.actions);
    if (rule.execute != Execute::stop_on_failure) lines.push_back(to_string(rule.execute));
    graph_.nodes.push_back(
        {rule_id, NodeKind::rule, concat(rule.number, " ", rule.class_map.value), std::move(lines), name});
    add_edge(id, rule_id, EdgeKind::tries);
    add_edge(rule_id, id_of_class(rule.class_map.value), EdgeKind::asks);
    add_actions(rule_id, rule.actions);
  }
}

void Maker::add_parameter_map(const ParameterMap &map) {
  const std::string id = id_of_parameter_map(map.name.value);
  graph_.nodes.push_back({id, NodeKind::parameter_map, map.name.value, {"parameter-map"}});
  for (const Statement &statement : map.statements) {
    const std::string to = id_of_statement(inventory::statement_name(map, statement));
    std::vector<std::string> lines = lines_of(statement.filters);
    for (std::string &line : lines_of(statement.actions))
      lines.push_back(std::move(line));
    graph_.nodes.push_back({to, NodeKind::statement, std::to_string(statement.index), std::move(lines)});
    add_edge(id, to, EdgeKind::tries);
    add_actions(to, statement.actions);
  }
}

void Maker::add_actions(const std::string &from, const std::vector<Action> &actions) {
  std::set<std::string> done;
  for (const Action &action : actions) {
    const std::string &subject = action.subject.value;
    const bool leads_on = action.kind == ActionKind::apply || action.kind == ActionKind::raise;
    if (!leads_on || !done.insert(concat(to_string(action.kind), " ", subject)).second) continue;
    if (action.kind == ActionKind::apply) {
      add_edge(from, id_of_parameter_map(subject), EdgeKind::applies);
    } else {
      add_raise(from, subject);
    }
  }
}

// Every policy-map that handles a raised event gets it; which of them are active depends on the target.
void Maker::add_raise(const std::string &from, const std::string &event) {
  const std::vector<std::string> &handlers = handlers_[event];
  if (handlers.size() == 1) return add_edge(from, id_of_event(handlers[0], event), EdgeKind::raises);
  const std::string raised = id_of_raised(event);
  add_edge(from, raised, EdgeKind::raises);
  if (!raised_.insert(event).second) return;
  graph_.nodes.push_back({raised, NodeKind::raised_event, event, {"raised"}});
  for (const std::string &policy : handlers)
    add_edge(raised, id_of_event(policy, event), EdgeKind::raises);
}

// Class-maps and targets are never marked: rules ask class-maps, and events begin at targets.
void Maker::mark_what_never_came() {
  std::set<std::string> reached;
  for (const Edge &edge : graph_.edges) {
    if (edge.hits != 0) reached.insert(edge.to);
  }
  for (Node &node : graph_.nodes) {
    const bool can_be_hit = node.kind == NodeKind::event || node.kind == NodeKind::rule ||
                            node.kind == NodeKind::parameter_map || node.kind == NodeKind::statement;
    node.never = can_be_hit && !reached.contains(node.id);
  }
}

}  // namespace

Graph make_graph(const PolicyFile &file, const Hits &hits, size_t events) {
  return Maker(file, hits, events).run();
}

}  // namespace simulator::graph
