#include "simulator/graph/dot.h"

#include <map>
#include <unordered_set>

#include "simulator/text/text.h"

namespace simulator::graph {

namespace {

// Longer texts and lists are cut: a picture is an overview.
constexpr size_t kLongestLine = 60;
constexpr size_t kMostLines = 12;

// The last two characters of Unicode's first plane: a label is XML, which forbids them.
std::string without_forbidden(std::string text) {
  for (const std::string_view forbidden : {"\xef\xbf\xbe", "\xef\xbf\xbf"}) {
    for (size_t at = text.find(forbidden); at != std::string::npos; at = text.find(forbidden, at))
      text.replace(at, forbidden.size(), forbidden.back() == '\xbe' ? "\\ufffe" : "\\uffff");
  }
  return text;
}

// Escapes the text for one of graphviz's HTML-like labels: nothing in it is markup, or an escape of dot's.
std::string escaped(std::string_view text) {
  std::string out;
  for (const char character : without_forbidden(escape_control_characters(text))) {
    if (character == '&') {
      out += "&amp;";
    } else if (character == '<') {
      out += "&lt;";
    } else if (character == '>') {
      out += "&gt;";
    } else if (character == '\\') {
      // A backslash and a letter would be an escape of dot's, such as the name of the node.
      out += "&#92;";
    } else {
      out += character;
    }
  }
  return out;
}

std::string cut(std::string_view text) {
  if (text.size() <= kLongestLine) return std::string(text);
  size_t end = kLongestLine;
  // Do not cut inside a character.
  while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xc0U) == 0x80)
    --end;
  return concat(text.substr(0, end), "...");
}

const char *look_of(NodeKind kind) {
  switch (kind) {
    case NodeKind::targets:
      return "shape=box, style=filled, fillcolor=\"#dce9f7\"";
    case NodeKind::policy_map:
      return "shape=folder, style=filled, fillcolor=\"#fbe5c8\"";
    case NodeKind::event:
      return "shape=cds, margin=\"0.2,0.1\", style=filled, fillcolor=\"#fff6cf\"";
    case NodeKind::rule:
      return "shape=box, style=\"filled,rounded\", fillcolor=\"#ffffff\"";
    case NodeKind::class_map:
      return "shape=box, style=filled, fillcolor=\"#e3f2dc\"";
    case NodeKind::parameter_map:
      return "shape=component, style=filled, fillcolor=\"#ece0f5\"";
    case NodeKind::statement:
      return "shape=box, style=\"filled,rounded\", fillcolor=\"#f7f1fb\"";
    case NodeKind::raised_event:
      return "shape=ellipse, color=\"#c07000\", style=filled, fillcolor=\"#fff6cf\"";
  }
  return "";
}

// The label says so in words too, for readers who print the picture or do not see colours.
constexpr const char *kNever = "<font color=\"#b03030\"><i>never hit</i></font>";
constexpr const char *kNeverLook =
    "shape=box, style=\"filled,rounded,dashed\", fillcolor=\"#eeeeee\", color=\"#b03030\"";

std::string label_of(const std::vector<std::string> &lines) {
  std::string label;
  for (size_t at = 0; at < lines.size() && at < kMostLines; ++at)
    label += concat(escaped(cut(lines[at])), "<br align=\"left\"/>");
  if (lines.size() > kMostLines) label += concat("and ", lines.size() - kMostLines, " more<br align=\"left\"/>");
  return label;
}

std::string label_of(const Node &node) {
  std::string label = concat("<b>", escaped(node.title), "</b>");
  if (!node.count.empty()) label += concat("   ", node.count, node.never ? ", " : "", node.never ? kNever : "");
  label += concat("<br align=\"left\"/>", label_of(node.tests), label_of(node.lines));
  if (node.never && node.count.empty()) label += concat(kNever, "<br align=\"left\"/>");
  return label;
}

std::string node_line(const Node &node) {
  return concat("  ", in_quotes(node.id), " [", node.never ? kNeverLook : look_of(node.kind), ", label=<",
                label_of(node), ">];\n");
}

std::string edge_line(const Edge &edge, bool counted) {
  std::string line = concat("  ", in_quotes(edge.from), " -> ", in_quotes(edge.to), " [");
  if (edge.kind == EdgeKind::asks) return line + "style=dotted, arrowhead=none, color=\"#7a9a6a\"];\n";
  // A raise leads back to an event, and must not reverse the order of the columns.
  if (edge.kind == EdgeKind::raises) line += "constraint=false, ";
  if (counted) line += concat("label=\"", count_text(edge), "\", ");
  if (counted && edge.hits == 0) return line + "style=dashed, color=\"#b0b0b0\", fontcolor=\"#808080\"];\n";
  const std::string_view color = edge.kind == EdgeKind::raises ? "#c07000" : "#505050";
  return concat(line, "color=\"", color, "\", fontcolor=\"", color, "\"];\n");
}

constexpr const char *kHead =
    "  rankdir=LR; ranksep=0.7; nodesep=0.18; labelloc=t; labeljust=l; fontname=\"Helvetica\"; fontsize=13;\n"
    "  node [fontname=\"Helvetica\", fontsize=10, margin=\"0.12,0.06\", color=\"#707070\"];\n"
    "  edge [fontname=\"Helvetica\", fontsize=9, arrowsize=0.7];\n";

// Puts the nodes of a kind into columns, from top to bottom in their order. Without this, dot would reorder them to avoid
// a crossing; with a box around each policy-map it would ignore the order.
std::string columns(const Graph &graph, NodeKind kind) {
  std::map<size_t, std::string> ids;  // in each column
  std::string order;                  // of the columns
  const Node *top = nullptr;          // of the current column
  for (const Node &node : graph.nodes) {
    if (node.kind != kind) continue;
    std::string &column = ids[node.column];
    column += concat(column.empty() ? "" : " -> ", in_quotes(node.id));
    // The rules of a long event go on at the top of the next column.
    if (top && node.column > top->column)
      order += concat("  ", in_quotes(top->id), " -> ", in_quotes(node.id), " [style=invis];\n");
    if (!top || node.column != top->column) top = &node;
  }
  std::string text;
  for (const auto &[number, column] : ids)
    text += concat("  { rank=same; edge [style=invis]; ", column, "; }\n");
  return text + order;
}

// Without this, unused nodes would be among the targets.
std::string last_column(const Graph &graph) {
  std::unordered_set<std::string_view> used;
  for (const Edge &edge : graph.edges)
    used.insert(edge.to);
  std::string ids;
  for (const Node &node : graph.nodes) {
    const bool is_unused_map = node.kind == NodeKind::parameter_map && !used.contains(node.id);
    if (node.kind == NodeKind::class_map || is_unused_map) ids += concat(" ", in_quotes(node.id), ";");
  }
  return ids.empty() ? "" : concat("  { rank=same;", ids, " }\n");
}

}  // namespace

std::string to_dot(const Graph &graph, const std::string &caption) {
  std::string dot = concat("digraph policies {\n", kHead, "  label=<", escaped(caption), "<br align=\"left\"/>>;\n");
  for (const Node &node : graph.nodes)
    dot += node_line(node);
  for (const NodeKind kind : {NodeKind::policy_map, NodeKind::event, NodeKind::rule, NodeKind::statement})
    dot += columns(graph, kind);
  dot += last_column(graph);
  for (const Edge &edge : graph.edges)
    dot += edge_line(edge, graph.counted);
  return dot + "}\n";
}

}  // namespace simulator::graph
