#include "simulator/graph/json.h"

namespace simulator::graph {

Json json_of(const Node &node) {
  Json json;
  json["id"] = node.id;
  json["kind"] = to_string(node.kind);
  json["title"] = node.title;
  json["lines"] = node.lines;
  json["policy_map"] = node.group.empty() ? Json(nullptr) : Json(node.group);
  json["never_hit"] = node.never;
  return json;
}

Json json_of(const Edge &edge) {
  Json json;
  json["from"] = edge.from;
  json["to"] = edge.to;
  json["kind"] = to_string(edge.kind);
  json["hits"] = edge.hits;
  json["tries"] = edge.tries ? Json(*edge.tries) : Json(nullptr);
  return json;
}

}  // namespace simulator::graph
