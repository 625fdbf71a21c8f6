// zar graph: draws the policies of a repository, with the effects of the scenario.
#include <iostream>

#include "command/command.h"
#include "command/exit_codes.h"
#include "command/json_output.h"
#include "command/load_file.h"
#include "command/picture.h"
#include "command/report.h"
#include "simulator/graph/compact.h"
#include "simulator/graph/dot.h"
#include "simulator/graph/json.h"
#include "simulator/graph/of_file.h"
#include "simulator/graph/select.h"

using namespace simulator;

namespace command {

namespace {

using graph::Graph;

class GraphCommand final : public Command {
 public:
  const char *name() const override { return "graph"; }
  const char *summary() const override { return "Draw the policies and what the scenario did"; }

  void declare(Options &options) override {
    options.required_argument("FILE", path_, "The policy file; - is standard input");
    options.options("--policy", "NAME", selection_.policies, "Show only this policy-map. May be repeated");
    options.options("--event", "NAME", selection_.events, "Show only this event and what it leads to. May be repeated");
    options.flag("--hit-only", selection_.hit_only, "Show only what the scenario reached");
    options.flag("--no-fold", no_fold_, "Give every class-map a node of its own, and every rule an edge");
    options.option("--svg", "FILE", svg_, "Draw the graph into this file; needs graphviz");
    options.option("--png", "FILE", png_, "Draw the graph into this file; needs graphviz");
    options.flag("--json", json_, "Write nodes and edges as one JSON object");
    options.exclude("--json", "--svg");
    options.exclude("--json", "--png");
    options.epilogue(
        "Runs the scenario of the file and writes targets, policy-maps, events, rules, class-maps\n"
        "and parameter-maps as a graph in the language DOT, with counts on the edges. What the\n"
        "scenario never hit is grey and dashed; without a scenario there are no counts. Targets with\n"
        "the same policies are one node. The tests of a class-map that only one rule uses stand in\n"
        "that rule's node, except with --no-fold or --json.\n\n"
        "Examples:\n"
        "  zar graph policy.yaml --svg policy.svg\n"
        "  zar graph policy.yaml --event session-start --hit-only --png start.png\n"
        "  zar graph policy.yaml | dot -Tpdf -o policy.pdf\n"
        "  zar graph policy.yaml --json");
  }

  int run() override {
    FileLoader loader(json_);
    const std::optional<PolicyFile> file = loader.load(path_);
    if (!file) return loader.refuse(name());
    const Complaints wrong = graph::problems_of(selection_, *file);
    complain(wrong);
    if (!wrong.empty()) return kUsage;

    Complaints problems;
    std::optional<Graph> made = graph::graph_of_file(*file, problems);
    if (!made) return report_internal(problems);
    const Graph shown = graph::selected(std::move(*made), selection_);
    if (json_) {
      write_json(shown, *file);
      return kSuccess;
    }
    return write_dot(to_dot(no_fold_ ? shown : graph::compact(shown), graph::caption_of(*file)));
  }

 private:
  int write_dot(const std::string &dot) const {
    if (svg_.empty() && png_.empty()) {
      std::cout << dot;
      return kSuccess;
    }
    const int svg = svg_.empty() ? kSuccess : write_picture(dot, "svg", svg_);
    return svg == kSuccess && !png_.empty() ? write_picture(dot, "png", png_) : svg;
  }

  static int write_picture(const std::string &dot, const std::string &format, const std::string &path) {
    const Drawn drawn = draw(dot, format);
    if (!drawn.problem.empty()) {
      complain(drawn.problem);
      return drawn.is_installed ? kInternal : kUsage;
    }
    return write_result(path, drawn.picture);
  }

  static void write_json(const Graph &made, const PolicyFile &file) {
    Json json = begin_json("graph");
    json["file"] = file.path;
    json["events"] = file.scenario.size();
    json["nodes"] = Json::array();
    for (const graph::Node &node : made.nodes)
      json["nodes"].push_back(json_of(node));
    json["edges"] = Json::array();
    for (const graph::Edge &edge : made.edges)
      json["edges"].push_back(json_of(edge));
    print_json(std::cout, json);
  }

  std::string path_;
  graph::Selection selection_;
  bool no_fold_ = false;
  std::string svg_;
  std::string png_;
  bool json_ = false;
};

}  // namespace

std::unique_ptr<Command> make_graph_command() {
  return std::make_unique<GraphCommand>();
}

}  // namespace command
